#include <algorithm>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "battery/probe.h"
#include "commands.h"
#include "common/json.h"
#include "data_directory.h"
#include "options.h"

namespace torvel::cli {
namespace {

namespace fs = std::filesystem;

// The service executable this torvelctl belongs to: in a build tree it sits in daemon/ beside cli/, in an
// installed prefix under libexec/torvel/; the system's copy otherwise.
fs::path ownDaemon() {
    std::error_code error;
    const fs::path self = fs::read_symlink("/proc/self/exe", error);
    if (!error) {
        const fs::path prefix = self.parent_path().parent_path();
        for (const fs::path& candidate :
             {prefix / "daemon" / "torvel-daemon", prefix / "libexec" / "torvel" / "torvel-daemon"}) {
            if (fs::is_regular_file(candidate, error)) return candidate;
        }
    }
    return installedDaemonPath;
}

std::string yesNo(bool value) {
    return value ? tr("yes") : tr("no");
}

// The answer's lines, each heading in a column as wide as the longest one in this language.
void printFacts(std::FILE* out, const std::vector<std::pair<std::string, std::string>>& facts) {
    std::size_t columns = 0;
    for (const auto& [heading, value] : facts) columns = std::max(columns, columnsOf(heading) + 2);
    for (const auto& [heading, value] : facts) printLine(out, padded(heading, columns) + value);
}

}  // namespace

int probeCommand(const std::vector<std::string>& args, std::FILE* out, std::FILE* err) {
    auto parsed = Options::parse(args, {{"--json"}, {"--daemon", true}});
    if (const auto* error = std::get_if<std::string>(&parsed)) {
        printLine(err, tr("torvelctl probe: %1", {*error}));
        return exitUsage;
    }
    const Options& options = std::get<Options>(parsed);
    const fs::path daemon = options.value("--daemon").value_or(ownDaemon().string());

    const HardwareProbe::ProbeRun run = HardwareProbe::run(daemon);
    if (std::holds_alternative<HardwareProbe::MissingExecutable>(run)) {
        printLine(err, tr("torvelctl probe: no service executable at %1 (give its path with --daemon)",
                          {daemon.string()}));
        return exitFailed;
    }
    const HardwareProbe::Result result = HardwareProbe::interpret(run);
    if (const auto* failed = std::get_if<HardwareProbe::Failed>(&result)) {
        printLine(err, tr("torvelctl probe: %1: %2", {daemon.string(), failed->text}));
        return exitFailed;
    }
    const std::string& answer = std::get<HardwareProbe::Output>(run).bytes;
    if (options.has("--json")) {
        // The service's own answer, as the app reads it, with any facts it adds for the diagnostic report.
        std::fprintf(out, "%s%s", answer.c_str(), answer.ends_with('\n') ? "" : "\n");
        return exitOk;
    }

    // The mode, the way of discharging and the reason are the service's own words, shown as it gives them.
    if (const auto* supported = std::get_if<HardwareProbe::Supported>(&result)) {
        printFacts(out, {{tr("service"), daemon.string()},
                         {tr("supported"), yesNo(true)},
                         {tr("mode"), supported->mode},
                         {tr("discharge"), supported->discharge.value_or(tr("none"))},
                         {tr("light"), yesNo(supported->led)}});
    } else {
        const auto reason = json::text(json::parseObject(answer).value_or(json::Value::object()), "reason");
        printFacts(out, {{tr("service"), daemon.string()},
                         {tr("supported"), yesNo(false)},
                         {tr("reason"), reason.value_or(tr("unknown"))}});
    }
    return exitOk;
}

}  // namespace torvel::cli
