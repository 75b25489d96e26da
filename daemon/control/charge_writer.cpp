#include "control/charge_writer.h"

#include <vector>

namespace torvel::daemon {
namespace {

std::string change(std::string_view attribute, const std::string& before, const std::string& after) {
    return std::string(attribute) + " " + before + " → " + after;
}

}  // namespace

void ChargeWriter::forget() {
    applied_.reset();
    seen_.reset();
    behaviourTaken_ = false;
    // Back from sleep or from an empty bay, the driver may take what it refused before.
    refusedFor_.reset();
}

ChargeWriter::Seen ChargeWriter::look(const DeviceCapabilities& caps) {
    Seen seen;
    if (caps.endThreshold) seen.end = device_.threshold(battery_, Threshold::end).value_or(-1);
    if (caps.endThreshold && caps.startThreshold)
        seen.start = device_.threshold(battery_, Threshold::start).value_or(-1);
    if (!caps.behaviours.empty()) {
        if (auto current = device_.behaviour(battery_)) seen.behaviour = current->current;
    }
    return seen;
}

std::optional<std::string> ChargeWriter::foreignChange(const DeviceCapabilities& caps) {
    if (!seen_) return std::nullopt;
    const Seen now = look(caps);
    std::string changes;
    const auto add = [&](std::string text) { changes += (changes.empty() ? "" : ", ") + text; };
    // An unreadable value (-1, or no behaviour) is no news: a driver caught mid-change reads so for a moment.
    if (now.end >= 0 && seen_->end >= 0 && now.end != seen_->end)
        add(change(thresholdAttribute(Threshold::end), std::to_string(seen_->end), std::to_string(now.end)));
    if (now.start >= 0 && seen_->start >= 0 && now.start != seen_->start)
        add(change(thresholdAttribute(Threshold::start), std::to_string(seen_->start),
                   std::to_string(now.start)));
    if (!now.behaviour.empty() && !seen_->behaviour.empty() && now.behaviour != seen_->behaviour) {
        add(change("charge_behaviour", seen_->behaviour, now.behaviour));
        behaviourTaken_ = true;
    }
    seen_ = now;
    if (changes.empty()) return std::nullopt;
    return changes;
}

std::optional<int> ChargeWriter::heldEnd() const {
    if (!applied_ || applied_->readEnd < 0 || applied_->readEnd == applied_->end) return std::nullopt;
    return applied_->readEnd;
}

WriteError ChargeWriter::write(Threshold which, int value) {
    std::set<int>& refused = which == Threshold::end ? refusedEnds_ : refusedStarts_;
    // Nearest first, the higher of two at the same distance.
    std::vector<int> candidates{value};
    for (int distance = 1; distance <= 100; ++distance) {
        candidates.push_back(value + distance);
        candidates.push_back(value - distance);
    }
    for (const int candidate : candidates) {
        if (candidate < 0 || candidate > 100 || refused.contains(candidate)) continue;
        auto failure = device_.setThreshold(battery_, which, candidate);
        if (!failure) return std::nullopt;
        // Only a refused value is worth another try; a write that fails fails whatever the value.
        if (!failure->refused) return failure->text;
        refused.insert(candidate);
    }
    return "the driver takes no value of " + std::string(thresholdAttribute(which));
}

WriteError ChargeWriter::applyThresholds(const DeviceCapabilities& caps, int start, int end) {
    if (!caps.endThreshold) return std::nullopt;
    // -1 stands for "unreadable", which never matches a request.
    const int currentEnd = device_.threshold(battery_, Threshold::end).value_or(-1);
    const int currentStart =
        caps.startThreshold ? device_.threshold(battery_, Threshold::start).value_or(-1) : -1;
    if (applied_ && applied_->start == start && applied_->end == end && applied_->readEnd == currentEnd &&
        applied_->readStart == currentStart) {
        return std::nullopt;
    }
    const bool alreadyThere = currentEnd == end && (!caps.startThreshold || currentStart == start);
    WriteError error;
    if (!alreadyThere) {
        applied_.reset();
        // A refusal may have been the kernel's start <= end rule in passing, so each new request asks afresh;
        // the same request asked again on the next tick knows better than to try every value once more.
        if (refusedFor_ != std::pair(start, end)) {
            refusedEnds_.clear();
            refusedStarts_.clear();
            refusedFor_ = std::pair(start, end);
        }
        // The kernel refuses start > end at every moment, so the order of the two writes depends on
        // where the range moves: up means end first, down means start first.
        const bool endFirst = !caps.startThreshold || currentEnd < 0 || start >= currentEnd;
        if (endFirst) {
            error = write(Threshold::end, end);
            if (!error && caps.startThreshold) error = write(Threshold::start, start);
        } else {
            error = write(Threshold::start, start);
            if (!error) error = write(Threshold::end, end);
        }
    }
    Applied applied{start, end,
                    caps.startThreshold ? device_.threshold(battery_, Threshold::start).value_or(-1) : -1,
                    device_.threshold(battery_, Threshold::end).value_or(-1)};
    if (!seen_) seen_ = Seen{};
    seen_->start = applied.readStart;
    seen_->end = applied.readEnd;
    if (error) return error;
    if (applied.readEnd < 0) return "cannot read charge_control_end_threshold back";
    // A driver that raised our end threshold has shown the lowest limit this machine can hold.
    if (applied.readEnd > end && end < 100) {
        nativeFloor_ = nativeFloor_ ? std::min(*nativeFloor_, applied.readEnd) : applied.readEnd;
    }
    applied_ = applied;
    return std::nullopt;
}

WriteError ChargeWriter::applyBehaviour(const DeviceCapabilities& caps, std::string_view value) {
    if (caps.behaviours.empty() || behaviourTaken_) return std::nullopt;
    const auto current = device_.behaviour(battery_);
    if (!current) return "cannot read charge_behaviour";
    const auto remember = [&](const std::string& behaviour) {
        if (!seen_)
            seen_ = Seen{.start = device_.threshold(battery_, Threshold::start).value_or(-1),
                         .end = device_.threshold(battery_, Threshold::end).value_or(-1),
                         .behaviour = {}};
        seen_->behaviour = behaviour;
    };
    if (current->current == value) {
        remember(current->current);
        return std::nullopt;
    }
    if (!current->offers(value))
        return "cannot write charge_behaviour: " + std::string(value) + " is not offered";
    if (auto failure = device_.setBehaviour(battery_, value)) return failure->text;
    const auto after = device_.behaviour(battery_);
    if (after) remember(after->current);
    if (!after || after->current != value) return "charge_behaviour did not take " + std::string(value);
    return std::nullopt;
}

}  // namespace torvel::daemon
