#include "onboarding/onboarding_window.h"

#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQmlComponent>
#include <QScreen>

#include "service/charge_settings_model.h"

namespace torvel::app {

OnboardingWindowController::OnboardingWindowController(Sources sources, QObject* parent)
    : QObject(parent), sources_(std::move(sources)) {}

OnboardingWindowController::~OnboardingWindowController() {
    if (!window_) return;
    // A window going with the app is no dismissal, and its last hide must not reach a half-gone controller.
    disconnect(window_, nullptr, this, nullptr);
    delete window_.data();
}

bool OnboardingWindowController::show(OnboardingFlow::Mode mode) {
    if (window_) {
        window_->show();
        window_->raise();
        window_->requestActivate();
        return true;
    }
    model_ = std::make_unique<OnboardingModel>(sources_.models, mode);
    QQmlComponent component(&sources_.engine(), QUrl(QStringLiteral("qrc:/Torvel/OnboardingWindow.qml")));
    // Qt 6.4 crashes creating from a component that failed to load.
    if (!component.isReady()) {
        qWarning("torvel: %s", qPrintable(component.errorString()));
        model_.reset();
        return false;
    }
    QObject* made = component.createWithInitialProperties(
        {{QStringLiteral("model"), QVariant::fromValue(static_cast<QObject*>(model_.get()))}});
    auto* window = qobject_cast<QQuickWindow*>(made);
    if (!window) {
        delete made;
        model_.reset();
        return false;
    }
    window_ = window;
    window_->resize(size);
    if (const QScreen* screen = QGuiApplication::primaryScreen()) {
        const QRect area = screen->availableGeometry();
        window_->setPosition(area.center() - QPoint(size.width() / 2, size.height() / 2));
    }
    connect(window_, &QWindow::visibleChanged, this, [this](bool shown) {
        if (!shown) closed();
    });
    window_->show();
    window_->raise();
    window_->requestActivate();
    return true;
}

void OnboardingWindowController::closed() {
    if (model_) {
        // Closing a flow the service pushed means "not now": it is not pushed again by itself.
        if (model_->approvalOnly()) sync_.approvalDismissed = true;
        if (model_->migrationOnly()) sync_.migrationDismissed = true;
    }
    // The window goes first, while the model it binds to still exists.
    if (window_) window_->deleteLater();
    window_.clear();
    if (model_) model_.release()->deleteLater();
}

void OnboardingWindowController::syncApproval() {
    const ChargeSettingsModel& settings = sources_.models.settings;
    const auto mode = sync_.syncApproval(settings.serviceNeedsApproval(),
                                         sources_.models.defaults.boolean("onboardingSeen"), visible());
    if (mode) show(*mode);
}

void OnboardingWindowController::syncMigration() {
    const auto mode = sync_.syncMigration(sources_.models.settings.serviceNeedsMigration(), visible());
    if (mode) show(*mode);
}

}  // namespace torvel::app
