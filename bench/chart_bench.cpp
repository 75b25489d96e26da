// The charts on every reload: core's layout of a series (runs, bands, ticks in the display locale), then the
// app's pixel scene and the triangle mesh the hardware renderers draw. A day chart has 1,440 slotCount, a
// week or month 240, the panel's sparkline 80.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <QImage>
#include <QPainter>
#include <filesystem>
#include <string>

#include "generator.h"
#include "history/history_plan.h"
#include "ui/chart_scene.h"

namespace {

using torvel::ChartPlot;
using torvel::ChartSeries;
using torvel::HistoryPlan;
using torvel::Instant;

struct GeneratedMonth {
    std::filesystem::path directory;
    Instant now = 0;

    GeneratedMonth() {
        std::string pattern = (std::filesystem::temp_directory_path() / "torvel-chart-bench-XXXXXX").string();
        directory = ::mkdtemp(pattern.data());
        const Instant lastDay = torvel::Dates::parseIsoDay("2025-03-20").value_or(0);
        now = lastDay + 23 * 3600;
        torvel::tools::writeJournal(directory, {.seed = 7, .lastDay = lastDay, .days = 30, .limit = 80});
    }
    ~GeneratedMonth() {
        std::error_code ignored;
        std::filesystem::remove_all(directory, ignored);
    }
};

const GeneratedMonth& month() {
    static const GeneratedMonth generated;
    return generated;
}

// The series of a range, as the history model publishes it.
ChartSeries seriesFor(HistoryPlan::Range range) {
    return HistoryPlan::reloadRange(torvel::HistoryStore(month().directory), range, month().now, 40).series;
}

ChartPlot::Frame frameFor(int slotCount) {
    ChartPlot::Frame frame;
    frame.slotCount = slotCount;
    frame.limit = 80;
    frame.thermalLimit = 40;
    return frame;
}

HistoryPlan::Range rangeOf(int slotCount) {
    return slotCount == 1440 ? HistoryPlan::Range::day : HistoryPlan::Range::month;
}

torvel::app::ChartStyle style() {
    return {.charge = QColor(0xEA8A4E),
            .fill = QColor(234, 138, 78, 40),
            .band = QColor(20, 23, 26, 20),
            .grid = QColor(0xD3D7DB),
            .limit = QColor(0xEA8A4E),
            .temperature = QColor(0x62686F),
            .heat = QColor(0xE5484D),
            .marker = QColor(0x62686F),
            .halo = QColor(0xF7F8F8)};
}

void BM_ChartLayout(benchmark::State& state) {
    const int slotCount = static_cast<int>(state.range(0));
    const ChartSeries series = seriesFor(rangeOf(slotCount));
    for (auto _ : state) {
        auto plot = ChartPlot::lay(series, frameFor(slotCount));
        benchmark::DoNotOptimize(plot.charge.data());
    }
    state.counters["buckets"] = static_cast<double>(series.buckets.size());
}
BENCHMARK(BM_ChartLayout)->Arg(1440)->Arg(240)->Unit(benchmark::kMicrosecond);

// Everything between a new series and the vertices handed to the scene graph, at a page chart's size.
void BM_ChartGeometry(benchmark::State& state) {
    const int slotCount = static_cast<int>(state.range(0));
    const ChartSeries series = seriesFor(rangeOf(slotCount));
    std::size_t vertices = 0;
    for (auto _ : state) {
        const auto plot = ChartPlot::lay(series, frameFor(slotCount));
        const auto scene = torvel::app::ChartScene::compose(plot, QSizeF(640, 220), style(), std::nullopt);
        const auto mesh = torvel::app::tessellate(scene);
        vertices = mesh.size();
        benchmark::DoNotOptimize(mesh.data());
    }
    state.counters["vertices"] = static_cast<double>(vertices);
}
BENCHMARK(BM_ChartGeometry)->Arg(1440)->Arg(240)->Unit(benchmark::kMicrosecond);

// A pointer move over a drawn chart: only the scene and mesh are redone, the layout is kept.
void BM_ChartRedrawForPointer(benchmark::State& state) {
    const int slotCount = static_cast<int>(state.range(0));
    const auto plot = ChartPlot::lay(seriesFor(rangeOf(slotCount)), frameFor(slotCount));
    for (auto _ : state) {
        const auto scene =
            torvel::app::ChartScene::compose(plot, QSizeF(640, 220), style(), ChartPlot::Point{0.5, 0.6});
        benchmark::DoNotOptimize(torvel::app::tessellate(scene).data());
    }
}
BENCHMARK(BM_ChartRedrawForPointer)->Arg(1440)->Arg(240)->Unit(benchmark::kMicrosecond);

// The software renderer the app runs on by default paints the scene on every frame that touches the chart,
// at twice the size on a doubled display.
void BM_ChartPaint(benchmark::State& state) {
    const int slotCount = static_cast<int>(state.range(0));
    const auto plot = ChartPlot::lay(seriesFor(rangeOf(slotCount)), frameFor(slotCount));
    const auto scene = torvel::app::ChartScene::compose(plot, QSizeF(640, 220), style(), std::nullopt);
    QImage image(1280, 440, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(2);
    for (auto _ : state) {
        image.fill(Qt::white);
        QPainter painter(&image);
        torvel::app::paint(painter, scene);
    }
}
BENCHMARK(BM_ChartPaint)->Arg(1440)->Arg(240)->Unit(benchmark::kMillisecond);

}  // namespace
