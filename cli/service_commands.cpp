#include <QCoreApplication>
#include <QEventLoop>
#include <optional>
#include <string>

#include "commands.h"
#include "common/files.h"
#include "common/paths.h"
#include "service_client.h"
#include "settings_change.h"

namespace torvel::cli {
namespace {

using client::ServiceClient;

// Long enough for a person to answer the password prompt the service may raise; a service that has not
// answered by then is not going to.
constexpr std::chrono::seconds answerTimeout{60};

// Runs one client operation to its end. QtDBus needs an application object and an event loop, so the
// commands that talk to the bus make them here and the others never pay for Qt.
ServiceClient::Applied applyOnBus(const client::SettingsChange& change, const Paths& paths) {
    static int argc = 1;
    static char name[] = "torvelctl";
    static char* argv[] = {name, nullptr};
    std::optional<QCoreApplication> application;
    if (QCoreApplication::instance() == nullptr) application.emplace(argc, argv);

    ServiceClient client;
    QEventLoop loop;
    std::optional<ServiceClient::Applied> outcome;
    client.apply(
        change.settings, change.extra, paths.config,
        [&](const ServiceClient::Applied& applied) {
            outcome = applied;
            loop.quit();
        },
        answerTimeout);
    if (!outcome) loop.exec();
    return *outcome;
}

Settings currentSettings(const Paths& paths) {
    const auto config = readWholeFile(paths.config);
    if (const auto* bytes = std::get_if<std::string>(&config)) return loadSettings(*bytes);
    return {};
}

// Reads config.json, makes the assignments and hands the result to the service.
int sendAssignments(std::string_view command, const std::vector<std::string>& assignments, std::FILE* out,
                    std::FILE* err) {
    const Paths paths = Paths::fromProcessEnvironment();
    auto changed = client::changeSettings(currentSettings(paths), assignments);
    if (const auto* error = std::get_if<std::string>(&changed)) {
        std::fprintf(err, "torvelctl %.*s: %s\n", static_cast<int>(command.size()), command.data(),
                     error->c_str());
        return exitUsage;
    }
    const ServiceClient::Applied applied = applyOnBus(std::get<client::SettingsChange>(changed), paths);
    if (applied.error) {
        std::fprintf(err, "torvelctl %.*s: %s\n", static_cast<int>(command.size()), command.data(),
                     applied.error->c_str());
        return exitFailed;
    }
    if (applied.serviceError) {
        // The settings are kept, but nothing acts on them until the service reads its config again.
        std::fprintf(err, "torvelctl %.*s: %s\n", static_cast<int>(command.size()), command.data(),
                     applied.serviceError->c_str());
        std::fprintf(out, "Saved to %s directly; the charge service takes it when it next starts.\n",
                     paths.config.c_str());
        return exitOk;
    }
    std::fprintf(out, "The charge service took the change.\n");
    return exitOk;
}

// The one-word commands are set with a single key: "topup on" is "set topUp=true".
int switchCommand(std::string_view command, const std::vector<std::string>& args, std::string_view key,
                  std::string_view onWord, std::string_view offWord, std::FILE* out, std::FILE* err) {
    if (args.size() != 1 || (args[0] != onWord && args[0] != offWord)) {
        std::fprintf(err, "usage: torvelctl %.*s %.*s|%.*s\n", static_cast<int>(command.size()),
                     command.data(), static_cast<int>(onWord.size()), onWord.data(),
                     static_cast<int>(offWord.size()), offWord.data());
        return exitUsage;
    }
    const std::string assignment = std::string(key) + (args[0] == onWord ? "=true" : "=false");
    return sendAssignments(command, {assignment}, out, err);
}

}  // namespace

int setCommand(const std::vector<std::string>& args, std::FILE* out, std::FILE* err) {
    if (args.empty() || args[0] == "--help" || args[0] == "-h") {
        std::fputs(
            "usage: torvelctl set KEY=VALUE...\n\n"
            "keys: enabled limit discharge led blinkSeconds thermal thermalLimit topUp topUpHours\n"
            "      hysteresis history historyDays calibrate, and resetProtected=true\n",
            args.empty() ? err : out);
        return args.empty() ? exitUsage : exitOk;
    }
    return sendAssignments("set", args, out, err);
}

int topupCommand(const std::vector<std::string>& args, std::FILE* out, std::FILE* err) {
    return switchCommand("topup", args, "topUp", "on", "off", out, err);
}

int calibrateCommand(const std::vector<std::string>& args, std::FILE* out, std::FILE* err) {
    return switchCommand("calibrate", args, "calibrate", "start", "stop", out, err);
}

}  // namespace torvel::cli
