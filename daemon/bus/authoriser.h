#pragma once

#include <sys/types.h>
#include <systemd/sd-bus.h>

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace torvel::daemon {

enum class Action { applySettings, purgeAllData, releaseCharge, restart };

// The polkit action id of each remote call (packaging/linux/com.torvel.daemon.policy).
std::string_view actionId(Action action);

// Decides whether a caller may make a call. A caller running as the service's own user could write the
// files itself, so it is let through without asking; everyone else is asked about through polkit, which
// may show the desktop's password prompt, so the answer comes back later through `Done`.
class Authoriser {
  public:
    using CallerUid = std::function<std::optional<uid_t>(sd_bus_message* call)>;
    // `reason` is a sentence for the refused caller.
    using Done = std::function<void(bool allowed, std::string reason)>;

    // The uid of the connection that sent `call`, as the bus daemon vouches for it.
    static std::optional<uid_t> senderUid(sd_bus_message* call);

    // `callerUid` is a seam for tests that cannot run a caller under another uid.
    Authoriser(sd_bus* bus, uid_t serviceUid, CallerUid callerUid = senderUid);

    void check(sd_bus_message* call, Action action, Done done);

  private:
    sd_bus* bus_;
    uid_t serviceUid_;
    CallerUid callerUid_;
};

}  // namespace torvel::daemon
