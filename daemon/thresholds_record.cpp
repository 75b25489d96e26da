#include "thresholds_record.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "battery/charge_behaviour.h"
#include "battery/power_supply.h"
#include "common/json.h"
#include "common/syscalls.h"
#include "device/sysfs_device.h"
#include "files/atomic_file.h"

namespace torvel::daemon {
namespace {
namespace fs = std::filesystem;

constexpr const char* startFile = "charge_control_start_threshold";
constexpr const char* endFile = "charge_control_end_threshold";
constexpr const char* behaviourFile = "charge_behaviour";
constexpr std::size_t recordLimit = 64 * 1024;

std::optional<int> percent(const std::optional<std::int64_t>& value) {
    if (!value || *value < 0 || *value > 100) return std::nullopt;
    return static_cast<int>(*value);
}

std::optional<int> readThreshold(const fs::path& battery, const char* file) {
    if (!attributeWritable(battery / file)) return std::nullopt;
    return percent(readIntegerAttribute(battery / file));
}

// A name from the record becomes a path under the power-supply class: nothing but a plain entry name may.
bool plainSupplyName(std::string_view name) {
    if (name.empty() || name == "." || name == ".." || name.size() > 64) return false;
    for (const char c : name) {
        const bool allowed = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                             c == '_' || c == '-' || c == '.' || c == ':';
        if (!allowed) return false;
    }
    return true;
}

std::vector<fs::path> systemBatteries(const fs::path& powerSupply) {
    std::vector<fs::path> batteries;
    for (const fs::path& supply : listSupplies(powerSupply).value_or(std::vector<fs::path>{})) {
        if (isSystemBattery(supply)) batteries.push_back(supply);
    }
    return batteries;
}

std::string describe(const StoodThresholds& t) {
    std::string line = t.battery;
    if (t.start) line += " start " + std::to_string(*t.start);
    if (t.end) line += " end " + std::to_string(*t.end);
    return line;
}

// Writes one threshold when it differs, and reads it back: drivers round and clamp without a word.
void putThreshold(const fs::path& battery, const char* file, int value, HandOverReport& report) {
    if (!attributeWritable(battery / file)) return;
    if (readThreshold(battery, file) == value) return;
    if (auto error = writeAttribute(battery / file, std::to_string(value))) {
        report.failures.push_back(battery.filename().string() + ": " + error->text);
        return;
    }
    const auto now = readThreshold(battery, file);
    if (now != value) {
        report.failures.push_back(battery.filename().string() + ": " + file + " reads " +
                                  (now ? std::to_string(*now) : std::string("nothing")) + " after writing " +
                                  std::to_string(value));
    }
}

void restoreBattery(const fs::path& battery, const StoodThresholds& wanted, HandOverReport& report) {
    // The kernel refuses a start above the end that stands, so the end goes first when the start to come
    // back is above it; otherwise the start goes first, so a lower end is never refused for the old start.
    const auto standingEnd = readThreshold(battery, endFile);
    const bool endFirst = wanted.start && standingEnd && *wanted.start > *standingEnd;
    if (endFirst && wanted.end) putThreshold(battery, endFile, *wanted.end, report);
    if (wanted.start) putThreshold(battery, startFile, *wanted.start, report);
    if (!endFirst && wanted.end) putThreshold(battery, endFile, *wanted.end, report);

    // Never leave the charger inhibited or forced down with nobody left to undo it.
    if (attributeWritable(battery / behaviourFile)) {
        const auto text = readAttribute(battery / behaviourFile);
        const auto behaviour = text ? ChargeBehaviour::parse(*text) : std::nullopt;
        if (!behaviour || behaviour->current != behaviourAuto) {
            if (auto error = writeAttribute(battery / behaviourFile, behaviourAuto)) {
                report.failures.push_back(battery.filename().string() + ": " + error->text);
            }
        }
    }
}

}  // namespace

fs::path thresholdsRecordFile(const Paths& paths) {
    return paths.dataDirectory() / "thresholds-before.json";
}

std::vector<StoodThresholds> readStoodThresholds(const fs::path& powerSupply) {
    std::vector<StoodThresholds> stood;
    for (const fs::path& battery : systemBatteries(powerSupply)) {
        StoodThresholds t{.battery = battery.filename().string(),
                          .start = readThreshold(battery, startFile),
                          .end = readThreshold(battery, endFile)};
        if (t.start || t.end) stood.push_back(std::move(t));
    }
    return stood;
}

std::string encodeStoodThresholds(const std::vector<StoodThresholds>& batteries) {
    json::Ordered list = json::Ordered::array();
    for (const auto& t : batteries) {
        json::Ordered entry = {{"battery", t.battery}};
        if (t.start) entry["start"] = *t.start;
        if (t.end) entry["end"] = *t.end;
        list.push_back(std::move(entry));
    }
    return json::Ordered{{"batteries", std::move(list)}}.dump() + "\n";
}

std::vector<StoodThresholds> decodeStoodThresholds(std::string_view text) {
    std::vector<StoodThresholds> batteries;
    const auto document = json::parseObjectStrictly(text);
    const json::Value* list = document ? json::member(*document, "batteries") : nullptr;
    if (list == nullptr || !list->is_array()) return batteries;
    for (const json::Value& entry : *list) {
        if (!entry.is_object()) continue;
        const auto name = json::text(entry, "battery");
        if (!name || !plainSupplyName(*name)) continue;
        StoodThresholds t{.battery = *name,
                          .start = percent(json::integer(entry, "start")),
                          .end = percent(json::integer(entry, "end"))};
        if (t.start && t.end && *t.start > *t.end) continue;
        if (t.start || t.end) batteries.push_back(std::move(t));
    }
    return batteries;
}

HandOverReport recordThresholds(const Paths& paths) {
    HandOverReport report;
    const fs::path record = thresholdsRecordFile(paths);
    struct stat info {};
    if (::lstat(record.c_str(), &info) == 0) {
        report.done.push_back("kept the thresholds recorded at the first install");
        return report;
    }
    const auto stood = readStoodThresholds(paths.powerSupply);
    FileError error = ensureDirectory(paths.dataDirectory());
    if (!error) error = replaceFile(record, encodeStoodThresholds(stood));
    if (error) {
        report.failures.push_back(*error);
        return report;
    }
    for (const auto& t : stood) report.done.push_back("recorded " + describe(t));
    if (stood.empty()) report.done.push_back("recorded that no battery has charge thresholds");
    return report;
}

HandOverReport restoreThresholds(const Paths& paths) {
    HandOverReport report;
    const fs::path record = thresholdsRecordFile(paths);
    int readError = 0;
    const auto text = readFileNoFollow(record, readError, recordLimit);
    const auto recorded = text ? decodeStoodThresholds(*text) : std::vector<StoodThresholds>{};

    for (const fs::path& battery : systemBatteries(paths.powerSupply)) {
        const std::string name = battery.filename().string();
        // A battery the record does not know (none was made, or the battery came later) gets the range the
        // firmware starts with.
        StoodThresholds wanted{.battery = name, .start = std::nullopt, .end = std::nullopt};
        if (attributeWritable(battery / startFile)) wanted.start = 0;
        if (attributeWritable(battery / endFile)) wanted.end = 100;
        for (const auto& t : recorded) {
            if (t.battery == name) wanted = t;
        }
        const std::size_t failuresBefore = report.failures.size();
        restoreBattery(battery, wanted, report);
        if (report.failures.size() == failuresBefore) {
            const bool behaviour = attributeWritable(battery / behaviourFile);
            if (wanted.start || wanted.end || behaviour)
                report.done.push_back("put back " + describe(wanted) +
                                      (behaviour ? ", charge_behaviour auto" : ""));
        }
    }
    if (::unlink(record.c_str()) != 0 && errno != ENOENT) {
        report.failures.push_back(systemError("delete", record.filename().string(), errno));
    }
    return report;
}

}  // namespace torvel::daemon
