#include "ui/options/hits.h"

#include "ui/look/colours.h"
#include "ui/look/toolbuttons.h"

#include <QPainter>
#include <QStyleOptionButton>
#include <QTextLayout>

namespace {

constexpr int kRound = 2;

struct TextPlace
{
    QString text;
    QFont font;
    QRect rect;
    Qt::Alignment alignment; ///< visual
    Qt::LayoutDirection direction;
    bool wraps = false;
};

/// The lines as the style sets them; returns their height.
qreal layOut(QTextLayout &layout, const TextPlace &place)
{
    QTextOption option;
    option.setTextDirection(place.direction);
    option.setWrapMode(place.wraps ? QTextOption::WordWrap : QTextOption::NoWrap);
    layout.setTextOption(option);
    qreal height = 0;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(place.wraps ? place.rect.width() : QWIDGETSIZE_MAX);
        line.setPosition({0, height});
        height += line.height();
    }
    layout.endLayout();
    return height;
}

void paintHit(QPainter *painter, const TextPlace &place, const QTextLine &line, qreal top, qsizetype from,
              qsizetype to)
{
    const int first = std::max(int(from), line.textStart());
    const int last = std::min(int(to), line.textStart() + line.textLength());
    if (first >= last)
        return;
    // A line that is not wrapped is laid out far wider than its place, whichever edge it clings to.
    const qreal begin = line.cursorToX(line.textStart());
    const qreal end = line.cursorToX(line.textStart() + line.textLength());
    const QSize size(qCeil(std::abs(end - begin)), place.rect.height());
    const int left = QStyle::alignedRect(Qt::LeftToRight, place.alignment, size, place.rect).left();
    const qreal a = line.cursorToX(first) - std::min(begin, end);
    const qreal b = line.cursorToX(last) - std::min(begin, end);
    painter->drawRoundedRect(
        QRectF(left + std::min(a, b) - 1, top + line.y(), std::abs(b - a) + 2, line.height()), kRound,
        kRound);
}

void paintHits(QPainter *painter, const TextPlace &place, const QStringList &words)
{
    if (words.isEmpty())
        return;
    QTextLayout layout(place.text, place.font);
    const qreal height = layOut(layout, place);
    const qreal top = place.alignment & Qt::AlignTop
                          ? place.rect.top()
                          : place.rect.top() + std::floor((place.rect.height() - height) / 2);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    painter->setBrush(colour(Role::SearchHit));
    for (const QString &word : words) {
        for (qsizetype at = place.text.indexOf(word, 0, Qt::CaseInsensitive); at >= 0;
             at = place.text.indexOf(word, at + word.size(), Qt::CaseInsensitive))
            for (int i = 0; i < layout.lineCount(); ++i)
                paintHit(painter, place, layout.lineAt(i), top, at, at + word.size());
    }
    painter->restore();
}

} // namespace

QStringList wordsOf(const QString &typed)
{
    QStringList words = typed.simplified().split(u' ', Qt::SkipEmptyParts);
    words.removeDuplicates();
    return words;
}

bool holdsAll(const QString &text, const QStringList &words)
{
    return !words.isEmpty() && std::all_of(words.begin(), words.end(), [&text](const QString &word) {
        return text.contains(word, Qt::CaseInsensitive);
    });
}

HitLabel::HitLabel(const QString &text, QWidget *parent)
    : QLabel(text, parent)
{
    setTextFormat(Qt::PlainText);
}

void HitLabel::setHits(const QStringList &words)
{
    m_hits = words;
    update();
}

QSize HitLabel::sizeHint() const
{
    const QSize own = QLabel::sizeHint();
    return buddy() ? own.expandedTo({0, buddy()->sizeHint().height()}) : own;
}

QSize HitLabel::minimumSizeHint() const
{
    const QSize own = QLabel::minimumSizeHint();
    return buddy() ? own.expandedTo({0, buddy()->sizeHint().height()}) : own;
}

/// A layout asks for its own width, though the label gets no wider than its maximum.
int HitLabel::heightForWidth(int width) const
{
    return QLabel::heightForWidth(std::min(width, maximumWidth()));
}

void HitLabel::paintEvent(QPaintEvent *event)
{
    QPainter painter(this);
    // A label aligns as its text runs, whichever way the window does.
    const Qt::LayoutDirection direction = text().isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight;
    const Qt::Alignment visual = QStyle::visualAlignment(direction, alignment());
    paintHits(&painter,
              {buddy() ? plainName(text()) : text(), font(), contentsRect(), visual, direction, wordWrap()},
              m_hits);
    painter.end();
    QLabel::paintEvent(event);
}

HitCheckBox::HitCheckBox(const QString &text, QWidget *parent)
    : QCheckBox(text, parent)
{}

void HitCheckBox::setHits(const QStringList &words)
{
    m_hits = words;
    update();
}

void HitCheckBox::paintEvent(QPaintEvent *event)
{
    QStyleOptionButton option;
    initStyleOption(&option);
    QPainter painter(this);
    paintHits(&painter,
              {plainName(text()), font(), style()->subElementRect(QStyle::SE_CheckBoxContents, &option, this),
               QStyle::visualAlignment(layoutDirection(), Qt::AlignLeading | Qt::AlignVCenter),
               layoutDirection()},
              m_hits);
    painter.end();
    QCheckBox::paintEvent(event);
}
