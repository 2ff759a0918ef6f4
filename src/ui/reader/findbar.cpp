#include "ui/reader/findbar.h"

#include "ui/look/colours.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/searchfield.h"
#include "ui/look/toolbuttons.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QPlainTextEdit>
#include <QTextEdit>
#include <QToolButton>

using namespace Qt::StringLiterals;

namespace {

constexpr int kMostMarks = 1000;

} // namespace

template <typename Text>
FindBar::Target FindBar::targetFor(Text *text)
{
    return {[text] { return text->document(); }, [text] { return text->textCursor(); },
            [text](const QTextCursor &cursor) { text->setTextCursor(cursor); },
            [text](const QList<QTextCursor> &places) {
                QList<QTextEdit::ExtraSelection> marks;
                for (const QTextCursor &place : places) {
                    QTextCharFormat format;
                    format.setBackground(colour(Role::SearchHit));
                    format.setForeground(colour(Role::Text));
                    marks.append({place, format});
                }
                text->setExtraSelections(marks);
            },
            text};
}

FindBar::FindBar(QTextEdit *text, QWidget *parent)
    : FindBar(targetFor(text), parent)
{}

FindBar::FindBar(QPlainTextEdit *text, QWidget *parent)
    : FindBar(targetFor(text), parent)
{}

FindBar::FindBar(Target target, QWidget *parent)
    : QWidget(parent)
    , m_target(std::move(target))
    , m_field(new SearchField(u"search"_s, tr("Find in this message"), this))
    , m_count(new QLabel(this))
{
    setObjectName(u"findBar"_s);
    setSurface(this, Role::Chrome);
    setTextRole(m_count, Role::Text2);
    m_count->setTextFormat(Qt::PlainText);
    QToolButton *previous = newToolButton(u"chevron-up"_s, tr("Previous place (Shift+F3)"), this);
    QToolButton *next = newToolButton(u"chevron-down"_s, tr("Next place (F3)"), this);
    QToolButton *close = newToolButton(u"close"_s, tr("Close (Esc)"), this);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(space::card, space::inner + 1, space::between, space::inner);
    layout->setSpacing(space::inner);
    m_field->setEscapeLeaves(true);
    m_field->setMaximumWidth(columnWidth(48));
    layout->addWidget(m_field, 1);
    layout->addWidget(previous);
    layout->addWidget(next);
    layout->addSpacing(space::between);
    layout->addWidget(m_count);
    layout->addStretch(1);
    layout->addWidget(close);
    connect(m_field, &QLineEdit::textChanged, this, &FindBar::changed);
    connect(m_field, &QLineEdit::returnPressed, this, &FindBar::findNext);
    connect(m_field, &SearchField::left, this, &FindBar::close);
    connect(previous, &QToolButton::clicked, this, &FindBar::findPrevious);
    connect(next, &QToolButton::clicked, this, &FindBar::findNext);
    connect(close, &QToolButton::clicked, this, &FindBar::close);
    hide();
}

void FindBar::open()
{
    show();
    const QString selected = m_target.cursor().selectedText();
    if (!selected.isEmpty() && selected.size() < 100 && !selected.contains(QChar::ParagraphSeparator))
        m_field->setText(selected);
    m_field->setFocus();
    m_field->selectAll();
    markAll();
}

void FindBar::close()
{
    if (isHidden())
        return;
    m_target.widget->setFocus(); // before a hidden field hands it on to what comes next
    hide();
    m_target.mark({});
    emit closed();
}

void FindBar::refresh()
{
    if (!isHidden())
        markAll();
}

void FindBar::changed(const QString &text)
{
    if (!text.isEmpty())
        emit searching(text);
    markAll();
    QTextCursor from = m_target.cursor();
    from.setPosition(from.selectionStart()); // typing on stays at the same place
    m_target.setCursor(from);
    find({});
}

void FindBar::find(QTextDocument::FindFlags flags)
{
    const QString text = m_field->text();
    if (text.isEmpty())
        return;
    QTextDocument *document = m_target.document();
    QTextCursor found = document->find(text, m_target.cursor(), flags);
    if (found.isNull()) { // once round
        QTextCursor edge(document);
        if (flags & QTextDocument::FindBackward)
            edge.movePosition(QTextCursor::End);
        found = document->find(text, edge, flags);
    }
    if (!found.isNull())
        m_target.setCursor(found);
    showCount();
}

void FindBar::markAll()
{
    const QString text = m_field->text();
    QList<QTextCursor> places;
    if (!text.isEmpty()) {
        QTextCursor place(m_target.document());
        while (places.size() <= kMostMarks) {
            place = m_target.document()->find(text, place);
            if (place.isNull())
                break;
            places.append(place);
        }
    }
    m_starts.clear();
    for (const QTextCursor &place : std::as_const(places))
        m_starts.append(place.selectionStart());
    m_target.mark(places);
    showCount();
}

/// Which place of how many has the cursor.
void FindBar::showCount()
{
    const int count = int(m_starts.size());
    const QTextCursor cursor = m_target.cursor();
    const auto at = std::lower_bound(m_starts.cbegin(), m_starts.cend(), cursor.selectionStart());
    const bool isThere = cursor.hasSelection() && at != m_starts.cend() && *at == cursor.selectionStart();
    if (m_field->text().isEmpty())
        m_count->clear();
    else if (count == 0)
        m_count->setText(tr("Not found"));
    else if (count > kMostMarks)
        m_count->setText(tr("More than %1 places").arg(QLocale().toString(kMostMarks)));
    else if (isThere)
        m_count->setText(
            tr("%1 of %2").arg(QLocale().toString(at - m_starts.cbegin() + 1), QLocale().toString(count)));
    else
        m_count->setText(count == 1 ? tr("1 place") : tr("%1 places").arg(QLocale().toString(count)));
}

void FindBar::keyPressEvent(QKeyEvent *event)
{
    if (event->key() != Qt::Key_Escape)
        return QWidget::keyPressEvent(event);
    close();
}

void FindBar::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(0, 0, width(), 1, colour(Role::Line));
}
