#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "battery/probe.h"
#include "common/view_words.h"
#include "service/charge_settings.h"

namespace torvel {

// The first-run flow's steps and transitions, without the window or the timer. The app's OnboardingModel
// owns one, feeds it the settings model's facts and acts on what it answers.
class OnboardingFlow {
  public:
    struct Capability {
        bool discharge = false;
        bool led = false;
        bool operator==(const Capability&) const = default;
    };

    struct Step {
        enum class Kind {
            welcome,
            installFailed,
            unsupported,
            probeFailed,
            checking,
            handOver,
            service,
            awaitingApproval,
            tuning,
            done,
        };
        Kind kind = Kind::checking;
        Capability capability;                             // welcome
        std::string message;                               // installFailed, probeFailed
        std::optional<HardwareProbe::Unsupported> reason;  // unsupported

        static Step welcome(Capability capability) { return {Kind::welcome, capability, {}, {}}; }
        static Step installFailed(std::string message) {
            return {Kind::installFailed, {}, std::move(message), {}};
        }
        static Step unsupported(HardwareProbe::Unsupported reason) {
            return {Kind::unsupported, {}, {}, reason};
        }
        static Step probeFailed(std::string message) {
            return {Kind::probeFailed, {}, std::move(message), {}};
        }
        static Step plain(Kind kind) { return {kind, {}, {}, {}}; }

        bool operator==(const Step& other) const;
    };

    // The shorter flows: a review opened later by the user, and the ones opened only to get the service
    // allowed or replaced.
    struct Mode {
        bool review = false;
        bool approvalOnly = false;
        bool migrationOnly = false;
        bool operator==(const Mode&) const = default;
    };

    struct Profile {
        int id;
        std::string_view icon;
        std::string_view title;
        std::string_view detail;
        int limit;
        int band;
        bool discharge;

        bool matches(const Settings& settings) const {
            return settings.limit == limit && settings.hysteresis == band;
        }
    };
    static const std::array<Profile, 3> profiles;

    OnboardingFlow() = default;
    explicit OnboardingFlow(Mode mode) : mode_(mode) {}

    const Step& step() const { return step_; }
    const Mode& mode() const { return mode_; }
    const Capability& capability() const { return capability_; }

    // The service is installed and current, so there is nothing to install.
    static bool helperReady(const ChargeSettingsState& settings) {
        return settings.daemonInstalled && !settings.serviceNeedsMigration;
    }

    void probed(const HardwareProbe::Result& result);
    // Places the flow at one step directly, as the screenshot mode does to draw any screen; a welcome
    // keeps its capability for going back to it.
    void show(Step step);
    // Returns true when the flow has just finished and "onboardingSeen" is to be recorded.
    bool next(bool ready, bool usesNative);
    void back(bool ready, bool usesNative);
    bool canGoBack() const;
    std::optional<int> progress(bool usesNative) const;
    // After the install request and the synchronisation of the service state that follows it.
    void installed(const ChargeSettingsState& settings, bool usesNative);
    // One tick of the poll. Returns true when the step changed.
    bool tick(bool ready, bool usesNative);

    // The flow waits for the service only while it shows these steps.
    bool polls() const {
        return step_.kind == Step::Kind::service || step_.kind == Step::Kind::awaitingApproval;
    }

    struct PollingChange {
        bool becomeLive = false;  // count as a live watcher of the settings and refresh the status at once
        bool startTimer = false;
        bool stopTimer = false;
        bool operator==(const PollingChange&) const = default;
    };
    PollingChange syncPolling(bool timerRunning, bool live) const;

    // The resting floor shown to the user: the limit minus the band (5 with the system's own mechanism),
    // never below 20.
    static int restingFloor(const Settings& settings, bool usesNative);
    // The settings a profile leads to; discharge follows the profile only where the machine supports it.
    static Settings apply(const Profile& profile, Settings settings, bool dischargeSupported);
    // The command a user pastes into a terminal: the migration's when one is due, else `install`.
    static std::string commandToCopy(const ChargeSettingsState& settings,
                                     const InstallationFacts& installation, std::string_view installCommand);
    // The command line's install, which runs the same helper as the window: by name where it is on the
    // PATH, by its path in a build tree.
    static std::string installCommand(const std::optional<std::string>& commandLinePath);

  private:
    // Where the user goes past the welcome step (and back to it from the hand-over).
    void towardsService(bool ready);
    void afterService(bool usesNative);

    Mode mode_;
    Step step_;
    Capability capability_;
    bool installedOnEntry_ = false;
};

std::string_view name(OnboardingFlow::Step::Kind kind);

// What the screens after the service step say. A user who skipped the install, or whose install failed,
// has no service holding the limit yet, and these screens must not pretend otherwise.
struct OnboardingWords {
    struct Row {
        std::string label;
        std::string value;
        bool ticked = false;
        bool operator==(const Row&) const = default;
    };
    std::string handOverTitle;
    std::string handOverSubtitle;
    std::vector<Row> handOverRows;
    std::string restingTitle;
    std::string restingText;
    std::string doneSubtitle;
};
// `ready` is whether the service is installed and current now, not whether the user pressed Install.
OnboardingWords onboardingWords(OnboardingFlow::Mode mode, bool ready, int limit, int restingFloor);

// The facts every screen's words depend on, as the window shows them.
struct OnboardingScreenFacts {
    OnboardingFlow::Mode mode{};
    bool ready = false;      // the service is installed and current
    bool replacing = false;  // an older copy of the service is to be replaced
    bool busy = false;       // an install or a replacement is running
    OnboardingFlow::Capability capability{};
    std::optional<std::string> daemonSize{};  // the service's size on disk, when known
    std::optional<int> progress{};            // the rail's stop, when the rail shows
    bool usesNative = false;
};
// Every word of the onboarding window's screens, the rail's stops and its buttons, keyed by the name the
// window reads them by; the words that follow the service or the mode are chosen here, not in the view.
ViewWords onboardingScreenWords(const OnboardingScreenFacts& facts);
// The rail's stop names, in order; the hand-over has no stop where the system's own mechanism holds the
// limit.
std::vector<std::string> railStopNames(bool usesNative);
// A profile as a screen reader reads its card, and the limit as the card shows it.
std::string profileSpoken(const OnboardingFlow::Profile& profile);
std::string profileLimit(const OnboardingFlow::Profile& profile);

// The product's own sentence over the system's words when the install fails; the system's words go
// beneath it unchanged, for whoever has to look into it.
std::string installFailureSentence(std::string_view detail);

// How each stop of the rail at the top of the window is drawn. The service stop is never ticked while
// the service is missing: the user went past it, but it is still to do.
enum class RailStop { ahead, here, passed, toDo };
std::vector<RailStop> railStops(std::optional<int> progress, bool usesNative, bool ready);

// The onboarding window's two self-opening flows; a flow the user dismissed is not pushed again.
struct OnboardingWindowSync {
    bool approvalDismissed = false;
    bool migrationDismissed = false;

    // The flow to open now, if any.
    std::optional<OnboardingFlow::Mode> syncApproval(bool serviceNeedsApproval, bool onboardingSeen,
                                                     bool windowVisible) const;
    std::optional<OnboardingFlow::Mode> syncMigration(bool serviceNeedsMigration, bool windowVisible) const;
};

}  // namespace torvel
