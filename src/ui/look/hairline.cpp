#include "ui/look/hairline.h"

#include "ui/look/colours.h"

#include <QPainter>

HairLine::HairLine(Qt::Orientation orientation, QWidget *parent)
    : QWidget(parent)
{
    if (orientation == Qt::Horizontal)
        setFixedHeight(1);
    else
        setFixedWidth(1);
}

void HairLine::paintEvent(QPaintEvent *)
{
    QPainter(this).fillRect(rect(), colour(Role::Line));
}
