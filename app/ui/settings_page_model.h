#pragma once

#include <QObject>
#include <QString>
#include <QVariant>
#include <QVariantList>
#include <QVariantMap>
#include <vector>

#include "battery/system_lock.h"
#include "status/other_program_fix.h"

namespace torvel::app {

class BatteryMonitor;
class ChargeSettingsModel;
class LoginItemModel;

// The settings page in words and choices: core's tables over the settings, the battery and the login item.
// Every setter writes its field at once; the settings model chains the saves.
class SettingsPageModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(QVariantMap words READ words CONSTANT)
    Q_PROPERTY(bool lockActive READ lockActive CONSTANT)
    Q_PROPERTY(QString lockText READ lockText CONSTANT)
    Q_PROPERTY(bool canReachService READ canReachService NOTIFY canReachServiceChanged)
    Q_PROPERTY(QString unreachableText READ unreachableText NOTIFY unreachableTextChanged)

    Q_PROPERTY(bool limitOn READ limitOn NOTIFY limitOnChanged)
    Q_PROPERTY(int limit READ limit NOTIFY limitChanged)
    Q_PROPERTY(int restLevel READ restLevel NOTIFY restLevelChanged)
    Q_PROPERTY(bool nativeMode READ nativeMode CONSTANT)
    Q_PROPERTY(int lowestLimit READ lowestLimit CONSTANT)
    Q_PROPERTY(QVariantList profileOptions READ profileOptions CONSTANT)
    Q_PROPERTY(QString profileHelp READ profileHelp NOTIFY profileHelpChanged)
    Q_PROPERTY(QString profileLine READ profileLine NOTIFY profileLineChanged)
    Q_PROPERTY(QString limitText READ limitText NOTIFY limitTextChanged)
    Q_PROPERTY(QString restLine READ restLine NOTIFY restLineChanged)
    Q_PROPERTY(QString restingSpan READ restingSpan NOTIFY restingSpanChanged)
    Q_PROPERTY(QVariantList restingOptions READ restingOptions NOTIFY restingOptionsChanged)
    Q_PROPERTY(int hysteresis READ hysteresis NOTIFY hysteresisChanged)
    Q_PROPERTY(QString restingHelp READ restingHelp NOTIFY restingHelpChanged)
    Q_PROPERTY(QString limitFootnote READ limitFootnote NOTIFY limitFootnoteChanged)
    Q_PROPERTY(QString nativeNote READ nativeNote NOTIFY nativeNoteChanged)

    Q_PROPERTY(bool discharge READ discharge NOTIFY dischargeChanged)
    Q_PROPERTY(bool dischargeSupported READ dischargeSupported NOTIFY dischargeSupportedChanged)
    Q_PROPERTY(QString dischargeHelp READ dischargeHelp NOTIFY dischargeHelpChanged)
    Q_PROPERTY(QString dischargeState READ dischargeState NOTIFY dischargeStateChanged)
    Q_PROPERTY(QString thermalState READ thermalState NOTIFY thermalStateChanged)
    Q_PROPERTY(QString ledHelp READ ledHelp NOTIFY ledHelpChanged)
    Q_PROPERTY(QString ledState READ ledState NOTIFY ledStateChanged)
    Q_PROPERTY(bool thermal READ thermal NOTIFY thermalChanged)
    Q_PROPERTY(int thermalLimit READ thermalLimit NOTIFY thermalLimitChanged)
    Q_PROPERTY(QVariantList thermalOptions READ thermalOptions CONSTANT)
    Q_PROPERTY(QString thermalWord READ thermalWord NOTIFY thermalWordChanged)
    Q_PROPERTY(QString heatLine READ heatLine NOTIFY heatLineChanged)
    Q_PROPERTY(bool led READ led NOTIFY ledChanged)
    Q_PROPERTY(bool ledSupported READ ledSupported NOTIFY ledSupportedChanged)
    Q_PROPERTY(bool ledControllable READ ledControllable NOTIFY ledControllableChanged)
    Q_PROPERTY(int blinkTenths READ blinkTenths NOTIFY blinkTenthsChanged)
    Q_PROPERTY(QVariantList blinkOptions READ blinkOptions CONSTANT)
    Q_PROPERTY(int topUpHours READ topUpHours NOTIFY topUpHoursChanged)
    Q_PROPERTY(QVariantList topUpOptions READ topUpOptions CONSTANT)

    Q_PROPERTY(bool history READ history NOTIFY historyChanged)
    Q_PROPERTY(int historyDays READ historyDays NOTIFY historyDaysChanged)
    Q_PROPERTY(QVariantList historyOptions READ historyOptions CONSTANT)
    Q_PROPERTY(int startup READ startup NOTIFY startupChanged)
    Q_PROPERTY(QVariantList startupOptions READ startupOptions CONSTANT)
    Q_PROPERTY(bool startupNeedsApproval READ startupNeedsApproval NOTIFY startupNeedsApprovalChanged)
    Q_PROPERTY(QString startupError READ startupError NOTIFY startupErrorChanged)

    Q_PROPERTY(QString saveNote READ saveNote NOTIFY saveNoteChanged)
    Q_PROPERTY(QString otherProgramText READ otherProgramText NOTIFY otherProgramTextChanged)
    Q_PROPERTY(QString otherProgramFixTitle READ otherProgramFixTitle NOTIFY otherProgramFixTitleChanged)
    Q_PROPERTY(bool otherProgramFixEnabled READ otherProgramFixEnabled NOTIFY otherProgramFixEnabledChanged)
    Q_PROPERTY(QString otherProgramError READ otherProgramError NOTIFY otherProgramErrorChanged)

  public:
    // `turnOffUPower`: none for UPower on the system bus.
    SettingsPageModel(ChargeSettingsModel& settings, BatteryMonitor& battery, LoginItemModel& login,
                      SystemLock lock, QObject* parent = nullptr,
                      OtherProgramFix::TurnOff turnOffUPower = {});

    static QVariantMap words();
    bool lockActive() const { return lock_.active; }
    QString lockText() const;
    bool nativeMode() const { return lock_.usesNative; }
    int lowestLimit() const;
    static QVariantList profileOptions();
    static QVariantList thermalOptions();
    static QVariantList blinkOptions();
    static QVariantList topUpOptions();
    static QVariantList historyOptions();
    static QVariantList startupOptions();
    bool canReachService() const { return shown_.canReachService; }
    QString unreachableText() const { return shown_.unreachableText; }
    bool limitOn() const { return shown_.limitOn; }
    int limit() const { return shown_.limit; }
    int restLevel() const { return shown_.restLevel; }
    QString profileHelp() const { return shown_.profileHelp; }
    QString profileLine() const { return shown_.profileLine; }
    QString limitText() const { return shown_.limitText; }
    QString restLine() const { return shown_.restLine; }
    QString restingSpan() const { return shown_.restingSpan; }
    QVariantList restingOptions() const { return shown_.restingOptions; }
    int hysteresis() const { return shown_.hysteresis; }
    QString restingHelp() const { return shown_.restingHelp; }
    QString limitFootnote() const { return shown_.limitFootnote; }
    QString nativeNote() const { return shown_.nativeNote; }
    bool discharge() const { return shown_.discharge; }
    bool dischargeSupported() const { return shown_.dischargeSupported; }
    QString dischargeHelp() const { return shown_.dischargeHelp; }
    QString dischargeState() const { return shown_.dischargeState; }
    QString thermalState() const { return shown_.thermalState; }
    QString ledHelp() const { return shown_.ledHelp; }
    QString ledState() const { return shown_.ledState; }
    bool thermal() const { return shown_.thermal; }
    int thermalLimit() const { return shown_.thermalLimit; }
    QString thermalWord() const { return shown_.thermalWord; }
    QString heatLine() const { return shown_.heatLine; }
    bool led() const { return shown_.led; }
    bool ledSupported() const { return shown_.ledSupported; }
    bool ledControllable() const { return shown_.ledControllable; }
    int blinkTenths() const { return shown_.blinkTenths; }
    int topUpHours() const { return shown_.topUpHours; }
    bool history() const { return shown_.history; }
    int historyDays() const { return shown_.historyDays; }
    int startup() const { return shown_.startup; }
    bool startupNeedsApproval() const { return shown_.startupNeedsApproval; }
    QString startupError() const { return shown_.startupError; }
    QString saveNote() const { return shown_.saveNote; }
    QString otherProgramText() const { return shown_.otherProgramText; }
    QString otherProgramFixTitle() const { return shown_.otherProgramFixTitle; }
    bool otherProgramFixEnabled() const { return shown_.otherProgramFixEnabled; }
    QString otherProgramError() const { return shown_.otherProgramError; }

    Q_INVOKABLE void setLimitOn(bool on);
    // The resting bar while dragging moves the limit without saving; the release saves it.
    Q_INVOKABLE void dragLimit(int value);
    Q_INVOKABLE void commitLimit();
    // Keyboard and accessibility steps: one step within the bounds, saved at once.
    Q_INVOKABLE void stepLimit(int steps);
    Q_INVOKABLE void chooseProfile(int limit);
    Q_INVOKABLE void setHysteresis(int points);
    Q_INVOKABLE void setDischarge(bool on);
    Q_INVOKABLE void setThermal(bool on);
    Q_INVOKABLE void setThermalLimit(int celsius);
    Q_INVOKABLE void setLed(bool on);
    Q_INVOKABLE void setBlinkTenths(int tenths);
    Q_INVOKABLE void setTopUpHours(int hours);
    Q_INVOKABLE void setHistory(bool on);
    Q_INVOKABLE void setHistoryDays(int days);
    Q_INVOKABLE void setStartup(int withTheComputer);
    // "Open": the desktop's startup settings are where an entry waiting for approval is approved.
    Q_INVOKABLE void openStartupApproval();
    Q_INVOKABLE void fixOtherProgram();

  signals:
    void saveNoteChanged();
    void otherProgramTextChanged();
    void otherProgramFixTitleChanged();
    void otherProgramFixEnabledChanged();
    void otherProgramErrorChanged();
    void canReachServiceChanged();
    void unreachableTextChanged();
    void limitOnChanged();
    void limitChanged();
    void restLevelChanged();
    void profileHelpChanged();
    void profileLineChanged();
    void limitTextChanged();
    void restLineChanged();
    void restingSpanChanged();
    void restingOptionsChanged();
    void hysteresisChanged();
    void restingHelpChanged();
    void limitFootnoteChanged();
    void nativeNoteChanged();
    void dischargeChanged();
    void dischargeSupportedChanged();
    void dischargeHelpChanged();
    void dischargeStateChanged();
    void thermalStateChanged();
    void ledHelpChanged();
    void ledStateChanged();
    void thermalChanged();
    void thermalLimitChanged();
    void thermalWordChanged();
    void heatLineChanged();
    void ledChanged();
    void ledSupportedChanged();
    void ledControllableChanged();
    void blinkTenthsChanged();
    void topUpHoursChanged();
    void historyChanged();
    void historyDaysChanged();
    void startupChanged();
    void startupNeedsApprovalChanged();
    void startupErrorChanged();

  private:
    // Each property takes its value from the settings, the battery and the login item, and announces
    // itself when it moved.
    void publish();

    struct Shown {
        bool canReachService{};
        QString unreachableText{};
        bool limitOn{};
        int limit{};
        int restLevel{};
        QString profileHelp{};
        QString profileLine{};
        QString limitText{};
        QString restLine{};
        QString restingSpan{};
        QVariantList restingOptions{};
        int hysteresis{};
        QString restingHelp{};
        QString limitFootnote{};
        QString nativeNote{};
        bool discharge{};
        bool dischargeSupported{};
        QString dischargeHelp{};
        QString dischargeState{};
        QString thermalState{};
        QString ledHelp{};
        QString ledState{};
        bool thermal{};
        int thermalLimit{};
        QString thermalWord{};
        QString heatLine{};
        bool led{};
        bool ledSupported{};
        bool ledControllable{};
        int blinkTenths{};
        int topUpHours{};
        bool history{};
        int historyDays{};
        int startup{};
        bool startupNeedsApproval{};
        QString startupError{};
        QString saveNote{};
        QString otherProgramText{};
        QString otherProgramFixTitle{};
        bool otherProgramFixEnabled{};
        QString otherProgramError{};
    };

    ChargeSettingsModel& settings_;
    BatteryMonitor& battery_;
    LoginItemModel& login_;
    SystemLock lock_;
    OtherProgramFix otherFix_;
    Shown shown_;
};

}  // namespace torvel::app
