#include "battery/probe.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "common/fmt.h"
#include "common/json.h"
#include "common/numbers.h"
#include "common/syscalls.h"
#include "common/texts.h"

extern char** environ;

namespace torvel {
namespace {

constexpr std::string_view missingText =
    trNoop("Part of Torvel is missing. Download it again and try once more.");
constexpr std::string_view unreadableText = trNoop("The check gave an answer Torvel couldn’t make sense of.");

bool isExecutableFile(const std::filesystem::path& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode) && ::access(path.c_str(), X_OK) == 0;
}

}  // namespace

std::string HardwareProbe::Unsupported::message(int macOSMajor) const {
    switch (value_) {
        case systemLocked:
            return tr(
                "macOS %1 changed the way charging is controlled, and Torvel can’t hold a limit on it yet. "
                "We’re working on it, and it will arrive as an update.",
                {std::to_string(macOSMajor)});
        case unknownHardware:
            break;
    }
    return tr(
        "Torvel couldn’t find a way to control charging on this Mac. It needs an Apple Silicon Mac, an M1 or "
        "newer.");
}

HardwareProbe::Result HardwareProbe::interpretOutput(std::string_view bytes) {
    const auto answer = json::parseObject(bytes);
    if (!answer) return Failed{tr(unreadableText)};
    if (json::boolean(*answer, "supported") == true) {
        return Supported{
            .mode = json::text(*answer, "mode").value_or("?"),
            .discharge = json::text(*answer, "discharge"),
            .led = json::boolean(*answer, "led").value_or(false),
        };
    }
    if (json::text(*answer, "reason") == "system-locked") return Unsupported::systemLocked;
    return Unsupported::unknownHardware;
}

HardwareProbe::Result HardwareProbe::interpret(const ProbeRun& run) {
    if (std::holds_alternative<MissingExecutable>(run)) return Failed{tr(missingText)};
    if (const auto* failure = std::get_if<LaunchFailure>(&run)) return Failed{failure->text};
    return interpretOutput(std::get<Output>(run).bytes);
}

HardwareProbe::ProbeRun HardwareProbe::run(const std::filesystem::path& executable) {
    if (!isExecutableFile(executable)) return MissingExecutable{};
    const auto launchFailure = [](int code) { return LaunchFailure{std::strerror(code)}; };

    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) return launchFailure(errno);
    const FileDescriptor readEnd(ends[0]);
    FileDescriptor writeEnd(ends[1]);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, writeEnd.get(), STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);

    std::string path = executable.string();
    char probeArg[] = "--probe";
    char jsonArg[] = "--json";
    char* argv[] = {path.data(), probeArg, jsonArg, nullptr};
    pid_t child = 0;
    const int spawned = ::posix_spawn(&child, path.c_str(), &actions, nullptr, argv, environ);
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0) return launchFailure(spawned);

    // Our copy of the write end must go, or the read below would never see the end of the output.
    writeEnd.reset();

    std::string output;
    char buffer[4096];
    for (;;) {
        const ssize_t count = retryOnInterrupt([&] { return ::read(readEnd.get(), buffer, sizeof buffer); });
        if (count <= 0) break;
        output.append(buffer, static_cast<std::size_t>(count));
    }
    // The exit status says nothing the answer does not; only the child needs reaping.
    int status = 0;
    retryOnInterrupt([&] { return ::waitpid(child, &status, 0); });
    return Output{std::move(output)};
}

std::string HardwareProbe::sizeText(std::uintmax_t bytes) {
    // File-style counts are decimal (1 kB = 1000 bytes). Below a megabyte the count is whole kilobytes, and
    // never "0 kB" for a file that has bytes.
    const double kilobytes = static_cast<double>(bytes) / 1000.0;
    const auto wholeKilobytes = roundedInteger(kilobytes);
    if (wholeKilobytes && *wholeKilobytes < 1000) {
        return tr("%1 kB", {std::to_string(bytes == 0 ? 0 : std::max<std::int64_t>(1, *wholeKilobytes))});
    }
    return tr("%1 MB", {Fmt::decimal(kilobytes / 1000.0)});
}

std::string HardwareProbe::daemonSizeText(const std::filesystem::path& executable) {
    std::error_code error;
    const auto size = std::filesystem::file_size(executable, error);
    if (error) return "—";
    return sizeText(size);
}

}  // namespace torvel
