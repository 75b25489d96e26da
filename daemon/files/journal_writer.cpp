#include "files/journal_writer.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <string>
#include <vector>

#include "common/syscalls.h"
#include "history/store.h"

namespace torvel::daemon {
namespace {

// The directory itself must not be a link either: a planted link would send appends and deletions elsewhere.
FileDescriptor openDirectory(const std::filesystem::path& directory) {
    return FileDescriptor(retryOnInterrupt(
        [&] { return ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC); }));
}

// Calls `visit(name)` for each day file until it returns false. Names are not gathered first: a
// directory may hold a hundred thousand of them.
template <typename Visit>
void forEachDayFile(int directoryFd, Visit&& visit, bool keptAsideToo = false) {
    FileDescriptor copy(::dup(directoryFd));
    if (!copy.valid()) return;
    DIR* listing = ::fdopendir(copy.get());
    if (listing == nullptr) return;
    // closedir closes it from here on.
    copy.release();
    while (const dirent* entry = ::readdir(listing)) {
        const std::string_view name = entry->d_name;
        // A day file kept aside is "yyyy-MM-dd.jsonl.bad" or ".bad-N".
        const bool keptAside = keptAsideToo && name.size() > 16 && name.substr(16).starts_with(".bad") &&
                               JournalWriter::isDayFileName(name.substr(0, 16));
        if (!keptAside && !JournalWriter::isDayFileName(name)) continue;
        // d_type spares a stat of each name; unlinkat refuses a folder anyway.
        if (entry->d_type == DT_DIR) continue;
        if (!visit(name)) break;
    }
    ::closedir(listing);
}

bool changed(const HistorySample& a, const HistorySample& b) {
    const auto wholeDegrees = [](const std::optional<double>& t) {
        return t ? std::optional<long>(std::lround(*t)) : std::nullopt;
    };
    return a.pct != b.pct || a.state != b.state || a.plugged != b.plugged ||
           wholeDegrees(a.temp) != wholeDegrees(b.temp);
}

}  // namespace

bool JournalWriter::isDayFileName(std::string_view name) {
    if (name.size() != 16 || !name.ends_with(".jsonl")) return false;
    for (std::size_t i = 0; i < 10; ++i) {
        const bool dash = i == 4 || i == 7;
        if (dash ? name[i] != '-' : (name[i] < '0' || name[i] > '9')) return false;
    }
    return true;
}

std::variant<bool, std::string> JournalWriter::record(const HistorySample& sample, double boot) {
    if (last_) {
        const double gap = sample.date - last_->date;
        if (gap < minimumGap && gap >= 0) return false;
        if (gap < maximumGap && gap >= 0 && !changed(sample, *last_)) return false;
    }
    const auto name = HistoryStore::dayFileName(sample.date);
    if (!name) return std::string("cannot name the journal file for this date");
    if (auto error = ensureDirectory(directory_)) return *error;
    const FileDescriptor directory = openDirectory(directory_);
    if (!directory.valid()) return systemError("open", directory_.filename().string(), errno);
    std::string note;
    const FileDescriptor out(openForAppend(directory.get(), *name, note));
    if (!out.valid()) return systemError("open", *name, errno);
    if (!note.empty()) note_ = note;
    struct stat info {};
    if (::fstat(out.get(), &info) == 0 && info.st_size == 0) {
        if (started_.size() == 8) started_.erase(started_.begin());
        started_.emplace_back(*name, boot);
    }
    // One write per line: a reader never sees half a line from us, only a line or none.
    if (!appendWhole(out.get(), JournalLine::encode(sample) + "\n"))
        return systemError("append to", *name, errno);
    last_ = sample;
    return true;
}

void JournalWriter::setAsideDaysAhead(Instant now, double since) {
    const auto today = HistoryStore::dayFileName(now);
    const FileDescriptor directory = openDirectory(directory_);
    if (!today || !directory.valid()) return;
    for (auto it = started_.begin(); it != started_.end();) {
        if (it->second < since || it->first <= *today) {
            ++it;
            continue;
        }
        if (const auto aside = keepAsideAt(directory.get(), it->first)) {
            note_ = it->first + " was written while the clock ran ahead; kept as " + *aside;
        }
        it = started_.erase(it);
    }
    // The next line goes where the clock says now, however close to the last one.
    last_.reset();
}

FileError JournalWriter::prune(Instant now, double boot, int historyDays, bool force) {
    if (!force && lastPrune_ && boot - *lastPrune_ < pruneEvery) return std::nullopt;
    lastPrune_ = boot;
    const auto oldestKept = Dates::addLocalDays(now, -historyDays);
    if (!oldestKept) return std::nullopt;
    const FileDescriptor directory = openDirectory(directory_);
    if (!directory.valid())
        return errno == ENOENT ? FileError{} : systemError("open", directory_.filename().string(), errno);
    std::size_t deleted = 0;
    FileError error;
    forEachDayFile(directory.get(), [&](std::string_view name) {
        const auto day = Dates::parseIsoDay(name.substr(0, 10));
        if (!day || *day >= *oldestKept) return true;
        // A few at a time: years of files must not keep the bus and the battery waiting.
        if (deleted == maxDeletionsPerCall) {
            lastPrune_.reset();
            return false;
        }
        if (::unlinkat(directory.get(), std::string(name).c_str(), 0) != 0 && errno != EISDIR) {
            error = systemError("delete", name, errno);
            return false;
        }
        ++deleted;
        return true;
    });
    return error;
}

FileError JournalWriter::removeAll() {
    last_.reset();
    const FileDescriptor directory = openDirectory(directory_);
    if (!directory.valid())
        return errno == ENOENT ? FileError{} : systemError("open", directory_.filename().string(), errno);
    FileError error;
    forEachDayFile(
        directory.get(),
        [&](std::string_view name) {
            if (::unlinkat(directory.get(), std::string(name).c_str(), 0) != 0 && errno != EISDIR) {
                error = systemError("delete", name, errno);
                return false;
            }
            return true;
        },
        true);
    if (error) return error;
    // Fails harmlessly when something else lives there: that is not ours to remove.
    ::rmdir(directory_.c_str());
    return std::nullopt;
}

}  // namespace torvel::daemon
