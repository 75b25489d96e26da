#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>

#include "status/other_program.h"

namespace torvel::app {

class ChargeSettingsModel;

// The one fix the other-program note offers, shared by the pages that show the note: UPower's charge
// threshold turned off on every battery, then the settings sent again so the service holds the limit again.
class OtherProgramFix : public QObject {
    Q_OBJECT

  public:
    // Turns UPower's charge threshold off on these device objects, answering from the event loop with the
    // system's words on failure and an empty string once every one is off.
    using TurnOff =
        std::function<void(const QStringList& devices, std::function<void(const QString& failure)> done)>;

    // Without `turnOff`, UPower on the system bus.
    explicit OtherProgramFix(ChargeSettingsModel& settings, TurnOff turnOff = {}, QObject* parent = nullptr);

    // UPower's device object of each battery the service publishes.
    static QStringList upowerDevices(const PublishedStatus& status);
    // UPower's EnableChargeThreshold(false), asynchronously, allowing polkit to ask for a password.
    static TurnOff upowerOnSystemBus();

    void run(OtherProgramNote::Action action);
    bool busy() const { return busy_; }
    // What went wrong the last time, in core's words; empty after a success or a new note.
    QString error() const { return error_; }
    void clearError();

  signals:
    void changed();

  private:
    ChargeSettingsModel& settings_;
    TurnOff turnOff_;
    bool busy_ = false;
    QString error_;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace torvel::app
