#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "commands.h"

namespace torvel::cli::testing {

// One torvelctl command line run in-process, with what it printed on each stream.
struct Outcome {
    int status;
    std::string out;
    std::string err;
};

inline std::string drain(std::FILE* file) {
    std::rewind(file);
    std::string text;
    char buffer[4096];
    while (const std::size_t n = std::fread(buffer, 1, sizeof buffer, file)) text.append(buffer, n);
    std::fclose(file);
    return text;
}

inline Outcome torvelctl(const std::vector<std::string>& args) {
    std::FILE* out = std::tmpfile();
    std::FILE* err = std::tmpfile();
    const int status = run(args, out, err);
    return {status, drain(out), drain(err)};
}

}  // namespace torvel::cli::testing
