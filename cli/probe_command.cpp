#include <filesystem>
#include <string>

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
    return value ? "yes" : "no";
}

}  // namespace

int probeCommand(const std::vector<std::string>& args, std::FILE* out, std::FILE* err) {
    auto parsed = Options::parse(args, {{"--json"}, {"--daemon", true}});
    if (const auto* error = std::get_if<std::string>(&parsed)) {
        std::fprintf(err, "torvelctl probe: %s\n", error->c_str());
        return exitUsage;
    }
    const Options& options = std::get<Options>(parsed);
    const fs::path daemon = options.value("--daemon").value_or(ownDaemon().string());

    const HardwareProbe::ProbeRun run = HardwareProbe::run(daemon);
    if (std::holds_alternative<HardwareProbe::MissingExecutable>(run)) {
        std::fprintf(err, "torvelctl probe: no service executable at %s (give its path with --daemon)\n",
                     daemon.c_str());
        return exitFailed;
    }
    const HardwareProbe::Result result = HardwareProbe::interpret(run);
    if (const auto* failed = std::get_if<HardwareProbe::Failed>(&result)) {
        std::fprintf(err, "torvelctl probe: %s: %s\n", daemon.c_str(), failed->text.c_str());
        return exitFailed;
    }
    const std::string& answer = std::get<HardwareProbe::Output>(run).bytes;
    if (options.has("--json")) {
        // The service's own answer, as the app reads it, with any facts it adds for the diagnostic report.
        std::fprintf(out, "%s%s", answer.c_str(), answer.ends_with('\n') ? "" : "\n");
        return exitOk;
    }

    std::fprintf(out, "service     %s\n", daemon.c_str());
    if (const auto* supported = std::get_if<HardwareProbe::Supported>(&result)) {
        std::fprintf(out, "supported   yes\nmode        %s\ndischarge   %s\nlight       %s\n",
                     supported->mode.c_str(), supported->discharge.value_or("none").c_str(),
                     yesNo(supported->led).c_str());
    } else {
        const auto reason = json::text(json::parseObject(answer).value_or(json::Value::object()), "reason");
        std::fprintf(out, "supported   no\nreason      %s\n", reason.value_or("unknown").c_str());
    }
    return exitOk;
}

}  // namespace torvel::cli
