#pragma once

#include <simdjson.h>

#include <cstddef>
#include <vector>

#include "history/sample.h"

namespace torvel::detail {

// The day-file reader's core, kept out of the public headers so that simdjson stays a private dependency.
// One parser serves every line of a read: its buffers are sized by the first line and then reused.
class JournalParser {
  public:
    static constexpr std::size_t padding = simdjson::SIMDJSON_PADDING;

    // Appends the readings of a day file's bytes to `out`. `data` must stay readable for `size + padding`
    // bytes, so every line is parsed where it lies, without a copy.
    void appendDay(const char* data, std::size_t size, std::vector<HistorySample>& out);
    // One line under the same padding rule.
    bool parseLine(const char* data, std::size_t size, std::size_t readable, HistorySample& out);

  private:
    simdjson::ondemand::parser parser_;
};

}  // namespace torvel::detail
