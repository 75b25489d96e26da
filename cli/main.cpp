#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "commands.h"
#include "locale_setup.h"

int main(int argc, char** argv) {
    std::vector<std::string> args(argv + 1, argv + argc);
    // --locale ID comes before the command and is the program's, not the command's.
    std::optional<std::string> locale;
    if (args.size() >= 2 && args[0] == "--locale") {
        locale = args[1];
        args.erase(args.begin(), args.begin() + 2);
    }
    torvel::l10n::setUp(locale);
    return torvel::cli::run(args, stdout, stderr);
}
