#include "common/json.h"

#include <cmath>
#include <limits>
#include <set>
#include <vector>

namespace torvel::json {

std::optional<Value> parseObject(std::string_view text) {
    Value value = Value::parse(text.begin(), text.end(), nullptr, /*allow_exceptions=*/false);
    if (!value.is_object()) return std::nullopt;
    return value;
}

namespace {

// Counted before parsing, so a million opening brackets cost one pass and no allocation.
bool nestsWithin(std::string_view text, int maxDepth) {
    int depth = 0;
    bool inString = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (inString) {
            if (c == '\\') {
                ++i;
            } else if (c == '"') {
                inString = false;
            }
        } else if (c == '"') {
            inString = true;
        } else if (c == '{' || c == '[') {
            if (++depth > maxDepth) return false;
        } else if (c == '}' || c == ']') {
            --depth;
        }
    }
    return true;
}

}  // namespace

std::optional<Value> parseObjectStrictly(std::string_view text, int maxDepth) {
    if (!nestsWithin(text, maxDepth)) return std::nullopt;
    // The keys seen so far in each open container; arrays get an empty set to keep the levels aligned.
    std::vector<std::set<std::string>> open;
    bool repeated = false;
    const auto watch = [&](int, nlohmann::json::parse_event_t event, Value& parsed) {
        using Event = nlohmann::json::parse_event_t;
        if (event == Event::object_start || event == Event::array_start) {
            open.emplace_back();
        } else if ((event == Event::object_end || event == Event::array_end) && !open.empty()) {
            open.pop_back();
        } else if (event == Event::key && !open.empty() &&
                   !open.back().insert(parsed.get<std::string>()).second) {
            repeated = true;
        }
        return true;
    };
    Value value = Value::parse(text.begin(), text.end(), watch, /*allow_exceptions=*/false);
    if (repeated || !value.is_object()) return std::nullopt;
    return value;
}

const Value* member(const Value& object, std::string_view key) {
    if (!object.is_object()) return nullptr;
    const auto found = object.find(key);
    return found == object.end() ? nullptr : &*found;
}

std::optional<bool> boolean(const Value& object, std::string_view key) {
    const Value* value = member(object, key);
    if (value == nullptr || !value->is_boolean()) return std::nullopt;
    return value->get<bool>();
}

std::optional<std::int64_t> asInteger(const Value& value) {
    if (value.is_number_unsigned()) {
        const auto raw = value.get<std::uint64_t>();
        if (raw > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) return std::nullopt;
        return static_cast<std::int64_t>(raw);
    }
    if (value.is_number_integer()) return value.get<std::int64_t>();
    return std::nullopt;
}

std::optional<double> asNumber(const Value& value) {
    if (!value.is_number()) return std::nullopt;
    const double number = value.get<double>();
    if (!std::isfinite(number)) return std::nullopt;
    return number;
}

std::optional<std::int64_t> integer(const Value& object, std::string_view key) {
    const Value* value = member(object, key);
    return value == nullptr ? std::nullopt : asInteger(*value);
}

std::optional<std::int64_t> truncatedInteger(const Value& object, std::string_view key) {
    const Value* value = member(object, key);
    if (value == nullptr) return std::nullopt;
    if (auto whole = asInteger(*value)) return whole;
    const auto number = asNumber(*value);
    if (!number) return std::nullopt;
    const double truncated = std::trunc(*number);
    // 2^63 is exactly representable; anything at or beyond it would overflow the conversion.
    constexpr double limit = 9223372036854775808.0;
    if (truncated >= limit || truncated < -limit) return std::nullopt;
    return static_cast<std::int64_t>(truncated);
}

std::optional<double> number(const Value& object, std::string_view key) {
    const Value* value = member(object, key);
    return value == nullptr ? std::nullopt : asNumber(*value);
}

std::optional<std::string> text(const Value& object, std::string_view key) {
    const Value* value = member(object, key);
    if (value == nullptr || !value->is_string()) return std::nullopt;
    return value->get<std::string>();
}

const Value* object(const Value& object, std::string_view key) {
    const Value* value = member(object, key);
    return value != nullptr && value->is_object() ? value : nullptr;
}

std::optional<int> toInt(std::optional<std::int64_t> value) {
    if (!value || *value < std::numeric_limits<int>::min() || *value > std::numeric_limits<int>::max()) {
        return std::nullopt;
    }
    return static_cast<int>(*value);
}

}  // namespace torvel::json
