#include "status/notifier.h"

#include "common/texts.h"

namespace torvel {

Notifier::Notifier(DefaultsStore& defaults, NoticePoster poster, SystemLock lock)
    : defaults_(defaults),
      poster_(std::move(poster)),
      lock_(lock),
      systemLockedPosting_(std::make_shared<std::atomic<bool>>(false)) {}

void Notifier::post(const std::string& title, const std::string& body, const std::string& opens,
                    std::string_view key, std::function<void(bool)> alsoOnCompletion) {
    if (!poster_) return;
    DefaultsStore* defaults = &defaults_;
    poster_(title, body, opens, [defaults, key, then = std::move(alsoOnCompletion)](bool added) {
        if (added) defaults->setBoolean(key, true);
        if (then) then(added);
    });
}

void Notifier::limitState(std::optional<bool> working) {
    if (!working) return;
    if (*working) {
        // Holding again: the next failure is a new one and deserves its own notice.
        defaults_.setBoolean(limitKey, false);
        return;
    }
    if (defaults_.boolean(limitKey)) return;
    post(tr("Torvel isn’t holding the charge"),
         tr("The charge limit is set, but this Mac keeps charging anyway. Your battery isn’t being protected "
            "right now. Open Torvel to see what it found."),
         "mac", limitKey);
}

void Notifier::systemLocked(bool locked) {
    if (!locked) return;
    // A pretended release is for looking at the locked screens, not for alarming the tester.
    if (lock_.pretendedMajor) return;
    if (defaults_.boolean(lockedKey)) return;
    if (systemLockedPosting_->exchange(true)) return;
    const std::string major = std::to_string(lock_.macOSMajor);
    // A failed post lets a later refresh try again within the same run.
    post(tr("Torvel can’t hold your limit on macOS %1", {major}),
         tr("macOS %1 changed the way charging is controlled, and Torvel can’t follow yet: your battery "
            "charges as "
            "it would without Torvel. Open Torvel to see what you can do in the meantime.",
            {major}),
         "mac", lockedKey, [posting = systemLockedPosting_](bool added) {
             if (!added) posting->store(false);
         });
}

void Notifier::historyReady(std::string_view summary) {
    if (defaults_.boolean(historyKey)) return;
    post(tr("Your battery journal is ready"),
         tr("Twenty-four hours of readings: the last-24-hours curve is now complete. %1", {summary}), "today",
         historyKey);
}

}  // namespace torvel
