#include "ui/ember.h"

#include <gtest/gtest.h>

#include <QQmlComponent>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQuickItem>

#include "qt_support.h"

namespace torvel::app::testing {
namespace {

// Views take their type and tone colours from Ember's functions in bindings; the desktop's text scaling and
// appearance must reach them as they move, not only at the next window.
TEST(Ember, ViewsFollowTheTextScaleAndAppearanceLive) {
    qtApp();
    Ember ember;
    QQmlEngine engine;
    engine.rootContext()->setContextProperty(QStringLiteral("Ember"), &ember);
    QQmlComponent component(&engine);
    component.setData(R"(import QtQuick
                         Item {
                             Text { objectName: "plain"; font: Ember.words(10) }
                             Text { objectName: "bold"; font: Ember.words(13.5, "bold") }
                             Rectangle { objectName: "note"; color: Ember.toneFill(0) }
                         })",
                      QUrl());
    std::unique_ptr<QObject> root(component.create());
    ASSERT_TRUE(root) << component.errorString().toStdString();
    const auto size = [&](const char* name) {
        return root->findChild<QObject*>(QString::fromLatin1(name))
            ->property("font")
            .value<QFont>()
            .pixelSize();
    };
    EXPECT_EQ(size("plain"), 10);
    EXPECT_EQ(size("bold"), 14);

    ember.setTextScale(1.5);
    EXPECT_EQ(size("plain"), 15);
    EXPECT_EQ(size("bold"), 20);
    EXPECT_EQ(root->findChild<QObject*>(QStringLiteral("bold"))->property("font").value<QFont>().weight(),
              QFont::Bold);

    const auto fill = [&] { return root->findChild<QObject*>(QStringLiteral("note"))->property("color"); };
    EXPECT_EQ(fill().value<QColor>(), ember.well());
    ember.setDark(true);
    EXPECT_EQ(fill().value<QColor>(), ember.well());
}

}  // namespace
}  // namespace torvel::app::testing
