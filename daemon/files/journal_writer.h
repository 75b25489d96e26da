#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <variant>

#include "common/dates.h"
#include "files/atomic_file.h"
#include "history/sample.h"

namespace torvel::daemon {

// Appends the journal's day files (one line per reading, through the shared line codec) and keeps them for
// `historyDays`. Inside the directory it only ever creates, appends to and deletes names of the form
// yyyy-MM-dd.jsonl, and follows no link.
class JournalWriter {
  public:
    static constexpr double minimumGap = 60;
    static constexpr double maximumGap = 300;
    static constexpr double pruneEvery = 24 * 3600.0;
    static constexpr std::size_t maxDeletionsPerCall = 1000;

    explicit JournalWriter(std::filesystem::path directory) : directory_(std::move(directory)) {}

    // Writes the reading when something changed and a minute has passed, or five minutes have passed.
    // Returns whether a line was written, or the failure.
    std::variant<bool, std::string> record(const HistorySample& sample);
    // Deletes day files older than `historyDays` once a day (every call when `force`), at most
    // maxDeletionsPerCall at a time: the rest go on the following calls.
    FileError prune(Instant now, int historyDays, bool force = false);
    // Deletes every day file, then the directory when nothing else is left in it.
    FileError removeAll();

    // What the log should hear about the journal's files (a link moved aside), once.
    std::optional<std::string> takeNote() {
        auto note = std::move(note_);
        note_.reset();
        return note;
    }

    // Whether a file name is one of ours.
    static bool isDayFileName(std::string_view name);

  private:
    std::filesystem::path directory_;
    std::optional<HistorySample> last_;
    std::optional<Instant> lastPrune_;
    std::optional<std::string> note_;
};

}  // namespace torvel::daemon
