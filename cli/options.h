#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace torvel::cli {

struct OptionRule {
    std::string_view name;  // with its dashes, "--now"
    bool takesValue = false;
};

// A sub-command's options, parsed strictly: an unknown option, a missing value or a stray word is an error
// whose text names it.
class Options {
  public:
    static std::variant<Options, std::string> parse(const std::vector<std::string>& args,
                                                    const std::vector<OptionRule>& rules);

    bool has(std::string_view name) const { return values_.contains(std::string(name)); }
    std::optional<std::string> value(std::string_view name) const;

  private:
    std::map<std::string, std::string> values_;
};

// Whole-string parses; anything left over makes them absent.
std::optional<long long> parseInteger(std::string_view text);
std::optional<double> parseNumber(std::string_view text);

// The message for an option whose value is wrong: "bad value for --now: 'x' (expected seconds since 1970)".
std::string badValue(std::string_view option, std::string_view value, std::string_view expected);

}  // namespace torvel::cli
