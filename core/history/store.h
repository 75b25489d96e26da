#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "common/dates.h"
#include "history/sample.h"

namespace torvel {

// Reads the journal: one JSON Lines file per local calendar day in the history directory. Every failure
// (missing directory or file, unreadable or undecodable bytes, malformed lines) yields fewer samples, never
// an error. Stateless apart from the directory, so several reads may run at once on different threads.
class HistoryStore {
  public:
    struct Summary {
        std::int64_t days = 0;
        std::int64_t bytes = 0;
    };

    explicit HistoryStore(std::filesystem::path directory) : directory_(std::move(directory)) {}

    const std::filesystem::path& directory() const { return directory_; }

    // Every sample of the local day containing `day`, in file order.
    std::vector<HistorySample> samples(Instant day) const;
    // The samples with from <= date <= to, days ascending and file order within a day.
    std::vector<HistorySample> samples(Instant from, Instant to) const;
    // The day files (names ending in ".jsonl") and their total size.
    Summary summary() const;

    // "2025-03-07.jsonl" for any instant of that local day; absent for instants no calendar can place.
    static std::optional<std::string> dayFileName(Instant day);
    // The readings of one day file's bytes: split on line feeds, each line parsed on its own, the bad ones
    // skipped. Bytes that are not valid UTF-8 give no readings at all, as an undecodable file does.
    static std::vector<HistorySample> parseDay(std::string_view bytes);

  private:
    std::filesystem::path directory_;
};

// How long the service keeps the journal, as offered to the user.
struct RetentionChoice {
    int days;
    std::string_view label;

    static const std::array<RetentionChoice, 4> options;

    // The offered choice closest to a stored value (written by hand or by an older version); ties go to the
    // shorter choice.
    static RetentionChoice nearest(std::int64_t days);
    static RetentionChoice nearest(std::int64_t days, std::span<const RetentionChoice> choices);

    bool operator==(const RetentionChoice&) const = default;
};

}  // namespace torvel
