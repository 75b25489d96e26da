#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "battery/system_lock.h"
#include "common/view_words.h"

namespace torvel {

// One option of a choice on the settings page. `value` is what the settings store, as it stands there.
struct Choice {
    int value = 0;
    std::string label;
    bool recommended = false;
    std::string help;

    bool operator==(const Choice&) const = default;
};

// The overheating threshold's word comes from the nearest of three anchors.
struct ThresholdChoice {
    static constexpr int cautious = 35;
    static constexpr int balanced = 40;
    static constexpr int relaxed = 45;

    // 35 wins a tie with 40; 45 wins only when strictly nearer than that winner.
    static int nearest(int celsius);
    // "Cautious", "Balanced" or "Relaxed".
    static std::string word(int celsius);
};

// The choices of the settings page as data. Each table is a pure function of what the option's words depend
// on, so the page, torvelctl and the tests read the same words.
namespace SettingChoices {

constexpr int restFloor = 20;
constexpr double blinkShortest = 0.5;
constexpr double blinkLongest = 5.0;
constexpr double blinkStep = 0.5;

// 60, 75 and 85 %. The help is the profile line and its detail.
std::vector<Choice> profiles();
// The option a limit reads as: a profile's own, or "Set by hand" for any other limit.
Choice profileFor(int limit);
// The first half of that help alone, the profile's name as the limit card shows it beside the figure.
std::string profileLine(int limit);

// Tops up 2, 5 or 10 points below `limit`, never below 20 %.
std::vector<Choice> restingRange(int limit);
int restingLevel(int limit, int hysteresis);
// The chosen option, or for a hysteresis that is no option, its own label with the widest option's help.
Choice restingFor(int limit, int hysteresis);

std::vector<Choice> overheating();
// A threshold that is no option still reads as its value, with the nearest anchor's word.
Choice overheatingFor(int celsius);

std::vector<Choice> endOfTopUp();
Choice endOfTopUpFor(int hours);

std::vector<Choice> historyKeptFor();
Choice historyFor(int days);

// 1 starts with the computer, 0 by hand.
std::vector<Choice> startup();

// Blink intervals in tenths of a second, 0.5 s to 5 s; a stored value is clamped into that range first.
std::vector<Choice> blinkSpeeds();
double shownBlinkSeconds(double stored);
// "0.5 s", "2 s": one decimal only when there is one.
std::string secondsLabel(double seconds);

// The option with `value`, if the table has it.
std::optional<Choice> find(std::span<const Choice> options, int value);

// Where a dragged or stepped limit lands: 20 to 100 in steps of 1, or, when the system's own mechanism holds
// it, 80 to 100 in steps of 5.
int limitAt(int value, bool native);
int lowestLimit(bool native);
int limitStep(bool native);

// The sentences of the limit card and the cards around it.
std::string lockBanner(const SystemLock& lock);
// Why the settings that need the service cannot change: the service's refusal of the last change, or no
// service at all.
std::string unreachableLine(const std::optional<std::string>& writeError);
// Absent while the limit is off: there is no resting range to explain.
std::optional<std::string> limitFootnote(int limit, bool limitOn, const SystemLock& lock);
std::optional<std::string> nativeNote(int limit, std::optional<int> nativeFloor, const SystemLock& lock);
std::string heatLine(std::optional<double> celsius);

// The Settings page's fixed words.
ViewWords pageWords();
// "Tops up below 75%", and the resting range as the limit's scale marks it: "rests 75–80%".
std::string restLine(int restLevel);
std::string restingSpan(int restLevel, int limit);
// What a card says of its feature, by whether this machine has it and whether it is on.
std::string dischargeHelp(bool supported);
std::string dischargeState(bool on);
std::string thermalState(bool on, int celsius);
std::string ledHelp(bool supported);
std::string ledState(bool on);

}  // namespace SettingChoices
}  // namespace torvel
