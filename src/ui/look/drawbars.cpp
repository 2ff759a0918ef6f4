#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/styleparts.h"

#include <QAbstractScrollArea>
#include <QFrame>
#include <QPainter>

#include <algorithm>

using namespace Qt::StringLiterals;

// Scroll bars: a thin handle in a quiet groove, no arrows

namespace {

constexpr int kHandle = 6;
constexpr int kHandleOffset = 4;
constexpr int kHandleEnds = 2;

} // namespace

QRect scrollBarPart(const QStyleOptionSlider *option, QStyle::SubControl part)
{
    const bool level = option->orientation == Qt::Horizontal;
    const int length = level ? option->rect.width() : option->rect.height();
    const qint64 range = qint64(option->maximum) - option->minimum;
    int handle = length;
    if (range > 0)
        handle = int(std::max<qint64>(qint64(length) * option->pageStep / (range + option->pageStep),
                                      std::min(kShortestHandle, length / 2)));
    const int start = QStyle::sliderPositionFromValue(
        option->minimum, option->maximum, option->sliderPosition, length - handle, option->upsideDown);
    const auto stretch = [&](int from, int size) {
        const QRect rect =
            level ? QRect(from, 0, size, option->rect.height()) : QRect(0, from, option->rect.width(), size);
        return QStyle::visualRect(option->direction, option->rect, rect.translated(option->rect.topLeft()));
    };
    switch (part) {
    case QStyle::SC_ScrollBarGroove: return option->rect;
    case QStyle::SC_ScrollBarSlider: return stretch(start, handle);
    case QStyle::SC_ScrollBarSubPage: return stretch(0, start);
    case QStyle::SC_ScrollBarAddPage: return stretch(start + handle, length - start - handle);
    default: return {};
    }
}

void drawScrollBar(const QStyleOptionSlider *option, QPainter *painter, const QStyle *style,
                   const QWidget *widget)
{
    painter->fillRect(option->rect, option->palette.brush(QPalette::Window));
    if (option->maximum <= option->minimum)
        return;
    QRect handle = style->subControlRect(QStyle::CC_ScrollBar, option, QStyle::SC_ScrollBarSlider, widget);
    if (option->orientation == Qt::Horizontal) {
        handle.adjust(kHandleEnds, 0, -kHandleEnds, 0);
        handle.setY(option->rect.y() + kHandleOffset);
        handle.setHeight(kHandle);
    } else {
        handle.adjust(0, kHandleEnds, 0, -kHandleEnds);
        const bool mirrored = option->direction == Qt::RightToLeft;
        handle.setX(option->rect.x() + (mirrored ? kScrollBar - kHandleOffset - kHandle : kHandleOffset));
        handle.setWidth(kHandle);
    }
    const bool touched = isHovered(option) || isPressed(option);
    paintPanel(painter, handle, kHandle / 2.0, colour(touched ? Role::Text3 : Role::Scroll), {});
}

void drawProgressBar(const QStyleOptionProgressBar *option, QPainter *painter)
{
    QRect groove = option->rect;
    groove.setY(option->rect.y() + (option->rect.height() - 4) / 2);
    groove.setHeight(4);
    paintPanel(painter, groove, 2, colour(Role::Pressed), {});
    const qint64 whole = qint64(option->maximum) - option->minimum;
    if (whole <= 0)
        return; // of unknown length: the text beside it counts
    const qint64 done = std::clamp<qint64>(qint64(option->progress) - option->minimum, 0, whole);
    const int width = int(done * groove.width() / whole);
    if (width > 0)
        paintPanel(painter, leading(option, groove, std::max(width, 4)), 2, colour(Role::Accent), {});
}

// Tabs: the selected one is a piece of the page below, with a line of accent on its top

namespace {

constexpr int kTabTop = 3;

bool isFirst(const QStyleOptionTab *option)
{
    return option->position == QStyleOptionTab::Beginning || option->position == QStyleOptionTab::OnlyOneTab;
}

} // namespace

void drawTab(const QStyleOptionTab *option, QPainter *painter)
{
    const QRect rect = option->rect;
    if (option->state & QStyle::State_Selected) {
        painter->save();
        painter->setClipRect(rect, Qt::IntersectClip);
        const QRect shape = rect.adjusted(0, kTabTop, 0, radius::field);
        paintPanel(painter, shape, radius::field, option->palette.color(QPalette::Base), colour(Role::Line));
        painter->fillRect(QRect(rect.x() + 10, rect.y() + kTabTop + 1, rect.width() - 20, 2),
                          colour(Role::Accent));
        painter->restore();
        if (hasFocus(option))
            paintFocusRing(painter, rect.adjusted(4, kTabTop + 5, -4, -3), radius::box);
        return;
    }
    if (isHovered(option))
        paintPanel(painter, rect.adjusted(3, kTabTop + 3, -3, -4), radius::field, colour(Role::HoverChrome),
                   {});
    if (!isFirst(option) && option->selectedPosition != QStyleOptionTab::PreviousIsSelected) {
        const QRect line = leading(option, rect, 1);
        const int height = rect.height() / 2;
        painter->fillRect(QRect(line.x(), line.center().y() - height / 2 + 1, 1, height),
                          colour(Role::Separator));
    }
}

void drawTabLabel(const QStyleOptionTab *option, QPainter *painter, const QStyle *style,
                  const QWidget *widget)
{
    const bool chosen = option->state & QStyle::State_Selected;
    QRect line = style->subElementRect(QStyle::SE_TabBarTabText, option, widget);
    if (!option->icon.isNull()) {
        const int size = iconSize(IconUse::Row);
        paintIcon(painter, leading(option, line, size), option->icon, size,
                  colour(chosen ? Role::Link : Role::Text2), option->direction, isEnabled(option));
        line = QStyle::visualRect(option->direction, line, line.adjusted(size + kIconGap, 0, 0, 0));
    }
    painter->save();
    painter->setPen(colour(!isEnabled(option) ? Role::Disabled : chosen ? Role::Text : Role::Text2));
    painter->drawText(line,
                      int(QStyle::visualAlignment(option->direction, Qt::AlignLeft)) | Qt::AlignVCenter |
                          Qt::TextSingleLine | mnemonicFlags(style, option, widget),
                      option->text);
    painter->restore();
}

void drawTabBase(const QStyleOptionTabBarBase *option, QPainter *painter)
{
    const int y = option->tabBarRect.bottom();
    const QRect tab = option->selectedTabRect;
    const QColor line = colour(Role::Line);
    if (tab.isEmpty()) {
        painter->fillRect(QRect(option->rect.x(), y, option->rect.width(), 1), line);
        return;
    }
    painter->fillRect(QRect(option->rect.x(), y, tab.left() - option->rect.x(), 1), line);
    painter->fillRect(QRect(tab.right() + 1, y, option->rect.right() - tab.right(), 1), line);
}

void drawTabClose(const QStyleOption *option, QPainter *painter)
{
    if (isHovered(option))
        paintPanel(painter, option->rect, radius::box,
                   colour(isPressed(option) ? Role::Pressed : Role::HoverChrome), {});
    const bool strong = isHovered(option) || option->state & QStyle::State_Selected;
    const int size = iconSize(IconUse::Row) - 2;
    QRect square(0, 0, size, size);
    square.moveCenter(option->rect.center());
    paintIcon(painter, square, u"close"_s, colour(strong ? Role::Text2 : Role::Text3));
}

void drawBarSeparator(const QStyleOption *option, QPainter *painter)
{
    const QRect rect = option->rect;
    const int length = iconSize(IconUse::Bar);
    QRect line(0, 0, 1, std::min(length, rect.height()));
    if (!(option->state & QStyle::State_Horizontal))
        line = QRect(0, 0, std::min(length, rect.width()), 1);
    line.moveTopLeft(
        {rect.x() + (rect.width() - line.width()) / 2, rect.y() + (rect.height() - line.height()) / 2});
    painter->fillRect(line, colour(Role::Separator));
}

void drawShapedFrame(const QStyleOptionFrame *option, QPainter *painter, const QWidget *widget)
{
    const QRect rect = option->rect;
    switch (option->frameShape) {
    case QFrame::HLine:
        painter->fillRect(QRect(rect.x(), rect.center().y(), rect.width(), 1), colour(Role::Line));
        return;
    case QFrame::VLine:
        painter->fillRect(QRect(rect.center().x(), rect.y(), 1, rect.height()), colour(Role::Line));
        return;
    case QFrame::NoFrame: return;
    default: break;
    }
    if (!qobject_cast<const QAbstractScrollArea *>(widget)) {
        paintPanel(painter, rect, radius::field, {}, colour(Role::Line));
        return;
    }
    // the viewport has square corners and begins 2 px inside
    paintPanel(painter, rect, radius::box, option->palette.color(QPalette::Base),
               colour(isEnabled(option) ? Role::Field : Role::Line));
    if (hasFocus(option) || (isEnabled(option) && widget->hasFocus()))
        paintFocusRing(painter, rect, radius::box);
}
