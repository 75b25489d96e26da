#include "common/json.h"

#include <cmath>
#include <limits>

namespace torvel::json {

std::optional<Value> parseObject(std::string_view text) {
    Value value = Value::parse(text.begin(), text.end(), nullptr, /*allow_exceptions=*/false);
    if (!value.is_object()) return std::nullopt;
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
