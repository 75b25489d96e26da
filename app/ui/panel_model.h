#pragma once

#include <QObject>
#include <QString>
#include <QVariantList>
#include <functional>
#include <optional>

#include "battery/system_lock.h"
#include "extras/login_item.h"
#include "extras/updater.h"
#include "history/chart_model.h"
#include "status/checkup.h"

namespace torvel::app {

class BatteryMonitor;
class ChargeSettings;
class HistoryModel;

// What the menu-bar panel shows, already in words: core's panel line and checkup over the three models.
// The QML only lays it out.
class PanelModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(int charge READ charge NOTIFY changed)
    Q_PROPERTY(bool chargeKnown READ chargeKnown NOTIFY changed)
    Q_PROPERTY(QString line READ line NOTIFY changed)
    Q_PROPERTY(QString help READ help NOTIFY changed)
    Q_PROPERTY(QString tone READ tone NOTIFY changed)
    Q_PROPERTY(QString toneWord READ toneWord NOTIFY changed)
    Q_PROPERTY(int limit READ limit NOTIFY changed)
    Q_PROPERTY(int heldLimit READ heldLimit NOTIFY changed)
    Q_PROPERTY(int minimumLimit READ minimumLimit CONSTANT)
    Q_PROPERTY(int maximumLimit READ maximumLimit CONSTANT)
    Q_PROPERTY(bool nativeMode READ nativeMode CONSTANT)
    Q_PROPERTY(bool charging READ charging NOTIFY changed)
    Q_PROPERTY(QVariantList readings READ readings NOTIFY changed)
    Q_PROPERTY(bool topUp READ topUp NOTIFY changed)
    Q_PROPERTY(bool topUpEnabled READ topUpEnabled NOTIFY changed)
    Q_PROPERTY(QString topUpHelp READ topUpHelp NOTIFY changed)
    Q_PROPERTY(QString footerLine READ footerLine NOTIFY changed)
    Q_PROPERTY(QString checkupLevel READ checkupLevel NOTIFY changed)
    Q_PROPERTY(QString version READ version CONSTANT)
    // The same states as Looks tones, so the views colour them without comparing words.
    Q_PROPERTY(int toneLook READ toneLook NOTIFY changed)
    Q_PROPERTY(int levelLook READ levelLook NOTIFY changed)
    Q_PROPERTY(int footerLook READ footerLook NOTIFY changed)
    // The checkup's one fix, when it has one: its button title.
    Q_PROPERTY(QString fixTitle READ fixTitle NOTIFY changed)
    Q_PROPERTY(torvel::app::ChartModel* sparkline READ sparkline CONSTANT)
    Q_PROPERTY(bool hasSparkline READ hasSparkline NOTIFY changed)

  public:
    static constexpr int lowestLimit = 20;
    static constexpr int highestLimit = 100;

    // The login item's and the updater's answers, as their models hold them; tests pass fixed answers.
    struct Sources {
        std::function<LoginItem::Status()> loginItem;
        std::function<UpdaterState()> updater;
    };

    PanelModel(BatteryMonitor& battery, ChargeSettings& settings, HistoryModel& history, SystemLock lock,
               Sources sources, QObject* parent = nullptr);

    int charge() const;
    bool chargeKnown() const;
    QString line() const { return line_; }
    QString help() const { return help_; }
    QString tone() const { return tone_; }
    QString toneWord() const;
    int limit() const;
    int heldLimit() const;
    int minimumLimit() const { return lowestLimit; }
    int maximumLimit() const { return highestLimit; }
    bool nativeMode() const { return lock_.usesNative; }
    bool charging() const;
    QVariantList readings() const;
    bool topUp() const;
    bool topUpEnabled() const;
    QString topUpHelp() const;
    QString footerLine() const { return footerLine_; }
    QString checkupLevel() const { return checkupLevel_; }
    static QString version();
    int toneLook() const { return toneLook_; }
    int levelLook() const { return levelLook_; }
    int footerLook() const { return footerLook_; }
    QString fixTitle() const { return fixTitle_; }
    // The last 24 hours against the limit, once the journal holds something to draw.
    ChartModel* sparkline() { return &sparkline_; }
    bool hasSparkline() const { return sparkline_.series().buckets.size() >= 2; }

    static int clampLimit(int limit);

    // The gauge while dragging: moves the limit without saving it yet.
    Q_INVOKABLE void dragLimit(int limit);
    // The drag ended: the limit reaches the service.
    Q_INVOKABLE void commitLimit();
    // Keyboard and accessibility steps: one point within the bounds, saved at once.
    Q_INVOKABLE void stepLimit(int delta);
    Q_INVOKABLE void setTopUp(bool on);
    Q_INVOKABLE void openSection(const QString& section);
    // Every fix the panel offers leads to the page where it is done: startup on the settings page, the rest
    // on This Mac.
    Q_INVOKABLE void applyFix();
    Q_INVOKABLE void quit();

  public slots:
    void recompute();

  signals:
    void changed();
    void sectionRequested(const QString& section);
    void quitRequested();

  private:
    BatteryMonitor& battery_;
    ChargeSettings& settings_;
    HistoryModel& history_;
    SystemLock lock_;
    Sources sources_;
    QString line_;
    QString help_;
    QString tone_;
    QString footerLine_;
    QString checkupLevel_;
    int toneLook_ = 0;
    int levelLook_ = 0;
    int footerLook_ = 0;
    QString fixTitle_;
    std::optional<Checkup::Fix::Action> fixAction_;
    ChartModel sparkline_;
};

}  // namespace torvel::app
