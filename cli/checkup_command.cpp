#include <algorithm>
#include <string>

#include "battery/system_lock.h"
#include "commands.h"
#include "common/files.h"
#include "common/json.h"
#include "data_directory.h"
#include "extras/login_item.h"
#include "extras/updater.h"
#include "history/store.h"
#include "options.h"
#include "status/checkup.h"
#include "status/mac_page.h"
#include "status/service_words.h"

namespace torvel::cli {
namespace {

struct CheckupRequest {
    bool json = false;
    double now = 0;
    bool serviceInstalled = false;
};

std::variant<CheckupRequest, std::string> parseRequest(const std::vector<std::string>& args) {
    auto parsed = Options::parse(args, {{"--json"}, {"--now", true}, {"--service-installed", true}});
    if (auto* error = std::get_if<std::string>(&parsed)) return *error;
    const Options& options = std::get<Options>(parsed);

    CheckupRequest request;
    request.json = options.has("--json");
    if (auto error = parseNow(options, request.now)) return *error;
    if (auto error = parseServiceInstalled(options.value("--service-installed"), request.serviceInstalled)) {
        return *error;
    }
    return request;
}

std::optional<std::string> readIfPresent(const std::optional<std::filesystem::path>& path) {
    if (!path) return std::nullopt;
    auto contents = readWholeFile(*path);
    if (auto* text = std::get_if<std::string>(&contents)) return std::move(*text);
    return std::nullopt;
}

// The head of the app's Mac page, which this command mirrors.
struct PageHead {
    std::string headline;
    std::string subline;
    std::optional<MacPage::Fix> fix;
};

json::Ordered checkupJson(const Checkup& checkup, const std::string& explanation, const PageHead& page) {
    json::Ordered out;
    out["page"] = {{"headline", page.headline},
                   {"subline", page.subline},
                   {"fix", page.fix ? json::Ordered(page.fix->title) : json::Ordered(nullptr)}};
    out["level"] = name(checkup.level());
    out["summary"] = checkup.summary();
    out["todoCount"] = checkup.todoCount();
    const auto problem = checkup.firstProblem();
    out["firstProblem"] = problem ? json::Ordered(name(*problem)) : json::Ordered(nullptr);
    const auto fix = checkup.fix();
    out["fix"] = fix ? json::Ordered({{"title", fix->title}}) : json::Ordered(nullptr);
    json::Ordered readings = json::Ordered::array();
    for (const auto& reading : checkup.readings()) {
        readings.push_back(
            {{"piece", name(reading.piece)}, {"level", name(reading.level)}, {"word", reading.word}});
    }
    out["readings"] = std::move(readings);
    out["serviceExplanation"] = explanation;
    return out;
}

// The level words of the table: short, as a column of a terminal wants them.
std::string levelWord(Checkup::Level level) {
    switch (level) {
        case Checkup::Level::ok:
            return tr("ok");
        case Checkup::Level::off:
            return tr("off");
        case Checkup::Level::todo:
            return tr("to do");
        case Checkup::Level::broken:
            return tr("broken");
    }
    return {};
}

void printForPerson(std::FILE* out, const Checkup& checkup, const std::string& explanation,
                    const PageHead& page) {
    std::fprintf(out, "%s\n%s\n", page.headline.c_str(), page.subline.c_str());
    if (page.fix) printLine(out, tr("→ %1", {page.fix->title}));
    std::fprintf(out, "\n%s\n\n", checkup.summary().c_str());
    // Each column as wide as its longest word in this language, and a space between them.
    std::size_t titleColumns = 0;
    std::size_t levelColumns = 0;
    for (const auto& reading : checkup.readings()) {
        titleColumns = std::max(titleColumns, columnsOf(Checkup::title(reading.piece)) + 1);
        levelColumns = std::max(levelColumns, columnsOf(levelWord(reading.level)) + 1);
    }
    for (const auto& reading : checkup.readings()) {
        printLine(out, "  " + padded(Checkup::title(reading.piece), titleColumns) +
                           padded(levelWord(reading.level), levelColumns) + reading.word);
    }
    if (const auto fix = checkup.fix()) {
        std::fputs("\n", out);
        printLine(out, tr("Fix: %1", {fix->title}));
    }
    std::fprintf(out, "\n%s\n", explanation.c_str());
}

}  // namespace

int checkupCommand(const std::vector<std::string>& args, std::FILE* out, std::FILE* err) {
    auto parsed = parseRequest(args);
    if (auto* error = std::get_if<std::string>(&parsed)) {
        printLine(err, tr("torvelctl checkup: %1", {*error}));
        return exitUsage;
    }
    const CheckupRequest& request = std::get<CheckupRequest>(parsed);

    const DataDirectoryState data =
        loadDataDirectory(Paths::fromProcessEnvironment(), request.now, request.serviceInstalled);
    const auto login =
        LoginItem::fromAutostartEntry(readIfPresent(LoginItem::autostartFile(processEnvironment)));
    const auto updates = UpdaterState::fromSettings(
        readIfPresent(UpdaterState::settingsFile(processEnvironment)).value_or(""));
    const ServiceState state = data.settings.serviceState(data.installation);
    const SystemLock lock = SystemLock::current();
    const Checkup checkup(data.settings, state, lock, login, updates);
    const MacPage::Facts facts =
        MacPage::Facts::from(data.settings, state, lock, login, false,
                             HistoryStore(Paths::fromProcessEnvironment().history).summary(), request.now);
    const PageHead page{MacPage::headline(checkup), MacPage::subline(checkup, facts),
                        MacPage::serviceFix(facts)};
    const std::string explanation =
        ServiceWords::explanation(data.settings, state, data.installation.uninstallerPath.has_value());

    if (request.json) {
        std::fprintf(out, "%s\n", checkupJson(checkup, explanation, page).dump(2).c_str());
    } else {
        printForPerson(out, checkup, explanation, page);
    }
    return exitOk;
}

}  // namespace torvel::cli
