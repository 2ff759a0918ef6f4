#include "ui/look/styleparts.h"

#include "ui/look/icons.h"

#include <QPainter>

using namespace Qt::StringLiterals;

namespace {

void strokeRounded(QPainter *painter, const QRectF &rect, qreal radius, const QPen &pen)
{
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setBrush(Qt::NoBrush);
    painter->setPen(pen);
    painter->drawRoundedRect(rect, radius, radius);
    painter->restore();
}

} // namespace

void paintPanel(QPainter *painter, const QRect &rect, qreal radius, const QColor &fill, const QColor &border,
                qreal width)
{
    const qreal inset = border.isValid() ? width / 2 : 0;
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(border.isValid() ? QPen(border, width) : QPen(Qt::NoPen));
    painter->setBrush(fill.isValid() ? QBrush(fill) : QBrush(Qt::NoBrush));
    painter->drawRoundedRect(QRectF(rect).adjusted(inset, inset, -inset, -inset), radius, radius);
    painter->restore();
}

void paintFocusRing(QPainter *painter, const QRect &rect, qreal radius)
{
    strokeRounded(painter, QRectF(rect).adjusted(1, 1, -1, -1), radius - 1, QPen(colour(Role::Accent), 2));
}

void paintFocusRingOnAccent(QPainter *painter, const QRect &rect, qreal radius)
{
    strokeRounded(painter, QRectF(rect).adjusted(2.5, 2.5, -2.5, -2.5), radius - 2.5,
                  QPen(colour(Role::Base), 1.5));
}

void paintChevron(QPainter *painter, const QRect &rect, Qt::ArrowType arrow, const QColor &colour, int size)
{
    const QString name = arrow == Qt::UpArrow      ? u"chevron-up"_s
                         : arrow == Qt::LeftArrow  ? u"chevron-left"_s
                         : arrow == Qt::RightArrow ? u"chevron-right"_s
                                                   : u"chevron-down"_s;
    QRect square(0, 0, size, size);
    square.moveCenter(rect.center());
    paintIcon(painter, square, name, colour);
}

void paintTick(QPainter *painter, const QRect &rect, const QColor &colour)
{
    const qreal unit = rect.width() / 16.0;
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->translate(rect.topLeft());
    painter->scale(unit, unit);
    painter->setPen(QPen(colour, 1.9, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    const QPointF points[] = {{4, 8.4}, {6.9, 11.2}, {12.1, 5.2}};
    painter->drawPolyline(points, 3);
    painter->restore();
}

QRect leading(const QStyleOption *option, const QRect &rect, int width)
{
    return QStyle::alignedRect(option->direction, Qt::AlignLeft, QSize(width, rect.height()), rect);
}

QRect trailing(const QStyleOption *option, const QRect &rect, int width)
{
    return QStyle::alignedRect(option->direction, Qt::AlignRight, QSize(width, rect.height()), rect);
}

int mnemonicFlags(const QStyle *style, const QStyleOption *option, const QWidget *widget)
{
    return style->styleHint(QStyle::SH_UnderlineShortcut, option, widget) ? Qt::TextShowMnemonic
                                                                          : Qt::TextHideMnemonic;
}
