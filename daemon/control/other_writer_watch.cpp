#include "control/other_writer_watch.h"

namespace torvel::daemon {

std::string_view programName(OtherWriter::Program program) {
    switch (program) {
        case OtherWriter::Program::upower:
            return "UPower";
        case OtherWriter::Program::tlp:
            return "TLP";
        case OtherWriter::Program::kde:
            return "KDE Plasma";
        case OtherWriter::Program::unknown:
            break;
    }
    return "another program";
}

std::string OtherWriterWatch::noticed(std::string_view battery, std::string_view change,
                                      const std::vector<std::string>& batteries, Instant wall, double boot) {
    writes_.push_back(boot);
    while (!writes_.empty() && boot - writes_.front() > windowSeconds) writes_.pop_front();
    const bool wasYielding = yielding();
    OtherWriter writer = (lookout_ ? lookout_->identify(batteries) : std::nullopt).value_or(OtherWriter{});
    writer.at = wall;
    writer.yielded = wasYielding || static_cast<int>(writes_.size()) >= toleratedWrites;
    writer_ = writer;
    checkedAt_ = boot;
    lastWrite_ = boot;

    std::string line = std::string(change) + " on " + std::string(battery) + ", written by " +
                       std::string(programName(writer.program));
    if (writer.file) line += " (" + *writer.file + ")";
    if (wasYielding) return line;
    if (writer.yielded) {
        return line + "; " + std::to_string(writes_.size()) +
               " such writes in ten minutes, so the limit is no longer put back until that program lets go";
    }
    return line + "; putting the limit back";
}

std::optional<std::string> OtherWriterWatch::recheck(const std::vector<std::string>& batteries, double boot) {
    if (!writer_ || (checkedAt_ && boot - *checkedAt_ < recheckSeconds)) return std::nullopt;
    checkedAt_ = boot;
    if (writer_->program == OtherWriter::Program::unknown) {
        // Nothing to ask about an unnamed writer: only new settings take the controls back from it.
        if (!writer_->yielded && lastWrite_ && boot - *lastWrite_ > forgetUnknownSeconds) reset();
        return std::nullopt;
    }
    const auto holder = lookout_ ? lookout_->identify(batteries) : std::nullopt;
    if (holder && holder->program == writer_->program) return std::nullopt;
    const bool wasYielding = writer_->yielded;
    const std::string name(programName(writer_->program));
    reset();
    if (!wasYielding) return std::nullopt;
    return name + " no longer sets the charge controls; holding the limit again";
}

void OtherWriterWatch::reset() {
    writes_.clear();
    writer_.reset();
    checkedAt_.reset();
    lastWrite_.reset();
}

}  // namespace torvel::daemon
