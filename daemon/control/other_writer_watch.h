#pragma once

#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/dates.h"
#include "service/other_writer.h"

namespace torvel::daemon {

// Names the program behind a change to the charge controls that the service did not make.
class WriterLookout {
  public:
    virtual ~WriterLookout() = default;
    // Who sets the charge controls of these batteries besides the service, when anything says so: UPower with
    // its charge threshold on, TLP with thresholds in its configuration, KDE's charge-limit helper.
    virtual std::optional<OtherWriter> identify(const std::vector<std::string>& batteries) = 0;
};

// Keeps count of the writes the service did not make. A few of them close together mean a program that
// re-applies its own values, and fighting it would only undo the user's choice there: the service then stops
// putting its values back, says so, and takes the controls again once that program lets go of them (or the
// user sends new settings).
class OtherWriterWatch {
  public:
    static constexpr int toleratedWrites = 3;
    static constexpr double windowSeconds = 600;
    // How often the service asks again whether the program still holds the controls.
    static constexpr double recheckSeconds = 60;
    // An unnamed writer that has been quiet this long is forgotten, unless the service gave way to it.
    static constexpr double forgetUnknownSeconds = 3600;

    explicit OtherWriterWatch(WriterLookout* lookout) : lookout_(lookout) {}

    // A change the service did not make (`change` as ChargeWriter words it), at `wall` (what is published)
    // and `boot` (seconds on the boot clock, which every span here is measured by: a wall clock set back or
    // ahead must neither keep old writes in the window nor drop new ones). Returns the log line.
    std::string noticed(std::string_view battery, std::string_view change,
                        const std::vector<std::string>& batteries, Instant wall, double boot);
    // Looks again, at most every recheckSeconds of the boot clock, at whether the program still holds the
    // controls. Returns a log line when the service takes them back.
    std::optional<std::string> recheck(const std::vector<std::string>& batteries, double boot);
    // New settings from the user: the service holds again, and says so again if someone still writes.
    void reset();

    bool yielding() const { return writer_ && writer_->yielded; }
    const std::optional<OtherWriter>& writer() const { return writer_; }

  private:
    WriterLookout* lookout_;
    // Boot-clock seconds of the writes in the window, of the last look and of the last write.
    std::deque<double> writes_;
    std::optional<OtherWriter> writer_;
    std::optional<double> checkedAt_;
    std::optional<double> lastWrite_;
};

// "UPower", "TLP", "KDE Plasma" or "another program", for the service's log.
std::string_view programName(OtherWriter::Program program);

}  // namespace torvel::daemon
