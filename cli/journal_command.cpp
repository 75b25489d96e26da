#include <cmath>
#include <string>

#include "battery/sysfs_reader.h"
#include "commands.h"
#include "common/dates.h"
#include "common/files.h"
#include "common/fmt.h"
#include "common/json.h"
#include "common/paths.h"
#include "common/texts.h"
#include "data_directory.h"
#include "history/history_plan.h"
#include "history/words.h"
#include "options.h"
#include "service/settings.h"

namespace torvel::cli {
namespace {

using Range = HistoryPlan::Range;

// Everything the journal is read with. Absent values are the ones neither the command line nor the data
// directory nor the battery could give; they stay absent in the output.
struct JournalRequest {
    bool json = false;
    Instant now = 0;
    std::optional<Instant> day;
    std::optional<Range> range;
    std::optional<long long> limit;
    std::optional<long long> thermalLimit;
    std::optional<long long> cycles;
    std::optional<long long> health;
    std::optional<double> protectedSeconds;
    std::optional<std::string> locale;
};

std::optional<std::string> readInteger(const Options& options, std::string_view name, long long low,
                                       long long high, std::string_view expected,
                                       std::optional<long long>& into) {
    const auto text = options.value(name);
    if (!text) return std::nullopt;
    into = parseInteger(*text);
    if (!into || *into < low || *into > high) return badValue(name, *text, expected);
    return std::nullopt;
}

std::variant<JournalRequest, std::string> parseRequest(const std::vector<std::string>& args) {
    auto parsed = Options::parse(args, {{"--json"},
                                        {"--day", true},
                                        {"--range", true},
                                        {"--now", true},
                                        {"--limit", true},
                                        {"--thermal-limit", true},
                                        {"--cycles", true},
                                        {"--health", true},
                                        {"--protected-seconds", true},
                                        {"--locale", true}});
    if (auto* error = std::get_if<std::string>(&parsed)) return *error;
    const Options& options = std::get<Options>(parsed);

    JournalRequest request;
    request.json = options.has("--json");
    if (options.has("--day") && options.has("--range")) return tr("--day and --range exclude each other");
    if (auto error = parseNow(options, request.now)) return *error;
    // A time the calendar cannot place (far outside any date) has no day to show.
    if (!Dates::startOfLocalDay(request.now)) {
        return badValue("--now", options.value("--now").value_or(""), tr("seconds since 1970"));
    }
    if (auto day = options.value("--day")) {
        request.day = Dates::parseIsoDay(*day);
        if (!request.day) return badValue("--day", *day, tr("a date as YYYY-MM-DD"));
    }
    if (auto range = options.value("--range")) {
        request.range = HistoryPlan::rangeNamed(*range);
        if (!request.range) return badValue("--range", *range, tr("day, week, month or year"));
    }
    constexpr long long most = 1'000'000'000;
    if (auto error = readInteger(options, "--limit", 0, 100, tr("a percentage from 0 to 100"), request.limit))
        return *error;
    if (auto error =
            readInteger(options, "--thermal-limit", -100, 200, tr("degrees Celsius"), request.thermalLimit)) {
        return *error;
    }
    if (auto error = readInteger(options, "--cycles", 0, most, tr("a number of cycles"), request.cycles))
        return *error;
    if (auto error = readInteger(options, "--health", 0, 1000, tr("a health percentage"), request.health))
        return *error;
    if (auto seconds = options.value("--protected-seconds")) {
        request.protectedSeconds = parseNumber(*seconds);
        if (!request.protectedSeconds || *request.protectedSeconds < 0) {
            return badValue("--protected-seconds", *seconds, tr("seconds, 0 or more"));
        }
    }
    if (auto locale = options.value("--locale")) {
        if (locale->empty()) return badValue("--locale", *locale, tr("a locale identifier such as en or ja"));
        request.locale = *locale;
    }
    return request;
}

// Fills what the command line left open from config.json, status.json and the battery.
void fillDefaults(JournalRequest& request, const Paths& paths) {
    if (!request.limit || !request.thermalLimit) {
        const auto config = readWholeFile(paths.config);
        const auto* bytes = std::get_if<std::string>(&config);
        const Settings settings =
            loadSettings(bytes != nullptr ? std::string_view(*bytes) : std::string_view());
        if (!request.limit) request.limit = settings.limit;
        if (!request.thermalLimit) request.thermalLimit = settings.thermalLimit;
    }
    if (!request.protectedSeconds) {
        const auto status = readWholeFile(paths.status);
        if (const auto* bytes = std::get_if<std::string>(&status)) {
            if (const auto object = json::parseObject(*bytes)) {
                request.protectedSeconds = json::number(*object, "protectedSeconds");
            }
        }
    }
    if (!request.cycles || !request.health) {
        const PowerSupplyReading reading = readPowerSupplies(paths.powerSupply);
        if (reading.smartBattery) {
            const SmartBatteryReading battery = SmartBattery::reading(*reading.smartBattery);
            if (!request.cycles) request.cycles = battery.cycleCount;
            if (!request.health) request.health = battery.healthPercent;
        }
    }
}

// What the journal page would show for the request.
struct Journal {
    Range range = Range::day;
    Instant narrativeDate = 0;
    ChartSeries series;
    HistoryAnalysis::DayReport report;
    HistoryStore::Summary storage;
};

Journal readJournal(const JournalRequest& request, const HistoryStore& store) {
    const int thermalLimit = static_cast<int>(*request.thermalLimit);
    Journal journal;
    journal.storage = store.summary();
    if (request.range) {
        auto view = HistoryPlan::reloadRange(store, *request.range, request.now, thermalLimit);
        journal.range = *request.range;
        journal.narrativeDate = view.start;
        journal.series = std::move(view.series);
        journal.report = std::move(view.report);
        return journal;
    }
    // A chosen day is reported from its start; today, as the today page does, from `now`.
    const Instant day = request.day.value_or(request.now);
    const Instant dayStart = Dates::startOfLocalDay(day).value_or(day);
    auto samples = store.samples(day);
    journal.narrativeDate = dayStart;
    journal.series = ChartSeries::build(samples, dayStart, HistoryPlan::rangeEnd(Range::day, dayStart),
                                        HistoryPlan::bucketCount(Range::day));
    journal.report = HistoryAnalysis::report(std::move(samples), day, thermalLimit);
    return journal;
}

json::Ordered reportJson(const HistoryAnalysis::DayReport& report) {
    json::Ordered out;
    out["day"] = report.day;
    out["sampleCount"] = report.samples.size();
    out["stress"] = {{"score", report.stress.score},
                     {"atFullMinutes", report.stress.atFullMinutes},
                     {"hotMinutes", report.stress.hotMinutes},
                     {"deepMinutes", report.stress.deepMinutes},
                     {"throughput", report.stress.throughput}};
    out["maxTemp"] = json::orNull(report.maxTemp);
    out["maxTempDate"] = json::orNull(report.maxTempDate);
    out["cappedMinutes"] = report.cappedMinutes;
    out["chargeStops"] = report.chargeStops;
    out["cyclesUsed"] = report.cyclesUsed;
    out["minPct"] = json::orNull(report.minPct);
    out["maxPct"] = json::orNull(report.maxPct);
    out["recordedMinutes"] = report.recordedMinutes;
    out["thermalLimit"] = report.thermalLimit;
    return out;
}

json::Ordered seriesJson(const ChartSeries& series) {
    json::Ordered buckets = json::Ordered::array();
    for (const auto& bucket : series.buckets) {
        buckets.push_back({{"position", bucket.position},
                           {"pct", bucket.pct},
                           {"temp", json::orNull(bucket.temp)},
                           {"plugged", bucket.plugged}});
    }
    return {{"start", series.start}, {"end", series.end}, {"buckets", std::move(buckets)}};
}

struct Texts {
    std::string headline, summaryLine, narrative, caption, rangeHeadline;
    std::vector<HistoryAnalysis::Insight> insights;
};

Texts journalTexts(const JournalRequest& request, const Journal& journal) {
    const auto& report = journal.report;
    const std::optional<double> health =
        request.health ? std::optional<double>(static_cast<double>(*request.health)) : std::nullopt;
    return {
        .headline = report.headline(),
        .summaryLine = HistoryAnalysis::summaryLine(report),
        .narrative = DayWords::narrative(report, journal.narrativeDate, request.protectedSeconds),
        .caption = JournalCaption::text(report),
        .rangeHeadline = RangeWords::headline(report, journal.range),
        .insights = HistoryAnalysis::insights(report, static_cast<int>(*request.limit),
                                              static_cast<int>(*request.thermalLimit), request.cycles, health,
                                              journal.storage.days),
    };
}

json::Ordered journalJson(const Journal& journal, const Texts& texts) {
    json::Ordered out;
    out["report"] = reportJson(journal.report);
    out["headline"] = texts.headline;
    out["summaryLine"] = texts.summaryLine;
    json::Ordered insights = json::Ordered::array();
    for (const auto& insight : texts.insights) {
        insights.push_back({{"icon", insight.icon},
                            {"tint", HistoryAnalysis::paletteName(insight.tint)},
                            {"title", insight.title},
                            {"body", insight.body}});
    }
    out["insights"] = std::move(insights);
    out["narrative"] = texts.narrative;
    out["caption"] = texts.caption;
    out["rangeHeadline"] = texts.rangeHeadline;
    out["series"] = seriesJson(journal.series);
    out["daysRecorded"] = journal.storage.days;
    out["storage"] = {{"days", journal.storage.days}, {"bytes", journal.storage.bytes}};
    return out;
}

std::string storageText(std::int64_t bytes) {
    if (bytes < 1024) return trn("%1 byte", "%1 bytes", bytes, {std::to_string(bytes)});
    if (bytes < 1024 * 1024) return tr("%1 KB", {Fmt::decimal(static_cast<double>(bytes) / 1024.0)});
    return tr("%1 MB", {Fmt::decimal(static_cast<double>(bytes) / (1024.0 * 1024.0))});
}

void printForPerson(std::FILE* out, const Journal& journal, const Texts& texts) {
    std::fprintf(out, "%s\n\n", texts.narrative.c_str());
    if (journal.range != Range::day) std::fprintf(out, "%s\n", texts.rangeHeadline.c_str());
    std::fprintf(out, "%s\n%s\n", texts.headline.c_str(), texts.summaryLine.c_str());
    for (const auto& insight : texts.insights) {
        std::fprintf(out, "\n  %s\n    %s\n", insight.title.c_str(), insight.body.c_str());
    }
    const auto slots = HistoryPlan::bucketCount(journal.range);
    std::fputs("\n", out);
    printLine(out,
              trn("Chart: %1 (%2 of %3 slot filled)", "Chart: %1 (%2 of %3 slots filled)", slots,
                  {texts.caption, std::to_string(journal.series.buckets.size()), std::to_string(slots)}));
    const auto days = static_cast<long long>(journal.storage.days);
    printLine(out, trn("Journal: %1 day file, %2", "Journal: %1 day files, %2", days,
                       {std::to_string(days), storageText(journal.storage.bytes)}));
}

}  // namespace

int journalCommand(const std::vector<std::string>& args, std::FILE* out, std::FILE* err) {
    auto parsed = parseRequest(args);
    if (auto* error = std::get_if<std::string>(&parsed)) {
        printLine(err, tr("torvelctl journal: %1", {*error}));
        return exitUsage;
    }
    JournalRequest& request = std::get<JournalRequest>(parsed);
    const Paths paths = Paths::fromProcessEnvironment();
    fillDefaults(request, paths);
    if (request.locale) Fmt::useLocale(*request.locale);

    const Journal journal = readJournal(request, HistoryStore(paths.history));
    const Texts texts = journalTexts(request, journal);
    if (request.json) {
        // Texts from the journal are valid UTF-8 by the time they get here; replacing keeps a surprise from
        // ever turning into an exception.
        std::fprintf(
            out, "%s\n",
            journalJson(journal, texts).dump(2, ' ', false, json::Ordered::error_handler_t::replace).c_str());
    } else {
        printForPerson(out, journal, texts);
    }
    return exitOk;
}

}  // namespace torvel::cli
