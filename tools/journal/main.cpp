// torvel-journal-generator: writes a realistic journal for demos, screenshots and benchmarks.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "common/dates.h"
#include "generator.h"

namespace {

constexpr const char* usage =
    "usage: torvel-journal-generator --out DIR [--days N] [--seed N] [--limit N] [--last-day YYYY-MM-DD]\n"
    "Writes N day files (30 by default) ending with the last day (today by default) into DIR.\n";

bool parseNumber(std::string_view text, long long low, long long high, long long& into) {
    if (text.empty()) return false;
    char* end = nullptr;
    const std::string copy(text);
    const long long value = std::strtoll(copy.c_str(), &end, 10);
    if (*end != '\0' || value < low || value > high) return false;
    into = value;
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    using torvel::Instant;
    torvel::tools::JournalPlan plan;
    plan.lastDay = std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
    std::string out;
    for (int i = 1; i < argc; ++i) {
        const std::string_view arg = argv[i];
        if (arg == "--help" || arg == "-h") {
            std::fputs(usage, stdout);
            return 0;
        }
        if (i + 1 >= argc) {
            std::fprintf(stderr, "torvel-journal-generator: %s needs a value\n%s", argv[i], usage);
            return 2;
        }
        const std::string_view value = argv[++i];
        long long number = 0;
        bool ok = true;
        if (arg == "--out") {
            out = value;
        } else if (arg == "--days") {
            ok = parseNumber(value, 1, 36'500, number);
            plan.days = static_cast<int>(number);
        } else if (arg == "--seed") {
            ok = parseNumber(value, 0, INT64_MAX, number);
            plan.seed = static_cast<std::uint64_t>(number);
        } else if (arg == "--limit") {
            ok = parseNumber(value, 20, 100, number);
            plan.limit = static_cast<int>(number);
        } else if (arg == "--last-day") {
            const auto day = torvel::Dates::parseIsoDay(value);
            ok = day.has_value();
            if (day) plan.lastDay = *day;
        } else {
            std::fprintf(stderr, "torvel-journal-generator: unknown option %s\n%s", argv[i - 1], usage);
            return 2;
        }
        if (!ok) {
            std::fprintf(stderr, "torvel-journal-generator: bad value for %s: '%s'\n", argv[i - 1], argv[i]);
            return 2;
        }
    }
    if (out.empty()) {
        std::fprintf(stderr, "torvel-journal-generator: --out is required\n%s", usage);
        return 2;
    }
    const auto result = torvel::tools::writeJournal(out, plan);
    if (const auto* error = std::get_if<std::string>(&result)) {
        std::fprintf(stderr, "torvel-journal-generator: %s\n", error->c_str());
        return 1;
    }
    std::printf("%lld readings over %d days in %s\n", static_cast<long long>(std::get<std::int64_t>(result)),
                plan.days, out.c_str());
    return 0;
}
