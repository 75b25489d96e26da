#include "status/diagnostics.h"

#include <cctype>

#include "battery/probe.h"
#include "common/text.h"
#include "extras/ini.h"
#include "service/log_tail.h"

namespace torvel {
namespace {

// The same three notes as the log tail, so the report reads alike wherever a file is missing.
std::string unreadableNote(const std::error_code& error, std::string_view missing) {
    if (error == std::errc::no_such_file_or_directory) return std::string(missing);
    if (error == std::errc::permission_denied) return "(unreadable: permission denied)";
    return "(unreadable)";
}

std::string yesNo(bool value) {
    return value ? "yes" : "no";
}

}  // namespace

std::string Diagnostics::versionLine(std::string_view appVersion, std::string_view build,
                                     bool signedForRelease) {
    std::string line = "Torvel " + std::string(appVersion) + " (" + std::string(build) + ")";
    if (!signedForRelease) line += " · ad-hoc signature, local build";
    return line;
}

std::string Diagnostics::fileBlock(const FileContents& contents) {
    if (const auto* error = std::get_if<std::error_code>(&contents))
        return unreadableNote(*error, "(no file)");
    const std::string text = repairUtf8(std::get<std::string>(contents));
    const std::string_view body = trimmed(text);
    return body.empty() ? std::string("(empty)") : std::string(body);
}

std::string Diagnostics::byteCount(std::int64_t bytes) {
    return HardwareProbe::sizeText(static_cast<std::uintmax_t>(bytes < 0 ? 0 : bytes));
}

std::string Diagnostics::systemName(const FileContents& osRelease) {
    if (const auto* error = std::get_if<std::error_code>(&osRelease)) {
        return unreadableNote(*error, "(no os-release)");
    }
    // os-release is shell-style KEY=value lines with no groups, which reads as one unnamed INI group.
    const auto pretty = IniFile::parse(std::get<std::string>(osRelease)).value("", "PRETTY_NAME");
    if (!pretty || pretty->empty()) return "(no PRETTY_NAME)";
    return repairUtf8(*pretty);
}

std::string Diagnostics::machineModel(const FileContents& productName, const FileContents& productVersion) {
    if (const auto* error = std::get_if<std::error_code>(&productName)) {
        return unreadableNote(*error, "(no model name)");
    }
    std::string model(trimmed(repairUtf8(std::get<std::string>(productName))));
    if (model.empty()) model = "(no model name)";
    if (const auto* version = std::get_if<std::string>(&productVersion)) {
        const std::string repaired = repairUtf8(*version);
        const std::string_view v = trimmed(repaired);
        // Some makers put the friendly name in the version field, others a placeholder or a repeat.
        if (!v.empty() && v != model && v != "None" && v != "Not Specified" &&
            v != "To be filled by O.E.M.") {
            model += " ";
            model += v;
        }
    }
    return model;
}

std::string Diagnostics::report(const ChargeSettingsState& settings, const DiagnosticFacts& facts) {
    const PublishedStatus& status = settings.status.published;
    std::string out;
    const auto line = [&out](std::string_view text) {
        if (!out.empty()) out += '\n';
        out += text;
    };
    line(versionLine(facts.appVersion, facts.build, facts.signedForRelease));
    line(facts.system + " · " + facts.model);
    line("Service installed: " + yesNo(settings.daemonInstalled) +
         (settings.serviceNeedsApproval ? " (awaiting approval)" : ""));
    line("Charge mechanism: " + status.chargeMode.value_or("unknown"));
    for (const auto& battery : status.batteries) {
        std::string text = "Battery " + battery.name + ": " +
                           (battery.pct ? std::to_string(*battery.pct) + "%" : "charge unknown") + ", " +
                           battery.status.value_or("no status") + ", " + battery.mode.value_or("not held");
        if (battery.endThreshold)
            text += ", thresholds " + std::to_string(battery.startThreshold.value_or(0)) + "-" +
                    std::to_string(*battery.endThreshold);
        if (battery.behaviour) text += ", behaviour " + *battery.behaviour;
        if (battery.error) text += ", last write failed: " + *battery.error;
        line(text);
    }
    if (status.chargeError) line("Charge control failed: " + *status.chargeError);
    if (status.nativeLimit) line("Held instead of the limit: " + std::to_string(*status.nativeLimit) + "%");
    if (const auto& other = status.otherWriter) {
        line("Other program writing the controls: " + std::string(word(other->program)) +
             (other->file ? " (" + *other->file + ")" : "") +
             (other->yielded ? ", Torvel has given way" : ", Torvel still holds"));
    }
    line(std::string("Limit verified: ") + (!status.gateVerified   ? "not checked yet"
                                            : *status.gateVerified ? "yes"
                                                                   : "NO, charging continues"));
    line("Published state: " + std::string(settings.status.stateWord()));
    line(std::string("MagSafe light: ") + (status.ledSupported ? "supported" : "not supported"));
    line(std::string("Forced discharge: ") + (!status.dischargeSupported ? "not supported"
                                              : status.dischargeFailed
                                                  ? "supported, but the cut does not hold — holding instead"
                                                  : "supported"));
    line("History: " + std::to_string(facts.history.days) + " day(s), " + byteCount(facts.history.bytes));
    out += "\n\nconfig.json\n" + fileBlock(facts.config);
    out += "\n\nstatus.json\n" + fileBlock(facts.status);
    out += "\n\ndaemon.log (last 50 lines)\n" + facts.logTail;
    return out;
}

std::string Diagnostics::machineName(const FileContents& vendor, std::string_view model) {
    const auto* text = std::get_if<std::string>(&vendor);
    if (text == nullptr) return std::string(model);
    const std::string maker(trimmed(repairUtf8(*text)));
    if (maker.empty() || model.starts_with(maker)) return std::string(model);
    return maker + " " + std::string(model);
}

DiagnosticFacts Diagnostics::gather(const Paths& paths, std::string appVersion, std::string build) {
    DiagnosticFacts facts;
    facts.appVersion = std::move(appVersion);
    facts.build = std::move(build);
    // Linux builds carry no release signature of the kind a Mac bundle does.
    facts.signedForRelease = false;
    facts.system = systemName(readWholeFile(paths.machineFile("/etc/os-release")));
    facts.model = machineModel(readWholeFile(paths.machineFile("/sys/class/dmi/id/product_name")),
                               readWholeFile(paths.machineFile("/sys/class/dmi/id/product_version")));
    facts.history = HistoryStore(paths.history).summary();
    facts.config = readWholeFile(paths.config);
    facts.status = readWholeFile(paths.status);
    facts.logTail = logTail(paths.log);
    return facts;
}

}  // namespace torvel
