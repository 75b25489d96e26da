#pragma once

#include <QObject>
#include <QPointer>
#include <QQuickWindow>
#include <functional>
#include <memory>

#include "onboarding/flow.h"
#include "onboarding/onboarding_model.h"

class QQmlApplicationEngine;

namespace torvel::app {

// The onboarding window: one flow at a time, each with a fresh model that lives as long as the window. It
// also opens the approval-only and migration-only flows by itself when the service asks for them, unless
// the user closed that flow before.
class OnboardingWindowController : public QObject {
    Q_OBJECT

  public:
    static constexpr QSize size{680, 620};

    struct Sources {
        std::function<QQmlApplicationEngine&()> engine;
        // Everything a model needs but its own flow.
        OnboardingModel::Dependencies models;
    };

    explicit OnboardingWindowController(Sources sources, QObject* parent = nullptr);
    ~OnboardingWindowController() override;

    // Opens the flow, or brings the open window forward when one is showing. False when the view cannot
    // be loaded.
    bool show(OnboardingFlow::Mode mode);
    QQuickWindow* window() const { return window_; }
    OnboardingModel* model() const { return model_.get(); }
    bool visible() const { return window_ && window_->isVisible(); }

  public slots:
    // The whole flow again, opened by the user (the "This Mac" page offers it); nothing is installed twice.
    void review() { show({.review = true, .approvalOnly = false, .migrationOnly = false}); }
    void syncApproval();
    void syncMigration();

  private:
    void closed();

    Sources sources_;
    OnboardingWindowSync sync_;
    std::unique_ptr<OnboardingModel> model_;
    QPointer<QQuickWindow> window_;
};

}  // namespace torvel::app
