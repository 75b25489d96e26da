#pragma once

#include <QDBusConnection>
#include <QDBusVariant>
#include <QObject>
#include <QString>
#include <optional>

namespace torvel::app {

// What the desktop says about how applications should look and move, as the settings portal tells it,
// followed as it changes: the dark style preference (org.freedesktop.appearance color-scheme: 1 dark, 2
// light, 0 no preference), GNOME's text scaling and animations switch (org.gnome.desktop.interface), and
// KDE's animation speed (kdeglobals, whose groups KDE's portal serves as org.kde.kdeglobals.*). Without a
// portal, or where it says nothing, each answer is the neutral one: no colour preference, text at its size,
// motion on.
class DesktopPreferences : public QObject {
    Q_OBJECT

  public:
    explicit DesktopPreferences(QDBusConnection bus, QObject* parent = nullptr);

    std::optional<bool> dark() const { return dark_; }
    double textScale() const { return textScale_; }
    bool reducedMotion() const { return !gnomeAnimates_ || !kdeAnimates_; }

    // What a color-scheme value says; absent for "no preference" and anything unknown.
    static std::optional<bool> fromColorScheme(uint value);

  signals:
    void darkChanged();
    void textScaleChanged();
    void reducedMotionChanged();

  private slots:
    void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);

  private:
    void read(const QString& group, const QString& key, bool older = false);
    void take(const QString& group, const QString& key, const QVariant& value);

    QDBusConnection bus_;
    std::optional<bool> dark_;
    double textScale_ = 1.0;
    bool gnomeAnimates_ = true;
    bool kdeAnimates_ = true;
};

}  // namespace torvel::app
