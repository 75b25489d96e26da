#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace torvel::cli {

// The command line that runs one of the install helpers with administrator rights: directly for root,
// through sudo in a terminal that has it, through pkexec (the desktop's prompt) otherwise.
std::vector<std::string> elevatedCommand(bool root, bool hasSudo, const std::filesystem::path& helper,
                                         const std::vector<std::string>& arguments);

}  // namespace torvel::cli
