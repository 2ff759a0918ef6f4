#include "ui/reader/subjectlabel.h"

#include "ui/texts/harmless.h"

#include <QHelpEvent>
#include <QPainter>
#include <QStyle>
#include <QTextLayout>
#include <QToolTip>

namespace {

constexpr int kMostLines = 3;

} // namespace

SubjectLabel::SubjectLabel(QWidget *parent)
    : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void SubjectLabel::setText(const QString &text)
{
    m_text = text;
    setAccessibleName(text);
    updateGeometry();
    update();
}

/// The last one is shortened when the text goes on.
QStringList SubjectLabel::linesFor(int width) const
{
    const int room = std::max(1, width - contentsMargins().left() - contentsMargins().right());
    const QFontMetrics metrics = fontMetrics();
    if (metrics.horizontalAdvance(m_text) <= room)
        return {m_text};
    QTextLayout layout(m_text, font());
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.beginLayout();
    QStringList lines;
    while (lines.size() < kMostLines) {
        QTextLine line = layout.createLine();
        if (!line.isValid())
            break;
        line.setLineWidth(room);
        const bool isLast = lines.size() == kMostLines - 1;
        lines.append(isLast ? metrics.elidedText(m_text.sliced(line.textStart()), Qt::ElideRight, room)
                            : m_text.sliced(line.textStart(), line.textLength()).trimmed());
    }
    layout.endLayout();
    return lines;
}

int SubjectLabel::heightFor(int width) const
{
    return int(linesFor(width).size()) * fontMetrics().height();
}

QSize SubjectLabel::sizeHint() const
{
    return {fontMetrics().horizontalAdvance(m_text) + 1 + contentsMargins().left(), fontMetrics().height()};
}

QSize SubjectLabel::minimumSizeHint() const
{
    return {std::min(fontMetrics().averageCharWidth() * 8, sizeHint().width()), fontMetrics().height()};
}

void SubjectLabel::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setPen(palette().color(foregroundRole()));
    // its own direction, at the window's leading edge
    painter.setLayoutDirection(m_text.isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight);
    const Qt::Alignment edge =
        QStyle::visualAlignment(layoutDirection(), Qt::AlignLeading) | Qt::AlignAbsolute;
    QRect place = contentsRect();
    place.setHeight(fontMetrics().height());
    const QStringList lines = linesFor(width());
    for (const QString &line : lines) {
        painter.drawText(place, int(edge | Qt::AlignVCenter) | Qt::TextSingleLine, line);
        place.translate(0, place.height());
    }
}

bool SubjectLabel::event(QEvent *event)
{
    if (event->type() != QEvent::ToolTip)
        return QWidget::event(event);
    if (fontMetrics().horizontalAdvance(m_text) > contentsRect().width())
        QToolTip::showText(static_cast<QHelpEvent *>(event)->globalPos(), asToolTip(m_text), this);
    else
        event->ignore();
    return true;
}

void SubjectLabel::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        updateGeometry();
}
