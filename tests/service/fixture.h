#pragma once

#include <string>

#include "common/files.h"

namespace torvel::testing {

// A fixture file's bytes; an unreadable fixture is a broken test, so it fails loudly.
inline std::string fixture(const std::string& relative) {
    auto contents = readWholeFile(std::string(TORVEL_FIXTURES) + "/" + relative);
    if (auto* bytes = std::get_if<std::string>(&contents)) return *bytes;
    return "fixture missing: " + relative;
}

}  // namespace torvel::testing
