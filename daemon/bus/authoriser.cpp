#include "bus/authoriser.h"

#include <algorithm>

namespace torvel::daemon {
namespace {

constexpr std::string_view refused = "You are not allowed to do this.";
constexpr std::string_view busy = "Too many requests are waiting for authorisation; try again in a moment.";
constexpr std::string_view unidentified =
    "Authorisation could not be checked: the caller is unknown to the bus.";
constexpr std::uint64_t interactiveTimeoutMicros = 5ULL * 60 * 1000 * 1000;
constexpr std::uint32_t allowUserInteraction = 1;

}  // namespace

std::string_view actionId(Action action) {
    switch (action) {
        case Action::applySettings:
            return "com.torvel.daemon.apply-settings";
        case Action::applyProtectedSettings:
            return "com.torvel.daemon.apply-protected-settings";
        case Action::purgeAllData:
            return "com.torvel.daemon.purge-all-data";
        case Action::releaseCharge:
            return "com.torvel.daemon.release-charge";
        case Action::restart:
            return "com.torvel.daemon.restart";
    }
    return "";
}

Authoriser::Authoriser(sd_bus* bus, uid_t serviceUid, CallerUid callerUid)
    : bus_(bus), serviceUid_(serviceUid), callerUid_(std::move(callerUid)) {}

Authoriser::~Authoriser() {
    // Unanswered questions are dropped with their callbacks: nothing may call into a service that is gone.
    for (auto& pending : pending_) sd_bus_slot_unref(pending.slot);
    for (auto& lookup : lookups_) sd_bus_slot_unref(lookup.slot);
}

bool Authoriser::full(const std::string& caller, bool identified) const {
    const auto count = perCaller_.find(caller);
    if (count != perCaller_.end() && count->second >= maxPendingPerCaller) return true;
    // Calls waiting for the bus to say whose they are and calls waiting for polkit are bounded apart: a burst
    // of new connections must not turn away a known caller, nor prompts left open a new one.
    const auto held = std::count_if(pending_.begin(), pending_.end(),
                                    [&](const Pending& pending) { return pending.identified == identified; });
    return static_cast<std::size_t>(held) >= maxPending;
}

Authoriser::Pending& Authoriser::hold(sd_bus_message* call, std::string sender, std::string caller,
                                      Admit admit, Done done) {
    ++perCaller_[caller];
    auto& pending = pending_.emplace_back(Pending{this,
                                                  call,
                                                  std::move(sender),
                                                  std::move(caller),
                                                  std::move(admit),
                                                  std::move(done),
                                                  false,
                                                  nullptr,
                                                  {}});
    pending.self = std::prev(pending_.end());
    return pending;
}

void Authoriser::drop(Pending& pending) {
    if (auto count = perCaller_.find(pending.caller); count != perCaller_.end() && --count->second == 0)
        perCaller_.erase(count);
    sd_bus_slot_unref(pending.slot);
    pending_.erase(pending.self);
}

void Authoriser::finish(Pending& pending, Verdict verdict, std::string reason) {
    Done done = std::move(pending.done);
    drop(pending);
    done(verdict, std::move(reason));
}

void Authoriser::check(sd_bus_message* call, Admit admit, Done done) {
    const char* name = sd_bus_message_get_sender(call);
    std::string sender = name ? name : "";
    if (callerUid_) {
        if (const auto uid = callerUid_(call))
            return proceed(call, sender, *uid, std::move(admit), std::move(done));
    } else if (const auto known = known_.find(sender); known != known_.end()) {
        return proceed(call, sender, known->second, std::move(admit), std::move(done));
    }
    if (sender.empty()) return done(Verdict::refused, std::string(unidentified));
    // Not known yet: held unread under the connection's own name until the bus says whose it is.
    const std::string caller = "name " + sender;
    if (full(caller, false)) return done(Verdict::busy, std::string(busy));
    hold(call, sender, caller, std::move(admit), std::move(done));
    identify(sender);
}

void Authoriser::identify(const std::string& sender) {
    for (const auto& lookup : lookups_) {
        if (lookup.sender == sender) return;
    }
    auto& lookup = lookups_.emplace_back(Lookup{this, sender, nullptr, {}});
    lookup.self = std::prev(lookups_.end());
    const int result = sd_bus_call_method_async(
        bus_, &lookup.slot, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
        "GetConnectionUnixUser", onIdentified, &lookup, "s", sender.c_str());
    if (result < 0) {
        lookups_.erase(lookup.self);
        identified(sender, std::nullopt);
    }
}

int Authoriser::onIdentified(sd_bus_message* reply, void* userdata, sd_bus_error*) {
    auto& lookup = *static_cast<Lookup*>(userdata);
    Authoriser* owner = lookup.owner;
    const std::string sender = lookup.sender;
    std::uint32_t uid = 0;
    const bool known =
        !sd_bus_message_is_method_error(reply, nullptr) && sd_bus_message_read(reply, "u", &uid) > 0;
    sd_bus_slot_unref(lookup.slot);
    owner->lookups_.erase(lookup.self);
    owner->identified(sender, known ? std::optional<uid_t>(uid) : std::nullopt);
    return 0;
}

void Authoriser::identified(const std::string& sender, std::optional<uid_t> uid) {
    if (uid) {
        if (known_.size() >= maxKnownCallers) known_.clear();
        known_[sender] = *uid;
    }
    // Each held call of that connection moves on, in the order it came.
    for (auto it = pending_.begin(); it != pending_.end();) {
        Pending& pending = *it++;
        if (pending.identified || pending.sender != sender) continue;
        sd_bus_message* call = pending.call;
        Admit admit = std::move(pending.admit);
        Done done = std::move(pending.done);
        drop(pending);
        if (uid) {
            proceed(call, sender, *uid, std::move(admit), std::move(done));
        } else {
            done(Verdict::refused, std::string(unidentified));
        }
    }
}

void Authoriser::proceed(sd_bus_message* call, const std::string& sender, uid_t uid, Admit admit, Done done) {
    if (uid == serviceUid_) {
        const Admission admission = admit();
        if (const auto* refusal = std::get_if<std::string>(&admission))
            return done(Verdict::invalid, *refusal);
        return done(Verdict::allowed, "");
    }
    const std::string caller = "uid " + std::to_string(uid);
    if (full(caller, true)) return done(Verdict::busy, std::string(busy));
    // Only now, with a place held, is the call read.
    const Admission admission = admit();
    if (const auto* refusal = std::get_if<std::string>(&admission)) return done(Verdict::invalid, *refusal);
    Pending& pending = hold(call, sender, caller, nullptr, std::move(done));
    pending.identified = true;
    ask(pending, std::get<Action>(admission));
}

int Authoriser::onAnswer(sd_bus_message* reply, void* userdata, sd_bus_error*) {
    auto& pending = *static_cast<Pending*>(userdata);
    if (sd_bus_message_is_method_error(reply, nullptr)) {
        const sd_bus_error* error = sd_bus_message_get_error(reply);
        pending.owner->finish(pending, Verdict::refused,
                              std::string("Authorisation could not be checked: ") +
                                  (error && error->message ? error->message : "polkit did not answer"));
        return 0;
    }
    int authorised = 0;
    int challenge = 0;
    if (sd_bus_message_enter_container(reply, SD_BUS_TYPE_STRUCT, "bba{ss}") < 0 ||
        sd_bus_message_read(reply, "bb", &authorised, &challenge) < 0) {
        pending.owner->finish(pending, Verdict::refused,
                              "Authorisation could not be checked: unreadable answer");
        return 0;
    }
    pending.owner->finish(pending, authorised ? Verdict::allowed : Verdict::refused,
                          authorised ? "" : std::string(refused));
    return 0;
}

void Authoriser::ask(Pending& pending, Action action) {
    sd_bus_message* question = nullptr;
    int result = sd_bus_message_new_method_call(bus_, &question, "org.freedesktop.PolicyKit1",
                                                "/org/freedesktop/PolicyKit1/Authority",
                                                "org.freedesktop.PolicyKit1.Authority", "CheckAuthorization");
    // The subject is the caller's bus name: polkit resolves it to the process and session behind it.
    if (result >= 0)
        result = sd_bus_message_append(question, "(sa{sv})", "system-bus-name", 1, "name", "s",
                                       pending.sender.c_str());
    if (result >= 0) result = sd_bus_message_append(question, "s", std::string(actionId(action)).c_str());
    if (result >= 0) result = sd_bus_message_append(question, "a{ss}", 0);
    // A password prompt only for a caller that said it can wait for one (a script in a pipeline cannot).
    const std::uint32_t flags =
        sd_bus_message_get_allow_interactive_authorization(pending.call) > 0 ? allowUserInteraction : 0;
    if (result >= 0) result = sd_bus_message_append(question, "us", flags, "");
    if (result >= 0)
        result = sd_bus_call_async(bus_, &pending.slot, question, onAnswer, &pending,
                                   flags ? interactiveTimeoutMicros : 0);
    sd_bus_message_unref(question);
    if (result < 0)
        finish(pending, Verdict::refused, "Authorisation could not be checked: polkit is not reachable");
}

}  // namespace torvel::daemon
