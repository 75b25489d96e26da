#include "service/bus_pump.h"

#include <poll.h>

#include <QSocketNotifier>
#include <ctime>

#include "bus.h"

namespace torvel::app {
namespace {

std::chrono::microseconds monotonicNow() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::microseconds(now.tv_nsec / 1000);
}

}  // namespace

BusPump::BusPump(client::Bus& bus, QObject* parent) : QObject(parent), bus_(bus) {
    due_.setSingleShot(true);
    due_.setTimerType(Qt::PreciseTimer);
    connect(&due_, &QTimer::timeout, this, &BusPump::process);
    // Calls are started outside process() too; each may want writing, or a deferred answer delivered.
    bus_.onChange([this] { rearm(); });
    rearm();
}

BusPump::~BusPump() {
    bus_.onChange(nullptr);
}

void BusPump::process() {
    bus_.process();
    rearm();
}

void BusPump::rearm() {
    if (bus_.fd() != fd_) {
        fd_ = bus_.fd();
        readable_.reset();
        writable_.reset();
        if (fd_ >= 0) {
            readable_ = std::make_unique<QSocketNotifier>(fd_, QSocketNotifier::Read);
            writable_ = std::make_unique<QSocketNotifier>(fd_, QSocketNotifier::Write);
            connect(readable_.get(), &QSocketNotifier::activated, this, &BusPump::process);
            connect(writable_.get(), &QSocketNotifier::activated, this, &BusPump::process);
        }
    }
    const short events = bus_.events();
    if (readable_) readable_->setEnabled((events & POLLIN) != 0);
    if (writable_) writable_->setEnabled((events & POLLOUT) != 0);

    const auto deadline = bus_.deadline();
    if (!deadline) {
        due_.stop();
        return;
    }
    // Rounded up: a timer that fires early finds nothing due and would spin.
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(
        std::max(*deadline - monotonicNow(), std::chrono::microseconds(0)));
    due_.start(wait);
}

}  // namespace torvel::app
