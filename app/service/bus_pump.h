#pragma once

#include <QObject>
#include <QTimer>
#include <memory>

class QSocketNotifier;

namespace torvel::client {
class Bus;
}

namespace torvel::app {

// Drives a client::Bus from Qt's event loop, so that replies, time-outs and deferred completions reach the
// models on the main thread without ever blocking it.
class BusPump : public QObject {
    Q_OBJECT

  public:
    explicit BusPump(client::Bus& bus, QObject* parent = nullptr);
    ~BusPump() override;

  private:
    void process();
    // Follows the bus's descriptor, the events it waits for and its next deadline.
    void rearm();

    client::Bus& bus_;
    int fd_ = -1;
    std::unique_ptr<QSocketNotifier> readable_;
    std::unique_ptr<QSocketNotifier> writable_;
    QTimer due_;
};

}  // namespace torvel::app
