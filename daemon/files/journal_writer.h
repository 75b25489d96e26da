#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "common/dates.h"
#include "files/atomic_file.h"
#include "history/sample.h"

namespace torvel::daemon {

// Appends the journal's day files (one line per reading, through the shared line codec) and keeps them for
// `historyDays`. Inside the directory it only ever creates, appends to, keeps aside and deletes names of the
// form yyyy-MM-dd.jsonl (a purge also deletes those kept aside), and follows no link.
class JournalWriter {
  public:
    static constexpr double minimumGap = 60;
    static constexpr double maximumGap = 300;
    static constexpr double pruneEvery = 24 * 3600.0;
    static constexpr std::size_t maxDeletionsPerCall = 1000;

    explicit JournalWriter(std::filesystem::path directory) : directory_(std::move(directory)) {}

    // Writes the reading when something changed and a minute has passed, or five minutes have passed, as
    // one line that is in the file whole or not at all. `boot` is the boot clock's time. Returns whether a
    // line was written, or the failure.
    std::variant<bool, std::string> record(const HistorySample& sample, double boot);
    // Deletes day files older than `historyDays` before `now` once a day of the boot clock (every call when
    // `force`), at most maxDeletionsPerCall at a time: the rest go on the following calls.
    FileError prune(Instant now, double boot, int historyDays, bool force = false);
    // The wall clock ran ahead and came back: the day files this writer started since the boot time `since`
    // and dated after the day of `now` hold readings under dates still to come. They are kept aside
    // (name.bad), so that such a day, when it comes, starts a file of its own.
    void setAsideDaysAhead(Instant now, double since);
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
    std::optional<double> lastPrune_;
    // The day files this writer started, with the boot time of their first line: the last few are enough.
    std::vector<std::pair<std::string, double>> started_;
    std::optional<std::string> note_;
};

}  // namespace torvel::daemon
