// Preloaded into a process, moves its wall clock by the seconds written in $TORVEL_WALL_CLOCK_SHIFT (a file,
// read again at every look, so a test can leap the clock of a running process) and leaves the monotonic and
// boot clocks alone, as a change of the system time does.

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include <cstdlib>

namespace {

time_t shiftSeconds() {
    const char* file = std::getenv("TORVEL_WALL_CLOCK_SHIFT");
    if (file == nullptr) return 0;
    const int fd = ::open(file, O_RDONLY | O_CLOEXEC);
    if (fd < 0) return 0;
    char text[32] = {};
    const ssize_t n = ::read(fd, text, sizeof text - 1);
    ::close(fd);
    return n > 0 ? static_cast<time_t>(std::strtoll(text, nullptr, 10)) : 0;
}

using ClockGettime = int (*)(clockid_t, timespec*);

ClockGettime realClockGettime() {
    static const auto real = reinterpret_cast<ClockGettime>(::dlsym(RTLD_NEXT, "clock_gettime"));
    return real;
}

}  // namespace

extern "C" int clock_gettime(clockid_t clock, timespec* now) noexcept {
    const int result = realClockGettime()(clock, now);
    if (result == 0 && (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE))
        now->tv_sec += shiftSeconds();
    return result;
}

extern "C" int gettimeofday(timeval* now, void*) noexcept {
    timespec wall{};
    const int result = clock_gettime(CLOCK_REALTIME, &wall);
    if (result == 0) *now = {wall.tv_sec, static_cast<suseconds_t>(wall.tv_nsec / 1000)};
    return result;
}

extern "C" time_t time(time_t* out) noexcept {
    timespec wall{};
    clock_gettime(CLOCK_REALTIME, &wall);
    if (out != nullptr) *out = wall.tv_sec;
    return wall.tv_sec;
}
