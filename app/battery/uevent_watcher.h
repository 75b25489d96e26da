#pragma once

#include <QObject>
#include <QTimer>

#include "common/syscalls.h"

class QSocketNotifier;

namespace torvel::app {

// Listens to the kernel's device events and reports those of the power-supply class: plugging in, unplugging
// and the battery's own change notices. Without the netlink socket (sandboxes, some containers) it stays
// silent and the monitor's safety-net timer keeps readings fresh.
class UeventWatcher : public QObject {
    Q_OBJECT

  public:
    explicit UeventWatcher(QObject* parent = nullptr);
    ~UeventWatcher() override;

    // Whether one event's payload (NUL-separated KEY=value fields) concerns a power supply.
    static bool isPowerSupplyEvent(const QByteArray& payload);

  signals:
    // Several events arrive together when a charger is plugged in; they are folded into one report.
    void powerSupplyChanged();

  private:
    void readEvents();

    FileDescriptor fd_;
    QSocketNotifier* notifier_ = nullptr;
    QTimer settle_;
};

}  // namespace torvel::app
