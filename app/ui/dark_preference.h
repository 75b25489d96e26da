#pragma once

#include <QDBusConnection>
#include <QDBusVariant>
#include <QObject>
#include <QString>
#include <optional>

namespace torvel::app {

// The desktop's dark style preference, as the settings portal tells it (org.freedesktop.appearance
// color-scheme: 1 dark, 2 light, 0 no preference) and follows it as it changes. Without a portal, or with no
// preference, the answer is absent and Qt's palette decides.
class DarkPreference : public QObject {
    Q_OBJECT

  public:
    explicit DarkPreference(QDBusConnection bus, QObject* parent = nullptr);

    std::optional<bool> dark() const { return dark_; }
    // What a color-scheme value says; absent for "no preference" and anything unknown.
    static std::optional<bool> fromColorScheme(uint value);

  signals:
    void changed();

  private slots:
    void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);

  private:
    void read(bool older);
    void take(const QVariant& value);

    QDBusConnection bus_;
    std::optional<bool> dark_;
};

}  // namespace torvel::app
