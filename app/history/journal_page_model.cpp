#include "history/journal_page_model.h"

#include <QVariantMap>

#include "battery/battery_monitor.h"
#include "history/history_model.h"
#include "history/words.h"
#include "service/charge_settings_model.h"
#include "ui/looks.h"
#include "ui/model_support.h"

namespace torvel::app {

namespace {

QString qs(const std::string& text) {
    return QString::fromStdString(text);
}

int toneOf(HistoryAnalysis::Tint tint) {
    switch (tint) {
        case HistoryAnalysis::Tint::mint:
            return Looks::Good;
        case HistoryAnalysis::Tint::gold:
            return Looks::Todo;
        case HistoryAnalysis::Tint::ember:
            return Looks::Accent;
        case HistoryAnalysis::Tint::text2:
            break;
    }
    return Looks::Quiet;
}

}  // namespace

JournalPageModel::JournalPageModel(HistoryModel& history, ChargeSettingsModel& settings,
                                   BatteryMonitor& battery, QObject* parent)
    : QObject(parent), history_(history), settings_(settings), battery_(battery) {
    connect(&history_, &HistoryModel::todayChanged, this, &JournalPageModel::publishToday);
    connect(&history_, &HistoryModel::todayChanged, this, &JournalPageModel::publishInsights);
    connect(&history_, &HistoryModel::rangeReloaded, this, &JournalPageModel::publishRange);
    // The protected time is in the service's status.
    connect(&settings_, &ChargeSettingsModel::statusChanged, this, &JournalPageModel::publishToday);
    connect(&settings_, &ChargeSettingsModel::limitChanged, this, &JournalPageModel::publishInsights);
    connect(&settings_, &ChargeSettingsModel::thermalLimitChanged, this, &JournalPageModel::publishInsights);
    connect(&battery_, &BatteryMonitor::snapshotChanged, this, &JournalPageModel::publishInsights);
    publishToday();
    publishInsights();
    publishRange();
}

std::optional<double> JournalPageModel::protectedSeconds() const {
    // A status never read has no counter to tell; a stale one still tells the time it had banked.
    if (settings_.value().status.freshness == ServiceStatus::Freshness::unreadable) return std::nullopt;
    return settings_.value().status.published.protectedSeconds;
}

void JournalPageModel::publishToday() {
    using M = JournalPageModel;
    const auto& report = history_.today();
    assignAndNotify(this, shown_.todayYoung, report.samples.size() < 2, &M::todayYoungChanged);
    assignAndNotify(this, shown_.todayTitle, qs(torvel::HistoryPlan::dayTitle(report.day)),
                    &M::todayTitleChanged);
    assignAndNotify(this, shown_.todayHeadline, qs(report.headline()), &M::todayHeadlineChanged);
    assignAndNotify(this, shown_.todaySummary, qs(HistoryAnalysis::summaryLine(report)),
                    &M::todaySummaryChanged);
    assignAndNotify(this, shown_.daysRecorded, QString::number(history_.daysRecorded()),
                    &M::daysRecordedChanged);
    QVariantList figures;
    for (const auto& figure : JournalFigures::today(report, protectedSeconds())) {
        figures << QVariantMap{{QStringLiteral("value"), qs(figure.value)},
                               {QStringLiteral("caption"), qs(figure.caption)}};
    }
    assignAndNotify(this, shown_.todayFigures, std::move(figures), &M::todayFiguresChanged);
}

void JournalPageModel::publishInsights() {
    using M = JournalPageModel;
    const auto& report = history_.today();
    const auto& snapshot = battery_.snapshot();
    const std::optional<double> health =
        snapshot.healthPercent ? std::optional(static_cast<double>(*snapshot.healthPercent)) : std::nullopt;
    auto cards = HistoryAnalysis::insights(report, settings_.limit(), settings_.thermalLimit(),
                                           snapshot.cycleCount, health, history_.daysRecorded());
    QString projectionTitle;
    QString projectionBody;
    // The projection is always the last card once there are readings; it is drawn apart from the others.
    if (report.samples.size() >= 2 && !cards.empty()) {
        projectionTitle = qs(cards.back().title);
        projectionBody = qs(cards.back().body);
        cards.pop_back();
    }
    QVariantList list;
    for (const auto& card : cards) {
        list << QVariantMap{{QStringLiteral("icon"), qs(card.icon)},
                            {QStringLiteral("tone"), toneOf(card.tint)},
                            {QStringLiteral("title"), qs(card.title)},
                            {QStringLiteral("body"), qs(card.body)}};
    }
    assignAndNotify(this, shown_.insights, std::move(list), &M::insightsChanged);
    assignAndNotify(this, shown_.projectionTitle, std::move(projectionTitle), &M::projectionTitleChanged);
    assignAndNotify(this, shown_.projectionBody, std::move(projectionBody), &M::projectionBodyChanged);
}

void JournalPageModel::publishRange() {
    using M = JournalPageModel;
    const auto& view = history_.rangeView();
    const ViewWords words = JournalFigures::words();
    assignAndNotify(this, shown_.rangeYoung, !view || view->report.samples.size() < 2, &M::rangeYoungChanged);
    assignAndNotify(
        this, shown_.rangeHeadline,
        view ? qs(RangeWords::headline(view->report, history_.range())) : qs(words.at("noRangeHeadline")),
        &M::rangeHeadlineChanged);
    assignAndNotify(this, shown_.rangeCaption,
                    view ? qs(JournalCaption::text(view->report)) : qs(words.at("noRangeCaption")),
                    &M::rangeCaptionChanged);
    QVariantList rows;
    if (view) {
        for (const auto& figure : JournalFigures::range(view->report)) {
            rows << QVariantMap{{QStringLiteral("label"), qs(figure.caption)},
                                {QStringLiteral("value"), qs(figure.value)}};
        }
    }
    assignAndNotify(this, shown_.rangeFigures, std::move(rows), &M::rangeFiguresChanged);
}

QVariantMap JournalPageModel::words() {
    return wordsMap(JournalFigures::words());
}

QVariantList JournalPageModel::ranges() {
    const ViewWords words = JournalFigures::words();
    QVariantList list;
    for (const auto range : torvel::HistoryPlan::ranges) {
        const QString value = QString::fromUtf8(torvel::HistoryPlan::rawValue(range));
        list << QVariantMap{{QStringLiteral("value"), value},
                            {QStringLiteral("label"), qs(words.at(value.toStdString()))}};
    }
    return list;
}

}  // namespace torvel::app
