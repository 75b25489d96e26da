#include "battery/uevent_watcher.h"

#include <linux/netlink.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QSocketNotifier>
#include <array>
#include <utility>

namespace torvel::app {

namespace {
// The kernel's own multicast group; udev's re-broadcast (group 2) would add nothing the monitor needs.
constexpr unsigned kernelEvents = 1;
// A charger plug-in produces a burst of events for the adapter and the battery within a few milliseconds.
constexpr int settleMilliseconds = 150;
}  // namespace

UeventWatcher::UeventWatcher(QObject* parent) : QObject(parent) {
    settle_.setSingleShot(true);
    settle_.setInterval(settleMilliseconds);
    connect(&settle_, &QTimer::timeout, this, &UeventWatcher::powerSupplyChanged);

    FileDescriptor socket(
        ::socket(AF_NETLINK, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, NETLINK_KOBJECT_UEVENT));
    if (!socket.valid()) return;
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = kernelEvents;
    if (::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return;
    fd_ = std::move(socket);
    notifier_ = new QSocketNotifier(fd_.get(), QSocketNotifier::Read, this);
    connect(notifier_, &QSocketNotifier::activated, this, &UeventWatcher::readEvents);
}

UeventWatcher::~UeventWatcher() = default;

bool UeventWatcher::isPowerSupplyEvent(const QByteArray& payload) {
    for (const QByteArray& field : payload.split('\0')) {
        if (field == "SUBSYSTEM=power_supply") return true;
    }
    return false;
}

void UeventWatcher::readEvents() {
    std::array<char, 8192> buffer{};
    for (;;) {
        const ssize_t got =
            retryOnInterrupt([&] { return ::recv(fd_.get(), buffer.data(), buffer.size(), 0); });
        if (got <= 0) return;
        if (isPowerSupplyEvent(QByteArray(buffer.data(), static_cast<qsizetype>(got)))) settle_.start();
    }
}

}  // namespace torvel::app
