#include <string>

#include "app/setting_choices.h"
#include "battery/system_lock.h"
#include "commands.h"
#include "common/fmt.h"
#include "common/json.h"
#include "common/texts.h"
#include "data_directory.h"
#include "options.h"
#include "service/settings_rules.h"
#include "status/mac_page.h"
#include "status/other_program.h"
#include "status/panel_state.h"
#include "status/service_words.h"

namespace torvel::cli {
namespace {

struct StatusRequest {
    bool json = false;
    double now = 0;
    std::optional<long long> charge;
    std::optional<bool> plugged;
    bool serviceInstalled = false;
};

std::variant<StatusRequest, std::string> parseRequest(const std::vector<std::string>& args) {
    auto parsed = Options::parse(args, {{"--json"},
                                        {"--now", true},
                                        {"--charge", true},
                                        {"--plugged"},
                                        {"--unplugged"},
                                        {"--service-installed", true}});
    if (auto* error = std::get_if<std::string>(&parsed)) return *error;
    const Options& options = std::get<Options>(parsed);

    StatusRequest request;
    request.json = options.has("--json");
    if (auto error = parseNow(options, request.now)) return *error;
    if (auto charge = options.value("--charge")) {
        request.charge = parseInteger(*charge);
        if (!request.charge || *request.charge < 0 || *request.charge > 100) {
            return badValue("--charge", *charge, tr("a percentage from 0 to 100"));
        }
    }
    if (options.has("--plugged") && options.has("--unplugged"))
        return tr("--plugged and --unplugged exclude each other");
    if (options.has("--plugged")) request.plugged = true;
    if (options.has("--unplugged")) request.plugged = false;
    if (auto error = parseServiceInstalled(options.value("--service-installed"), request.serviceInstalled)) {
        return *error;
    }
    return request;
}

json::Ordered settingsJson(const Settings& s) {
    json::Ordered out;
    forEachSetting(s, [&](std::string_view key, const auto& value) { out[std::string(key)] = value; });
    return out;
}

// The calibration object as the service publishes it, with the sentences the pages make of it.
json::Ordered calJson(const CalibrationStatus& cal) {
    json::Ordered out = cal.encode();
    out["failureText"] = cal.lastFailure ? json::Ordered(cal.lastFailure->text()) : json::Ordered(nullptr);
    out["verdict"] = json::orNull(cal.verdict());
    out["macOSGap"] = json::orNull(cal.macOSGap());
    out["trend"] = json::orNull(cal.trend());
    return out;
}

json::Ordered choiceJson(const Choice& choice) {
    return {{"label", choice.label}, {"help", choice.help}};
}

// The settings as the settings page words them: each choice's label and help.
json::Ordered settingsPageJson(const Settings& s) {
    namespace C = SettingChoices;
    json::Ordered out;
    out["profile"] = choiceJson(C::profileFor(s.limit));
    out["restingRange"] = choiceJson(C::restingFor(s.limit, s.hysteresis));
    out["overheating"] = choiceJson(C::overheatingFor(s.thermalLimit));
    out["endOfTopUp"] = choiceJson(C::endOfTopUpFor(s.topUpHours));
    out["historyKeptFor"] = choiceJson(C::historyFor(s.historyDays));
    out["blinkSeconds"] = C::shownBlinkSeconds(s.blinkSeconds);
    return out;
}

std::string worded(const Choice& choice) {
    return choice.help.empty() ? choice.label : tr("%1 · %2", {choice.label, choice.help});
}

json::Ordered statusJson(const DataDirectoryState& data, const SystemLock& lock, const PanelState& panel) {
    const ChargeSettingsState& s = data.settings;
    json::Ordered out;
    out["settings"] = settingsJson(s.settings);
    out["settingsPage"] = settingsPageJson(s.settings);
    // The status file's own keys and values, as the app believes them: the state word says how fresh.
    const json::Value published = s.status.published.encode();
    for (const auto& [key, value] : published.items()) out[key] = value;
    out["state"] = s.status.stateWord();
    out["cal"] = calJson(s.status.published.cal);
    out["daemonInstalled"] = s.daemonInstalled;
    out["heldLimit"] = s.heldLimit();
    out["serviceState"] = name(s.serviceState(data.installation));
    out["systemLock"] = {{"macOSMajor", lock.macOSMajor},
                         {"closesKeys", lock.closesKeys},
                         {"nativeAvailable", lock.nativeAvailable},
                         {"usesNative", lock.usesNative},
                         {"active", lock.active}};
    out["panel"] = {{"text", panel.text}, {"tone", name(panel.tone)}, {"help", json::orNull(panel.help)}};
    out["target"] = PanelStatus::target(s);
    return out;
}

// The service's situation as the status line names it.
std::string serviceWord(ServiceState state) {
    switch (state) {
        case ServiceState::awaitingApproval:
            return tr("waiting for approval");
        case ServiceState::notInstalled:
            return tr("not installed");
        case ServiceState::needsMigration:
            return tr("installed by hand, to be replaced");
        case ServiceState::elsewhereInApplications:
        case ServiceState::elsewhere:
            return tr("running from another copy of Torvel");
        case ServiceState::outdated:
            return tr("running an older version");
        case ServiceState::stale:
            return tr("stopped");
        case ServiceState::unknown:
            return tr("unknown");
        case ServiceState::running:
            return tr("running");
    }
    return tr("unknown");
}

std::string onOff(bool value) {
    return value ? tr("on") : tr("off");
}

void printForPerson(std::FILE* out, const DataDirectoryState& data, const PanelState& panel, long long charge,
                    bool plugged) {
    const ChargeSettingsState& s = data.settings;
    const ServiceState state = s.serviceState(data.installation);
    std::fprintf(out, "%s\n", panel.text.c_str());
    if (panel.help) std::fprintf(out, "  %s\n", panel.help->c_str());
    const std::string target = Fmt::percent(PanelStatus::target(s));
    std::fputs("\n", out);
    printLine(out, plugged ? tr("Charge %1, plugged in, heading for %2", {Fmt::percent(charge), target})
                           : tr("Charge %1, on battery, heading for %2", {Fmt::percent(charge), target}));

    std::fputs("\n", out);
    printLine(out, tr("Service: %1 (state word “%2”)", {serviceWord(state), s.status.stateWord()}));
    const bool manualInstaller = data.installation.uninstallerPath.has_value();
    std::fprintf(out, "  %s\n", ServiceWords::explanation(s, state, manualInstaller).c_str());
    for (const auto& battery : MacPage::batteryLines(s.status.published))
        std::fprintf(out, "  %s: %s\n", battery.label.c_str(), battery.value.c_str());
    if (const auto other = OtherProgramNote::from(s.status.published))
        std::fprintf(out, "  %s\n", other->text.c_str());

    const Settings& set = s.settings;
    namespace C = SettingChoices;
    const auto line = [out](const std::string& name, const std::string& words) {
        printLine(out, "  " + tr("%1: %2", {name, words}));
    };
    std::fputs("\n", out);
    printLine(out, tr("Settings"));
    line(tr("Limit charging"), set.enabled ? tr("on, held at %1", {Fmt::percent(s.heldLimit())}) : tr("off"));
    line(tr("Profile"), worded(C::profileFor(set.limit)));
    line(tr("Resting range"), worded(C::restingFor(set.limit, set.hysteresis)));
    line(tr("Auto discharge"), onOff(set.discharge));
    line(tr("Overheating"), set.thermal ? worded(C::overheatingFor(set.thermalLimit)) : tr("off"));
    line(tr("MagSafe light"),
         set.led ? tr("on · Blink speed %1", {C::secondsLabel(C::shownBlinkSeconds(set.blinkSeconds))})
                 : tr("off"));
    line(tr("End of top-up"), worded(C::endOfTopUpFor(set.topUpHours)));
    line(tr("Top-up"), onOff(set.topUp));
    line(tr("History"), set.history ? tr("kept for %1", {C::historyFor(set.historyDays).label}) : tr("off"));
    line(tr("Calibrate"), onOff(set.calibrate));

    const CalibrationStatus& cal = s.status.published.cal;
    std::fputs("\n", out);
    printLine(out, tr("Calibration"));
    if (cal.phase == CalibrationStatus::Phase::idle) {
        const auto runs = static_cast<long long>(cal.runs.size());
        printLine(out, "  " + trn("no run under way, %1 completed", "no run under way, %1 completed", runs,
                                  {std::to_string(runs)}));
    } else {
        printLine(out, "  " + tr("step %1 of 5: %2",
                                 {std::to_string(cal.phase.step()), cal.phase.label(cal.drainTarget)}));
    }
    for (const auto& sentence : {cal.lastFailure ? std::optional(cal.lastFailure->text()) : std::nullopt,
                                 cal.verdict(), cal.macOSGap(), cal.trend()}) {
        if (sentence) std::fprintf(out, "  %s\n", sentence->c_str());
    }
}

}  // namespace

int statusCommand(const std::vector<std::string>& args, std::FILE* out, std::FILE* err) {
    auto parsed = parseRequest(args);
    if (auto* error = std::get_if<std::string>(&parsed)) {
        printLine(err, tr("torvelctl status: %1", {*error}));
        return exitUsage;
    }
    const StatusRequest& request = std::get<StatusRequest>(parsed);

    const DataDirectoryState data =
        loadDataDirectory(Paths::fromProcessEnvironment(), request.now, request.serviceInstalled);
    const SystemLock& lock = SystemLock::current();
    const long long charge = request.charge.value_or(data.settings.status.published.pct);
    const bool plugged = request.plugged.value_or(data.settings.status.published.plugged);
    const PanelState panel =
        PanelState::make(data.settings, data.settings.serviceState(data.installation), lock, plugged, charge);

    if (request.json) {
        std::fprintf(out, "%s\n", statusJson(data, lock, panel).dump(2).c_str());
    } else {
        printForPerson(out, data, panel, charge, plugged);
    }
    return exitOk;
}

}  // namespace torvel::cli
