#include "ui/reader/bodystyle.h"

#include "config/settings.h"
#include "ui/look/colours.h"
#include "ui/look/metrics.h"
#include "ui/look/storedcolours.h"

#include <QApplication>
#include <QFontDatabase>
#include <QFontMetrics>

using namespace Qt::StringLiterals;

namespace {

constexpr int kNarrowestWrap = 20; // characters
constexpr int kWidestWrap = 400;

QFont readFont()
{
    const QString stored = stringSetting(Setting::ReadFont);
    if (stored == defaultStringSetting(Setting::ReadFont))
        return QApplication::font();
    return storedFont(stored, QApplication::font());
}

int wrapWidth(const QFont &font)
{
    if (!boolSetting(Setting::ReadWrapText))
        return 0;
    const int characters = std::clamp(intSetting(Setting::ReadWrapWidth), kNarrowestWrap, kWidestWrap);
    return QFontMetrics(font).horizontalAdvance(QString(characters, u'0'));
}

} // namespace

QFont storedFont(const QString &description, const QFont &fallback)
{
    QFont font;
    if (description.isEmpty() || !font.fromString(description))
        return fallback;
    if (QFontDatabase::hasFamily(font.family()))
        return font;
    QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    fixed.setPointSizeF(font.pointSizeF());
    return font.pointSizeF() > 0 ? fixed : fallback;
}

BodyStyle bodyStyle(double zoom)
{
    BodyStyle style;
    style.font = fontScaled(readFont(), zoom);
    style.fixedFont = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    if (style.font.pointSizeF() > 0)
        style.fixedFont.setPointSizeF(style.font.pointSizeF());
    else
        style.fixedFont.setPixelSize(style.font.pixelSize());
    style.background = shownColour(Setting::ReadColourBG);
    style.text = shownColour(Setting::ReadColourFG);
    style.marks = style.text;
    style.text2 = colour(Role::Text2);
    style.quotes = {shownColour(Setting::ReadColourQ1), shownColour(Setting::ReadColourQ2),
                    shownColour(Setting::ReadColourQ3), shownColour(Setting::ReadColourQ4)};
    style.signature = shownColour(Setting::ReadColourSig);
    style.url = shownColour(Setting::ReadColourURL);
    style.link = colour(Role::Link);
    style.card = colour(Role::Alternate);
    style.line = colour(Role::Line);
    style.coloured = boolSetting(Setting::ReadUseColouring);
    style.emphasis = !boolSetting(Setting::ASCIIRawDisplay);
    style.wrapWidth = wrapWidth(style.font);
    style.paperText = colour(Role::Text, Scheme::Light);
    style.paperLink = colour(Role::Link, Scheme::Light);
    return style;
}
