#include <gtest/gtest.h>

#include <QQuickWindow>

#include "history/chart_model.h"
#include "qt_support.h"
#include "ui/chart_item.h"

namespace torvel::app {
namespace {

// 7 March 2025, local midnight in Paris.
constexpr Instant day = 1741302000;

// A morning and an afternoon a minute apart, with nothing over lunch; plugged in the afternoon.
ChartSeries dayWithAGap() {
    std::vector<HistorySample> samples;
    for (int m = 8 * 60; m < 11 * 60; ++m) {
        samples.push_back({day + m * 60.0 + 30, 40 + m % 40, ChargeState::allow, false, 30.0});
    }
    for (int m = 14 * 60; m < 18 * 60; ++m) {
        samples.push_back({day + m * 60.0 + 30, 80, ChargeState::hold, true, 33.5});
    }
    return ChartSeries::build(samples, day, day + 86'400, 1440);
}

ChartPlot::Frame dayFrame() {
    ChartPlot::Frame frame;
    frame.slotCount = 1440;
    frame.limit = 80;
    frame.thermalLimit = 40;
    return frame;
}

double at(int hour, int minute) {
    return (hour * 60 + minute + 0.5) / 1440.0;
}

TEST(ChartModel, PointerAndArrowKeysPickTheNearestBucket) {
    testing::qtApp();
    ChartModel model(dayFrame());
    model.setSeries(dayWithAGap(), 1440);
    ASSERT_EQ(model.plot().charge.size(), 2u);
    ASSERT_EQ(model.plot().plugged.size(), 1u);

    struct Step {
        const char* name;
        std::function<void()> act;
        QString time;  // empty: nothing selected
        QString charge;
    };
    const Step steps[] = {
        {"a pointer on a reading", [&] { model.select(at(9, 15)); }, "9:15\u202FAM", "75%"},
        {"a pointer in the gap answers the nearer side", [&] { model.select(at(13, 30)); }, "2:00\u202FPM",
         "80%"},
        {"a pointer more than ten minutes past the end is on nothing", [&] { model.select(at(18, 15)); }, "",
         ""},
        {"keys start from the latest reading", [&] { model.step(-1); }, "5:59\u202FPM", "80%"},
        {"and stop at the last", [&] { model.step(+3); }, "5:59\u202FPM", "80%"},
        {"a step back crosses the gap bucket by bucket", [&] { model.step(-240); }, "10:59\u202FAM", "59%"},
        {"Escape lets go", [&] { model.clearSelection(); }, "", ""},
    };
    for (const auto& step : steps) {
        step.act();
        EXPECT_EQ(model.selected(), !step.time.isEmpty()) << step.name;
        EXPECT_EQ(model.selectedTime(), step.time) << step.name;
        EXPECT_EQ(model.selectedCharge(), step.charge) << step.name;
    }
    model.select(at(15, 0));
    EXPECT_EQ(model.selectedTemperature(), "33.5 °C");
    EXPECT_TRUE(model.selectedPlugged());
}

TEST(ChartModel, TheSameSeriesAgainChangesNothing) {
    testing::qtApp();
    ChartModel model(dayFrame());
    int plots = 0;
    int selections = 0;
    QObject::connect(&model, &ChartModel::plotChanged, [&] { ++plots; });
    QObject::connect(&model, &ChartModel::selectionChanged, [&] { ++selections; });
    model.setSeries(dayWithAGap(), 1440);
    model.step(-1);
    model.setSeries(dayWithAGap(), 1440);
    EXPECT_EQ(plots, 1);
    EXPECT_TRUE(model.selected());
    // A new series moves the buckets under the selection, so it is let go.
    model.setSeries(ChartSeries::build({}, day, day + 86'400, 1440), 1440);
    EXPECT_EQ(plots, 2);
    EXPECT_FALSE(model.selected());
    EXPECT_EQ(selections, 2);
}

TEST(ChartView, DrawsTheDayOffscreenAndItsMeshStaysInside) {
    testing::qtApp();
    ChartModel model(dayFrame());
    model.setSeries(dayWithAGap(), 1440);
    Ember ember;
    QQuickWindow window;
    window.setColor(ember.screen());
    window.resize(480, 160);
    ChartItem chart(window.contentItem());
    chart.setSize({480, 160});
    chart.setModel(&model);
    chart.setEmber(&ember);
    model.step(-1);
    window.show();
    ASSERT_TRUE(testing::spinUntil([&] { return window.isExposed(); }));
    const QImage image = window.grabWindow();
    ASSERT_FALSE(image.isNull());
    EXPECT_TRUE(model.selected())
        << "the hover Qt Quick repeats each frame does not take the keys' selection";

    // The line is ember; the morning (unplugged) has none of the plugged band's tint above the line.
    int emberPixels = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor c = image.pixelColor(x, y);
            if (c.red() > 200 && c.green() > 110 && c.green() < 170 && c.blue() < 110) ++emberPixels;
        }
    }
    EXPECT_GT(emberPixels, 300);
    const auto pixel = [&](double x, double y) {
        return image.pixelColor(static_cast<int>(x * image.width()), static_cast<int>(y * image.height()))
            .rgb();
    };
    EXPECT_EQ(pixel(at(12, 30), 0.05), ember.screen().rgb()) << "the gap is left empty";
    EXPECT_NE(pixel(at(15, 0), 0.05), ember.screen().rgb()) << "the plugged afternoon is banded";

    // The hardware renderers draw the same scene as triangles with a one-pixel fringe.
    const auto vertices = tessellate(chart.scene());
    ASSERT_FALSE(vertices.empty());
    EXPECT_EQ(vertices.size() % 3, 0u);
    for (const auto& v : vertices) {
        ASSERT_TRUE(v.x >= -8 && v.x <= 488 && v.y >= -8 && v.y <= 168) << v.x << "," << v.y;
    }
}

}  // namespace
}  // namespace torvel::app
