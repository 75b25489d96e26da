#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace torvel {

// Runs the service executable in probe mode and turns its answer into what this machine allows.
struct HardwareProbe {
    struct Supported {
        std::string mode;
        std::optional<std::string> discharge;
        bool led = false;
        bool operator==(const Supported&) const = default;
    };

    class Unsupported {
      public:
        enum Value { unknownHardware, systemLocked };
        constexpr Unsupported(Value value) : value_(value) {}
        constexpr operator Value() const { return value_; }
        // The systemLocked text names the release, normally SystemLock::current().macOSMajor.
        std::string message(int macOSMajor) const;

      private:
        Value value_;
    };

    struct Failed {
        std::string text;
        bool operator==(const Failed&) const = default;
    };

    using Result = std::variant<Supported, Unsupported, Failed>;

    // How a run of the executable went, before its answer is judged.
    struct MissingExecutable {
        bool operator==(const MissingExecutable&) const = default;
    };
    struct LaunchFailure {
        std::string text;
        bool operator==(const LaunchFailure&) const = default;
    };
    struct Output {
        std::string bytes;
        bool operator==(const Output&) const = default;
    };
    using ProbeRun = std::variant<MissingExecutable, LaunchFailure, Output>;

    static Result interpret(const ProbeRun& run);
    static Result interpretOutput(std::string_view bytes);

    // Starts `executable --probe --json` and reads its standard output to the end. Blocks until the child
    // exits; no time-out, as a hung probe is the caller's to abandon.
    static ProbeRun run(const std::filesystem::path& executable);
    static Result probe(const std::filesystem::path& executable) { return interpret(run(executable)); }

    // The executable's size for the onboarding screens ("1.2 MB", "840 kB"), or "—" when unknown.
    static std::string daemonSizeText(const std::filesystem::path& executable);
    static std::string sizeText(std::uintmax_t bytes);
};

}  // namespace torvel
