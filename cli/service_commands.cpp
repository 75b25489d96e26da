#include <optional>
#include <string>

#include "bus.h"
#include "commands.h"
#include "common/files.h"
#include "common/paths.h"
#include "reply_text.h"
#include "service/settings_rules.h"
#include "service_client.h"
#include "settings_change.h"

namespace torvel::cli {
namespace {

using client::ServiceClient;

// Long enough for a person to answer the password prompt the service may raise; a service that has not
// answered by then is not going to.
constexpr std::chrono::seconds answerTimeout{60};

// Runs one client operation to its end on the system bus.
ServiceClient::Applied applyOnBus(const client::SettingsChange& change, const Paths& paths) {
    const auto bus = client::Bus::system();
    ServiceClient client(*bus, paths.config);
    std::optional<ServiceClient::Applied> outcome;
    client.apply(
        change.settings, change.extra, [&](const ServiceClient::Applied& applied) { outcome = applied; },
        answerTimeout);
    // The call always ends, if only by its time-out; a bus that could not even say so is unreachable.
    if (!bus->runUntil([&] { return outcome.has_value(); })) {
        return {.error = std::string(client::texts::unreachable), .serviceError = std::nullopt};
    }
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
        printLine(err, tr("torvelctl %1: %2", {command, *error}));
        return exitUsage;
    }
    const ServiceClient::Applied applied = applyOnBus(std::get<client::SettingsChange>(changed), paths);
    if (applied.error) {
        // The service answers in the product's own English, which is also the key of its translation.
        printLine(err, tr("torvelctl %1: %2", {command, tr(*applied.error)}));
        return exitFailed;
    }
    if (applied.serviceError) {
        // The settings are kept, but nothing acts on them until the service reads its config again.
        printLine(err, tr("torvelctl %1: %2", {command, tr(*applied.serviceError)}));
        printLine(out, tr("Saved to %1 directly; the charge service takes it when it next starts.",
                          {paths.config.string()}));
        return exitOk;
    }
    printLine(out, tr("The charge service took the change."));
    return exitOk;
}

// The one-word commands are set with a single key: "topup on" is "set topUp=true".
int switchCommand(std::string_view command, const std::vector<std::string>& args, std::string_view key,
                  std::string_view onWord, std::string_view offWord, std::FILE* out, std::FILE* err) {
    if (args.size() != 1 || (args[0] != onWord && args[0] != offWord)) {
        printLine(err, tr("usage: torvelctl %1 %2|%3", {command, onWord, offWord}));
        return exitUsage;
    }
    const std::string assignment = std::string(key) + (args[0] == onWord ? "=true" : "=false");
    return sendAssignments(command, {assignment}, out, err);
}

// The setting keys wrapped under one another, as a terminal shows them; the keys are the command's own
// words and stay as they are in every language.
std::string keysHelp() {
    constexpr std::size_t width = 88;
    std::string keys;
    std::size_t column = 0;
    for (const auto& rule : settingRules) {
        const std::string_view key = settingKey(rule);
        if (column > 0 && column + 1 + key.size() > width) {
            keys += "\n";
            column = 0;
        }
        const std::string_view gap = column == 0 ? "  " : " ";
        keys.append(gap).append(key);
        column += gap.size() + key.size();
    }
    return tr("keys:") + "\n" + keys + "\n" +
           tr("and %1=true, to count the protected time from zero again", {resetProtectedKey}) + "\n";
}

}  // namespace

int setCommand(const std::vector<std::string>& args, std::FILE* out, std::FILE* err) {
    if (args.empty() || args[0] == "--help" || args[0] == "-h") {
        std::FILE* stream = args.empty() ? err : out;
        printLine(stream, tr("usage: torvelctl set KEY=VALUE..."));
        std::fputs("\n", stream);
        std::fputs(keysHelp().c_str(), stream);
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
