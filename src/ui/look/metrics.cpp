#include "ui/look/metrics.h"

#include "ui/look/recolour.h"

#include <QApplication>
#include <QFontMetrics>

#include <algorithm>
#include <cmath>

namespace {

Density &shownDensity()
{
    static Density density = Density::Comfortable;
    return density;
}

} // namespace

int textHeight()
{
    return QFontMetrics(QApplication::font()).height();
}

Density currentDensity()
{
    return shownDensity();
}

void setCurrentDensity(Density density)
{
    shownDensity() = density;
}

int rowHeight(RowKind kind)
{
    const int h = textHeight();
    const bool compact = shownDensity() == Density::Compact;
    switch (kind) {
    case RowKind::List:
    case RowKind::Heading: return h + (compact ? 4 : 10);
    case RowKind::TwoLines: return 2 * h + (compact ? 11 : 19);
    case RowKind::Tree: return h + (compact ? 4 : 9);
    case RowKind::TreeSection: return h + 16;
    }
    return h;
}

double iconFactor()
{
    const int h = textHeight();
    return h < 22 ? 1 : h < 28 ? 1.25 : 1.5;
}

int iconSize(IconUse use)
{
    switch (use) {
    case IconUse::Row: return qRound(16 * iconFactor());
    case IconUse::Bar: return qRound(20 * iconFactor());
    case IconUse::Card: return qRound(24 * iconFactor());
    case IconUse::DialogHead: return 32;
    }
    return 16;
}

int controlHeight()
{
    return textHeight() + 12;
}

int toolButtonHeight()
{
    return std::max(iconSize(IconUse::Bar), textHeight()) + 10;
}

int tabHeight()
{
    return textHeight() + 18;
}

int columnHeaderHeight()
{
    return qRound(0.9 * textHeight()) + 12;
}

int menuItemHeight()
{
    return textHeight() + 10;
}

int menuBarItemHeight()
{
    return textHeight() + 8;
}

int checkBoxHeight()
{
    return std::max(textHeight(), 16) + 6;
}

int messageBarHeight()
{
    return controlHeight() + 10;
}

int columnWidth(int characters)
{
    return characters * QFontMetrics(QApplication::font()).averageCharWidth();
}

QFont fontScaled(const QFont &font, double factor, QFont::Weight weight)
{
    QFont scaled = font;
    if (font.pointSizeF() > 0)
        scaled.setPointSizeF(font.pointSizeF() * factor);
    else
        scaled.setPixelSize(std::max(1, qRound(font.pixelSize() * factor)));
    scaled.setWeight(weight);
    return scaled;
}

QFont fontScaled(double factor, QFont::Weight weight)
{
    return fontScaled(QApplication::font(), factor, weight);
}

void setFontScale(QWidget *widget, double factor, QFont::Weight weight)
{
    rememberFont(widget, factor, weight);
}
