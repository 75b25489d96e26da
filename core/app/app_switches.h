#pragma once

#include <string>
#include <vector>

namespace torvel {

// The tray app's command line as its help shows it, in the reader's language. The names are what a user types
// and stay as they are; the descriptions and value names are read.
struct AppSwitch {
    std::vector<std::string> names;
    // Empty for a switch that takes no value.
    std::string valueName;
    std::string description;
};

struct AppCommandLineWords {
    static std::vector<AppSwitch> switches();
    static std::string description();
    static std::string usageLine();
    static std::string optionsHeading();
    // A refused command line: the parser's own complaint, or a word it did not know, with the way to the
    // help.
    static std::string refused(const std::string& complaint);
    static std::string unknownSwitch(const std::string& word);
    static std::string valueNeeded(const std::string& name);
    static std::string secondsNeeded();
    static std::string localeNeeded();
    static std::string rangeNeeded();
};

}  // namespace torvel
