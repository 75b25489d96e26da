#pragma once

#include <QtQml/qqmlregistration.h>

#include <QJSEngine>
#include <QObject>
#include <QPointer>

#include "extras/updater_model.h"
#include "history/chart_model.h"
#include "history/history_model.h"
#include "history/journal_page_model.h"
#include "onboarding/onboarding_model.h"
#include "onboarding/onboarding_window.h"
#include "service/service_installer.h"
#include "shell/window_route.h"
#include "status/mac_page_model.h"
#include "ui/calibration_model.h"
#include "ui/chart_item.h"
#include "ui/ember.h"
#include "ui/looks.h"
#include "ui/panel_model.h"
#include "ui/settings_page_model.h"

class QQmlEngine;

// The types the views see under `import Torvel`. The models are built and owned by the composition root,
// which wires them to the service before any view exists, so QML never constructs them: each singleton's
// create() answers with the instance the root (or a test's host) handed over. The declarations sit here
// rather than in the models' own headers so a model stays a plain QObject that tests build without a QML
// engine.
namespace torvel::app {

// Pulls the module's generated registration into any program that links the app's static library.
void linkQmlModule();

template <typename T>
class QmlInstance {
  public:
    // Must come before an engine first reads the singleton: each engine asks once, then keeps what it got.
    static void set(T* object) {
        linkQmlModule();
        object_ = object;
    }
    static T* create(QQmlEngine*, QJSEngine*) {
        // The root owns the model; an engine that thought it did would delete it when it goes.
        if (object_) QJSEngine::setObjectOwnership(object_, QJSEngine::CppOwnership);
        return object_;
    }

  private:
    static inline QPointer<T> object_;
};

struct EmberSingleton {
    Q_GADGET
    QML_FOREIGN(torvel::app::Ember)
    QML_NAMED_ELEMENT(Ember)
    QML_SINGLETON

  public:
    static Ember* create(QQmlEngine* qml, QJSEngine* js) { return QmlInstance<Ember>::create(qml, js); }
};

struct PanelSingleton {
    Q_GADGET
    QML_FOREIGN(torvel::app::PanelModel)
    QML_NAMED_ELEMENT(Panel)
    QML_SINGLETON

  public:
    static PanelModel* create(QQmlEngine* qml, QJSEngine* js) {
        return QmlInstance<PanelModel>::create(qml, js);
    }
};

struct RouteSingleton {
    Q_GADGET
    QML_FOREIGN(torvel::app::WindowRoute)
    QML_NAMED_ELEMENT(Route)
    QML_SINGLETON

  public:
    static WindowRoute* create(QQmlEngine* qml, QJSEngine* js) {
        return QmlInstance<WindowRoute>::create(qml, js);
    }
};

struct UpdaterSingleton {
    Q_GADGET
    QML_FOREIGN(torvel::app::UpdaterModel)
    QML_NAMED_ELEMENT(Updater)
    QML_SINGLETON

  public:
    static UpdaterModel* create(QQmlEngine* qml, QJSEngine* js) {
        return QmlInstance<UpdaterModel>::create(qml, js);
    }
};

struct SettingsPageSingleton {
    Q_GADGET
    QML_FOREIGN(torvel::app::SettingsPageModel)
    QML_NAMED_ELEMENT(SettingsPage)
    QML_SINGLETON

  public:
    static SettingsPageModel* create(QQmlEngine* qml, QJSEngine* js) {
        return QmlInstance<SettingsPageModel>::create(qml, js);
    }
};

struct MacPageSingleton {
    Q_GADGET
    QML_FOREIGN(torvel::app::MacPageModel)
    QML_NAMED_ELEMENT(MacPage)
    QML_SINGLETON

  public:
    static MacPageModel* create(QQmlEngine* qml, QJSEngine* js) {
        return QmlInstance<MacPageModel>::create(qml, js);
    }
};

struct HistorySingleton {
    Q_GADGET
    QML_FOREIGN(torvel::app::HistoryModel)
    QML_NAMED_ELEMENT(History)
    QML_SINGLETON

  public:
    static HistoryModel* create(QQmlEngine* qml, QJSEngine* js) {
        return QmlInstance<HistoryModel>::create(qml, js);
    }
};

struct JournalPageSingleton {
    Q_GADGET
    QML_FOREIGN(torvel::app::JournalPageModel)
    QML_NAMED_ELEMENT(JournalPage)
    QML_SINGLETON

  public:
    static JournalPageModel* create(QQmlEngine* qml, QJSEngine* js) {
        return QmlInstance<JournalPageModel>::create(qml, js);
    }
};

struct CalibrationSingleton {
    Q_GADGET
    QML_FOREIGN(torvel::app::CalibrationModel)
    QML_NAMED_ELEMENT(Calibration)
    QML_SINGLETON

  public:
    static CalibrationModel* create(QQmlEngine* qml, QJSEngine* js) {
        return QmlInstance<CalibrationModel>::create(qml, js);
    }
};

struct ServiceInstallerSingleton {
    Q_GADGET
    QML_FOREIGN(torvel::app::ServiceInstaller)
    QML_NAMED_ELEMENT(ServiceInstaller)
    QML_SINGLETON

  public:
    static ServiceInstaller* create(QQmlEngine* qml, QJSEngine* js) {
        return QmlInstance<ServiceInstaller>::create(qml, js);
    }
};

struct OnboardingSingleton {
    Q_GADGET
    QML_FOREIGN(torvel::app::OnboardingWindowController)
    QML_NAMED_ELEMENT(Onboarding)
    QML_SINGLETON

  public:
    static OnboardingWindowController* create(QQmlEngine* qml, QJSEngine* js) {
        return QmlInstance<OnboardingWindowController>::create(qml, js);
    }
};

struct ChartViewType {
    Q_GADGET
    QML_FOREIGN(torvel::app::ChartItem)
    QML_NAMED_ELEMENT(ChartView)
};

struct ChartModelType {
    Q_GADGET
    QML_FOREIGN(torvel::app::ChartModel)
    QML_NAMED_ELEMENT(ChartModel)
    QML_UNCREATABLE("chart models come from the app's models")
};

struct OnboardingModelType {
    Q_GADGET
    QML_FOREIGN(torvel::app::OnboardingModel)
    QML_NAMED_ELEMENT(OnboardingModel)
    QML_UNCREATABLE("The onboarding window is given its model")
};

// Only the enums: QML reads `Looks.Good`, never a Looks value.
namespace LooksEnums {
Q_NAMESPACE
QML_FOREIGN_NAMESPACE(torvel::app::Looks)
QML_NAMED_ELEMENT(Looks)
}  // namespace LooksEnums

}  // namespace torvel::app
