#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <string>
#include <vector>

#include "common/texts.h"
#include "mo_catalogue.h"
#include "status/notifier.h"

namespace torvel {
namespace {

struct NoDefaults : DefaultsStore {
    bool boolean(std::string_view) const override { return false; }
    void setBoolean(std::string_view, bool) override {}
};

// Every text of every notice, as the desktop's notification service would receive them.
std::vector<std::string> noticeTexts() {
    std::vector<std::string> texts{tr(Notifier::openAction)};
    NoDefaults defaults;
    SystemLock locked;
    locked.macOSMajor = 27;
    locked.active = true;
    Notifier notifier(
        defaults,
        [&texts](const std::string& title, const std::string& body, const std::string&,
                 const std::function<void(bool)>&) {
            texts.push_back(title);
            texts.push_back(body);
        },
        locked);
    notifier.limitState(false);
    notifier.systemLocked(true);
    notifier.historyReady("");
    return texts;
}

TEST(NoticeTexts, ReadAsLinuxEnglishAndComeWhollyFromTheCatalogue) {
    const auto english = l10n::MoCatalogue::load(TORVEL_BUILD_LOCALEDIR "/en/LC_MESSAGES/torvel.mo");
    ASSERT_TRUE(english);
    installCatalogue(&*english);
    const std::regex platform(
        R"(\bMac\b|macOS|MagSafe|\bDock\b|menu bar|Applications folder|System Settings)");
    const auto read = noticeTexts();
    ASSERT_EQ(read.size(), 7u);
    for (const auto& text : read) EXPECT_FALSE(std::regex_search(text, platform)) << text;

    const l10n::MarkedCatalogue marked(&*english);
    installCatalogue(&marked);
    for (const auto& text : noticeTexts()) {
        EXPECT_TRUE(text.starts_with(l10n::MarkedCatalogue::open) &&
                    text.ends_with(l10n::MarkedCatalogue::close))
            << text;
    }
    installCatalogue(nullptr);
}

}  // namespace
}  // namespace torvel
