#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/json.h"

namespace torvel {

// The calibration run as the service publishes it under "cal". Times are seconds since 1970 (UTC).
struct CalibrationStatus {
    class Phase {
      public:
        // In step order: fill is step 1, restore step 5.
        enum Value { idle, fill, drain, refill, soak, restore };
        constexpr Phase() = default;
        constexpr Phase(Value value) : value_(value) {}
        constexpr operator Value() const { return value_; }

        std::string_view wireWord() const;
        // Absent for an unknown word.
        static std::optional<Phase> fromWire(std::string_view word);
        // 1 to 5 for the steps of a run, 0 for idle.
        int step() const { return static_cast<int>(value_); }

        std::string label(std::int64_t lowPoint) const;
        std::optional<std::string> reason() const;

      private:
        Value value_ = idle;
    };

    struct Run {
        double at = 0;
        std::optional<std::int64_t> beforeRaw;
        std::optional<std::int64_t> afterRaw;
        std::optional<std::int64_t> afterNominal;
        std::optional<std::int64_t> design;
        std::optional<std::int64_t> cyclesAfter;

        // `value` as a percentage of this run's design capacity.
        std::optional<std::int64_t> pct(std::optional<std::int64_t> value) const;
        bool operator==(const Run&) const = default;
    };

    struct Failure {
        std::string reason;
        Phase phase;
        std::optional<std::string> legacyText;

        std::string text() const;
        bool operator==(const Failure&) const = default;
    };

    Phase phase;
    std::optional<double> startedAt;
    double soakBanked = 0;
    double soakSeconds = 3600;
    std::int64_t drainTarget = 15;
    std::vector<Run> runs;
    std::optional<Failure> lastFailure;

    bool operator==(const CalibrationStatus&) const = default;

    // Lenient: each field falls back to its default on its own; never fails as a whole. `cal` may be any
    // JSON value (a missing "cal" is a null).
    static CalibrationStatus decode(const json::Value& cal);
    // The object the service publishes; decode(encode(x)) == x for every decoded x.
    json::Value encode() const;

    std::optional<std::string> verdict() const;
    std::optional<std::string> macOSGap() const;
    std::optional<std::string> trend() const;
};

}  // namespace torvel
