#include "status/notifier.h"

#include <gtest/gtest.h>

#include <set>
#include <utility>
#include <vector>

// A locked machine names only what differs from an unlocked one.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace torvel {
namespace {

struct MemoryDefaults : DefaultsStore {
    bool boolean(std::string_view key) const override { return values.contains(key); }
    void setBoolean(std::string_view key, bool value) override {
        if (value)
            values.emplace(key);
        else
            values.erase(std::string(key));
    }
    std::set<std::string, std::less<>> values;
};

// Records every request and answers it later, as the notification service does.
struct Centre {
    struct Request {
        std::string title;
        std::string body;
        std::string opens;
        std::function<void(bool)> completion;
    };
    std::vector<Request> requests;
    bool authorised = true;

    NoticePoster poster() {
        return [this](const std::string& title, const std::string& body, const std::string& opens,
                      std::function<void(bool)> done) {
            requests.push_back({title, body, opens, std::move(done)});
        };
    }
    void answerAll() {
        for (auto& request : requests) {
            if (request.completion) std::exchange(request.completion, {})(authorised);
        }
    }
};

TEST(NotifierLimit, OneNoticePerFailureNoneWhileUnknown) {
    struct Case {
        const char* what;
        std::vector<std::optional<bool>> refreshes;
        std::size_t notices;
    };
    const Case cases[] = {
        {"unknown", {std::nullopt, std::nullopt}, 0},
        {"holding", {true, true}, 0},
        {"failing twice in a row", {false, false}, 1},
        {"failing, holding, failing", {false, true, false}, 2},
        {"unknown does not end a failure", {false, std::nullopt, false}, 1},
    };
    for (const auto& c : cases) {
        MemoryDefaults defaults;
        Centre centre;
        Notifier notifier(defaults, centre.poster(), SystemLock{});
        for (const auto& working : c.refreshes) {
            notifier.limitState(working);
            centre.answerAll();
        }
        EXPECT_EQ(centre.requests.size(), c.notices) << c.what;
    }
}

TEST(NotifierLimit, ARefusalIsRetriedAtTheNextFailure) {
    MemoryDefaults defaults;
    Centre centre;
    centre.authorised = false;
    Notifier notifier(defaults, centre.poster(), SystemLock{});
    notifier.limitState(false);
    centre.answerAll();
    centre.authorised = true;
    notifier.limitState(false);
    centre.answerAll();
    ASSERT_EQ(centre.requests.size(), 2u);
    EXPECT_TRUE(defaults.boolean(Notifier::limitKey));
    EXPECT_EQ(centre.requests[1].title, "Torvel isn’t holding the charge");
    EXPECT_EQ(centre.requests[1].opens, "mac");  // the checkup says what it found
}

TEST(NotifierSystemLock, OnceARunUnlessRefusedAndNeverForAPretendedRelease) {
    struct Case {
        const char* what;
        std::optional<int> pretended;
        bool authorised;
        std::size_t notices;
    };
    const Case cases[] = {
        {"shown", std::nullopt, true, 1},
        {"refused, then asked again", std::nullopt, false, 2},
        {"pretended", 27, true, 0},
    };
    for (const auto& c : cases) {
        MemoryDefaults defaults;
        Centre centre;
        centre.authorised = c.authorised;
        Notifier notifier(defaults, centre.poster(),
                          {.pretendedMajor = c.pretended, .macOSMajor = 27, .active = true});
        notifier.systemLocked(true);
        notifier.systemLocked(true);  // still in flight: not asked twice
        centre.answerAll();
        notifier.systemLocked(true);
        notifier.systemLocked(false);
        ASSERT_EQ(centre.requests.size(), c.notices) << c.what;
        if (c.notices == 0) continue;
        EXPECT_EQ(centre.requests[0].title, "Torvel can’t hold your limit on macOS 27");
        EXPECT_EQ(
            centre.requests[0].body,
            "macOS 27 changed the way charging is controlled, and Torvel can’t follow yet: your battery "
            "charges as it would without Torvel. Open Torvel to see what you can do in the meantime.");
    }
}

TEST(NotifierHistory, JournalNoticeOnceEver) {
    MemoryDefaults defaults;
    Centre centre;
    Notifier(defaults, centre.poster(), SystemLock{}).historyReady("A calm day.");
    centre.answerAll();
    // A later run, with the same defaults.
    Notifier(defaults, centre.poster(), SystemLock{}).historyReady("Another day.");
    ASSERT_EQ(centre.requests.size(), 1u);
    EXPECT_EQ(centre.requests[0].title, "Your battery journal is ready");
    EXPECT_EQ(centre.requests[0].opens, "today");
    EXPECT_EQ(centre.requests[0].body,
              "Twenty-four hours of readings: the last-24-hours curve is now complete. A calm day.");
}

}  // namespace
}  // namespace torvel
