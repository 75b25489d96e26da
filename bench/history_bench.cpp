// The journal's hot path: a month view reads thirty day files of about 1,440 lines each on every reload, the
// year view 365 of them (about half a million lines).
#include <benchmark/benchmark.h>
#include <simdjson.h>
#include <stdlib.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "generator.h"
#include "history/history_plan.h"

namespace {

using torvel::HistoryPlan;
using torvel::Instant;

// A generated journal on disk covering one range, written once for the whole run and removed at exit.
struct GeneratedJournal {
    std::filesystem::path directory;
    Instant now = 0;
    std::vector<std::filesystem::path> files;

    GeneratedJournal(HistoryPlan::Range range, int days) {
        std::string pattern = (std::filesystem::temp_directory_path() / "torvel-bench-XXXXXX").string();
        directory = ::mkdtemp(pattern.data());
        const Instant lastDay = torvel::Dates::parseIsoDay("2025-03-20").value_or(0);
        now = lastDay + 23 * 3600;
        torvel::tools::writeJournal(directory, {.seed = 42, .lastDay = lastDay, .days = days, .limit = 80});
        for (Instant day = HistoryPlan::rangeStart(range, now); day <= now;
             day = *torvel::Dates::addLocalDays(day, 1)) {
            files.push_back(directory / *torvel::HistoryStore::dayFileName(day));
        }
    }
    ~GeneratedJournal() {
        std::error_code ignored;
        std::filesystem::remove_all(directory, ignored);
    }
};

const GeneratedJournal& month() {
    static const GeneratedJournal generated(HistoryPlan::Range::month, 30);
    return generated;
}

const GeneratedJournal& year() {
    static const GeneratedJournal generated(HistoryPlan::Range::year, 365);
    return generated;
}

// The floor: the same bytes read and parsed with simdjson into the bare values, nothing kept but numbers.
struct BareSample {
    double t;
    std::int64_t p;
    double ct;
    bool hold;
    bool g;
};

// A field of the wrong type simply stays zero here.
void keep(simdjson::error_code) {}

void bareParse(benchmark::State& state, const GeneratedJournal& journal) {
    const auto& files = journal.files;
    simdjson::ondemand::parser parser;
    std::vector<BareSample> samples;
    for (auto _ : state) {
        samples.clear();
        for (const auto& path : files) {
            simdjson::padded_string bytes;
            if (simdjson::padded_string::load(path.string()).get(bytes)) continue;
            simdjson::ondemand::document_stream stream;
            if (parser.iterate_many(bytes).get(stream)) continue;
            for (auto document : stream) {
                simdjson::ondemand::object object;
                if (document.get_object().get(object)) continue;
                BareSample sample{};
                std::string_view word;
                for (auto field : object) {
                    std::string_view key;
                    if (field.unescaped_key().get(key)) break;
                    auto value = field.value();
                    if (key == "t") {
                        keep(value.get_double().get(sample.t));
                    } else if (key == "p") {
                        keep(value.get_int64().get(sample.p));
                    } else if (key == "ct") {
                        keep(value.get_double().get(sample.ct));
                    } else if (key == "s") {
                        if (!value.get_string().get(word))
                            sample.hold = torvel::chargeStateNamed(word) == torvel::ChargeState::hold;
                    } else if (key == "g") {
                        keep(value.get_bool().get(sample.g));
                    }
                }
                samples.push_back(sample);
            }
        }
        benchmark::DoNotOptimize(samples.data());
    }
    state.counters["samples"] = static_cast<double>(samples.size());
}

// What a range view does on every reload: read, analyse, chart in 240 slots.
void reload(benchmark::State& state, const GeneratedJournal& journal, HistoryPlan::Range range) {
    const torvel::HistoryStore store(journal.directory);
    std::size_t samples = 0;
    for (auto _ : state) {
        auto view = HistoryPlan::reloadRange(store, range, journal.now, 40);
        samples = view.report.samples.size();
        benchmark::DoNotOptimize(view.series.buckets.data());
    }
    state.counters["samples"] = static_cast<double>(samples);
}

void BM_BareParseMonth(benchmark::State& state) {
    bareParse(state, month());
}
BENCHMARK(BM_BareParseMonth)->Unit(benchmark::kMillisecond);

void BM_MonthReload(benchmark::State& state) {
    reload(state, month(), HistoryPlan::Range::month);
}
BENCHMARK(BM_MonthReload)->Unit(benchmark::kMillisecond);

void BM_BareParseYear(benchmark::State& state) {
    bareParse(state, year());
}
BENCHMARK(BM_BareParseYear)->Unit(benchmark::kMillisecond);

// The last 365 days, as the Long memory page's year reloads them.
void BM_YearReload(benchmark::State& state) {
    reload(state, year(), HistoryPlan::Range::year);
}
BENCHMARK(BM_YearReload)->Unit(benchmark::kMillisecond);

// The day view: one file, analysed, charted one slot a minute.
void BM_DayViewReload(benchmark::State& state) {
    const torvel::HistoryStore store(month().directory);
    for (auto _ : state) {
        auto view = HistoryPlan::reloadRange(store, HistoryPlan::Range::day, month().now, 40);
        benchmark::DoNotOptimize(view.series.buckets.data());
    }
}
BENCHMARK(BM_DayViewReload)->Unit(benchmark::kMicrosecond);

void BM_DayChartBuild(benchmark::State& state) {
    const torvel::HistoryStore store(month().directory);
    const Instant start = HistoryPlan::rangeStart(HistoryPlan::Range::day, month().now);
    const Instant end = HistoryPlan::rangeEnd(HistoryPlan::Range::day, month().now);
    const auto samples = store.samples(start, end);
    for (auto _ : state) {
        auto series = torvel::ChartSeries::build(samples, start, end, 1440);
        benchmark::DoNotOptimize(series.buckets.data());
    }
}
BENCHMARK(BM_DayChartBuild)->Unit(benchmark::kMicrosecond);

// Pointer tracking over the day chart: one lookup per pointer move.
void BM_Nearest(benchmark::State& state) {
    const auto view = HistoryPlan::reloadRange(torvel::HistoryStore(month().directory),
                                               HistoryPlan::Range::day, month().now, 40);
    double position = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(view.series.nearest(position));
        position += 0.000613;
        if (position > 1) position -= 1;
    }
    state.counters["buckets"] = static_cast<double>(view.series.buckets.size());
}
BENCHMARK(BM_Nearest);

}  // namespace
