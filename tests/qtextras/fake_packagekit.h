#pragma once

#include <sys/stat.h>

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QThread>

namespace torvel::app::testing {

// A dbus-daemon of the test's own, so no test reaches the machine's PackageKit.
class PrivateBus {
  public:
    PrivateBus() {
        daemon_.start(QStringLiteral("dbus-daemon"), {"--session", "--nofork", "--print-address"});
        if (daemon_.waitForStarted(5000) && daemon_.waitForReadyRead(5000))
            address_ = QString::fromUtf8(daemon_.readLine()).trimmed();
    }
    ~PrivateBus() {
        daemon_.kill();
        daemon_.waitForFinished(5000);
    }
    bool running() const { return !address_.isEmpty(); }
    const QString& address() const { return address_; }

    // A name unique to the process: QtDBus hands back an existing connection, perhaps to an earlier bus,
    // for a name it knows.
    QDBusConnection connect(const QString& role) const {
        static int connections = 0;
        return QDBusConnection::connectToBus(address_, role + QString::number(++connections));
    }

  private:
    QProcess daemon_;
    QString address_;
};

// PackageKit as python-dbusmock plays it from fake_packagekit.py, with that file's parameters, up once it
// owns its name on `bus`.
class MockPackageKit {
  public:
    MockPackageKit(const PrivateBus& bus, const QByteArray& parameters) {
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"), bus.address());
        mock_.setProcessEnvironment(environment);
        mock_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        mock_.setStandardOutputFile(QProcess::nullDevice());
        mock_.start(
            QStringLiteral("/usr/bin/python3"),
            {"-m", "dbusmock", "--system", "--template",
             TORVEL_SOURCE_DIR "/tests/qtextras/fake_packagekit.py", "-p", QString::fromUtf8(parameters)});
        const auto watcher = bus.connect(QStringLiteral("watcher"));
        for (int tries = 0; tries < 250 && !up_; ++tries) {
            QThread::msleep(20);
            up_ = watcher.interface()->isServiceRegistered(QStringLiteral("org.freedesktop.PackageKit"));
        }
    }
    ~MockPackageKit() {
        mock_.kill();
        mock_.waitForFinished(5000);
    }
    bool up() const { return up_; }

  private:
    QProcess mock_;
    bool up_ = false;
};

// PackageKit as the installer meets it: one transaction that ends the way the test chose, remembering
// what it was asked and the bytes of the file it was handed.
class FakePackageKit : public QDBusVirtualObject {
  public:
    enum class Ending { success, refusedByPolkit, cancelled, callRefused };

    FakePackageKit(QDBusConnection bus, Ending ending) : bus_(std::move(bus)), ending_(ending) {
        bus_.registerVirtualObject(root, this, QDBusConnection::SubPath);
        bus_.registerService(QStringLiteral("org.freedesktop.PackageKit"));
    }
    ~FakePackageKit() override { bus_.unregisterObject(root); }

    QStringList calls;
    QStringList hints;
    qulonglong flags = 99;
    QStringList files;
    QByteArray fileBytes;
    struct stat directory {};  // the file's directory as the installation found it

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        const QString member = message.member();
        calls << member;
        const auto args = message.arguments();
        if (member == QLatin1String("CreateTransaction")) {
            connection.send(message.createReply(QVariant::fromValue(QDBusObjectPath(transaction))));
        } else if (member == QLatin1String("SetHints")) {
            hints = args.value(0).toStringList();
            connection.send(message.createReply());
        } else if (member == QLatin1String("InstallFiles")) {
            flags = args.value(0).toULongLong();
            files = args.value(1).toStringList();
            QFile file(files.value(0));
            if (file.open(QIODevice::ReadOnly)) fileBytes = file.readAll();
            ::lstat(QFile::encodeName(QFileInfo(file).path()).constData(), &directory);
            if (ending_ == Ending::callRefused) {
                connection.send(message.createErrorReply(
                    QStringLiteral("org.freedesktop.PackageKit.Transaction.RefusedByPolicy"), "refused"));
                return true;
            }
            connection.send(message.createReply());
            if (ending_ == Ending::refusedByPolkit)
                send(connection, "ErrorCode", {48u, "Failed to obtain authentication."});
            const uint exit = ending_ == Ending::success ? 1 : ending_ == Ending::cancelled ? 3 : 2;
            send(connection, "Finished", {exit, 0u});
        } else {
            connection.send(message.createErrorReply(QDBusError::UnknownMethod, member));
        }
        return true;
    }
    QString introspect(const QString&) const override { return {}; }

    static inline const QString root = QStringLiteral("/org/freedesktop/PackageKit");
    static inline const QString transaction = QStringLiteral("/org/freedesktop/PackageKit/1");

  private:
    static void send(const QDBusConnection& connection, const char* name, const QVariantList& args) {
        auto signal = QDBusMessage::createSignal(
            transaction, QStringLiteral("org.freedesktop.PackageKit.Transaction"), QString::fromLatin1(name));
        signal.setArguments(args);
        connection.send(signal);
    }

    QDBusConnection bus_;
    Ending ending_;
};

}  // namespace torvel::app::testing
