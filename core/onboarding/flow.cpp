#include "onboarding/flow.h"

#include <algorithm>
#include <variant>

#include "common/fmt.h"
#include "common/texts.h"
#include "service/bus_address.h"

namespace torvel {

using Kind = OnboardingFlow::Step::Kind;

const std::array<OnboardingFlow::Profile, 3> OnboardingFlow::profiles{{
    {0, "powerplug.fill", trNoop("Always plugged in"), trNoop("A desk Mac."), 70, 20, true},
    {1, "laptopcomputer", trNoop("A bit of both"), trNoop("Plugged in most days."), 80, 20, true},
    {2, "bag.fill", trNoop("Often unplugged"), trNoop("You need the range."), 90, 20, false},
}};

bool OnboardingFlow::Step::operator==(const Step& other) const {
    if (kind != other.kind || capability != other.capability || message != other.message) return false;
    if (reason.has_value() != other.reason.has_value()) return false;
    return !reason ||
           HardwareProbe::Unsupported::Value(*reason) == HardwareProbe::Unsupported::Value(*other.reason);
}

void OnboardingFlow::probed(const HardwareProbe::Result& result) {
    if (const auto* supported = std::get_if<HardwareProbe::Supported>(&result)) {
        capability_ = {supported->discharge.has_value(), supported->led};
        step_ = Step::welcome(capability_);
    } else if (const auto* unsupported = std::get_if<HardwareProbe::Unsupported>(&result)) {
        step_ = Step::unsupported(*unsupported);
    } else {
        step_ = Step::probeFailed(std::get<HardwareProbe::Failed>(result).text);
    }
}

void OnboardingFlow::show(Step step) {
    if (step.kind == Kind::welcome) capability_ = step.capability;
    step_ = std::move(step);
}

void OnboardingFlow::towardsService(bool ready) {
    installedOnEntry_ = ready;
    step_ = Step::plain(Kind::service);
}

// With the system's own limit there is no service behaviour to hand over to, so the hand-over is skipped
// both ways.
void OnboardingFlow::afterService(bool usesNative) {
    step_ = Step::plain(usesNative ? Kind::tuning : Kind::handOver);
}

bool OnboardingFlow::next(bool ready, bool usesNative) {
    switch (step_.kind) {
        case Kind::welcome:
            if (!ready || mode_.review) {
                towardsService(ready);
            } else {
                afterService(usesNative);
            }
            return false;
        case Kind::installFailed:
        case Kind::service:
        case Kind::awaitingApproval:
            afterService(usesNative);
            return false;
        case Kind::handOver:
            step_ = Step::plain(Kind::tuning);
            return false;
        case Kind::tuning:
            step_ = Step::plain(Kind::done);
            return true;
        default:
            return false;
    }
}

void OnboardingFlow::back(bool ready, bool usesNative) {
    const auto backFromHandOver = [&] {
        if (!ready || mode_.review) {
            towardsService(ready);
        } else {
            step_ = Step::welcome(capability_);
        }
    };
    switch (step_.kind) {
        case Kind::installFailed:
        case Kind::service:
        case Kind::awaitingApproval:
            step_ = Step::welcome(capability_);
            break;
        case Kind::handOver:
            backFromHandOver();
            break;
        case Kind::tuning:
            if (usesNative) {
                backFromHandOver();
            } else {
                step_ = Step::plain(Kind::handOver);
            }
            break;
        default:
            break;
    }
}

bool OnboardingFlow::canGoBack() const {
    if (mode_.approvalOnly || mode_.migrationOnly) return false;
    switch (step_.kind) {
        case Kind::installFailed:
        case Kind::handOver:
        case Kind::service:
        case Kind::awaitingApproval:
        case Kind::tuning:
            return true;
        default:
            return false;
    }
}

std::optional<int> OnboardingFlow::progress(bool usesNative) const {
    if (mode_.approvalOnly || mode_.migrationOnly) return std::nullopt;
    switch (step_.kind) {
        case Kind::welcome:
            return 0;
        case Kind::installFailed:
        case Kind::service:
        case Kind::awaitingApproval:
            return 1;
        case Kind::handOver:
            return 2;
        case Kind::tuning:
            return usesNative ? 2 : 3;
        default:
            return std::nullopt;
    }
}

void OnboardingFlow::installed(const ChargeSettingsState& settings, bool usesNative) {
    if (settings.serviceError) {
        step_ = Step::installFailed(*settings.serviceError);
    } else if (settings.daemonInstalled) {
        afterService(usesNative);
    } else {
        step_ = Step::plain(Kind::awaitingApproval);
    }
}

bool OnboardingFlow::tick(bool ready, bool usesNative) {
    // A service that was already there when the user moved on is not news: the user goes on by hand.
    if (!ready || installedOnEntry_) return false;
    if (mode_.approvalOnly || mode_.migrationOnly) {
        step_ = Step::plain(Kind::done);
    } else {
        afterService(usesNative);
    }
    return true;
}

OnboardingFlow::PollingChange OnboardingFlow::syncPolling(bool timerRunning, bool live) const {
    PollingChange change;
    if (polls() && !timerRunning) {
        change.becomeLive = !live;
        change.startTimer = true;
    } else if (!polls() && timerRunning) {
        change.stopTimer = true;
    }
    return change;
}

int OnboardingFlow::restingFloor(const Settings& settings, bool usesNative) {
    // The system's own mechanism resumes charging a fixed five points under the limit.
    const int band = usesNative ? 5 : settings.hysteresis;
    return std::max(20, settings.limit - band);
}

Settings OnboardingFlow::apply(const Profile& profile, Settings settings, bool dischargeSupported) {
    settings.limit = profile.limit;
    settings.hysteresis = profile.band;
    if (dischargeSupported) settings.discharge = profile.discharge;
    return settings;
}

std::string OnboardingFlow::commandToCopy(const ChargeSettingsState& settings,
                                          const InstallationFacts& installation, std::string_view install) {
    if (settings.serviceNeedsMigration) {
        if (auto command = migrationCommand(installation.uninstallerPath)) return *command;
    }
    return std::string(install);
}

std::string OnboardingFlow::installCommand(const std::optional<std::string>& commandLinePath) {
    if (!commandLinePath) return "torvelctl install";
    return "\"" + *commandLinePath + "\" install";
}

std::string_view name(OnboardingFlow::Step::Kind kind) {
    switch (kind) {
        case Kind::welcome:
            return "welcome";
        case Kind::installFailed:
            return "installFailed";
        case Kind::unsupported:
            return "unsupported";
        case Kind::probeFailed:
            return "probeFailed";
        case Kind::checking:
            return "checking";
        case Kind::handOver:
            return "handOver";
        case Kind::service:
            return "service";
        case Kind::awaitingApproval:
            return "awaitingApproval";
        case Kind::tuning:
            return "tuning";
        case Kind::done:
            return "done";
    }
    return {};
}

namespace {

bool mentions(std::string_view text, std::string_view word) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return std::search(text.begin(), text.end(), word.begin(), word.end(),
                       [&](char a, char b) { return lower(a) == lower(b); }) != text.end();
}

}  // namespace

OnboardingWords onboardingWords(OnboardingFlow::Mode mode, bool ready, int limit, int restingFloor) {
    OnboardingWords words;
    if (ready) {
        words.handOverTitle = tr("The service takes it from here");
        words.handOverSubtitle = tr(
            "The charge service holds your limit by itself: with this window closed, after a restart, before "
            "anyone logs in.");
        words.handOverRows = {{tr("The limit"), tr("Held by the service, always"), true},
                              {tr("The tray flame"), tr("The charge and what the service does"), true},
                              {tr("Your readings"), tr("Kept on this laptop, never sent"), true}};
        words.restingTitle = tr("Charging stops at %1% and starts again below %2%.",
                                {std::to_string(limit), std::to_string(restingFloor)});
        words.restingText = tr("The battery rests in between, so it spends less of its life full.");
    } else {
        words.handOverTitle = tr("The charge service is still to install");
        words.handOverSubtitle = tr(
            "Until it is installed, nothing holds your limit and the battery charges to full as before. You "
            "can install it later from the main window, or with the command below.");
        words.handOverRows = {{tr("The limit"), tr("Held once the service is installed"), false},
                              {tr("The tray flame"), tr("The charge, and that the service is missing"), true},
                              {tr("Your readings"), tr("Kept on this laptop once the service runs"), false}};
        words.restingTitle = tr("Once the service runs, charging stops at %1% and starts again below %2%.",
                                {std::to_string(limit), std::to_string(restingFloor)});
        words.restingText = tr("Until then the battery charges to full, as it did before Torvel.");
    }
    if (mode.migrationOnly) {
        words.doneSubtitle =
            tr("The charge service that came with this version is running, with your settings and history.");
    } else if (mode.approvalOnly) {
        words.doneSubtitle = tr("The charge service is allowed and running again.");
    } else if (ready) {
        words.doneSubtitle = tr(
            "Torvel lives in the tray. Click the flame for the charge and the limit; the main window has the "
            "rest.");
    } else {
        words.doneSubtitle =
            tr("Torvel lives in the tray, but the charge service isn’t installed yet, so nothing holds your "
               "limit: "
               "install it from the main window whenever you’re ready.");
    }
    return words;
}

ViewWords onboardingScreenWords(const OnboardingScreenFacts& facts) {
    const auto& mode = facts.mode;
    const bool ready = facts.ready;
    const bool replacing = facts.replacing;
    const std::string supported = tr("Supported");
    const std::string notHere = tr("Not on this laptop");
    const std::string installing = tr("Installing…");
    const std::string tryAgain = tr("Try again");
    const std::string skip = tr("Skip for now");
    const std::string close = tr("Close");
    const std::string next = tr("Continue");
    ViewWords words = {
        {"brand", tr("Torvel")},
        {"back", tr("Back")},
        {"close", close},
        {"continue", next},
        {"tryAgain", facts.busy ? installing : tryAgain},
        {"skip", skip},
        {"checkingTitle", tr("Looking at this laptop")},
        {"checkingSubtitle",
         tr("Torvel asks its charge service what this machine lets it control. It takes a moment.")},
        {"checkingPrimary", tr("Checking…")},
        {"supportsTitle", tr("What this laptop supports")},
        {"limitLabel", tr("A charge limit")},
        {"limitValue", supported},
        {"dischargeLabel", tr("Running from the charger down to the limit")},
        {"dischargeValue", facts.capability.discharge ? supported : notHere},
        {"ledLabel", tr("The charging light")},
        {"ledValue", facts.capability.led ? supported : notHere},
        {"serviceLabel", tr("Service")},
        {"serviceUnit", bus::unitName},
        {"sizeLabel", tr("Size on disk")},
        {"sizeValue", facts.daemonSize.value_or("—")},
        {"runsLabel", tr("Runs")},
        {"runsValue", tr("From start-up, before anyone logs in")},
        {"waitingTitle", tr("Waiting for the charge service")},
        {"waitingSubtitle",
         tr("It isn’t running yet. If the password prompt was dismissed, try again; if you install it from a "
            "terminal, Torvel moves on by itself.")},
        {"waitingSecondary", mode.approvalOnly ? std::string() : skip},
        {"failedTitle", tr("The service couldn’t be installed")},
        {"failedSubtitle", tr("Try again, or install it from a terminal with the command below.")},
        {"tuningTitle", tr("How do you use this laptop?")},
        {"tuningSubtitle", tr("Pick the closest. You can fine-tune it any time in Settings.")},
        {"tuningPrimary", tr("Finish")},
        {"profileLimit", tr("limit")},
        {"doneTitle", tr("You’re all set")},
        {"unsupportedTitle", tr("Torvel can’t hold a limit here")},
        {"unsupportedSubtitle", tr("The charge service looked and found no way in.")},
        {"checkAgain", tr("Check again")},
        {"probeFailedTitle", tr("The check didn’t finish")},
        {"probeFailedSubtitle", tr("Torvel couldn’t ask its charge service what this laptop allows.")},
        {"terminalTitle", tr("Prefer the terminal?")},
        {"copy", tr("Copy")},
        {"copied", tr("Copied")},
    };
    words["windowTitle"] = mode.migrationOnly  ? tr("Torvel · Replace the service")
                           : mode.approvalOnly ? tr("Torvel · The charge service")
                           : mode.review       ? tr("Torvel · First run")
                                               : tr("Welcome to Torvel");
    words["welcomeTitle"] = replacing     ? tr("Torvel’s service needs replacing")
                            : mode.review ? tr("Torvel, from the start")
                                          : tr("Welcome to Torvel");
    words["welcomeSubtitle"] =
        replacing
            ? tr("An older copy of the charge service is hiding the one that came with this version.")
            : tr("Torvel keeps the battery inside the charge range you choose, so it spends less of its "
                 "life full and warm.");
    words["welcomePrimary"] = ready && !mode.review ? next : tr("Get started");
    words["supportsFootnote"] =
        ready ? tr("The charge service is installed and running.")
        : facts.daemonSize
            ? tr("Holding a limit takes a small system service, %1. The next screen installs it.",
                 {*facts.daemonSize})
            : tr("Holding a limit takes a small system service. The next screen installs it.");
    words["serviceTitle"] = replacing ? tr("Replace the older service")
                            : ready   ? tr("The charge service is installed")
                                      : tr("Install the charge service");
    words["serviceSubtitle"] =
        replacing
            ? tr("Torvel removes the copy an earlier install left in /etc/systemd/system and starts the one "
                 "that came with it. Your settings and history stay.")
        : ready ? tr("It runs on its own and holds your limit. Nothing to do here.")
                : tr("Only a system service may write to the battery’s charge controller. Your desktop asks "
                     "for your password once; Torvel never sees it.");
    words["servicePrimary"] = facts.busy  ? (replacing ? tr("Replacing…") : installing)
                              : replacing ? tr("Replace service")
                              : ready     ? next
                                          : tr("Install service");
    words["serviceSecondary"] = ready || mode.migrationOnly ? std::string() : skip;
    const auto stops = railStopNames(facts.usesNative);
    if (facts.progress && *facts.progress >= 0 && *facts.progress < static_cast<int>(stops.size())) {
        words["railStep"] =
            tr("Step %1 of %2: %3", {std::to_string(*facts.progress + 1), std::to_string(stops.size()),
                                     stops[static_cast<std::size_t>(*facts.progress)]});
    }
    return words;
}

std::string profileLimit(const OnboardingFlow::Profile& profile) {
    return Fmt::percent(profile.limit);
}

std::string profileSpoken(const OnboardingFlow::Profile& profile) {
    return tr("%1. %2 Stops at %3.", {tr(profile.title), tr(profile.detail), profileLimit(profile)});
}

std::vector<std::string> railStopNames(bool usesNative) {
    if (usesNative) return {tr("Welcome"), tr("Service"), tr("Profile")};
    return {tr("Welcome"), tr("Service"), tr("Hand-over"), tr("Profile")};
}

std::string installFailureSentence(std::string_view detail) {
    if (mentions(detail, "bus"))
        return tr(
            "Torvel couldn’t reach the system’s service manager, so the charge service wasn’t installed.");
    if (mentions(detail, "pkexec") || mentions(detail, "sudo") || mentions(detail, "cannot run"))
        return tr(
            "Torvel couldn’t ask for an administrator’s password, so the charge service wasn’t installed.");
    if (mentions(detail, "allowed") || mentions(detail, "not authori"))
        return tr("The system didn’t allow the install, so the charge service wasn’t installed.");
    return tr("The install stopped before it finished, so the charge service wasn’t installed.");
}

std::vector<RailStop> railStops(std::optional<int> progress, bool usesNative, bool ready) {
    std::vector<RailStop> stops(usesNative ? 3 : 4, RailStop::ahead);
    if (!progress) return stops;
    constexpr int serviceStop = 1;
    for (int index = 0; index < static_cast<int>(stops.size()); ++index) {
        auto& stop = stops[static_cast<std::size_t>(index)];
        if (index == *progress)
            stop = RailStop::here;
        else if (index < *progress)
            stop = index == serviceStop && !ready ? RailStop::toDo : RailStop::passed;
    }
    return stops;
}

std::optional<OnboardingFlow::Mode> OnboardingWindowSync::syncApproval(bool serviceNeedsApproval,
                                                                       bool onboardingSeen,
                                                                       bool windowVisible) const {
    // Before the first run has been completed, the full flow already covers the approval.
    if (!serviceNeedsApproval || !onboardingSeen || approvalDismissed || windowVisible) return std::nullopt;
    return OnboardingFlow::Mode{.review = false, .approvalOnly = true, .migrationOnly = false};
}

std::optional<OnboardingFlow::Mode> OnboardingWindowSync::syncMigration(bool serviceNeedsMigration,
                                                                        bool windowVisible) const {
    if (!serviceNeedsMigration || migrationDismissed || windowVisible) return std::nullopt;
    return OnboardingFlow::Mode{.review = false, .approvalOnly = false, .migrationOnly = true};
}

}  // namespace torvel
