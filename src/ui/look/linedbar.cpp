#include "ui/look/linedbar.h"

#include "ui/look/colours.h"
#include "ui/look/metrics.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QToolBar>

LinedBar::LinedBar(QToolBar *bar, QWidget *end)
{
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(space::between, space::inner, space::between, space::inner + 1);
    layout->addWidget(bar);
    if (end)
        layout->addWidget(end, 1);
}

void LinedBar::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(QRect(0, height() - 1, width(), 1), colour(Role::Line));
}
