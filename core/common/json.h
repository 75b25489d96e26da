#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

// Lenient field readers shared by every decoder of the service's files: a missing key or a value of the
// wrong type is absent, never an error, and numbers that do not fit are dropped rather than clamped.
namespace torvel::json {

using Value = nlohmann::json;
// Keeps the order in which keys were added, for output meant to be read by people.
using Ordered = nlohmann::ordered_json;

// The parsed document when it is a JSON object; absent for anything else, malformed input included.
std::optional<Value> parseObject(std::string_view text);

// For text from someone who may mean harm (a bus caller, a file a user could have planted): also absent
// when arrays and objects nest deeper than `maxDepth`, or when one object names a key twice (which reader
// would win is anyone's guess, so neither does).
inline constexpr int defaultMaxDepth = 16;
std::optional<Value> parseObjectStrictly(std::string_view text, int maxDepth = defaultMaxDepth);

std::optional<bool> boolean(const Value& object, std::string_view key);
// Only a JSON integer (no fraction in the source), within the signed 64-bit range.
std::optional<std::int64_t> integer(const Value& object, std::string_view key);
// A JSON integer, or a finite number with its fraction truncated toward zero, within the signed 64-bit range.
std::optional<std::int64_t> truncatedInteger(const Value& object, std::string_view key);
// Any finite JSON number.
std::optional<double> number(const Value& object, std::string_view key);
std::optional<std::string> text(const Value& object, std::string_view key);
// The member when it is an object, else null.
const Value* object(const Value& object, std::string_view key);

// The member, or null when absent; lets callers apply the typed readers to array elements too.
const Value* member(const Value& object, std::string_view key);

// The same readers applied to a value rather than a member.
std::optional<std::int64_t> asInteger(const Value& value);
std::optional<double> asNumber(const Value& value);

// Narrows to int, dropping values outside its range.
std::optional<int> toInt(std::optional<std::int64_t> value);

// An optional as JSON: the value, or null.
template <typename Json = Ordered, typename T>
Json orNull(const std::optional<T>& value) {
    return value ? Json(*value) : Json(nullptr);
}

}  // namespace torvel::json
