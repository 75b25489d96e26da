#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTextDocument>
#include <QTextDocumentFragment>
#include <QTimer>
#include <functional>

#include "battery/battery_monitor.h"
#include "extras/charge_arrival.h"
#include "history/history_model.h"
#include "onboarding/onboarding_window.h"
#include "service/charge_settings_model.h"
#include "service/service_state.h"
#include "shell/main_window.h"
#include "shell/torvel_app.h"

namespace torvel::app {

namespace {

// zlib's fastest levels: at twice the window's size the default level spends longer compressing the picture
// than the app spends drawing it, for files only a little smaller.
constexpr int screenshotQuality = 80;

// Every text the item tree draws, as a reader sees it: items that are hidden or fully transparent, and what
// they hold, draw nothing. Controls draw their captions through a Text item of their own, so Text, TextEdit
// and TextInput are the whole of it.
void collectTexts(const QQuickItem* item, QStringList& texts) {
    if (!item->isVisible() || item->opacity() <= 0.0) return;
    if (item->inherits("QQuickText") || item->inherits("QQuickTextEdit") ||
        item->inherits("QQuickTextInput")) {
        QString text = item->property("text").toString();
        if (Qt::mightBeRichText(text)) text = QTextDocumentFragment::fromHtml(text).toPlainText();
        text = text.simplified();
        if (!text.isEmpty()) texts << text;
    }
    const auto children = item->childItems();
    for (const QQuickItem* child : children) collectTexts(child, texts);
}

// The tests that read what a user reads (the pseudo-locale and the Linux English checks) name a file in
// TORVEL_SCREENSHOT_TEXTS; each picture appends its texts there, one a line.
std::optional<QString> appendTexts(QQuickWindow* window) {
    const QString file = qEnvironmentVariable("TORVEL_SCREENSHOT_TEXTS");
    if (file.isEmpty()) return std::nullopt;
    QStringList texts;
    collectTexts(window->contentItem(), texts);
    QFile out(file);
    if (!out.open(QIODevice::Append | QIODevice::Text)) return QStringLiteral("cannot write %1").arg(file);
    for (const QString& text : texts) out.write(text.toUtf8() + '\n');
    return std::nullopt;
}

}  // namespace

namespace {

// Waits, asleep between events, until the window is on screen and nothing it shows is still loading, lets its
// opening animations run for `settleMs`, then writes what it shows. Sleeping matters: the journal's reload
// runs on the other core, and a year of it should not share that core with a busy wait.
std::optional<QString> grabWhenReady(QQuickWindow* window, const QString& file, const QString& what,
                                     const std::function<bool()>& loading, int settleMs) {
    QElapsedTimer waited;
    waited.start();
    QTimer deadline;
    deadline.start(3000);
    while ((loading() || !window->isExposed()) && waited.elapsed() < 3000) {
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }
    QElapsedTimer settle;
    settle.start();
    do {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    } while (settle.elapsed() < settleMs);
    const QImage image = window->grabWindow();
    if (image.isNull()) return QStringLiteral("cannot render the %1").arg(what);
    if (!image.save(file, "PNG", screenshotQuality)) return QStringLiteral("cannot write %1").arg(file);
    return appendTexts(window);
}

}  // namespace

std::optional<QString> TorvelApp::screenshotSection(const QString& file, AppSection section) {
    start();
    if (!windows_->show(section)) return QStringLiteral("cannot load the main window");
    QQuickWindow* window = windows_->window();
    // The picture is always the window's first size, wherever the user last left it.
    window->resize(TorvelWindowController::firstSize);
    return grabWhenReady(
        window, file, QStringLiteral("main window"), [this] { return history_->reloadsInFlight() > 0; }, 0);
}

namespace {

// The screen each step shows in a picture, with words a user could meet there, as core words them.
std::optional<OnboardingFlow::Step> sampleStep(const QString& name) {
    using Kind = OnboardingFlow::Step::Kind;
    using Step = OnboardingFlow::Step;
    const std::string wanted = name.isEmpty() ? std::string("welcome") : name.toStdString();
    for (int k = 0; k <= static_cast<int>(Kind::done); ++k) {
        const auto kind = static_cast<Kind>(k);
        if (torvel::name(kind) != wanted) continue;
        switch (kind) {
            case Kind::welcome:
                return Step::welcome({.discharge = true, .led = false});
            case Kind::installFailed:
                return Step::installFailed(explainRegistrationError(1, {}));
            case Kind::unsupported:
                return Step::unsupported(HardwareProbe::Unsupported::unknownHardware);
            case Kind::probeFailed:
                return Step::probeFailed(explainRegistrationError(2, {}));
            default:
                return Step::plain(kind);
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<QString> TorvelApp::screenshotOnboarding(const QString& file, const QString& step) {
    const auto shown = sampleStep(step);
    if (!shown) {
        return QStringLiteral(
                   "unknown step %1: welcome, service, installFailed, awaitingApproval, handOver, "
                   "tuning, done, checking, unsupported or probeFailed")
            .arg(step);
    }
    if (!onboarding_->show({})) return QStringLiteral("cannot load the onboarding window");
    onboarding_->model()->preview(*shown);
    return grabWhenReady(
        onboarding_->window(), file, QStringLiteral("onboarding window"), [] { return false; }, 450);
}

std::optional<QString> TorvelApp::screenshotArrival(const QString& file) {
    battery_->refresh();
    const QString label = arrival_->label().value_or(QStringLiteral("64% → 80%"));
    QQuickWindow* window = ChargeArrivalController::stillOverlay(engine(), label);
    if (!window) return QStringLiteral("cannot load the arrival overlay");
    window->show();
    auto error = grabWhenReady(
        window, file, QStringLiteral("arrival overlay"), [] { return false; }, 450);
    delete window;
    return error;
}

std::optional<QString> TorvelApp::screenshotPanel(const QString& file) {
    // The journal is read as start-up reads it, so the readings and the sparkline are the ones a user sees.
    history_->refresh(settings_->thermalLimit());
    QQuickWindow* window = showPanel();
    if (!window) return QStringLiteral("cannot load the panel view");
    // The first reloads of the journal land first, so the readings row is the one a user would see.
    return grabWhenReady(
        window, file, QStringLiteral("panel"), [this] { return history_->reloadsInFlight() > 0; }, 0);
}

}  // namespace torvel::app
