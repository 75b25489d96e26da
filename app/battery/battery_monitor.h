#pragma once

#include <QObject>
#include <QTimer>
#include <QVariant>
#include <chrono>
#include <filesystem>

#include "battery/snapshot.h"

namespace torvel::app {

class UeventWatcher;

// The app's live battery reading. Reads the power-supply class, lets core convert and merge, and publishes
// the result; re-reads on every power-supply event and on a safety-net timer.
class BatteryMonitor : public QObject {
    Q_OBJECT
    Q_PROPERTY(qint64 percentage READ percentage NOTIFY snapshotChanged)
    Q_PROPERTY(bool isCharging READ isCharging NOTIFY snapshotChanged)
    Q_PROPERTY(bool isPluggedIn READ isPluggedIn NOTIFY snapshotChanged)
    // False until a machine battery has been read once: the snapshot's 0% is then a placeholder, not a
    // charge.
    Q_PROPERTY(bool percentageKnown READ percentageKnown NOTIFY snapshotChanged)
    // Absent readings are invalid variants, never zero.
    Q_PROPERTY(QVariant cycleCount READ cycleCount NOTIFY snapshotChanged)
    Q_PROPERTY(QVariant healthPercent READ healthPercent NOTIFY snapshotChanged)
    Q_PROPERTY(QVariant temperatureCelsius READ temperatureCelsius NOTIFY snapshotChanged)
    Q_PROPERTY(QVariant powerWatts READ powerWatts NOTIFY snapshotChanged)
    Q_PROPERTY(QVariant adapterWatts READ adapterWatts NOTIFY snapshotChanged)

  public:
    static constexpr std::chrono::milliseconds refreshInterval{15'000};

    // `watchEvents` off leaves only the timer, for tests that drive refresh() themselves.
    explicit BatteryMonitor(std::filesystem::path powerSupply, bool watchEvents = true,
                            QObject* parent = nullptr);

    const BatterySnapshot& snapshot() const { return snapshot_; }
    qint64 percentage() const { return snapshot_.percentage; }
    bool isCharging() const { return snapshot_.isCharging; }
    bool isPluggedIn() const { return snapshot_.isPluggedIn; }
    bool percentageKnown() const { return percentageKnown_; }
    QVariant cycleCount() const;
    QVariant healthPercent() const;
    QVariant temperatureCelsius() const;
    QVariant powerWatts() const;
    QVariant adapterWatts() const;

    const QTimer& timer() const { return timer_; }

  public slots:
    void refresh();

  signals:
    // Emitted on every refresh, also when nothing changed, so a view that asked for a reading gets one.
    void snapshotChanged();
    // The moment the machine goes from battery to mains; never for the first reading.
    void pluggedIn();

  private:
    std::filesystem::path powerSupply_;
    BatterySnapshot snapshot_;
    PlugInEdge edge_;
    bool percentageKnown_ = false;
    QTimer timer_;
    UeventWatcher* events_ = nullptr;
};

}  // namespace torvel::app
