#include "ui/tree/groupdrag.h"

#include "ui/look/colours.h"
#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/styleparts.h"

#include <QMimeData>
#include <QPainter>
#include <QUrl>
#include <QWidget>

#include <algorithm>

namespace {

constexpr int kWidest = 40; ///< characters

} // namespace

int draggedGroup(const QMimeData &mime)
{
    return mime.data(QString::fromLatin1(kGroupMimeType)).toInt();
}

QStringList draggedFiles(const QMimeData &mime)
{
    QStringList paths;
    const QList<QUrl> urls = mime.urls();
    for (const QUrl &url : urls) {
        if (!url.isLocalFile())
            return {};
        paths.append(url.toLocalFile());
    }
    return paths;
}

QPixmap draggedPixmap(const QString &icon, const QString &text, const QWidget *widget)
{
    const QFont font = widget->font();
    const QFontMetrics metrics(font);
    const QString shown = metrics.elidedText(text, Qt::ElideMiddle, columnWidth(kWidest));
    const int size = iconSize(IconUse::Row);
    const QSize card(space::between + size + space::between + metrics.horizontalAdvance(shown) + space::group,
                     rowHeight(RowKind::Tree));
    QPixmap pixmap(card * widget->devicePixelRatioF());
    pixmap.setDevicePixelRatio(widget->devicePixelRatioF());
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    const QRect whole(QPoint(), card);
    paintPanel(&painter, whole, radius::field, colour(Role::Card), colour(Role::ButtonBorder));
    const Qt::LayoutDirection direction = widget->layoutDirection();
    const QRect sign(space::between, 0, size, card.height());
    paintIcon(&painter, QStyle::visualRect(direction, whole, sign), icon, colour(Role::Text2), direction);
    painter.setFont(font);
    painter.setPen(colour(Role::Text));
    const QRect words = whole.adjusted(2 * space::between + size, 0, -space::group, 0);
    painter.drawText(QStyle::visualRect(direction, whole, words), Qt::AlignCenter, shown);
    return pixmap;
}
