#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <functional>
#include <optional>

namespace torvel::app {

// Hands a verified package to PackageKit on the system bus, which asks polkit whether the user may install
// it. One installation at a time; the result is absent on success or one short text.
class PackageInstaller : public QObject {
    Q_OBJECT

  public:
    using Done = std::function<void(std::optional<QString> error)>;

    explicit PackageInstaller(QDBusConnection bus, QObject* parent = nullptr);

    void install(const QString& packagePath, Done done);
    bool busy() const { return static_cast<bool>(done_); }

  private slots:
    void onErrorCode(uint code, const QString& details);
    void onFinished(uint exit, uint runtime);

  private:
    void startTransaction(const QString& transactionPath, const QString& packagePath);
    void finish(std::optional<QString> error);

    QDBusConnection bus_;
    QString transaction_;
    QString errorDetails_;
    Done done_;
};

}  // namespace torvel::app
