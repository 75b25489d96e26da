#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "common/files.h"
#include "common/paths.h"
#include "history/store.h"
#include "service/charge_settings.h"

namespace torvel {

// What the platform supplies to the diagnostic report, read at the moment of the call.
struct DiagnosticFacts {
    std::string appVersion;
    std::string build;
    bool signedForRelease = false;
    std::string system;  // "macOS 15.1" on a Mac; PRETTY_NAME of os-release on Linux
    std::string model;   // the machine's model
    HistoryStore::Summary history;
    FileContents config;
    FileContents status;
    std::string logTail;  // as logTail() gives it, notes included
};

// The plain-text report a user copies and sends when something is wrong. It never fails: every missing
// piece becomes a word or a short parenthesised note, so a report exists even without the service.
struct Diagnostics {
    static std::string report(const ChargeSettingsState& settings, const DiagnosticFacts& facts);

    static std::string versionLine(std::string_view appVersion, std::string_view build,
                                   bool signedForRelease);
    // A service file as the report shows it: its text trimmed, or a note saying why there is none.
    static std::string fileBlock(const FileContents& contents);
    // A size the way file managers write it ("1.2 MB").
    static std::string byteCount(std::int64_t bytes);

    // PRETTY_NAME of an os-release file, or a note when the file or the key is missing.
    static std::string systemName(const FileContents& osRelease);
    // The DMI product name followed by its version when that says something more.
    static std::string machineModel(const FileContents& productName, const FileContents& productVersion);
    // The maker's name before the model, unless the model already begins with it.
    static std::string machineName(const FileContents& vendor, std::string_view model);

    // The facts of this machine and of the service's files under `paths`, read now.
    static DiagnosticFacts gather(const Paths& paths, std::string appVersion, std::string build);
};

}  // namespace torvel
