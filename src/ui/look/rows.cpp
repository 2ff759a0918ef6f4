#include "ui/look/rows.h"

#include "ui/look/colours.h"
#include "ui/look/metrics.h"
#include "ui/look/styleparts.h"
#include "ui/look/velmarstyle.h"

#include <QAbstractScrollArea>
#include <QListView>
#include <QPainter>

namespace {

constexpr int kBar = 3;
constexpr int kFrame = 2;

/// The width over which rows stretch.
int rowsWidth(const QStyleOptionViewItem &option, const QWidget *widget)
{
    const auto *area = qobject_cast<const QAbstractScrollArea *>(widget);
    return area ? area->viewport()->width() : option.rect.right() + 1;
}

QColor tint(const QStyleOptionViewItem &option, bool active, bool rounded)
{
    if (!(option.state & QStyle::State_Selected))
        return colour(rounded ? Role::HoverChrome : Role::Hover);
    if (active)
        return colour(Role::Selection);
    return colour(rounded ? Role::SelectionSidebar : Role::SelectionInactive);
}

void paintRounded(QPainter *painter, const QStyleOptionViewItem &option, const QColor &fill,
                  const QWidget *widget)
{
    const QRect row(space::between, option.rect.y(), rowsWidth(option, widget) - 2 * space::between,
                    option.rect.height());
    const bool framed = isHighContrast(currentScheme()) && option.state & QStyle::State_Selected;
    painter->save();
    painter->setClipRect(option.rect, Qt::IntersectClip);
    paintPanel(painter, row, radius::field, fill, framed ? colour(Role::Text) : QColor(), kFrame);
    painter->restore();
}

bool hasBars(const QWidget *widget)
{
    const auto *list = qobject_cast<const QListView *>(widget);
    return !list || list->viewMode() == QListView::ListMode;
}

} // namespace

bool isActivePane(const QStyleOptionViewItem &option, const QWidget *widget)
{
    if (!(option.state & QStyle::State_Active))
        return false;
    return !widget || widget->hasFocus() || widget->window()->windowType() == Qt::Popup;
}

void paintRowState(QPainter *painter, const QStyleOptionViewItem &option, const QWidget *widget)
{
    const bool selected = option.state & QStyle::State_Selected;
    const bool hovered = option.state & QStyle::State_MouseOver && option.state & QStyle::State_Enabled;
    if (!selected && !hovered)
        return;
    const bool active = isActivePane(option, widget);
    const bool rounded = hasRoundedRows(widget);
    const QColor fill = tint(option, active, rounded);
    if (rounded)
        return paintRounded(painter, option, fill, widget);
    painter->fillRect(option.rect, fill);
    if (!selected)
        return;
    const QRect &rect = option.rect;
    if (isHighContrast(currentScheme())) {
        painter->fillRect(QRect(rect.x(), rect.y(), rect.width(), kFrame), colour(Role::Text));
        painter->fillRect(QRect(rect.x(), rect.bottom() + 1 - kFrame, rect.width(), kFrame),
                          colour(Role::Text));
    }
    const bool atLeadingEdge =
        option.direction == Qt::RightToLeft ? rect.right() + 1 >= rowsWidth(option, widget) : rect.x() <= 0;
    if (atLeadingEdge && hasBars(widget))
        painter->fillRect(leading(&option, rect, kBar), colour(active ? Role::Accent : Role::Text3));
}

void paintRowFocus(QPainter *painter, const QStyleOptionViewItem &option, const QWidget *widget)
{
    if (!(option.state & QStyle::State_HasFocus) || !isActivePane(option, widget))
        return;
    QStyleOptionFocusRect focus;
    focus.QStyleOption::operator=(option);
    drawFocusFrame(&focus, painter, widget);
}
