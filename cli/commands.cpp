#include "commands.h"

#include <string_view>

namespace torvel::cli {
namespace {

using Command = int (*)(const std::vector<std::string>&, std::FILE*, std::FILE*);

struct Entry {
    std::string_view name;
    Command command;
    std::string_view summary;
};

constexpr Entry commands[] = {
    {"status", statusCommand, "the charge service's state, the panel line and the settings"},
    {"journal", journalCommand, "the day's or a range's journal: narrative, verdicts, insights, chart"},
    {"checkup", checkupCommand, "whether everything is in place: each piece, the first fix, the service"},
    {"report", reportCommand, "the diagnostic report, as the app copies it"},
    {"set", setCommand, "change settings (KEY=VALUE...) through the charge service"},
    {"topup", topupCommand, "a one-off charge to full: on or off"},
    {"calibrate", calibrateCommand, "a calibration run: start or stop"},
    {"battery", batteryCommand,
     "every power supply as the kernel shows it, and what the product reads from it"},
    {"probe", probeCommand, "what this machine lets the charge service do"},
    {"install", installCommand, "install this copy's charge service (asks for administrator rights)"},
    {"uninstall", uninstallCommand, "remove the charge service; --keep-data keeps settings and history"},
};

void printUsage(std::FILE* stream) {
    std::fputs("usage: torvelctl COMMAND [OPTIONS]\n\ncommands:\n", stream);
    for (const auto& entry : commands) {
        std::fprintf(stream, "  %-10.*s %.*s\n", static_cast<int>(entry.name.size()), entry.name.data(),
                     static_cast<int>(entry.summary.size()), entry.summary.data());
    }
    std::fputs(
        "\n  --version  the version of torvelctl\n\nThe data directory is /var/lib/torvel, or "
        "$TORVEL_ROOT/var/lib/torvel when set.\n",
        stream);
}

}  // namespace

int run(const std::vector<std::string>& args, std::FILE* out, std::FILE* err) {
    if (args.empty()) {
        printUsage(err);
        return exitUsage;
    }
    if (args.front() == "--help" || args.front() == "-h" || args.front() == "help") {
        printUsage(out);
        return exitOk;
    }
    if (args.front() == "--version") {
        std::fprintf(out, "torvelctl %s\n", TORVEL_VERSION);
        return exitOk;
    }
    for (const auto& entry : commands) {
        if (entry.name == args.front()) return entry.command({args.begin() + 1, args.end()}, out, err);
    }
    std::fprintf(err, "torvelctl: unknown command '%s' (try torvelctl --help)\n", args.front().c_str());
    return exitUsage;
}

}  // namespace torvel::cli
