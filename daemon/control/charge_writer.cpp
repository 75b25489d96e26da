#include "control/charge_writer.h"

namespace torvel::daemon {

WriteError ChargeWriter::applyThresholds(const DeviceCapabilities& caps, int start, int end) {
    if (!caps.endThreshold) return std::nullopt;
    // -1 stands for "unreadable", which never matches a request.
    const int currentEnd = device_.threshold(Threshold::end).value_or(-1);
    const int currentStart = caps.startThreshold ? device_.threshold(Threshold::start).value_or(-1) : -1;
    if (applied_ && applied_->start == start && applied_->end == end && applied_->readEnd == currentEnd &&
        applied_->readStart == currentStart) {
        return std::nullopt;
    }
    const bool alreadyThere = currentEnd == end && (!caps.startThreshold || currentStart == start);
    if (!alreadyThere) {
        applied_.reset();
        // The kernel refuses start > end at every moment, so the order of the two writes depends on
        // where the range moves: up means end first, down means start first.
        const bool endFirst = !caps.startThreshold || currentEnd < 0 || start >= currentEnd;
        if (endFirst) {
            if (auto error = device_.setThreshold(Threshold::end, end)) return error;
            if (caps.startThreshold) {
                if (auto error = device_.setThreshold(Threshold::start, start)) return error;
            }
        } else {
            if (auto error = device_.setThreshold(Threshold::start, start)) return error;
            if (auto error = device_.setThreshold(Threshold::end, end)) return error;
        }
    }
    Applied applied{start, end, caps.startThreshold ? device_.threshold(Threshold::start).value_or(-1) : -1,
                    device_.threshold(Threshold::end).value_or(-1)};
    if (applied.readEnd < 0) return "cannot read charge_control_end_threshold back";
    // A driver that raised our end threshold has shown the lowest limit this machine can hold.
    if (applied.readEnd > end && end < 100) {
        nativeFloor_ = nativeFloor_ ? std::min(*nativeFloor_, applied.readEnd) : applied.readEnd;
    }
    applied_ = applied;
    return std::nullopt;
}

WriteError ChargeWriter::applyBehaviour(const DeviceCapabilities& caps, std::string_view value) {
    if (caps.behaviours.empty()) return std::nullopt;
    const auto current = device_.behaviour();
    if (!current) return "cannot read charge_behaviour";
    if (current->current == value) return std::nullopt;
    if (!current->offers(value))
        return "cannot write charge_behaviour: " + std::string(value) + " is not offered";
    if (auto error = device_.setBehaviour(value)) return error;
    const auto after = device_.behaviour();
    if (!after || after->current != value) return "charge_behaviour did not take " + std::string(value);
    return std::nullopt;
}

}  // namespace torvel::daemon
