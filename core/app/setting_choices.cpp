#include "app/setting_choices.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "common/fmt.h"
#include "common/texts.h"

namespace torvel {

int ThresholdChoice::nearest(int celsius) {
    const int toCautious = std::abs(celsius - cautious);
    const int toBalanced = std::abs(celsius - balanced);
    const int winner = toCautious <= toBalanced ? cautious : balanced;
    return std::abs(celsius - relaxed) < std::abs(celsius - winner) ? relaxed : winner;
}

std::string ThresholdChoice::word(int celsius) {
    switch (nearest(celsius)) {
        case cautious:
            return tr("Cautious");
        case balanced:
            return tr("Balanced");
        default:
            return tr("Relaxed");
    }
}

namespace SettingChoices {
namespace {

struct Profile {
    int limit;
    std::string_view line;
    std::string_view detail;
};
constexpr Profile profileLines[] = {
    {60, trNoop("Hardly ever leaves its charger"), trNoop("Desk, external display, sessions that never end")},
    {75, trNoop("Plugged in most of the time"), trNoop("Unplugged now and then, for a meeting")},
    {85, trNoop("Often on battery"), trNoop("You need the range when you leave")},
};
constexpr int recommendedProfile = 75;

std::string profileHelp(std::string_view line, std::string_view detail) {
    return tr("%1 · %2", {tr(line), tr(detail)});
}

constexpr int restingSteps[] = {2, 5, 10};

std::string restingHelp(int hysteresis) {
    if (hysteresis == 2) return tr("As soon as it dips a little");
    if (hysteresis == 5) return tr("After a small drop");
    return tr("After a real drop");
}

}  // namespace

std::vector<Choice> profiles() {
    std::vector<Choice> options;
    for (const Profile& p : profileLines) {
        options.push_back(
            {p.limit, Fmt::percent(p.limit), p.limit == recommendedProfile, profileHelp(p.line, p.detail)});
    }
    return options;
}

Choice profileFor(int limit) {
    if (auto known = find(profiles(), limit)) return *known;
    const Profile& widest = profileLines[std::size(profileLines) - 1];
    return {limit, Fmt::percent(limit), false, profileHelp(trNoop("Set by hand"), widest.detail)};
}

std::string profileLine(int limit) {
    for (const Profile& p : profileLines) {
        if (p.limit == limit) return tr(p.line);
    }
    return tr("Set by hand");
}

int restingLevel(int limit, int hysteresis) {
    return std::max(limit - hysteresis, restFloor);
}

std::vector<Choice> restingRange(int limit) {
    std::vector<Choice> options;
    for (const int step : restingSteps) {
        options.push_back(
            {step, tr("below %1", {Fmt::percent(restingLevel(limit, step))}), step == 5, restingHelp(step)});
    }
    return options;
}

Choice restingFor(int limit, int hysteresis) {
    if (auto known = find(restingRange(limit), hysteresis)) return *known;
    return {hysteresis, tr("below %1", {Fmt::percent(restingLevel(limit, hysteresis))}), false,
            restingHelp(hysteresis)};
}

std::vector<Choice> overheating() {
    std::vector<Choice> options;
    for (const int anchor :
         {ThresholdChoice::cautious, ThresholdChoice::balanced, ThresholdChoice::relaxed}) {
        options.push_back({anchor, tr("%1 °C", {std::to_string(anchor)}), anchor == ThresholdChoice::balanced,
                           ThresholdChoice::word(anchor)});
    }
    return options;
}

Choice overheatingFor(int celsius) {
    return {celsius, tr("%1 °C", {std::to_string(celsius)}), celsius == ThresholdChoice::balanced,
            ThresholdChoice::word(celsius)};
}

std::vector<Choice> endOfTopUp() {
    return {
        {0, tr("When you unplug"), true, tr("As soon as you leave with the Mac")},
        {12, trn("After %1 hour", "After %1 hours", 12, {"12"}), false, tr("Even if it stays plugged in")}};
}

Choice endOfTopUpFor(int hours) {
    if (auto known = find(endOfTopUp(), hours)) return *known;
    // Any other hold still ends on its own, which is what the second option says.
    return {hours, trn("After %1 hour", "After %1 hours", hours, {std::to_string(hours)}), false,
            tr("Even if it stays plugged in")};
}

std::vector<Choice> historyKeptFor() {
    return {{30, tr("30 days"), false, ""},
            {90, tr("3 months"), false, ""},
            {365, tr("1 year"), false, ""},
            {1095, tr("3 years"), false, ""}};
}

Choice historyFor(int days) {
    if (auto known = find(historyKeptFor(), days)) return *known;
    return {days, trn("%1 day", "%1 days", days, {std::to_string(days)}), false, ""};
}

std::vector<Choice> startup() {
    return {{1, tr("With the Mac"), false, ""}, {0, tr("By hand"), false, ""}};
}

std::string secondsLabel(double seconds) {
    const long tenths = std::lround(seconds * 10);
    if (tenths % 10 == 0) return tr("%1 s", {std::to_string(tenths / 10)});
    return tr("%1 s", {Fmt::decimal(static_cast<double>(tenths) / 10.0)});
}

double shownBlinkSeconds(double stored) {
    if (!std::isfinite(stored)) return blinkShortest;
    return std::clamp(stored, blinkShortest, blinkLongest);
}

std::vector<Choice> blinkSpeeds() {
    std::vector<Choice> options;
    for (double s = blinkShortest; s <= blinkLongest + 1e-9; s += blinkStep) {
        const int tenths = static_cast<int>(std::lround(s * 10));
        std::string help = s < 1.5   ? tr("A quick flicker")
                           : s < 3.5 ? tr("A calm pulse")
                                     : tr("A slow breath");
        options.push_back({tenths, secondsLabel(s), tenths == 20, help});
    }
    return options;
}

int lowestLimit(bool native) {
    return native ? 80 : 20;
}

int limitStep(bool native) {
    return native ? 5 : 1;
}

int limitAt(int value, bool native) {
    const int step = limitStep(native);
    // Round half up to the nearest step, so a drag lands on the mark the pointer is closest to.
    const int stepped = (value + step / 2) / step * step;
    return std::clamp(native ? stepped : value, lowestLimit(native), 100);
}

std::string lockBanner(const SystemLock& lock) {
    return tr("Torvel can’t hold your limit on macOS %1 yet.", {std::to_string(lock.macOSMajor)});
}

std::string unreachableLine(const std::optional<std::string>& writeError) {
    if (writeError) {
        return tr(
            "The charge service didn’t take the last change: %1 Until it does, the settings that need it "
            "stay as "
            "they are.",
            {*writeError});
    }
    return tr(
        "The charge service isn’t installed, so the settings that need it can’t change yet. This Mac sets it "
        "up.");
}

std::optional<std::string> limitFootnote(int limit, bool limitOn, const SystemLock& lock) {
    if (!limitOn) return std::nullopt;
    if (lock.usesNative) {
        return tr("On macOS %1, macOS itself tops the battery up, 5 points below the limit.",
                  {std::to_string(lock.macOSMajor)});
    }
    return tr(
        "Once at %1, the battery rests. Torvel only tops it up after a small drop, so it isn’t nudged awake "
        "every few minutes.",
        {Fmt::percent(limit)});
}

std::optional<std::string> nativeNote(int limit, std::optional<int> nativeFloor, const SystemLock& lock) {
    if (!lock.usesNative) return std::nullopt;
    if (nativeFloor && limit < *nativeFloor) {
        const std::string floor = Fmt::percent(*nativeFloor);
        return tr("macOS won’t hold a limit below %1 on this Mac, so Torvel holds %1.", {floor});
    }
    return tr("On macOS %1, Torvel sets macOS’s own charge limit. Change it here, not in System Settings.",
              {std::to_string(lock.macOSMajor)});
}

std::string heatLine(std::optional<double> celsius) {
    if (!celsius) return tr("Heat wears a battery as much as a full charge does.");
    return tr("Heat wears a battery as much as a full charge does. It’s at %1 °C right now.",
              {Fmt::decimal(*celsius)});
}

std::optional<Choice> find(std::span<const Choice> options, int value) {
    for (const Choice& option : options) {
        if (option.value == value) return option;
    }
    return std::nullopt;
}

ViewWords pageWords() {
    return {
        {"title", tr("Settings")},
        {"subtitle", tr("How Torvel holds your battery, and what it does around the limit.")},
        {"waitingTitle", tr("Some settings are waiting for the charge service")},
        {"aroundLimit", tr("Around the limit")},
        {"discharge", tr("Auto discharge")},
        {"overheating", tr("Overheating")},
        {"overheatingHelp", tr("Charging starts again 3 °C lower.")},
        {"pauseAt", tr("Pause at")},
        {"led", tr("MagSafe light")},
        {"blinkSpeed", tr("Blink speed")},
        {"topUp", tr("End of Top-up")},
        {"topUpHelp",
         // xgettext:no-c-format
         tr("Top-up charges to 100% once, before you leave. Then your limit comes back on its own.")},
        {"topUpEnds", tr("Top-up ends")},
        {"torvel", tr("Torvel")},
        {"history", tr("History")},
        {"historyHelp",
         tr("One reading a minute at most, and only when something changes. It feeds the journal and "
            "the long memory, and never leaves this Mac.")},
        {"keepFor", tr("Keep for")},
        {"startup", tr("Startup")},
        {"startupHelp",
         tr("Torvel comes back to the menu bar when you turn the Mac on. No Dock icon, no window. Your "
            "limit holds even without it: the charge service doesn’t need the app.")},
        {"approvalRequired", tr("Approval required ·")},
        {"open", tr("Open")},
        {"updates", tr("Updates")},
        {"notOnThisMac", tr("Not on this Mac")},
        {"chargeLimit", tr("Charge limit")},
        {"limitCharging", tr("Limit charging")},
        {"recommended", tr("recommended")},
        {"limitOffTitle", tr("macOS charges as usual")},
        {"limitOffText", tr("If you turn it off, macOS charges as usual.")},
        {"profile", tr("Profile")},
        {"restingRange", tr("Resting range · tops up")},
        {"nativeRange", tr("macOS: 80 to 100%, in steps of 5")},
        {"scaleLow", Fmt::percent(20)},
        {"scaleHigh", Fmt::percent(100)},
    };
}

std::string restLine(int restLevel) {
    return tr("Tops up below %1", {Fmt::percent(restLevel)});
}

std::string restingSpan(int restLevel, int limit) {
    return tr("rests %1–%2", {std::to_string(restLevel), Fmt::percent(limit)});
}

std::string dischargeHelp(bool supported) {
    if (!supported) return tr("This Mac won’t let software cut the power.");
    return tr(
        // xgettext:no-c-format
        "If the battery is above your limit, Torvel cuts the adapter so it comes back down, even plugged in. "
        "It "
        "costs a little cycle life, and nothing sits at 100% any more.");
}

std::string dischargeState(bool on) {
    return on ? tr("Comes back down to the limit on its own, even plugged in") : tr("Off");
}

std::string thermalState(bool on, int celsius) {
    if (!on) return tr("Never pauses for heat");
    return tr("Pauses above %1 °C · %2", {std::to_string(celsius), ThresholdChoice::word(celsius)});
}

std::string ledHelp(bool supported) {
    if (!supported) return tr("This Mac has no MagSafe light we can drive.");
    return tr(
        "Steady green at your limit, blinking on the way there, amber on a normal charge. The light can be "
        "seen "
        "even with the lid shut.");
}

std::string ledState(bool on) {
    return on ? tr("Follows the charge") : tr("Left to macOS");
}

}  // namespace SettingChoices
}  // namespace torvel
