#pragma once

#include <QObject>
#include <QString>
#include <QVariantList>

#include "app/section.h"

namespace torvel::app {

// The section the main window shows, shared by its tabs, its shortcuts and its pages.
class WindowRoute : public QObject {
    Q_OBJECT
    Q_PROPERTY(Section section READ section WRITE setSection NOTIFY sectionChanged)
    Q_PROPERTY(QString title READ title NOTIFY sectionChanged)
    Q_PROPERTY(QVariantList sections READ sections CONSTANT)
    Q_PROPERTY(QString product READ product CONSTANT)
    Q_PROPERTY(QString sectionsName READ sectionsName CONSTANT)
    Q_PROPERTY(QString panelReviewTitle READ panelReviewTitle CONSTANT)

  public:
    // The same cases, in the same order, as AppSection: QML needs them as a meta-enum.
    enum Section {
        today = AppSection::today,
        settings = AppSection::settings,
        mac = AppSection::mac,
        memory = AppSection::memory,
        calibration = AppSection::calibration,
    };
    Q_ENUM(Section)

    explicit WindowRoute(QObject* parent = nullptr) : QObject(parent) {}

    Section section() const { return section_; }
    void setSection(Section section) {
        if (section == section_) return;
        section_ = section;
        emit sectionChanged();
    }
    void setSection(AppSection section) { setSection(static_cast<Section>(AppSection::Value(section))); }
    AppSection appSection() const { return AppSection(static_cast<AppSection::Value>(section_)); }
    QString title() const { return titleOf(appSection()); }
    static QString product() { return QString::fromStdString(AppSection::productName()); }
    static QString sectionsName() { return QString::fromStdString(WindowWords::sections()); }
    static QString panelReviewTitle() { return QString::fromStdString(WindowWords::panelReview()); }

    static QString titleOf(AppSection section) {
        const std::string text = section.title();
        return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    }

    // The tabs: every section with its title, in order.
    static QVariantList sections() {
        QVariantList tabs;
        for (const auto section : AppSection::all) {
            tabs << QVariantMap{{QStringLiteral("value"), static_cast<int>(section)},
                                {QStringLiteral("label"), titleOf(section)}};
        }
        return tabs;
    }

  signals:
    void sectionChanged();

  private:
    Section section_ = today;
};

}  // namespace torvel::app
