#pragma once

#include <sys/types.h>
#include <systemd/sd-bus.h>

#include <cstddef>
#include <functional>
#include <list>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace torvel::daemon {

// applyProtectedSettings is a settings message that undoes a protection or destroys something kept: it
// turns the limit off, shortens the journal's retention or resets the protected-time counter.
enum class Action { applySettings, applyProtectedSettings, purgeAllData, releaseCharge, restart };

// The polkit action id of each remote call (packaging/linux/com.torvel.daemon.policy).
std::string_view actionId(Action action);

// Decides whether a caller may make a call. A caller running as the service's own user could write the
// files itself, so it is let through without asking; everyone else is asked about through polkit, which
// may show the desktop's password prompt, so the answer comes back later through `Done`.
class Authoriser {
  public:
    enum class Verdict { allowed, refused, busy };
    using CallerUid = std::function<std::optional<uid_t>(sd_bus_message* call)>;
    // `reason` is a sentence for the refused caller.
    using Done = std::function<void(Verdict verdict, std::string reason)>;

    // Questions waiting for polkit at once: a password prompt may sit for minutes, and one user's burst
    // must neither grow the service nor crowd out another user.
    static constexpr std::size_t maxPendingPerCaller = 4;
    static constexpr std::size_t maxPending = 32;

    // The uid of the connection that sent `call`, as the bus daemon vouches for it.
    static std::optional<uid_t> senderUid(sd_bus_message* call);

    // `callerUid` is a seam for tests that cannot run a caller under another uid.
    Authoriser(sd_bus* bus, uid_t serviceUid, CallerUid callerUid = senderUid);
    ~Authoriser();
    Authoriser(const Authoriser&) = delete;
    Authoriser& operator=(const Authoriser&) = delete;

    void check(sd_bus_message* call, Action action, Done done);
    std::size_t pending() const { return pending_.size(); }

  private:
    struct Pending {
        Authoriser* owner;
        std::string caller;
        Done done;
        sd_bus_slot* slot = nullptr;
        std::list<Pending>::iterator self;
    };
    static int onAnswer(sd_bus_message* reply, void* userdata, sd_bus_error*);
    void finish(Pending& pending, Verdict verdict, std::string reason);

    sd_bus* bus_;
    uid_t serviceUid_;
    CallerUid callerUid_;
    std::list<Pending> pending_;
    std::map<std::string, std::size_t> perCaller_;
};

}  // namespace torvel::daemon
