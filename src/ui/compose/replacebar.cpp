#include "ui/compose/replacebar.h"

#include "ui/compose/composeeditor.h"
#include "ui/compose/plaineditor.h"
#include "ui/compose/richeditor.h"
#include "ui/look/colours.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/toolbuttons.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QToolButton>

using namespace Qt::StringLiterals;

namespace {

QTextCursor cursorOf(const ComposeEditor &editor)
{
    return editor.isRich() ? editor.rich()->textCursor() : editor.plain()->textCursor();
}

void moveCursor(const ComposeEditor &editor, const QTextCursor &cursor)
{
    if (editor.isRich())
        editor.rich()->setTextCursor(cursor);
    else
        editor.plain()->setTextCursor(cursor);
}

QTextDocument *documentOf(const ComposeEditor &editor)
{
    return editor.isRich() ? editor.rich()->document() : editor.plain()->document();
}

} // namespace

ReplaceBar::ReplaceBar(ComposeEditor *editor, QWidget *parent)
    : QWidget(parent)
    , m_editor(editor)
    , m_words(new QLineEdit(this))
    , m_by(new QLineEdit(this))
    , m_result(new QLabel(this))
{
    m_words->setPlaceholderText(tr("Replace"));
    m_words->setAccessibleName(tr("Words to replace"));
    m_by->setPlaceholderText(tr("With"));
    m_by->setAccessibleName(tr("Words to put in their place"));
    setTextRole(m_result, Role::Text2);
    auto *one = new QPushButton(tr("&Replace"), this);
    auto *all = new QPushButton(tr("Replace &all"), this);
    auto *close = newToolButton(u"close"_s, tr("Close"), this);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(space::card, space::inner + 1, space::card, space::inner);
    layout->setSpacing(space::between);
    layout->addWidget(m_words, 1);
    layout->addWidget(m_by, 1);
    layout->addWidget(one);
    layout->addWidget(all);
    layout->addWidget(m_result, 1);
    layout->addWidget(close);
    connect(one, &QPushButton::clicked, this, &ReplaceBar::replace);
    connect(all, &QPushButton::clicked, this, &ReplaceBar::replaceAll);
    connect(close, &QToolButton::clicked, this, [this] {
        hide();
        m_editor->current()->setFocus();
    });
    hide();
}

void ReplaceBar::open()
{
    if (const QString chosen = cursorOf(*m_editor).selectedText();
        !chosen.isEmpty() && !chosen.contains(QChar::ParagraphSeparator))
        m_words->setText(chosen);
    m_result->clear();
    show();
    m_words->setFocus();
    m_words->selectAll();
}

void ReplaceBar::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape) {
        hide();
        m_editor->current()->setFocus();
    } else if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        replace();
    } else {
        QWidget::keyPressEvent(event);
    }
}

bool ReplaceBar::findNext()
{
    QTextCursor found = documentOf(*m_editor)->find(m_words->text(), cursorOf(*m_editor));
    if (found.isNull())
        found = documentOf(*m_editor)->find(m_words->text(), 0);
    if (found.isNull()) {
        m_result->setText(tr("Not found"));
        return false;
    }
    m_result->clear();
    moveCursor(*m_editor, found);
    return true;
}

/// What is selected goes when it is such a place; then the next one is selected.
void ReplaceBar::replace()
{
    if (m_words->text().isEmpty())
        return;
    QTextCursor cursor = cursorOf(*m_editor);
    if (cursor.selectedText().compare(m_words->text(), Qt::CaseInsensitive) == 0) {
        cursor.insertText(m_by->text());
        moveCursor(*m_editor, cursor);
    }
    findNext();
}

void ReplaceBar::replaceAll()
{
    if (m_words->text().isEmpty())
        return;
    QTextDocument *document = documentOf(*m_editor);
    QTextCursor step(document);
    step.beginEditBlock();
    int count = 0;
    for (QTextCursor found = document->find(m_words->text(), 0); !found.isNull();
         found = document->find(m_words->text(), found)) {
        found.insertText(m_by->text());
        ++count;
    }
    step.endEditBlock();
    m_result->setText(count == 0   ? tr("Not found")
                      : count == 1 ? tr("1 place replaced")
                                   : tr("%1 places replaced").arg(count));
}

void ReplaceBar::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(0, 0, width(), 1, colour(Role::Line));
}
