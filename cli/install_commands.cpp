#include "install_commands.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <variant>

#include "commands.h"
#include "common/paths.h"
#include "service/charge_settings.h"

extern char** environ;

namespace torvel::cli {
namespace {

bool onPath(std::string_view program) {
    const auto path = processEnvironment("PATH");
    if (!path) return false;
    std::string_view rest = *path;
    while (!rest.empty()) {
        const auto colon = rest.find(':');
        const std::filesystem::path candidate = std::filesystem::path(rest.substr(0, colon)) / program;
        if (::access(candidate.c_str(), X_OK) == 0) return true;
        rest = colon == std::string_view::npos ? std::string_view() : rest.substr(colon + 1);
    }
    return false;
}

// The folder this torvelctl runs from, so a build tree uses its own helpers and an installed copy its own.
std::filesystem::path programDirectory() {
    std::error_code error;
    const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::filesystem::current_path(error) : self.parent_path();
}

// Runs the command and waits for it; its exit status, or an error text when it could not start.
std::variant<int, std::string> runAndWait(const std::vector<std::string>& command) {
    std::vector<char*> argv;
    for (const auto& word : command) argv.push_back(const_cast<char*>(word.c_str()));
    argv.push_back(nullptr);
    pid_t child = 0;
    if (const int failed = ::posix_spawnp(&child, argv[0], nullptr, nullptr, argv.data(), environ); failed) {
        return tr("cannot run %1: %2", {command.front(), std::strerror(failed)});
    }
    int status = 0;
    while (::waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) return tr("cannot wait for %1: %2", {command.front(), std::strerror(errno)});
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

int runHelper(std::string_view command, std::string_view helperName,
              const std::vector<std::string>& arguments, std::FILE* err) {
    const std::filesystem::path tools = serviceToolsDirectory(programDirectory());
    const std::filesystem::path helper = tools / helperName;
    if (::access(helper.c_str(), X_OK) != 0) {
        printLine(err,
                  tr("torvelctl %1: cannot find %2: %3", {command, helper.string(), std::strerror(errno)}));
        return exitFailed;
    }
    const auto ran = runAndWait(elevatedCommand(::geteuid() == 0, onPath("sudo"), helper, arguments));
    if (const auto* error = std::get_if<std::string>(&ran)) {
        printLine(err, tr("torvelctl %1: %2", {command, *error}));
        return exitFailed;
    }
    // The helper has said what went wrong on its own; a dismissed prompt changed nothing.
    return std::get<int>(ran) == 0 ? exitOk : exitFailed;
}

}  // namespace

std::vector<std::string> elevatedCommand(bool root, bool hasSudo, const std::filesystem::path& helper,
                                         const std::vector<std::string>& arguments) {
    std::vector<std::string> command;
    if (!root) command.emplace_back(hasSudo ? "sudo" : "pkexec");
    command.push_back(helper.string());
    command.insert(command.end(), arguments.begin(), arguments.end());
    return command;
}

int installCommand(const std::vector<std::string>& args, std::FILE*, std::FILE* err) {
    if (!args.empty()) {
        printLine(err, tr("usage: torvelctl install"));
        return exitUsage;
    }
    const std::filesystem::path daemon = serviceToolsDirectory(programDirectory()) / "torvel-daemon";
    return runHelper("install", "install-service", {daemon.string()}, err);
}

int uninstallCommand(const std::vector<std::string>& args, std::FILE*, std::FILE* err) {
    if (args.size() > 1 || (args.size() == 1 && args[0] != "--keep-data")) {
        printLine(err, tr("usage: torvelctl uninstall [--keep-data]"));
        return exitUsage;
    }
    return runHelper("uninstall", "uninstall-service", args, err);
}

}  // namespace torvel::cli
