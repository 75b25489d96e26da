#pragma once

#include <QStringList>
#include <optional>
#include <string>

#include "shell/torvel_app.h"

namespace torvel::app {

// The command line beyond the review switches core reads.
struct CommandLine {
    TorvelApp::Options options;
    std::optional<QString> screenshot;  // --screenshot FILE: render and exit
    std::optional<QString> step;        // --step NAME: the onboarding screen a screenshot renders
    bool headless = false;              // --headless: print the charge and the panel line every second
    std::optional<int> seconds;         // --seconds N: stop the headless run after N seconds
    std::optional<std::string> locale;  // --locale ID: the display locale of numbers, dates and counts
    std::optional<QString> range;       // --range NAME: the span the Long memory page opens on
    bool help = false;                  // --help: print the switches and exit
    bool version = false;               // --version: print the version and exit
    QStringList handOver;               // the switches a second launch gives the copy already running
    std::optional<QString> error;

    static QString usage();

    static CommandLine parse(const QStringList& arguments);
};

// The whole program; main() only calls this.
int run(int argc, char** argv);

}  // namespace torvel::app
