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
#include <variant>

namespace torvel::daemon {

// applyProtectedSettings is a settings message that undoes a protection or destroys something kept: it
// turns the limit off, shortens the journal's retention or resets the protected-time counter.
enum class Action { applySettings, applyProtectedSettings, purgeAllData, releaseCharge, restart };

// The polkit action id of each remote call (packaging/linux/com.torvel.daemon.policy).
std::string_view actionId(Action action);

// Decides whether a caller may make a call, without ever blocking the loop on a caller. The caller's uid is
// asked of the bus daemon asynchronously, once per connection; until it is known, and while polkit thinks,
// the call is held against the caller's bound, and only a call that holds a place is read at all. A caller
// running as the service's own user could write the files itself, so it is let through without asking and
// without a bound; everyone else is asked about through polkit, which may show the desktop's password
// prompt, so the answer comes back later through `Done`.
class Authoriser {
  public:
    // invalid: the call was read and refused for what it says; `reason` tells why.
    enum class Verdict { allowed, refused, busy, invalid };
    // `reason` is a sentence for the refused caller.
    using Done = std::function<void(Verdict verdict, std::string reason)>;
    // Reads the call once it holds a place: the action to ask about, or why the call is refused as it stands.
    using Admission = std::variant<Action, std::string>;
    using Admit = std::function<Admission()>;
    // A seam for tests that cannot run a caller under another uid: the caller's uid, at once.
    using CallerUid = std::function<std::optional<uid_t>(sd_bus_message* call)>;

    // Calls held at once: a password prompt may sit for minutes, and one user's burst must neither grow the
    // service nor crowd out another user. A user opening many connections is still one caller once known.
    static constexpr std::size_t maxPendingPerCaller = 4;
    // Each for calls waiting to be identified and for calls waiting for polkit.
    static constexpr std::size_t maxPending = 32;
    // Connections whose uid is remembered; past this the memory starts afresh (a unique name is never
    // reused, so a remembered one is never wrong, only possibly gone).
    static constexpr std::size_t maxKnownCallers = 512;

    Authoriser(sd_bus* bus, uid_t serviceUid, CallerUid callerUid = nullptr);
    ~Authoriser();
    Authoriser(const Authoriser&) = delete;
    Authoriser& operator=(const Authoriser&) = delete;

    // `done` is called exactly once, now or from a later turn of the loop, unless the Authoriser goes first.
    void check(sd_bus_message* call, Admit admit, Done done);
    std::size_t pending() const { return pending_.size(); }

  private:
    struct Pending {
        Authoriser* owner;
        sd_bus_message* call;
        std::string sender;
        std::string caller;
        Admit admit;
        Done done;
        bool identified = false;
        sd_bus_slot* slot = nullptr;
        std::list<Pending>::iterator self;
    };
    struct Lookup {
        Authoriser* owner;
        std::string sender;
        sd_bus_slot* slot = nullptr;
        std::list<Lookup>::iterator self;
    };
    static int onIdentified(sd_bus_message* reply, void* userdata, sd_bus_error*);
    static int onAnswer(sd_bus_message* reply, void* userdata, sd_bus_error*);
    bool full(const std::string& caller, bool identified) const;
    Pending& hold(sd_bus_message* call, std::string sender, std::string caller, Admit admit, Done done);
    void identify(const std::string& sender);
    void identified(const std::string& sender, std::optional<uid_t> uid);
    // The caller is known: bound, read, ask.
    void proceed(sd_bus_message* call, const std::string& sender, uid_t uid, Admit admit, Done done);
    void ask(Pending& pending, Action action);
    // Lets go of a held call without answering it.
    void drop(Pending& pending);
    void finish(Pending& pending, Verdict verdict, std::string reason);

    sd_bus* bus_;
    uid_t serviceUid_;
    CallerUid callerUid_;
    std::list<Pending> pending_;
    std::list<Lookup> lookups_;
    std::map<std::string, std::size_t> perCaller_;
    std::map<std::string, uid_t, std::less<>> known_;
};

}  // namespace torvel::daemon
