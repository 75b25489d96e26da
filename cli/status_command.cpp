#include <string>

#include "battery/system_lock.h"
#include "commands.h"
#include "common/fmt.h"
#include "common/json.h"
#include "data_directory.h"
#include "options.h"
#include "service/settings_rules.h"
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
            return badValue("--charge", *charge, "a percentage from 0 to 100");
        }
    }
    if (options.has("--plugged") && options.has("--unplugged"))
        return "--plugged and --unplugged exclude each other";
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

json::Ordered statusJson(const DataDirectoryState& data, const SystemLock& lock, const PanelState& panel) {
    const ChargeSettingsState& s = data.settings;
    json::Ordered out;
    out["settings"] = settingsJson(s.settings);
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

std::string onOff(bool value) {
    return value ? "on" : "off";
}

void printForPerson(std::FILE* out, const DataDirectoryState& data, const PanelState& panel, long long charge,
                    bool plugged) {
    const ChargeSettingsState& s = data.settings;
    const ServiceState state = s.serviceState(data.installation);
    std::fprintf(out, "%s\n", panel.text.c_str());
    if (panel.help) std::fprintf(out, "  %s\n", panel.help->c_str());
    std::fprintf(out, "\nCharge %s, %s, heading for %s\n", Fmt::percent(charge).c_str(),
                 plugged ? "plugged in" : "on battery", Fmt::percent(PanelStatus::target(s)).c_str());

    std::fprintf(out, "\nService: %s (state word “%s”)\n", std::string(name(state)).c_str(),
                 std::string(s.status.stateWord()).c_str());
    const bool manualInstaller = data.installation.uninstallerPath.has_value();
    std::fprintf(out, "  %s\n", ServiceWords::explanation(s, state, manualInstaller).c_str());

    const Settings& set = s.settings;
    std::fprintf(out, "\nSettings\n");
    std::fprintf(out, "  limit        %s (held %s), %s\n", Fmt::percent(set.limit).c_str(),
                 Fmt::percent(s.heldLimit()).c_str(), set.enabled ? "enabled" : "disabled");
    std::fprintf(out, "  hysteresis   %d points\n", set.hysteresis);
    std::fprintf(out, "  discharge    %s\n", onOff(set.discharge).c_str());
    std::fprintf(out, "  heat pause   %s above %d °C\n", onOff(set.thermal).c_str(), set.thermalLimit);
    std::fprintf(out, "  top-up       %s, holds full for %d h\n", onOff(set.topUp).c_str(), set.topUpHours);
    std::fprintf(out, "  light        %s, blinks %s s\n", onOff(set.led).c_str(),
                 Fmt::decimal(set.blinkSeconds).c_str());
    std::fprintf(out, "  history      %s, keeps %d days\n", onOff(set.history).c_str(), set.historyDays);
    std::fprintf(out, "  calibrate    %s\n", onOff(set.calibrate).c_str());

    const CalibrationStatus& cal = s.status.published.cal;
    std::fprintf(out, "\nCalibration\n");
    if (cal.phase == CalibrationStatus::Phase::idle) {
        std::fprintf(out, "  no run under way, %zu completed\n", cal.runs.size());
    } else {
        std::fprintf(out, "  step %d of 5: %s\n", cal.phase.step(), cal.phase.label(cal.drainTarget).c_str());
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
        std::fprintf(err, "torvelctl status: %s\n", error->c_str());
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
