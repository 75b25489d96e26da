#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "battery/system_lock.h"
#include "common/texts.h"

namespace torvel {

// The user defaults the notices remember themselves in. Completions may arrive on the notification
// service's own thread, so implementations must accept writes from any thread.
class DefaultsStore {
  public:
    virtual ~DefaultsStore() = default;
    virtual bool boolean(std::string_view key) const = 0;  // absent reads as false
    virtual void setBoolean(std::string_view key, bool value) = 0;
};

// Shows one notice and reports, possibly later and from another thread, whether it was added. A refused
// authorisation, a missing notification service or an error all report false. `opens` names the section
// (as AppSection reads it) that clicking the notice opens; empty, the notice leads nowhere.
using NoticePoster =
    std::function<void(const std::string& title, const std::string& body, const std::string& opens,
                       std::function<void(bool added)> completion)>;

// The app's three notices. Each is shown at most once until its cause goes away (the journal notice once
// ever); a key is set only when the notice was really added, so a refusal is retried on the next occasion.
class Notifier {
  public:
    static constexpr std::string_view limitKey = "notifiedLimitNotWorking";
    static constexpr std::string_view lockedKey = "notifiedSystemLocked";
    static constexpr std::string_view historyKey = "notifiedHistoryReady";
    // The words of a notice's default action, for the notification servers that show it as a button.
    static constexpr std::string_view openAction = trNoop("Open Torvel");

    // `defaults` must outlive every completion the poster may still call.
    Notifier(DefaultsStore& defaults, NoticePoster poster, SystemLock lock);

    // After every status refresh, with the service's gateVerified.
    void limitState(std::optional<bool> working);
    // After every status refresh, with SystemLock.active.
    void systemLocked(bool locked);
    // When the first full day of readings is complete; `summary` is the day's one-line summary.
    void historyReady(std::string_view summary);

  private:
    void post(const std::string& title, const std::string& body, const std::string& opens,
              std::string_view key, std::function<void(bool)> alsoOnCompletion = {});

    DefaultsStore& defaults_;
    NoticePoster poster_;
    SystemLock lock_;
    // Shared with the completion, which may outlive a call but not the process.
    std::shared_ptr<std::atomic<bool>> systemLockedPosting_;
};

}  // namespace torvel
