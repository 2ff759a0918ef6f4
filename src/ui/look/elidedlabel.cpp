#include "ui/look/elidedlabel.h"

#include <QAccessible>
#include <QEvent>
#include <QHelpEvent>
#include <QPainter>
#include <QStyle>
#include <QToolTip>

ElidedLabel::ElidedLabel(const QString &text, QWidget *parent)
    : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setText(text);
}

void ElidedLabel::setText(const QString &text)
{
    const QString line = text.simplified();
    if (line == m_text)
        return;
    m_text = line;
    setAccessibleName(m_text);
    updateGeometry();
    update();
}

void ElidedLabel::setElideMode(Qt::TextElideMode mode)
{
    m_mode = mode;
    update();
}

void ElidedLabel::setAlignment(Qt::Alignment alignment)
{
    m_alignment = alignment;
    update();
}

bool ElidedLabel::isElided() const
{
    return fontMetrics().horizontalAdvance(m_text) > contentsRect().width();
}

QSize ElidedLabel::sizeHint() const
{
    const QMargins margins = contentsMargins();
    return QSize(fontMetrics().horizontalAdvance(m_text) + 1, fontMetrics().height()).grownBy(margins);
}

QSize ElidedLabel::minimumSizeHint() const
{
    const int few = fontMetrics().averageCharWidth() * 4;
    return {std::min(few, sizeHint().width()), sizeHint().height()};
}

void ElidedLabel::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const QRect rect = contentsRect();
    painter.setPen(palette().color(foregroundRole()));
    painter.drawText(rect, int(QStyle::visualAlignment(layoutDirection(), m_alignment)) | Qt::TextSingleLine,
                     fontMetrics().elidedText(m_text, m_mode, rect.width()));
}

bool ElidedLabel::event(QEvent *event)
{
    if (event->type() != QEvent::ToolTip || !toolTip().isEmpty())
        return QWidget::event(event);
    if (isElided())
        QToolTip::showText(static_cast<QHelpEvent *>(event)->globalPos(), m_text, this);
    else
        event->ignore();
    return true;
}

void ElidedLabel::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::FontChange)
        updateGeometry();
    QWidget::changeEvent(event);
}
