#include "common/syscalls.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>

namespace torvel {
namespace {

bool isOpen(int fd) {
    return ::fcntl(fd, F_GETFD) != -1;
}

TEST(SystemError, NamesTheOperationTheObjectAndTheCause) {
    const struct {
        const char* operation;
        const char* object;
        int error;
        const char* expected;
    } cases[] = {
        {"write", "charge_control_end_threshold", EINVAL,
         "cannot write charge_control_end_threshold: Invalid argument"},
        {"create a temporary file for", "config.json", ENOSPC,
         "cannot create a temporary file for config.json: No space left on device"},
        {"restart", "", ENOENT, "cannot restart: No such file or directory"},
    };
    for (const auto& c : cases) EXPECT_EQ(systemError(c.operation, c.object, c.error), c.expected);
}

TEST(RetryOnInterrupt, RepeatsOnlyInterruptedCalls) {
    const struct {
        const char* name;
        int interruptions;
        int finalErrno;  // 0: the last call succeeds
        int expectedCalls;
        int expectedResult;
    } cases[] = {
        {"succeeds at once", 0, 0, 1, 7},
        {"interrupted twice, then succeeds", 2, 0, 3, 7},
        {"a real failure is not retried", 0, EIO, 1, -1},
        {"interrupted, then a real failure", 1, ENOSPC, 2, -1},
    };
    for (const auto& c : cases) {
        int calls = 0;
        const int result = retryOnInterrupt([&] {
            ++calls;
            if (calls <= c.interruptions) {
                errno = EINTR;
                return -1;
            }
            if (c.finalErrno != 0) {
                errno = c.finalErrno;
                return -1;
            }
            return 7;
        });
        EXPECT_EQ(calls, c.expectedCalls) << c.name;
        EXPECT_EQ(result, c.expectedResult) << c.name;
        if (c.finalErrno != 0) {
            EXPECT_EQ(errno, c.finalErrno) << c.name << ": the caller reads the cause";
        }
    }
}

TEST(FileDescriptor, ClosesExactlyWhatItStillOwns) {
    int ends[2];
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    {
        FileDescriptor reader(ends[0]);
        FileDescriptor writer(ends[1]);
        FileDescriptor moved = std::move(reader);
        EXPECT_FALSE(reader.valid());
        EXPECT_EQ(moved.get(), ends[0]);
        EXPECT_EQ(writer.release(), ends[1]);
    }
    EXPECT_FALSE(isOpen(ends[0])) << "the moved-to owner closes it";
    EXPECT_TRUE(isOpen(ends[1])) << "a released descriptor is the caller's";
    FileDescriptor(ends[1]).reset();
    EXPECT_FALSE(isOpen(ends[1]));
}

}  // namespace
}  // namespace torvel
