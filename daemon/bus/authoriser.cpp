#include "bus/authoriser.h"

namespace torvel::daemon {
namespace {

constexpr std::string_view refused = "You are not allowed to do this.";
constexpr std::string_view busy = "Too many requests are waiting for authorisation; try again in a moment.";
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

std::optional<uid_t> Authoriser::senderUid(sd_bus_message* call) {
    sd_bus_creds* creds = nullptr;
    if (sd_bus_query_sender_creds(call, SD_BUS_CREDS_EUID, &creds) < 0) return std::nullopt;
    uid_t uid = 0;
    const int result = sd_bus_creds_get_euid(creds, &uid);
    sd_bus_creds_unref(creds);
    if (result < 0) return std::nullopt;
    return uid;
}

Authoriser::Authoriser(sd_bus* bus, uid_t serviceUid, CallerUid callerUid)
    : bus_(bus), serviceUid_(serviceUid), callerUid_(std::move(callerUid)) {}

Authoriser::~Authoriser() {
    // Unanswered questions are dropped with their callbacks: nothing may call into a service that is gone.
    for (auto& pending : pending_) sd_bus_slot_unref(pending.slot);
}

void Authoriser::finish(Pending& pending, Verdict verdict, std::string reason) {
    Done done = std::move(pending.done);
    if (auto count = perCaller_.find(pending.caller); count != perCaller_.end() && --count->second == 0)
        perCaller_.erase(count);
    sd_bus_slot_unref(pending.slot);
    pending_.erase(pending.self);
    done(verdict, std::move(reason));
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

void Authoriser::check(sd_bus_message* call, Action action, Done done) {
    const auto uid = callerUid_(call);
    if (uid && *uid == serviceUid_) {
        done(Verdict::allowed, "");
        return;
    }
    const char* sender = sd_bus_message_get_sender(call);
    const std::string senderName = sender ? sender : "";
    // Counted per user: a user opening many connections is still one caller.
    const std::string caller = uid ? "uid " + std::to_string(*uid) : senderName;
    if (pending_.size() >= maxPending || perCaller_[caller] >= maxPendingPerCaller) {
        if (perCaller_[caller] == 0) perCaller_.erase(caller);
        done(Verdict::busy, std::string(busy));
        return;
    }
    sd_bus_message* question = nullptr;
    int result = sd_bus_message_new_method_call(bus_, &question, "org.freedesktop.PolicyKit1",
                                                "/org/freedesktop/PolicyKit1/Authority",
                                                "org.freedesktop.PolicyKit1.Authority", "CheckAuthorization");
    // The subject is the caller's bus name: polkit resolves it to the process and session behind it.
    if (result >= 0)
        result = sd_bus_message_append(question, "(sa{sv})", "system-bus-name", 1, "name", "s",
                                       senderName.c_str());
    if (result >= 0) result = sd_bus_message_append(question, "s", std::string(actionId(action)).c_str());
    if (result >= 0) result = sd_bus_message_append(question, "a{ss}", 0);
    // A password prompt only for a caller that said it can wait for one (a script in a pipeline cannot).
    const std::uint32_t flags =
        sd_bus_message_get_allow_interactive_authorization(call) > 0 ? allowUserInteraction : 0;
    if (result >= 0) result = sd_bus_message_append(question, "us", flags, "");
    if (result < 0) {
        sd_bus_message_unref(question);
        if (perCaller_[caller] == 0) perCaller_.erase(caller);
        done(Verdict::refused, "Authorisation could not be checked.");
        return;
    }
    auto& pending = pending_.emplace_back(Pending{this, caller, std::move(done), nullptr, {}});
    pending.self = std::prev(pending_.end());
    ++perCaller_[caller];
    result = sd_bus_call_async(bus_, &pending.slot, question, onAnswer, &pending,
                               flags ? interactiveTimeoutMicros : 0);
    sd_bus_message_unref(question);
    if (result < 0)
        finish(pending, Verdict::refused, "Authorisation could not be checked: polkit is not reachable");
}

}  // namespace torvel::daemon
