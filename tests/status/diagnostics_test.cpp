#include "status/diagnostics.h"

#include <gtest/gtest.h>

namespace torvel {
namespace {

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
    f.config = std::string("\n  {\"limit\":80}\n\n");
    f.status = missing;
    f.logTail = "(no log file)";
    return f;
}

TEST(DiagnosticsReport, WholeTextLineByLine) {
    ChargeSettingsState settings;
    settings.daemonInstalled = true;
    settings.serviceNeedsApproval = true;
    settings.status.state = "hold";
    settings.status.chargeMode = "sysfs";
    settings.status.gateVerified = true;
    EXPECT_EQ(Diagnostics::report(settings, facts()),
              "Torvel 1.4 (212)\n"
              "Debian GNU/Linux 12 (bookworm) · ThinkPad X1\n"
              "Service installed: yes (awaiting approval)\n"
              "Charge mechanism: sysfs\n"
              "Limit verified: yes\n"
              "Published state: hold\n"
              "MagSafe light: supported\n"
              "Forced discharge: supported\n"
              "History: 12 day(s), 1.2 MB\n"
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

std::string lineStarting(const std::string& report, std::string_view prefix) {
    const auto start = report.find(prefix);
    if (start == std::string::npos) return {};
    return report.substr(start, report.find('\n', start) - start);
}

TEST(DiagnosticsReport, ServiceFactsInWords) {
    struct Case {
        void (*change)(ChargeSettingsState&);
        const char* line;
    };
    const Case cases[] = {
        {[](ChargeSettingsState&) {}, "Service installed: no"},
        {[](ChargeSettingsState&) {}, "Charge mechanism: unknown"},
        {[](ChargeSettingsState&) {}, "Limit verified: not checked yet"},
        {[](ChargeSettingsState& s) { s.status.gateVerified = false; },
         "Limit verified: NO, charging continues"},
        {[](ChargeSettingsState& s) { s.status.ledSupported = false; }, "MagSafe light: not supported"},
        {[](ChargeSettingsState& s) {
             s.status.dischargeSupported = false;
             s.status.dischargeFailed = true;
         },
         "Forced discharge: not supported"},
        {[](ChargeSettingsState& s) { s.status.dischargeFailed = true; },
         "Forced discharge: supported, but the cut does not hold — holding instead"},
    };
    for (const auto& c : cases) {
        ChargeSettingsState settings;
        c.change(settings);
        const std::string expected = c.line;
        const auto colon = expected.find(':');
        EXPECT_EQ(lineStarting(Diagnostics::report(settings, facts()), expected.substr(0, colon)), expected);
    }
}

TEST(DiagnosticsReport, FilesThatCannotBeShownGetANote) {
    struct Case {
        FileContents contents;
        const char* shown;
    };
    const Case cases[] = {
        {std::string("{\"a\":1}"), "{\"a\":1}"},
        {std::string(" \n\t{\"a\":1}\r\n \n"), "{\"a\":1}"},
        {std::string("\n \n"), "(empty)"},
        {std::string("{\"a\":\"\xff\"}"), "{\"a\":\"\xEF\xBF\xBD\"}"},
        {missing, "(no file)"},
        {refused, "(unreadable: permission denied)"},
        {broken, "(unreadable)"},
    };
    for (const auto& c : cases) EXPECT_EQ(Diagnostics::fileBlock(c.contents), c.shown);
}

TEST(DiagnosticsFacts, SystemNameFromOsRelease) {
    struct Case {
        FileContents osRelease;
        const char* name;
    };
    const Case cases[] = {
        {std::string(
             "NAME=\"Debian GNU/Linux\"\nPRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\nID=debian\n"),
         "Debian GNU/Linux 12 (bookworm)"},
        {std::string("PRETTY_NAME=Arch Linux\n"), "Arch Linux"},
        {std::string("NAME=Fedora\n"), "(no PRETTY_NAME)"},
        {missing, "(no os-release)"},
        {refused, "(unreadable: permission denied)"},
    };
    for (const auto& c : cases) EXPECT_EQ(Diagnostics::systemName(c.osRelease), c.name);
}

TEST(DiagnosticsFacts, ModelJoinsNameAndAMeaningfulVersion) {
    struct Case {
        FileContents name;
        FileContents version;
        const char* model;
    };
    const Case cases[] = {
        {std::string("20XW0055GE\n"), std::string("ThinkPad X1 Carbon Gen 9\n"),
         "20XW0055GE ThinkPad X1 Carbon Gen 9"},
        {std::string("XPS 13 9310\n"), std::string("\n"), "XPS 13 9310"},
        {std::string("Framework Laptop\n"), missing, "Framework Laptop"},
        {std::string("System Product Name\n"), std::string("To be filled by O.E.M.\n"),
         "System Product Name"},
        {missing, std::string("1.0"), "(no model name)"},
        {refused, missing, "(unreadable: permission denied)"},
    };
    for (const auto& c : cases) EXPECT_EQ(Diagnostics::machineModel(c.name, c.version), c.model);
}

}  // namespace
}  // namespace torvel
