#include "history/store.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "common/syscalls.h"
#include "common/texts.h"
#include "history/journal_parser.h"

namespace torvel {
namespace {

// A day of readings is about 100 KB; anything past this is not a day file, and reading it would only exhaust
// memory.
constexpr std::uintmax_t maxDayFileBytes = 64 * 1024 * 1024;

// The parser and the file buffer of one read, reused across the days of a range so that a month costs a
// handful of allocations rather than one per line or per file.
class DayReader {
  public:
    void append(const std::filesystem::path& path, std::vector<HistorySample>& out) {
        const auto size = load(path);
        if (size) parser_.appendDay(buffer_.data(), *size, out);
    }

  private:
    // Reads the file in one go into the buffer, followed by the zeroed padding the parser reads past the end.
    std::optional<std::size_t> load(const std::filesystem::path& path) {
        const FileDescriptor fd(
            retryOnInterrupt([&] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK); }));
        if (!fd.valid()) return std::nullopt;
        struct stat info {};
        if (::fstat(fd.get(), &info) != 0 || !S_ISREG(info.st_mode) ||
            static_cast<std::uintmax_t>(info.st_size) > maxDayFileBytes)
            return std::nullopt;
        return readAll(fd.get(), static_cast<std::size_t>(info.st_size));
    }

    std::optional<std::size_t> readAll(int fd, std::size_t expected) {
        std::size_t length = 0;
        for (;;) {
            // The service may append while we read: take what is there, and grow if there is more.
            if (buffer_.size() < length + 4096 + detail::JournalParser::padding) {
                buffer_.resize(std::max(expected, length * 2) + 4096 + detail::JournalParser::padding);
            }
            const std::size_t room = buffer_.size() - detail::JournalParser::padding - length;
            const ssize_t n = retryOnInterrupt([&] { return ::read(fd, buffer_.data() + length, room); });
            if (n < 0) return std::nullopt;
            if (n == 0) break;
            length += static_cast<std::size_t>(n);
            if (length > maxDayFileBytes) return std::nullopt;
        }
        std::memset(buffer_.data() + length, 0, detail::JournalParser::padding);
        return length;
    }

    std::vector<char> buffer_;
    detail::JournalParser parser_;
};

}  // namespace

std::optional<std::string> HistoryStore::dayFileName(Instant day) {
    auto name = Dates::isoDay(day);
    if (!name) return std::nullopt;
    return *name + ".jsonl";
}

std::vector<HistorySample> HistoryStore::parseDay(std::string_view bytes) {
    std::vector<char> padded(bytes.size() + detail::JournalParser::padding, '\0');
    std::copy(bytes.begin(), bytes.end(), padded.begin());
    std::vector<HistorySample> out;
    detail::JournalParser().appendDay(padded.data(), bytes.size(), out);
    return out;
}

std::vector<HistorySample> HistoryStore::samples(Instant day) const {
    std::vector<HistorySample> out;
    if (const auto name = dayFileName(day)) DayReader().append(directory_ / *name, out);
    return out;
}

std::vector<HistorySample> HistoryStore::samples(Instant from, Instant to) const {
    std::vector<HistorySample> out;
    auto day = Dates::startOfLocalDay(from);
    const auto end = Dates::startOfLocalDay(to);
    if (!day || !end) return out;
    std::vector<std::filesystem::path> files;
    std::uintmax_t bytes = 0;
    while (*day <= *end) {
        if (const auto name = dayFileName(*day)) {
            files.push_back(directory_ / *name);
            struct stat info {};
            if (::stat(files.back().c_str(), &info) == 0) {
                bytes += std::min(static_cast<std::uintmax_t>(info.st_size), maxDayFileBytes);
            }
        }
        const auto next = Dates::addLocalDays(*day, 1);
        // A calendar that cannot move forward would loop for ever.
        if (!next || *next <= *day) break;
        day = next;
    }
    // One allocation for a month rather than a chain of growing copies; lines are rarely under 40 bytes.
    out.reserve(static_cast<std::size_t>(bytes / 40) + 1);
    DayReader reader;
    const auto outside = [&](const HistorySample& s) { return !(s.date >= from && s.date <= to); };
    for (const auto& file : files) {
        const std::size_t before = out.size();
        reader.append(file, out);
        out.erase(std::remove_if(out.begin() + static_cast<std::ptrdiff_t>(before), out.end(), outside),
                  out.end());
    }
    return out;
}

HistoryStore::Summary HistoryStore::summary() const {
    Summary summary;
    std::error_code error;
    std::filesystem::directory_iterator entries(directory_, error);
    if (error) return summary;
    // Incremented by hand: the range-for form throws when an entry vanishes mid-listing.
    for (; entries != std::filesystem::directory_iterator(); entries.increment(error)) {
        const auto& entry = *entries;
        const std::string name = entry.path().filename().string();
        if (!name.ends_with(".jsonl")) continue;
        ++summary.days;
        std::error_code sizeError;
        const auto size = entry.file_size(sizeError);
        if (!sizeError) summary.bytes += static_cast<std::int64_t>(size);
    }
    return summary;
}

const std::array<RetentionChoice, 4> RetentionChoice::options = {{
    {30, trNoop("30 days")},
    {90, trNoop("3 months")},
    {365, trNoop("1 year")},
    {1095, trNoop("3 years")},
}};

RetentionChoice RetentionChoice::nearest(std::int64_t days) {
    return nearest(days, options);
}

RetentionChoice RetentionChoice::nearest(std::int64_t days, std::span<const RetentionChoice> choices) {
    if (choices.empty()) return {365, trNoop("1 year")};
    const auto distance = [days](const RetentionChoice& choice) {
        // In double, so that a hand-written extreme cannot overflow the subtraction.
        return std::fabs(static_cast<double>(choice.days) - static_cast<double>(days));
    };
    RetentionChoice kept = choices.front();
    for (const auto& choice : choices.subspan(1)) {
        if (distance(choice) < distance(kept)) kept = choice;
    }
    return kept;
}

}  // namespace torvel
