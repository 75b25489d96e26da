#pragma once

#include <QDBusConnection>
#include <QObject>
#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "service/settings.h"

class QDBusMessage;

namespace torvel::client {

// The charge service's address on the bus; packaging/linux/com.torvel.Daemon1.xml describes the interface.
inline constexpr const char* serviceName = "com.torvel.Daemon";
inline constexpr const char* objectPath = "/com/torvel/Daemon";
inline constexpr const char* interfaceName = "com.torvel.Daemon1";

// How the app and torvelctl talk to the running charge service. Every operation is asynchronous and ends
// exactly once, on the thread that started it, with an optional text: none means done, otherwise one
// sentence to show the user as it is. A call still pending when the client is destroyed never ends.
class ServiceClient : public QObject {
    Q_OBJECT

  public:
    using Result = std::optional<std::string>;
    using Completion = std::function<void(const Result&)>;
    // None waits as long as the service keeps the call open.
    using Timeout = std::optional<std::chrono::milliseconds>;

    // When the service is being removed, a release must not hold the removal up for long.
    static constexpr std::chrono::milliseconds removalTimeout{3000};

    struct Applied {
        Result error;  // none: the settings are saved, by the service or in config.json
        // Why the service did not take them, when config.json was written directly instead.
        Result serviceError;
    };
    using ApplyCompletion = std::function<void(const Applied&)>;

    // On the system bus (DBUS_SYSTEM_BUS_ADDRESS when set).
    explicit ServiceClient(QObject* parent = nullptr);
    explicit ServiceClient(QDBusConnection bus, QObject* parent = nullptr);

    // Sends the settings merged with `extra`. When the service cannot take them they are written to `config`
    // directly, which counts as saved; when that write fails too, the service's error stands.
    void apply(const Settings& settings, const SettingsExtra& extra, const std::filesystem::path& config,
               ApplyCompletion done, Timeout timeout = std::nullopt);
    void purgeAllData(Completion done, Timeout timeout = std::nullopt);
    void releaseCharge(Completion done, Timeout timeout = std::nullopt);
    void restart(Completion done, Timeout timeout = std::nullopt);

  private:
    void call(const QDBusMessage& message, std::string_view failureText, Timeout timeout, Completion done);

    QDBusConnection bus_;
};

}  // namespace torvel::client
