#pragma once

#include <QObject>
#include <QString>
#include <filesystem>
#include <optional>

#include "extras/login_item.h"

namespace torvel::app {

// Launch at login through the XDG autostart entry. The status is always what the file says after an attempt,
// and a failure to change it stays in `error` for the page to show beside the choice.
class LoginItemModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(Status status READ status NOTIFY statusChanged)
    Q_PROPERTY(bool on READ on NOTIFY statusChanged)
    Q_PROPERTY(QString error READ error NOTIFY errorChanged)

  public:
    enum Status {
        notRegistered = int(LoginItem::Status::notRegistered),
        enabled = int(LoginItem::Status::enabled),
        requiresApproval = int(LoginItem::Status::requiresApproval),
        notFound = int(LoginItem::Status::notFound),
    };
    Q_ENUM(Status)

    // `file` absent: no home to write into, and every attempt fails with a reason.
    LoginItemModel(std::optional<std::filesystem::path> file, QString executable, QObject* parent = nullptr);
    // The user's own entry, starting this executable.
    static std::unique_ptr<LoginItemModel> forThisUser(QObject* parent = nullptr);

    const LoginItem& value() const { return item_; }
    Status status() const { return static_cast<Status>(item_.status); }
    bool on() const { return item_.status == LoginItem::Status::enabled; }
    QString error() const { return item_.error ? QString::fromStdString(*item_.error) : QString(); }

    Q_INVOKABLE void set(bool on);
    // Reads the entry again: another program (the desktop's own startup settings) may have changed it.
    Q_INVOKABLE void reload();

  signals:
    void statusChanged();
    void errorChanged();

  private:
    void settle(std::optional<std::string> failure);
    LoginItem::Status readBack() const;

    std::optional<std::filesystem::path> file_;
    QString executable_;
    LoginItem item_;
};

}  // namespace torvel::app
