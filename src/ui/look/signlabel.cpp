#include "ui/look/signlabel.h"

#include "ui/look/icons.h"

#include <QPainter>

SignLabel::SignLabel(const QString &icon, Role role, IconUse use, QWidget *parent)
    : QWidget(parent)
    , m_icon(icon)
    , m_role(role)
    , m_use(use)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void SignLabel::setSign(const QString &icon, Role role)
{
    m_icon = icon;
    m_role = role;
    update();
}

QSize SignLabel::sizeHint() const
{
    const int size = iconSize(m_use);
    return {size, size};
}

void SignLabel::paintEvent(QPaintEvent *)
{
    if (m_icon.isEmpty())
        return;
    QPainter painter(this);
    paintIcon(&painter, rect(), m_icon, colour(m_role), layoutDirection());
}
