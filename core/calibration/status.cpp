#include "calibration/status.h"

#include <array>

#include "common/numbers.h"
#include "common/texts.h"

namespace torvel {
namespace {

using Phase = CalibrationStatus::Phase;

constexpr std::array<std::string_view, 6> wireWords = {"idle", "fill", "drain", "refill", "soak", "restore"};

// Integers past 2^53 would not survive the trip through a double; they count as out of range.
constexpr std::int64_t largestExactSeconds = std::int64_t{1} << 53;

Phase phaseOf(const json::Value& object, std::string_view key) {
    const auto word = json::text(object, key);
    return word ? Phase::fromWire(*word).value_or(Phase::idle) : Phase(Phase::idle);
}

CalibrationStatus::Run decodeRun(const json::Value& object) {
    return {
        .at = json::number(object, "at").value_or(0),
        .beforeRaw = json::integer(object, "beforeRaw"),
        .afterRaw = json::integer(object, "afterRaw"),
        .afterNominal = json::integer(object, "afterNominal"),
        .design = json::integer(object, "design"),
        .cyclesAfter = json::integer(object, "cyclesAfter"),
    };
}

std::optional<CalibrationStatus::Failure> decodeFailure(const json::Value* value) {
    if (value == nullptr) return std::nullopt;
    if (auto reason = json::text(*value, "reason")) {
        return CalibrationStatus::Failure{
            .reason = std::move(*reason), .phase = phaseOf(*value, "phase"), .legacyText = std::nullopt};
    }
    // Older services wrote a ready-made sentence instead of an object.
    if (value->is_string()) {
        return CalibrationStatus::Failure{
            .reason = "legacy", .phase = Phase::idle, .legacyText = value->get<std::string>()};
    }
    return std::nullopt;
}

void putIfPresent(json::Value& object, const char* key, const std::optional<std::int64_t>& value) {
    if (value) object[key] = *value;
}

// |a - b| without the overflow that subtracting two extreme 64-bit values would cause.
std::uint64_t distance(std::int64_t a, std::int64_t b) {
    return a >= b ? static_cast<std::uint64_t>(a) - static_cast<std::uint64_t>(b)
                  : static_cast<std::uint64_t>(b) - static_cast<std::uint64_t>(a);
}

}  // namespace

std::string_view Phase::wireWord() const {
    return wireWords[static_cast<std::size_t>(value_)];
}

std::optional<Phase> Phase::fromWire(std::string_view word) {
    for (std::size_t index = 0; index < wireWords.size(); ++index) {
        if (wireWords[index] == word) return Phase(static_cast<Value>(index));
    }
    return std::nullopt;
}

std::string Phase::label(std::int64_t lowPoint) const {
    switch (value_) {
        case idle:
            return tr("Idle");
        case fill:
            return tr("Charge to 100%");
        case drain:
            return tr("Run down to %1%", {std::to_string(lowPoint)});
        case refill:
            return tr("Back up to 100%");
        case soak:
            return tr("Hold full, then finish");
        case restore:
            return tr("Back to your limit");
    }
    return tr("Idle");
}

std::optional<std::string> Phase::reason() const {
    switch (value_) {
        case idle:
            return std::nullopt;
        case fill:
            return tr("Gives the gauge a known ceiling to measure down from.");
        case drain:
            return tr(
                "This is the measurement. It has to run in one go, so charging stays off even while you're "
                "plugged in.");
        case refill:
            return tr("A gauge publishes what it learned on the way back to full, not at the bottom.");
        case soak:
            return tr(
                "Charging tapers off at the end. Sitting there is what lets it finish, so full gets marked "
                "as full.");
        case restore:
            // xgettext:no-c-format
            return tr("Leaving a battery at 100% is what you bought Torvel to avoid.");
    }
    return std::nullopt;
}

std::optional<std::int64_t> CalibrationStatus::Run::pct(std::optional<std::int64_t> value) const {
    if (!value || !design || *design < 1) return std::nullopt;
    return roundedInteger(static_cast<double>(*value) / static_cast<double>(*design) * 100.0);
}

std::string CalibrationStatus::Failure::text() const {
    const std::string stopped = tr("The run stopped before it could finish.");
    if (reason == "stalled") {
        if (phase == Phase::idle) {
            return tr(
                "Nothing moved for three days. The run was stopped, and the battery went back to your "
                "limit.");
        }
        return tr(
            "Nothing moved for three days at step %1. The run was stopped, and the battery went back to your "
            "limit.",
            {std::to_string(phase.step())});
    }
    if (reason == "legacy") return legacyText.value_or(stopped);
    return stopped;
}

CalibrationStatus CalibrationStatus::decode(const json::Value& cal) {
    CalibrationStatus status;
    if (!cal.is_object()) return status;
    status.phase = phaseOf(cal, "phase");
    status.startedAt = json::number(cal, "startedAt");
    status.soakBanked = json::number(cal, "soakBanked").value_or(0);
    if (auto seconds = json::integer(cal, "soakSeconds");
        seconds && *seconds > 0 && *seconds <= largestExactSeconds) {
        status.soakSeconds = static_cast<double>(*seconds);
    }
    if (auto target = json::integer(cal, "drainTarget"); target && *target > 0) status.drainTarget = *target;
    if (const auto* runs = json::member(cal, "runs"); runs != nullptr && runs->is_array()) {
        for (const auto& run : *runs) {
            // Something that is not an object cannot be a run; inventing a 1970 run would distort the trend.
            if (run.is_object()) status.runs.push_back(decodeRun(run));
        }
    }
    status.lastFailure = decodeFailure(json::member(cal, "lastFailure"));
    return status;
}

json::Value CalibrationStatus::encode() const {
    json::Value cal = json::Value::object();
    cal["phase"] = phase.wireWord();
    if (startedAt) cal["startedAt"] = *startedAt;
    cal["soakBanked"] = soakBanked;
    // Whole seconds on the wire, as the decoder only takes integers here.
    if (const auto seconds = roundedInteger(soakSeconds)) cal["soakSeconds"] = *seconds;
    cal["drainTarget"] = drainTarget;
    json::Value runList = json::Value::array();
    for (const auto& run : runs) {
        json::Value object = {{"at", run.at}};
        putIfPresent(object, "beforeRaw", run.beforeRaw);
        putIfPresent(object, "afterRaw", run.afterRaw);
        putIfPresent(object, "afterNominal", run.afterNominal);
        putIfPresent(object, "design", run.design);
        putIfPresent(object, "cyclesAfter", run.cyclesAfter);
        runList.push_back(std::move(object));
    }
    cal["runs"] = std::move(runList);
    if (lastFailure) {
        if (lastFailure->legacyText) {
            cal["lastFailure"] = *lastFailure->legacyText;
        } else {
            cal["lastFailure"] = {{"reason", lastFailure->reason}, {"phase", lastFailure->phase.wireWord()}};
        }
    }
    return cal;
}

std::optional<std::string> CalibrationStatus::verdict() const {
    if (runs.empty() || !runs.back().beforeRaw || !runs.back().afterRaw) return std::nullopt;
    const std::int64_t before = *runs.back().beforeRaw;
    const std::int64_t after = *runs.back().afterRaw;
    const std::uint64_t magnitude = distance(after, before);
    // A couple of dozen mAh is the gauge's own noise, not something it had wrong.
    if (magnitude <= 24) {
        return tr(
            "The gauge came back with the number it started with, so it was already telling the truth.");
    }
    const std::string mah = std::to_string(magnitude);
    return after < before ? tr("The gauge had been reading over by %1 mAh.", {mah})
                          : tr("The gauge had been reading under by %1 mAh.", {mah});
}

std::optional<std::string> CalibrationStatus::macOSGap() const {
    if (runs.empty()) return std::nullopt;
    const Run& last = runs.back();
    const auto raw = last.pct(last.afterRaw);
    const auto nominal = last.pct(last.afterNominal);
    if (!raw || !nominal || *raw == *nominal) return std::nullopt;
    return tr(
        "System Settings says %1%, which is Apple's smoothed figure. %2% is what the cells reported after "
        "the sweep.",
        {std::to_string(*nominal), std::to_string(*raw)});
}

std::optional<std::string> CalibrationStatus::trend() const {
    if (runs.size() < 2) return std::nullopt;
    const Run& first = runs.front();
    const Run& last = runs.back();
    if (!first.afterRaw || !last.afterRaw) return std::nullopt;
    const auto firstPct = first.pct(first.afterRaw);
    const auto lastPct = last.pct(last.afterRaw);
    if (!firstPct || !lastPct) return std::nullopt;

    constexpr double secondsPerMonth = 2'592'000;
    const double months = (last.at - first.at) / secondsPerMonth;
    if (!(months >= 0.5)) return std::nullopt;
    std::string span;
    if (months >= 12) {
        const auto years = roundedInteger(months / 12);
        if (!years) return std::nullopt;
        span = trn("%1 year", "%1 years", *years, {std::to_string(*years)});
    } else {
        const auto count = *roundedInteger(months);
        span = trn("%1 month", "%1 months", count, {std::to_string(count)});
    }

    if (*last.afterRaw >= *first.afterRaw) {
        return tr("Measured over %1, your capacity hasn't dropped. It's holding at %2%.",
                  {span, std::to_string(*lastPct)});
    }
    return tr("Measured over %1, you've lost %2 mAh: %3% down to %4%.",
              {span, std::to_string(distance(*first.afterRaw, *last.afterRaw)), std::to_string(*firstPct),
               std::to_string(*lastPct)});
}

}  // namespace torvel
