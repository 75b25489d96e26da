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
    {"status", statusCommand, trNoop("the charge service's state, the panel line and the settings")},
    {"journal", journalCommand,
     trNoop("the day's or a range's journal: narrative, verdicts, insights, chart")},
    {"checkup", checkupCommand,
     trNoop("whether everything is in place: each piece, the first fix, the service")},
    {"report", reportCommand, trNoop("the diagnostic report, as the app copies it")},
    {"set", setCommand, trNoop("change settings (KEY=VALUE...) through the charge service")},
    {"topup", topupCommand, trNoop("a one-off charge to full: on or off")},
    {"calibrate", calibrateCommand, trNoop("a calibration run: start or stop")},
    {"battery", batteryCommand,
     trNoop("every power supply as the kernel shows it, and what the product reads from it")},
    {"probe", probeCommand, trNoop("what this machine lets the charge service do")},
    {"install", installCommand, trNoop("install this copy's charge service (asks for administrator rights)")},
    {"uninstall", uninstallCommand,
     trNoop("remove the charge service; --keep-data keeps settings and history")},
};

void printUsage(std::FILE* stream) {
    printLine(stream, tr("usage: torvelctl [--locale ID] COMMAND [OPTIONS]"));
    std::fputs("\n", stream);
    printLine(stream, tr("commands:"));
    for (const auto& entry : commands) {
        const std::string summary = tr(entry.summary);
        std::fprintf(stream, "  %-10.*s %s\n", static_cast<int>(entry.name.size()), entry.name.data(),
                     summary.c_str());
    }
    std::fputs("\n", stream);
    std::fprintf(stream, "  %-10s %s\n", "--locale",
                 tr("the language of the texts, numbers and dates, such as de or fr").c_str());
    std::fprintf(stream, "  %-10s %s\n", "--version", tr("the version of torvelctl").c_str());
    std::fputs("\n", stream);
    printLine(stream, tr("The data directory is /var/lib/torvel, or $TORVEL_ROOT/var/lib/torvel when set."));
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
    printLine(err, tr("torvelctl: unknown command '%1' (try torvelctl --help)", {args.front()}));
    return exitUsage;
}

}  // namespace torvel::cli
