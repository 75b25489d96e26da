#include <cstdio>
#include <string>
#include <vector>

#include "commands.h"

int main(int argc, char** argv) {
    const std::vector<std::string> args(argv + 1, argv + argc);
    return torvel::cli::run(args, stdout, stderr);
}
