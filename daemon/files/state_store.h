#pragma once

#include <filesystem>

#include "control/controller.h"
#include "files/atomic_file.h"

namespace torvel::daemon {

// The service's own memory across restarts (protected time, the calibration record), in a file of its own
// beside config.json. The app never reads it.
class StateStore {
  public:
    explicit StateStore(std::filesystem::path file) : file_(std::move(file)) {}

    // Whatever part of the file can be read; a missing or damaged file gives a fresh memory.
    ControlMemory load() const;
    FileError save(const ControlMemory& memory) const;
    const std::filesystem::path& file() const { return file_; }

  private:
    std::filesystem::path file_;
};

}  // namespace torvel::daemon
