#include "generator.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <numbers>

#include "common/syscalls.h"
#include "history/store.h"

namespace torvel::tools {

JournalSimulator::JournalSimulator(std::uint64_t seed, int limit) : state_(seed), limit_(limit) {}

// splitmix64: tiny, and unlike the standard distributions it gives the same numbers on every platform.
std::uint64_t JournalSimulator::next() {
    std::uint64_t z = (state_ += 0x9E3779B97F4A7C15ULL);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    return z ^ (z >> 31);
}

double JournalSimulator::uniform(double low, double high) {
    return low + (high - low) * static_cast<double>(next() >> 11) * 0x1.0p-53;
}

bool JournalSimulator::chance(double probability) {
    return uniform(0, 1) < probability;
}

bool JournalSimulator::pluggedAt(Kind kind, double hour) const {
    switch (kind) {
        case Kind::desk:
            return hour < 12.5 || hour >= 13.5;  // lunch away from the desk
        case Kind::mobile:
            return hour < 8 || (hour >= 12.5 && hour < 13.5) || hour >= 18;
        case Kind::road:
            return hour >= 22;
    }
    return false;
}

std::vector<HistorySample> JournalSimulator::day(Instant dayStart) {
    const Instant dayEnd = Dates::addLocalDays(dayStart, 1).value_or(dayStart + 86'400);
    const double roll = uniform(0, 1);
    const Kind kind = roll < 0.4 ? Kind::desk : roll < 0.85 ? Kind::mobile : Kind::road;
    const bool warmAfternoon = chance(0.3);
    const double warmth = uniform(7, 12);
    // Some days the limit is lifted (a trip ahead): the battery fills and sits at 100%.
    const double target = chance(0.12) ? 100 : limit_;
    const double sleepFrom = uniform(0, 2);
    const double sleepUntil = chance(0.35) ? sleepFrom + uniform(1, 5) : 0;
    const double workload = kind == Kind::road ? uniform(0.22, 0.4) : uniform(0.1, 0.25);

    std::vector<HistorySample> samples;
    samples.reserve(1500);
    for (Instant minute = dayStart; minute < dayEnd; minute += 60) {
        const double hour = (minute - dayStart) / 3600.0;
        const bool plugged = pluggedAt(kind, hour);
        const bool asleep = hour >= sleepFrom && hour < sleepUntil;
        if (plugged) {
            if (level_ >= target) holding_ = true;
            // The service lets the charge sag a few points before it charges again.
            if (holding_ && level_ < target - 3) holding_ = false;
            level_ = holding_ ? level_ - uniform(0, asleep ? 0.005 : 0.02)
                              : std::min(target, level_ + uniform(0.6, 1.1));
        } else {
            holding_ = false;
            level_ -= asleep ? 0.01 : workload * uniform(0.5, 1.5);
        }
        level_ = std::clamp(level_, 2.0, 100.0);
        if (asleep) continue;

        const double afternoon = warmAfternoon && hour >= 12 && hour < 19
                                     ? warmth * std::sin((hour - 12) / 7 * std::numbers::pi)
                                     : 0;
        const bool charging = plugged && !holding_ && level_ < target;
        const double celsius =
            27 + (charging ? 3 : 0) + (plugged ? 0 : workload * 6) + afternoon + uniform(-0.4, 0.4);
        HistorySample sample;
        // The service's timer drifts a little around each minute.
        sample.date = minute + std::round(uniform(0, 3) * 4) / 4;
        sample.pct = static_cast<std::int64_t>(std::lround(level_));
        sample.state = plugged && holding_ ? ChargeState::hold : ChargeState::allow;
        sample.plugged = plugged;
        sample.temp = std::round(celsius * 10) / 10;
        samples.push_back(std::move(sample));
    }
    return samples;
}

std::variant<std::int64_t, std::string> writeJournal(const std::filesystem::path& directory,
                                                     const JournalPlan& plan) {
    std::error_code error;
    std::filesystem::create_directories(directory, error);
    if (error) return systemError("create", directory.string(), error.value());
    const auto first = Dates::addLocalDays(plan.lastDay, 1 - plan.days);
    if (!first) return "cannot place the first day in the calendar";
    JournalSimulator simulator(plan.seed, plan.limit);
    std::int64_t written = 0;
    Instant day = *first;
    for (int i = 0; i < plan.days; ++i) {
        const auto name = HistoryStore::dayFileName(day);
        if (!name) return "cannot name the day file";
        std::string bytes;
        for (const auto& sample : simulator.day(day)) {
            bytes += JournalLine::encode(sample);
            bytes += '\n';
            ++written;
        }
        std::ofstream file(directory / *name, std::ios::binary | std::ios::trunc);
        file << bytes;
        if (!file) return "cannot write " + (directory / *name).string();
        const auto next = Dates::addLocalDays(day, 1);
        if (!next) return "cannot place the next day in the calendar";
        day = *next;
    }
    return written;
}

}  // namespace torvel::tools
