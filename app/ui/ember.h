#pragma once

#include <QColor>
#include <QFont>
#include <QHash>
#include <QJSEngine>
#include <QJSValue>
#include <QObject>
#include <QPalette>
#include <QPointer>
#include <QString>

namespace torvel::app {

// The one palette and the one typeface every view names. Neutral colours follow the appearance; the accents
// stay the same in both. Views never spell a raw colour or a font of their own.
class Ember : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool dark READ dark WRITE setDark NOTIFY appearanceChanged)
    Q_PROPERTY(QColor bg READ bg NOTIFY appearanceChanged)
    Q_PROPERTY(QColor screen READ screen NOTIFY appearanceChanged)
    Q_PROPERTY(QColor well READ well NOTIFY appearanceChanged)
    Q_PROPERTY(QColor tile READ well NOTIFY appearanceChanged)
    Q_PROPERTY(QColor card READ screen NOTIFY appearanceChanged)
    Q_PROPERTY(QColor raised READ raised NOTIFY appearanceChanged)
    Q_PROPERTY(QColor text READ text NOTIFY appearanceChanged)
    Q_PROPERTY(QColor text2 READ text2 NOTIFY appearanceChanged)
    Q_PROPERTY(QColor text3 READ text3 NOTIFY appearanceChanged)
    Q_PROPERTY(QColor hair READ hair NOTIFY appearanceChanged)
    Q_PROPERTY(QColor track READ track NOTIFY appearanceChanged)
    Q_PROPERTY(QColor zone READ zone NOTIFY appearanceChanged)
    Q_PROPERTY(QColor ring READ ring NOTIFY appearanceChanged)
    Q_PROPERTY(QColor shade READ shade NOTIFY appearanceChanged)
    Q_PROPERTY(QColor danger READ danger NOTIFY appearanceChanged)
    Q_PROPERTY(QColor emberText READ emberText NOTIFY appearanceChanged)
    Q_PROPERTY(QColor mintText READ mintText NOTIFY appearanceChanged)
    Q_PROPERTY(QColor goldText READ goldText NOTIFY appearanceChanged)
    Q_PROPERTY(QColor ember READ ember CONSTANT)
    Q_PROPERTY(QColor ember3 READ ember3 CONSTANT)
    Q_PROPERTY(QColor emberLight READ emberLight CONSTANT)
    Q_PROPERTY(QColor mint READ mint CONSTANT)
    Q_PROPERTY(QColor gold READ gold CONSTANT)
    Q_PROPERTY(QColor stop READ stop CONSTANT)
    Q_PROPERTY(QColor on READ on CONSTANT)
    Q_PROPERTY(QColor nightText READ nightText CONSTANT)
    // Views call `Ember.words(size, weight)` and `Ember.toneFill(tone)`. These are properties holding
    // functions rather than methods, so that every binding that calls one reads a property, and is
    // re-evaluated when the desktop's text scaling or appearance moves; a method call would leave the binding
    // as it first was.
    Q_PROPERTY(QJSValue words READ wordsFunction NOTIFY textScaleChanged)
    Q_PROPERTY(QJSValue toneColor READ toneColorFunction NOTIFY appearanceChanged)
    Q_PROPERTY(QJSValue toneText READ toneTextFunction NOTIFY appearanceChanged)
    Q_PROPERTY(QJSValue toneFill READ toneFillFunction NOTIFY appearanceChanged)
    Q_PROPERTY(QJSValue toneBorder READ toneBorderFunction NOTIFY appearanceChanged)
    Q_PROPERTY(qreal textScale READ textScale WRITE setTextScale NOTIFY textScaleChanged)
    // 1 while things move, 0 when the desktop asks for reduced motion: views write `duration: 180 *
    // Ember.motion`, and stop what would only loop.
    Q_PROPERTY(qreal motion READ motion NOTIFY motionChanged)
    Q_PROPERTY(qreal micro READ micro CONSTANT)
    Q_PROPERTY(qreal caption READ caption CONSTANT)
    Q_PROPERTY(qreal small READ small CONSTANT)
    Q_PROPERTY(qreal body READ body CONSTANT)
    Q_PROPERTY(qreal label READ label CONSTANT)
    Q_PROPERTY(qreal control READ control CONSTANT)
    Q_PROPERTY(qreal subhead READ subhead CONSTANT)
    Q_PROPERTY(qreal lead READ lead CONSTANT)
    Q_PROPERTY(qreal title READ title CONSTANT)
    Q_PROPERTY(qreal heading READ heading CONSTANT)
    Q_PROPERTY(qreal headline READ headline CONSTANT)
    Q_PROPERTY(qreal figureSmall READ figureSmall CONSTANT)
    Q_PROPERTY(qreal figure READ figure CONSTANT)
    Q_PROPERTY(qreal figureLarge READ figureLarge CONSTANT)
    Q_PROPERTY(qreal display READ display CONSTANT)
    Q_PROPERTY(qreal hero READ hero CONSTANT)
    Q_PROPERTY(qreal heroLarge READ heroLarge CONSTANT)
    Q_PROPERTY(int spaceHair READ spaceHair CONSTANT)
    Q_PROPERTY(int spaceTight READ spaceTight CONSTANT)
    Q_PROPERTY(int spaceSmall READ spaceSmall CONSTANT)
    Q_PROPERTY(int spaceBase READ spaceBase CONSTANT)
    Q_PROPERTY(int spaceMedium READ spaceMedium CONSTANT)
    Q_PROPERTY(int spaceCozy READ spaceCozy CONSTANT)
    Q_PROPERTY(int spaceRoomy READ spaceRoomy CONSTANT)
    Q_PROPERTY(int spaceLarge READ spaceLarge CONSTANT)
    Q_PROPERTY(int spaceSection READ spaceSection CONSTANT)
    Q_PROPERTY(int spacePage READ spacePage CONSTANT)

  public:
    explicit Ember(QObject* parent = nullptr);

    bool dark() const { return dark_; }
    void setDark(bool dark);

    // Qt 6.4 has no colour-scheme hint; a desktop in a dark theme hands applications a dark window colour.
    static bool prefersDark(const QPalette& palette);

    QColor bg() const { return pick(0xE6E8EA, 0x0E1012); }
    QColor screen() const { return pick(0xF7F8F8, 0x17191C); }
    QColor well() const { return pick(0xEDEFF1, 0x1F2226); }
    QColor raised() const { return pick(0xFBFBFC, 0x2B2F34); }
    QColor text() const { return pick(0x14171A, 0xEEF0F2); }
    QColor text2() const { return pick(0x4F565E, 0xAAB1B8); }
    QColor text3() const { return pick(0x62686F, 0x8B939B); }
    QColor hair() const { return pick(0xD3D7DB, 0x2A2E33); }
    QColor track() const { return pick(0xDCDFE3, 0x2E3338); }
    QColor zone() const { return dark_ ? withAlpha(0xFFFFFF, 0.08) : withAlpha(0x14171A, 0.08); }
    QColor ring() const { return dark_ ? withAlpha(0xFFFFFF, 0.07) : withAlpha(0x14171A, 0.06); }
    QColor shade() const { return dark_ ? withAlpha(0x000000, 0.7) : withAlpha(0x14171A, 0.3); }
    QColor danger() const { return pick(0xB3261E, 0xFF8A80); }
    QColor emberText() const { return pick(0xA84E17, 0xF2A56E); }
    QColor mintText() const { return pick(0x1B7A4E, 0x6FD3A5); }
    QColor goldText() const { return pick(0x7A5A17, 0xD3AA57); }

    static QColor ember() { return QColor(0xEA8A4E); }
    static QColor ember3() { return QColor(0xE07B3D); }
    static QColor emberLight() { return QColor(0xF2A56E); }
    static QColor mint() { return QColor(0x5FC395); }
    static QColor gold() { return QColor(0xD3AA57); }
    static QColor stop() { return QColor(0xE5484D); }
    static QColor on() { return QColor(0x14171A); }
    // The dark appearance's text, for the few surfaces that are dark in both (the charge arrival's capsule).
    static QColor nightText() { return QColor(0xEEF0F2); }

    // Text roles: the type scale's sizes in pixels, smallest first. A view names the role its text plays,
    // `Ember.words(Ember.body, "medium")`, so a change of scale is made here once.
    static constexpr qreal micro() { return 11; }
    static constexpr qreal caption() { return 11.5; }
    static constexpr qreal small() { return 12; }
    static constexpr qreal body() { return 12.5; }
    static constexpr qreal label() { return 13; }
    static constexpr qreal control() { return 13.5; }
    static constexpr qreal subhead() { return 14; }
    static constexpr qreal lead() { return 14.5; }
    static constexpr qreal title() { return 15; }
    static constexpr qreal heading() { return 16; }
    static constexpr qreal headline() { return 17; }
    static constexpr qreal figureSmall() { return 22; }
    static constexpr qreal figure() { return 24; }
    static constexpr qreal figureLarge() { return 26; }
    static constexpr qreal display() { return 30; }
    static constexpr qreal hero() { return 44; }
    static constexpr qreal heroLarge() { return 54; }
    // Spacing steps in pixels between and around blocks. Odd values and negative overhangs left in the views
    // are optical corrections of one drawing, not steps of the rhythm.
    static constexpr int spaceHair() { return 2; }
    static constexpr int spaceTight() { return 4; }
    static constexpr int spaceSmall() { return 6; }
    static constexpr int spaceBase() { return 8; }
    static constexpr int spaceMedium() { return 10; }
    static constexpr int spaceCozy() { return 12; }
    static constexpr int spaceRoomy() { return 14; }
    static constexpr int spaceLarge() { return 16; }
    static constexpr int spaceSection() { return 18; }
    static constexpr int spacePage() { return 24; }

    // `weight` is a word: "ultraLight", "thin", "light", "regular", "medium", "semibold", "bold", "heavy",
    // "black". Sizes are pixel sizes at the desktop's usual text size, scaled with its text scaling.
    QFont words(qreal size, const QString& weight = QStringLiteral("regular")) const;
    qreal textScale() const { return textScale_; }
    void setTextScale(qreal scale);
    qreal motion() const { return reducedMotion_ ? 0.0 : 1.0; }
    void setReducedMotion(bool reduced);
    // What the views' functions call.
    Q_INVOKABLE QFont wordsOf(qreal size, const QString& weight) const { return words(size, weight); }
    Q_INVOKABLE QColor toneColorOf(int tone) const { return toneColor(tone); }
    Q_INVOKABLE QColor toneTextOf(int tone) const { return toneText(tone); }
    Q_INVOKABLE QColor toneFillOf(int tone) const { return toneFill(tone); }
    Q_INVOKABLE QColor toneBorderOf(int tone) const { return toneBorder(tone); }
    // The family of the face a weight uses, as the font file names it.
    static QString faceFamily(const QString& weight);

    // Adds the bundled Urbanist faces to this process. Returns how many were added; with none, text falls
    // back to the desktop's substitute and every view still draws.
    static int registerTypeface();

    // A tone's strong colour (dots, icons, borders), its text colour, and the faint fill a note lays under
    // it. `tone` is a Looks::Tone; QML hands enums over as integers.
    QColor toneColor(int tone) const;
    QColor toneText(int tone) const;
    QColor toneFill(int tone) const;
    QColor toneBorder(int tone) const;

  signals:
    void appearanceChanged();
    void textScaleChanged();
    void motionChanged();

  private:
    QJSValue wordsFunction() { return viewFunction(QStringLiteral("words")); }
    QJSValue toneColorFunction() { return viewFunction(QStringLiteral("toneColor")); }
    QJSValue toneTextFunction() { return viewFunction(QStringLiteral("toneText")); }
    QJSValue toneFillFunction() { return viewFunction(QStringLiteral("toneFill")); }
    QJSValue toneBorderFunction() { return viewFunction(QStringLiteral("toneBorder")); }
    // The function named `name` for the script engine this object is used in; it calls `nameOf`.
    QJSValue viewFunction(const QString& name);
    QColor pick(unsigned light, unsigned darkValue) const { return QColor(dark_ ? darkValue : light); }
    static QColor withAlpha(unsigned rgb, double alpha);

    bool dark_ = false;
    qreal textScale_ = 1.0;
    bool reducedMotion_ = false;
    // The functions are made once per script engine: a value of one engine means nothing to another.
    QHash<QString, QJSValue> functions_;
    QPointer<QJSEngine> functionsEngine_;
};

}  // namespace torvel::app
