#include "ui/ember.h"

#include <QDir>
#include <QFontDatabase>
#include <QJSEngine>
#include <QQmlEngine>

#include "ui/looks.h"

namespace torvel::app {

Ember::Ember(QObject* parent) : QObject(parent) {}

void Ember::setDark(bool dark) {
    if (dark_ == dark) return;
    dark_ = dark;
    emit appearanceChanged();
}

void Ember::setTextScale(qreal scale) {
    if (textScale_ == scale) return;
    textScale_ = scale;
    emit textScaleChanged();
}

void Ember::setReducedMotion(bool reduced) {
    if (reducedMotion_ == reduced) return;
    reducedMotion_ = reduced;
    emit motionChanged();
}

QJSValue Ember::viewFunction(const QString& name) {
    QJSEngine* engine = qjsEngine(this);
    if (!engine) return {};
    if (engine != functionsEngine_) {
        functions_.clear();
        functionsEngine_ = engine;
    }
    if (const auto made = functions_.constFind(name); made != functions_.constEnd()) return *made;
    // The palette belongs to the app, never to the script engine's collector.
    QQmlEngine::setObjectOwnership(this, QQmlEngine::CppOwnership);
    const QString body =
        name == u"words" ? QStringLiteral(
                               "function (size, weight) {"
                               " return ember.wordsOf(size, weight === undefined ? \"regular\" : weight) }")
                         : QStringLiteral("function (tone) { return ember.%1Of(tone) }").arg(name);
    const QJSValue make = engine->evaluate(QStringLiteral("(function (ember) { return %1 })").arg(body));
    const QJSValue made = make.call({engine->newQObject(this)});
    functions_.insert(name, made);
    return made;
}

bool Ember::prefersDark(const QPalette& palette) {
    return palette.color(QPalette::Window).lightness() < 128;
}

QColor Ember::withAlpha(unsigned rgb, double alpha) {
    QColor colour(rgb);
    colour.setAlphaF(static_cast<float>(alpha));
    return colour;
}

QString Ember::faceFamily(const QString& weight) {
    const QString w = weight.toLower();
    if (w == u"ultralight" || w == u"thin" || w == u"light") return QStringLiteral("Urbanist Light");
    if (w == u"medium") return QStringLiteral("Urbanist Medium");
    if (w == u"semibold") return QStringLiteral("Urbanist SemiBold");
    // Regular and bold share one family name in the font files and differ by weight.
    return QStringLiteral("Urbanist");
}

QFont Ember::words(qreal size, const QString& weight) const {
    QFont font(faceFamily(weight));
    const QString w = weight.toLower();
    const bool bold = w == u"bold" || w == u"heavy" || w == u"black";
    font.setWeight(bold ? QFont::Bold : QFont::Normal);
    font.setPixelSize(qMax(1, qRound(size * textScale_)));
    font.setHintingPreference(QFont::PreferNoHinting);
    return font;
}

int Ember::registerTypeface() {
    int added = 0;
    const QDir fonts(QStringLiteral(":/Torvel/fonts"));
    for (const QString& file : fonts.entryList({QStringLiteral("*.woff")}, QDir::Files)) {
        if (QFontDatabase::addApplicationFont(fonts.filePath(file)) >= 0) ++added;
    }
    return added;
}

QColor Ember::toneColor(int tone) const {
    switch (static_cast<Looks::Tone>(tone)) {
        case Looks::Good:
            return mint();
        case Looks::Accent:
            return ember();
        case Looks::Todo:
            return gold();
        case Looks::Broken:
            return stop();
        case Looks::Quiet:
            break;
    }
    return text3();
}

QColor Ember::toneText(int tone) const {
    switch (static_cast<Looks::Tone>(tone)) {
        case Looks::Good:
            return mintText();
        case Looks::Accent:
            return emberText();
        case Looks::Todo:
            return goldText();
        case Looks::Broken:
            return danger();
        case Looks::Quiet:
            break;
    }
    return text2();
}

QColor Ember::toneFill(int tone) const {
    if (static_cast<Looks::Tone>(tone) == Looks::Quiet) return well();
    QColor fill = toneColor(tone);
    // Accents are the same in both appearances; on a dark page they need a little more weight to show.
    fill.setAlphaF(dark_ ? 0.16f : 0.14f);
    return fill;
}

QColor Ember::toneBorder(int tone) const {
    if (static_cast<Looks::Tone>(tone) == Looks::Quiet) return hair();
    QColor border = toneColor(tone);
    border.setAlphaF(dark_ ? 0.35f : 0.40f);
    return border;
}

}  // namespace torvel::app
