#pragma once

#include <QObject>
#include <QString>
#include <QVariantList>
#include <QVariantMap>
#include <functional>
#include <optional>

#include "battery/system_lock.h"
#include "extras/login_item.h"
#include "extras/updater.h"
#include "history/chart_model.h"
#include "status/checkup.h"

namespace torvel::app {

class BatteryMonitor;
class ChargeSettingsModel;
class HistoryModel;

// What the tray panel shows, already in words: core's panel line and checkup over the three models.
// The QML only lays it out.
class PanelModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(int charge READ charge NOTIFY chargeChanged)
    Q_PROPERTY(bool chargeKnown READ chargeKnown NOTIFY chargeKnownChanged)
    Q_PROPERTY(QString line READ line NOTIFY lineChanged)
    Q_PROPERTY(QString help READ help NOTIFY helpChanged)
    Q_PROPERTY(QString toneWord READ toneWord NOTIFY toneWordChanged)
    Q_PROPERTY(int limit READ limit NOTIFY limitChanged)
    Q_PROPERTY(QString limitText READ limitText NOTIFY limitTextChanged)
    Q_PROPERTY(int heldLimit READ heldLimit NOTIFY heldLimitChanged)
    Q_PROPERTY(int minimumLimit READ minimumLimit CONSTANT)
    Q_PROPERTY(int maximumLimit READ maximumLimit CONSTANT)
    Q_PROPERTY(bool nativeMode READ nativeMode CONSTANT)
    Q_PROPERTY(bool charging READ charging NOTIFY chargingChanged)
    Q_PROPERTY(QVariantList readings READ readings NOTIFY readingsChanged)
    Q_PROPERTY(bool topUp READ topUp NOTIFY topUpChanged)
    Q_PROPERTY(bool topUpEnabled READ topUpEnabled NOTIFY topUpEnabledChanged)
    Q_PROPERTY(QString topUpHelp READ topUpHelp NOTIFY topUpHelpChanged)
    Q_PROPERTY(QString footerLine READ footerLine NOTIFY footerLineChanged)
    Q_PROPERTY(QString versionLine READ versionLine CONSTANT)
    // The same states as Looks tones, so the views colour them without comparing words.
    Q_PROPERTY(int toneLook READ toneLook NOTIFY toneLookChanged)
    Q_PROPERTY(int levelLook READ levelLook NOTIFY levelLookChanged)
    Q_PROPERTY(int footerLook READ footerLook NOTIFY footerLookChanged)
    // The checkup's one fix, when it has one: its button title.
    Q_PROPERTY(QString fixTitle READ fixTitle NOTIFY fixTitleChanged)
    Q_PROPERTY(torvel::app::ChartModel* sparkline READ sparkline CONSTANT)
    Q_PROPERTY(bool hasSparkline READ hasSparkline NOTIFY hasSparklineChanged)
    Q_PROPERTY(QVariantMap words READ words CONSTANT)

  public:
    static constexpr int lowestLimit = 20;
    static constexpr int highestLimit = 100;

    // The login item's and the updater's answers, as their models hold them; tests pass fixed answers.
    struct Sources {
        std::function<LoginItem::Status()> loginItem;
        std::function<UpdaterState()> updater;
    };

    PanelModel(BatteryMonitor& battery, ChargeSettingsModel& settings, HistoryModel& history, SystemLock lock,
               Sources sources, QObject* parent = nullptr);

    int charge() const { return charge_; }
    bool chargeKnown() const { return chargeKnown_; }
    QString line() const { return line_; }
    QString help() const { return help_; }
    QString toneWord() const { return toneWord_; }
    int limit() const { return limit_; }
    QString limitText() const { return limitText_; }
    int heldLimit() const { return heldLimit_; }
    int minimumLimit() const { return lowestLimit; }
    int maximumLimit() const { return highestLimit; }
    bool nativeMode() const { return lock_.usesNative; }
    bool charging() const { return charging_; }
    QVariantList readings() const { return readings_; }
    bool topUp() const { return topUp_; }
    bool topUpEnabled() const { return topUpEnabled_; }
    QString topUpHelp() const { return topUpHelp_; }
    QString footerLine() const { return footerLine_; }
    static QString versionLine();
    int toneLook() const { return toneLook_; }
    int levelLook() const { return levelLook_; }
    int footerLook() const { return footerLook_; }
    QString fixTitle() const { return fixTitle_; }
    // The last 24 hours against the limit, once the journal holds something to draw.
    ChartModel* sparkline() { return &sparkline_; }
    bool hasSparkline() const { return hasSparkline_; }
    static QVariantMap words();

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
    // Derives every property again from the models; each announces itself only when it moved, so a poll
    // that brought nothing new wakes no binding.
    void recompute();

  signals:
    void chargeChanged();
    void chargeKnownChanged();
    void lineChanged();
    void helpChanged();
    void toneWordChanged();
    void limitChanged();
    void limitTextChanged();
    void heldLimitChanged();
    void chargingChanged();
    void readingsChanged();
    void topUpChanged();
    void topUpEnabledChanged();
    void topUpHelpChanged();
    void footerLineChanged();
    void toneLookChanged();
    void levelLookChanged();
    void footerLookChanged();
    void fixTitleChanged();
    void hasSparklineChanged();
    void sectionRequested(const QString& section);
    void quitRequested();

  private:
    BatteryMonitor& battery_;
    ChargeSettingsModel& settings_;
    HistoryModel& history_;
    SystemLock lock_;
    Sources sources_;
    int charge_ = 0;
    bool chargeKnown_ = false;
    QString line_;
    QString help_;
    QString toneWord_;
    int limit_ = 0;
    QString limitText_;
    int heldLimit_ = 0;
    bool charging_ = false;
    QVariantList readings_;
    bool topUp_ = false;
    bool topUpEnabled_ = false;
    QString topUpHelp_;
    QString footerLine_;
    int toneLook_ = 0;
    int levelLook_ = 0;
    int footerLook_ = 0;
    QString fixTitle_;
    bool hasSparkline_ = false;
    std::optional<Checkup::Fix::Action> fixAction_;
    ChartModel sparkline_;
};

}  // namespace torvel::app
