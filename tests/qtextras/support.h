#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QSslKey>
#include <QSslServer>
#include <QTemporaryDir>
#include <QTimer>
#include <QUrl>
#include <functional>
#include <map>

namespace torvel::app::testing {

inline QCoreApplication& qtApp() {
    static int argc = 1;
    static char name[] = "qtextras_tests";
    static char* argv[] = {name, nullptr};
    static auto* app = new QCoreApplication(argc, argv);
    return *app;
}

// Runs the event loop until `done` holds or `limitMs` passes; returns whether it held.
inline bool spinUntil(const std::function<bool()>& done, int limitMs = 5000) {
    QElapsedTimer timer;
    timer.start();
    while (!done() && timer.elapsed() < limitMs) QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    return done();
}

// A self-signed certificate for 127.0.0.1, made once per run, that every request of the test trusts.
struct TestCertificate {
    QSslCertificate certificate;
    QSslKey key;

    static const TestCertificate& shared() {
        static const TestCertificate made = [] {
            static QTemporaryDir dir;
            const QString keyPath = dir.filePath(QStringLiteral("key.pem"));
            const QString certPath = dir.filePath(QStringLiteral("cert.pem"));
            QProcess openssl;
            openssl.setStandardOutputFile(QProcess::nullDevice());
            openssl.setStandardErrorFile(QProcess::nullDevice());
            openssl.start(QStringLiteral("openssl"),
                          {"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1",
                           "-nodes", "-keyout", keyPath, "-out", certPath, "-days", "3650", "-subj",
                           "/CN=localhost", "-addext", "subjectAltName=IP:127.0.0.1", "-batch"});
            openssl.waitForFinished();
            const auto read = [](const QString& path) {
                QFile file(path);
                return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
            };
            TestCertificate result{QSslCertificate(read(certPath)), QSslKey(read(keyPath), QSsl::Ec)};
            auto client = QSslConfiguration::defaultConfiguration();
            client.addCaCertificate(result.certificate);
            QSslConfiguration::setDefaultConfiguration(client);
            return result;
        }();
        return made;
    }
};

// An HTTPS server on loopback answering each path with a fixed response, or never answering at all.
class TlsServer {
  public:
    struct Response {
        QByteArray body;
        int status = 200;
        bool silent = false;
        bool drip = false;  // the body one byte every half second
    };

    TlsServer() {
        qtApp();
        const auto& made = TestCertificate::shared();
        auto configuration = QSslConfiguration::defaultConfiguration();
        configuration.setLocalCertificate(made.certificate);
        configuration.setPrivateKey(made.key);
        server_.setSslConfiguration(configuration);
        server_.listen(QHostAddress::LocalHost, 0);
        QObject::connect(&server_, &QTcpServer::pendingConnectionAvailable, &server_, [this] {
            while (auto* socket = server_.nextPendingConnection()) {
                QObject::connect(socket, &QIODevice::readyRead, socket, [this, socket] { answer(socket); });
            }
        });
    }

    bool listening() const {
        return server_.isListening() && !TestCertificate::shared().certificate.isNull();
    }
    QUrl url(const QString& path) const {
        return QUrl(QStringLiteral("https://127.0.0.1:%1%2").arg(server_.serverPort()).arg(path));
    }

    std::map<QString, Response> routes;
    QStringList requested;

  private:
    void answer(QTcpSocket* socket) {
        auto buffer = socket->property("request").toByteArray() + socket->readAll();
        socket->setProperty("request", buffer);
        if (!buffer.contains("\r\n\r\n")) return;
        const QString path = QString::fromLatin1(buffer.split(' ').value(1));
        requested << path;
        const auto route = routes.find(path);
        const Response response = route == routes.end() ? Response{"", 404, false} : route->second;
        if (response.silent) return;
        socket->write("HTTP/1.1 " + QByteArray::number(response.status) +
                      " X\r\nContent-Length: " + QByteArray::number(response.body.size()) +
                      "\r\nConnection: close\r\n\r\n" + (response.drip ? QByteArray() : response.body));
        if (!response.drip) {
            socket->disconnectFromHost();
            return;
        }
        auto* timer = new QTimer(socket);
        QObject::connect(timer, &QTimer::timeout, socket, [socket, body = response.body, sent = 0]() mutable {
            if (sent < body.size()) socket->write(body.mid(sent++, 1));
        });
        timer->start(500);
    }

    QSslServer server_;
};

}  // namespace torvel::app::testing
