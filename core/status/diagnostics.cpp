#include "status/diagnostics.h"

#include <cctype>

#include "battery/probe.h"
#include "common/fmt.h"
#include "common/text.h"
#include "common/texts.h"
#include "extras/ini.h"
#include "service/log_tail.h"

namespace torvel {
namespace {

// The same three notes as the log tail, so the report reads alike wherever a file is missing.
std::string unreadableNote(const std::error_code& error, std::string_view missing) {
    if (error == std::errc::no_such_file_or_directory) return std::string(missing);
    if (error == std::errc::permission_denied) return tr("(unreadable: permission denied)");
    return tr("(unreadable)");
}

std::string yesNo(bool value) {
    return value ? tr("yes") : tr("no");
}

}  // namespace

std::string Diagnostics::versionLine(std::string_view appVersion, std::string_view build,
                                     bool signedForRelease) {
    if (signedForRelease) return tr("Torvel %1 (%2)", {appVersion, build});
    return tr("Torvel %1 (%2) · ad-hoc signature, local build", {appVersion, build});
}

std::string Diagnostics::fileBlock(const FileContents& contents) {
    if (const auto* error = std::get_if<std::error_code>(&contents))
        return unreadableNote(*error, tr("(no file)"));
    const std::string text = repairUtf8(std::get<std::string>(contents));
    const std::string_view body = trimmed(text);
    return body.empty() ? tr("(empty)") : std::string(body);
}

std::string Diagnostics::byteCount(std::int64_t bytes) {
    return HardwareProbe::sizeText(static_cast<std::uintmax_t>(bytes < 0 ? 0 : bytes));
}

std::string Diagnostics::systemName(const FileContents& osRelease) {
    if (const auto* error = std::get_if<std::error_code>(&osRelease)) {
        return unreadableNote(*error, tr("(no os-release)"));
    }
    // os-release is shell-style KEY=value lines with no groups, which reads as one unnamed INI group.
    const auto pretty = IniFile::parse(std::get<std::string>(osRelease)).value("", "PRETTY_NAME");
    if (!pretty || pretty->empty()) return tr("(no PRETTY_NAME)");
    return repairUtf8(*pretty);
}

std::string Diagnostics::machineModel(const FileContents& productName, const FileContents& productVersion) {
    if (const auto* error = std::get_if<std::error_code>(&productName)) {
        return unreadableNote(*error, tr("(no model name)"));
    }
    std::string model(trimmed(repairUtf8(std::get<std::string>(productName))));
    if (model.empty()) model = tr("(no model name)");
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
    line(settings.serviceNeedsApproval
             ? tr("Service installed: %1 (awaiting approval)", {yesNo(settings.daemonInstalled)})
             : tr("Service installed: %1", {yesNo(settings.daemonInstalled)}));
    line(tr("Charge mechanism: %1", {status.chargeMode ? *status.chargeMode : tr("unknown")}));
    // The raw words of the service (status, mode, behaviour, errors) stay as it wrote them: they are what a
    // reader of the report searches the code for.
    for (const auto& battery : status.batteries) {
        std::string text = tr("Battery %1: %2, %3, %4",
                              {battery.name, battery.pct ? Fmt::percent(*battery.pct) : tr("charge unknown"),
                               battery.status ? *battery.status : tr("no status"),
                               battery.mode ? *battery.mode : tr("not held")});
        if (battery.endThreshold) {
            text += tr(", thresholds %1-%2", {std::to_string(battery.startThreshold.value_or(0)),
                                              std::to_string(*battery.endThreshold)});
        }
        if (battery.behaviour) text += tr(", behaviour %1", {*battery.behaviour});
        if (battery.error) text += tr(", last write failed: %1", {*battery.error});
        line(text);
    }
    if (status.chargeError) line(tr("Charge control failed: %1", {*status.chargeError}));
    if (status.nativeLimit) line(tr("Held instead of the limit: %1", {Fmt::percent(*status.nativeLimit)}));
    if (const auto& other = status.otherWriter) {
        const std::string program(word(other->program));
        if (other->file) {
            line(other->yielded ? tr("Other program writing the controls: %1 (%2), Torvel has given way",
                                     {program, *other->file})
                                : tr("Other program writing the controls: %1 (%2), Torvel still holds",
                                     {program, *other->file}));
        } else {
            line(other->yielded
                     ? tr("Other program writing the controls: %1, Torvel has given way", {program})
                     : tr("Other program writing the controls: %1, Torvel still holds", {program}));
        }
    }
    line(tr("Limit verified: %1", {!status.gateVerified   ? tr("not checked yet")
                                   : *status.gateVerified ? tr("yes")
                                                          : tr("NO, charging continues")}));
    line(tr("Published state: %1", {settings.status.stateWord()}));
    line(tr("MagSafe light: %1", {status.ledSupported ? tr("supported") : tr("not supported")}));
    line(tr("Forced discharge: %1",
            {!status.dischargeSupported ? tr("not supported")
             : status.dischargeFailed   ? tr("supported, but the cut does not hold — holding instead")
                                        : tr("supported")}));
    line(trn("History: %1 day, %2", "History: %1 days, %2", facts.history.days,
             {std::to_string(facts.history.days), byteCount(facts.history.bytes)}));
    out += "\n\nconfig.json\n" + fileBlock(facts.config);
    out += "\n\nstatus.json\n" + fileBlock(facts.status);
    out += "\n\n" + tr("daemon.log (last 50 lines)") + "\n" + facts.logTail;
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
