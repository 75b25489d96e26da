#include "status/diagnostics.h"

#include <gtest/gtest.h>

namespace torvel {
namespace {

using namespace std::string_literals;

const std::error_code missing = std::make_error_code(std::errc::no_such_file_or_directory);
const std::error_code refused = std::make_error_code(std::errc::permission_denied);
const std::error_code broken = std::make_error_code(std::errc::io_error);

DiagnosticFacts facts() {
    DiagnosticFacts f;
    f.appVersion = "1.4";
    f.build = "212";
    f.signedForRelease = true;
    f.system = "Debian GNU/Linux 12 (bookworm)";
    f.model = "ThinkPad X1";
    f.history = {12, 1'234'567};
    f.config = "\n  {\"limit\":80}\n\n"s;
    f.status = missing;
    f.logTail = "(no log file)";
    return f;
}

TEST(DiagnosticsReport, WholeTextLineByLine) {
    ChargeSettingsState settings;
    settings.daemonInstalled = true;
    settings.serviceNeedsApproval = true;
    settings.status.freshness = ServiceStatus::Freshness::fresh;
    settings.status.published.state = ChargeState::hold;
    settings.status.published.chargeMode = "sysfs";
    settings.status.published.gateVerified = true;
    EXPECT_EQ(Diagnostics::report(settings, facts()),
              "Torvel 1.4 (212)\n"
              "Debian GNU/Linux 12 (bookworm) · ThinkPad X1\n"
              "Service installed: yes (awaiting approval)\n"
              "Charge mechanism: sysfs\n"
              "Limit verified: yes\n"
              "Published state: hold\n"
              "MagSafe light: supported\n"
              "Forced discharge: supported\n"
              "History: 12 days, 1.2 MB\n"
              "\n"
              "config.json\n"
              "{\"limit\":80}\n"
              "\n"
              "status.json\n"
              "(no file)\n"
              "\n"
              "daemon.log (last 50 lines)\n"
              "(no log file)");
}

TEST(DiagnosticsReport, ServiceFactsInWords) {
    using S = ChargeSettingsState;
    const std::pair<void (*)(S&), const char*> cases[] = {
        {[](S&) {}, "Service installed: no"},
        {[](S&) {}, "Charge mechanism: unknown"},
        {[](S&) {}, "Limit verified: not checked yet"},
        {[](S& s) { s.status.published.gateVerified = false; }, "Limit verified: NO, charging continues"},
        {[](S& s) { s.status.published.ledSupported = false; }, "MagSafe light: not supported"},
        // Unsupported wins over a failed cut.
        {[](S& s) {
             s.status.published.dischargeSupported = false;
             s.status.published.dischargeFailed = true;
         },
         "Forced discharge: not supported"},
        {[](S& s) { s.status.published.dischargeFailed = true; },
         "Forced discharge: supported, but the cut does not hold — holding instead"},
    };
    for (const auto& [change, line] : cases) {
        ChargeSettingsState settings;
        change(settings);
        EXPECT_NE(Diagnostics::report(settings, facts()).find('\n' + std::string(line) + '\n'),
                  std::string::npos)
            << line;
    }
}

TEST(DiagnosticsReport, FilesThatCannotBeShownGetANote) {
    const std::pair<FileContents, const char*> cases[] = {
        {" \n\t{\"a\":1}\r\n \n"s, "{\"a\":1}"},           {"\n \n"s, "(empty)"},
        {"{\"a\":\"\xff\"}"s, "{\"a\":\"\xEF\xBF\xBD\"}"}, {missing, "(no file)"},
        {refused, "(unreadable: permission denied)"},      {broken, "(unreadable)"},
    };
    for (const auto& [contents, shown] : cases) EXPECT_EQ(Diagnostics::fileBlock(contents), shown);
}

TEST(DiagnosticsFacts, SystemNameFromOsRelease) {
    const std::pair<FileContents, const char*> cases[] = {
        {"NAME=\"Debian GNU/Linux\"\nPRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\nID=debian\n"s,
         "Debian GNU/Linux 12 (bookworm)"},
        {"PRETTY_NAME=Arch Linux\n"s, "Arch Linux"},
        {"NAME=Fedora\n"s, "(no PRETTY_NAME)"},
        {missing, "(no os-release)"},
    };
    for (const auto& [osRelease, name] : cases) EXPECT_EQ(Diagnostics::systemName(osRelease), name);
}

TEST(DiagnosticsFacts, ModelJoinsNameAndAMeaningfulVersion) {
    const std::tuple<FileContents, FileContents, const char*> cases[] = {
        {"20XW0055GE\n"s, "ThinkPad X1 Carbon Gen 9\n"s, "20XW0055GE ThinkPad X1 Carbon Gen 9"},
        {"XPS 13 9310\n"s, "\n"s, "XPS 13 9310"},
        {"Framework Laptop\n"s, missing, "Framework Laptop"},
        {"System Product Name\n"s, "To be filled by O.E.M.\n"s, "System Product Name"},
        {missing, "1.0"s, "(no model name)"},
    };
    for (const auto& [name, version, model] : cases)
        EXPECT_EQ(Diagnostics::machineModel(name, version), model);
}

}  // namespace
}  // namespace torvel
