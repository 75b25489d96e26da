#include "options.h"

#include <charconv>
#include <cmath>

#include "common/texts.h"

namespace torvel::cli {

std::variant<Options, std::string> Options::parse(const std::vector<std::string>& args,
                                                  const std::vector<OptionRule>& rules) {
    Options options;
    for (std::size_t i = 0; i < args.size(); ++i) {
        std::string_view arg = args[i];
        std::optional<std::string> inlineValue;
        if (const auto equals = arg.find('='); arg.starts_with("--") && equals != std::string_view::npos) {
            inlineValue = std::string(arg.substr(equals + 1));
            arg = arg.substr(0, equals);
        }
        const OptionRule* rule = nullptr;
        for (const auto& candidate : rules) {
            if (candidate.name == arg) rule = &candidate;
        }
        if (rule == nullptr) {
            if (!arg.starts_with("-")) return tr("unexpected argument '%1'", {arg});
            return tr("unknown option %1", {arg});
        }
        if (options.has(arg)) return tr("%1 given twice", {arg});
        if (!rule->takesValue) {
            if (inlineValue) return tr("%1 takes no value", {arg});
            options.values_[std::string(arg)] = "";
            continue;
        }
        if (inlineValue) {
            options.values_[std::string(arg)] = *inlineValue;
        } else if (i + 1 < args.size()) {
            options.values_[std::string(arg)] = args[++i];
        } else {
            return tr("%1 needs a value", {arg});
        }
    }
    return options;
}

std::optional<std::string> Options::value(std::string_view name) const {
    const auto found = values_.find(std::string(name));
    if (found == values_.end()) return std::nullopt;
    return found->second;
}

std::optional<long long> parseInteger(std::string_view text) {
    if (!text.empty() && text.front() == '+') text.remove_prefix(1);
    long long value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

std::optional<double> parseNumber(std::string_view text) {
    if (!text.empty() && text.front() == '+') text.remove_prefix(1);
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) {
        return std::nullopt;
    }
    return value;
}

std::string badValue(std::string_view option, std::string_view value, std::string_view expected) {
    return tr("bad value for %1: '%2' (expected %3)", {option, value, expected});
}

}  // namespace torvel::cli
