#include "files/service_log.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <ctime>
#include <string>

#include "common/syscalls.h"
#include "files/atomic_file.h"

namespace torvel::daemon {

void ServiceLog::write(Instant now, std::string_view text) {
    char stamp[32] = "";
    const std::time_t seconds = static_cast<std::time_t>(std::floor(now));
    std::tm local{};
    if (::localtime_r(&seconds, &local) != nullptr)
        std::strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S", &local);
    std::string line = std::string(stamp) + " " + std::string(text.substr(0, 400));
    for (char& c : line) {
        if (c == '\n' || c == '\r') c = ' ';
    }
    line += '\n';

    struct stat info {};
    if (::lstat(file_.c_str(), &info) == 0 &&
        static_cast<std::uintmax_t>(info.st_size) + line.size() > cap_) {
        auto older = file_;
        older += ".1";
        ::rename(file_.c_str(), older.c_str());
    }
    const FileDescriptor directory(retryOnInterrupt(
        [&] { return ::open(file_.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
    if (!directory.valid()) return;
    std::string note;
    const FileDescriptor fd(openForAppend(directory.get(), file_.filename().string(), note));
    if (!fd.valid()) return;
    if (!note.empty()) line = std::string(stamp) + " " + note + "\n" + line;
    // The log has nowhere to report its own failure; a lost line is all that can go wrong, never a torn one.
    appendWhole(fd.get(), line);
}

}  // namespace torvel::daemon
