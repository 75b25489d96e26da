#include "bus/authoriser.h"

#include <memory>

namespace torvel::daemon {
namespace {

constexpr std::string_view refused = "You are not allowed to do this.";
constexpr std::uint64_t interactiveTimeoutMicros = 5ULL * 60 * 1000 * 1000;
constexpr std::uint32_t allowUserInteraction = 1;

struct Pending {
    Authoriser::Done done;
};

int onAnswer(sd_bus_message* reply, void* userdata, sd_bus_error*) {
    std::unique_ptr<Pending> pending(static_cast<Pending*>(userdata));
    if (sd_bus_message_is_method_error(reply, nullptr)) {
        const sd_bus_error* error = sd_bus_message_get_error(reply);
        pending->done(false, std::string("Authorisation could not be checked: ") +
                                 (error && error->message ? error->message : "polkit did not answer"));
        return 0;
    }
    int authorised = 0;
    int challenge = 0;
    if (sd_bus_message_enter_container(reply, SD_BUS_TYPE_STRUCT, "bba{ss}") < 0 ||
        sd_bus_message_read(reply, "bb", &authorised, &challenge) < 0) {
        pending->done(false, "Authorisation could not be checked: unreadable answer");
        return 0;
    }
    pending->done(authorised != 0, authorised ? "" : std::string(refused));
    return 0;
}

}  // namespace

std::string_view actionId(Action action) {
    switch (action) {
        case Action::applySettings:
            return "com.torvel.daemon.apply-settings";
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

void Authoriser::check(sd_bus_message* call, Action action, Done done) {
    const auto uid = callerUid_(call);
    if (uid && *uid == serviceUid_) {
        done(true, "");
        return;
    }
    const char* sender = sd_bus_message_get_sender(call);
    sd_bus_message* question = nullptr;
    int result = sd_bus_message_new_method_call(bus_, &question, "org.freedesktop.PolicyKit1",
                                                "/org/freedesktop/PolicyKit1/Authority",
                                                "org.freedesktop.PolicyKit1.Authority", "CheckAuthorization");
    // The subject is the caller's bus name: polkit resolves it to the process and session behind it.
    if (result >= 0) {
        result = sd_bus_message_append(question, "(sa{sv})", "system-bus-name", 1, "name", "s",
                                       sender ? sender : "");
    }
    if (result >= 0) result = sd_bus_message_append(question, "s", std::string(actionId(action)).c_str());
    if (result >= 0) result = sd_bus_message_append(question, "a{ss}", 0);
    if (result >= 0) result = sd_bus_message_append(question, "us", allowUserInteraction, "");
    if (result < 0) {
        sd_bus_message_unref(question);
        done(false, "Authorisation could not be checked.");
        return;
    }
    auto pending = std::make_unique<Pending>(Pending{std::move(done)});
    result = sd_bus_call_async(bus_, nullptr, question, onAnswer, pending.get(), interactiveTimeoutMicros);
    sd_bus_message_unref(question);
    if (result < 0) {
        pending->done(false, "Authorisation could not be checked: polkit is not reachable");
        return;
    }
    pending.release();
}

}  // namespace torvel::daemon
