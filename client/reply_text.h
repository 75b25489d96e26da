#pragma once

#include <optional>
#include <string>
#include <string_view>

struct sd_bus_message;

namespace torvel::client {

// What the user reads when a call to the charge service goes wrong. They are localisation keys, so they
// stay exactly as written here.
namespace texts {
inline constexpr std::string_view unreachable = "The charge service isn’t reachable.";
inline constexpr std::string_view stoppedResponding = "The charge service stopped responding.";
inline constexpr std::string_view refusedChange = "The charge service refused the change.";
inline constexpr std::string_view couldNotRemoveData = "The charge service could not remove its data.";
inline constexpr std::string_view didNotRestart = "The charge service didn’t restart.";
}  // namespace texts

// The text for a D-Bus error: a missing or unknown peer is unreachable, a lost or silent one stopped
// responding, and anything else the service (or the bus) said, as long as it said something.
std::string errorText(std::string_view errorName, std::string_view errorMessage);

// The outcome of one (b ok, s message) answer: none on success; on failure the service's own message, or
// `failureText` when it sent none. An answer of any other shape is not our service speaking.
std::optional<std::string> replyResult(sd_bus_message* reply, std::string_view failureText);

// The message of a (b ok, s message) answer, whatever ok says, trimmed; none when it is empty or the answer
// is of any other shape.
std::optional<std::string> replyMessage(sd_bus_message* reply);

}  // namespace torvel::client
