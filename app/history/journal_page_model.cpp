#include "history/journal_page_model.h"

#include <QVariantMap>

#include "battery/battery_monitor.h"
#include "common/fmt.h"
#include "history/history_model.h"
#include "history/words.h"
#include "service/charge_settings_model.h"
#include "ui/looks.h"

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

QVariantMap row(const char* label, const std::string& value) {
    return {{QStringLiteral("label"), QString::fromUtf8(label)}, {QStringLiteral("value"), qs(value)}};
}

}  // namespace

JournalPageModel::JournalPageModel(HistoryModel& history, ChargeSettings& settings, BatteryMonitor& battery,
                                   QObject* parent)
    : QObject(parent), history_(history), settings_(settings), battery_(battery) {
    connect(&history_, &HistoryModel::todayChanged, this, &JournalPageModel::todayChanged);
    connect(&history_, &HistoryModel::todayChanged, this, &JournalPageModel::todayFiguresChanged);
    connect(&history_, &HistoryModel::todayChanged, this, &JournalPageModel::recomputeInsights);
    connect(&history_, &HistoryModel::rangeReloaded, this, &JournalPageModel::rangeChanged);
    connect(&settings_, &ChargeSettings::changed, this, &JournalPageModel::recomputeInsights);
    connect(&battery_, &BatteryMonitor::snapshotChanged, this, &JournalPageModel::recomputeInsights);
    recomputeInsights();
}

std::optional<double> JournalPageModel::protectedSeconds() const {
    // A status never read has no counter to tell; a stale one still tells the time it had banked.
    if (settings_.value().status.freshness == ServiceStatus::Freshness::unreadable) return std::nullopt;
    return settings_.value().status.published.protectedSeconds;
}

void JournalPageModel::recomputeInsights() {
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
    const bool moved =
        list != insights_ || projectionTitle != projectionTitle_ || projectionBody != projectionBody_;
    insights_ = std::move(list);
    projectionTitle_ = std::move(projectionTitle);
    projectionBody_ = std::move(projectionBody);
    if (moved) emit insightsChanged();

    const auto seconds = protectedSeconds();
    if (seconds != protected_) {
        protected_ = seconds;
        emit todayFiguresChanged();
    }
}

bool JournalPageModel::todayYoung() const {
    return history_.today().samples.size() < 2;
}

QString JournalPageModel::todayTitle() const {
    return qs(torvel::HistoryModel::dayTitle(history_.today().day));
}

QString JournalPageModel::todayHeadline() const {
    return qs(history_.today().headline());
}

QString JournalPageModel::todaySummary() const {
    return qs(HistoryAnalysis::summaryLine(history_.today()));
}

QVariantList JournalPageModel::todayFigures() const {
    const auto& report = history_.today();
    if (todayYoung()) return {};
    const auto figure = [](const std::string& value, const char* caption) {
        return QVariantMap{{QStringLiteral("value"), qs(value)},
                           {QStringLiteral("caption"), QString::fromUtf8(caption)}};
    };
    QVariantList list{figure(std::to_string(report.stress.score) + " / 100", "Stress score"),
                      figure(HistoryAnalysis::duration(report.stress.atFullMinutes), "Time at 100%"),
                      figure(HistoryAnalysis::duration(report.cappedMinutes), "Held at your limit")};
    if (protected_) list << figure(DayWords::protectedTotal(*protected_), "Protected in all");
    return list;
}

QVariantList JournalPageModel::ranges() {
    static const char* const labels[] = {"Day", "Week", "Month", "Year"};
    QVariantList list;
    for (std::size_t i = 0; i < torvel::HistoryModel::ranges.size(); ++i) {
        list << QVariantMap{
            {QStringLiteral("value"),
             QString::fromUtf8(torvel::HistoryModel::rawValue(torvel::HistoryModel::ranges[i]))},
            {QStringLiteral("label"), QString::fromUtf8(labels[i])}};
    }
    return list;
}

bool JournalPageModel::rangeYoung() const {
    const auto& view = history_.rangeView();
    return !view || view->report.samples.size() < 2;
}

QString JournalPageModel::rangeHeadline() const {
    const auto& view = history_.rangeView();
    if (!view) return QStringLiteral("Not enough readings yet");
    return qs(RangeWords::headline(view->report, history_.range()));
}

QString JournalPageModel::rangeCaption() const {
    const auto& view = history_.rangeView();
    if (!view) return QStringLiteral("Waiting for readings");
    return qs(JournalCaption::text(view->report));
}

QVariantList JournalPageModel::rangeFigures() const {
    const auto& view = history_.rangeView();
    if (!view || view->report.samples.size() < 2) return {};
    const auto& report = view->report;
    QVariantList list;
    list << row("Time at 100%", HistoryAnalysis::duration(report.stress.atFullMinutes));
    list << row("Time at 35 °C or warmer", HistoryAnalysis::duration(report.stress.hotMinutes));
    list << row("Held at your limit", HistoryAnalysis::duration(report.cappedMinutes));
    list << row("Charge cycles used", Fmt::decimal(report.cyclesUsed));
    if (report.maxTemp) list << row("Peak temperature", Fmt::decimal(*report.maxTemp) + " °C");
    if (report.minPct && report.maxPct) {
        list << row("Charge range", Fmt::percent(*report.minPct) + " – " + Fmt::percent(*report.maxPct));
    }
    return list;
}

QString JournalPageModel::daysRecorded() const {
    return QString::number(history_.daysRecorded());
}

}  // namespace torvel::app
