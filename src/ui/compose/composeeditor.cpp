#include "ui/compose/composeeditor.h"

#include "ui/compose/htmlwriter.h"
#include "ui/compose/plaineditor.h"
#include "ui/compose/quotecolours.h"
#include "ui/compose/richeditor.h"
#include "ui/look/metrics.h"

#include <QApplication>
#include <QClipboard>
#include <QLineEdit>
#include <QStackedLayout>
#include <QTextBlock>

using namespace Qt::StringLiterals;

namespace {

constexpr int kLeastLines = 4; ///< of the text that stay in sight

int wordsIn(const QTextDocument &document)
{
    int words = 0;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        const QString text = block.text();
        if (QuoteColours::depthOf(text) > 0)
            continue;
        bool inWord = false;
        for (const QChar c : text) {
            const bool isWord = c.isLetterOrNumber();
            words += isWord && !inWord;
            inWord = isWord || (inWord && (c == u'\'' || c == u'’' || c == u'-'));
        }
    }
    return words;
}

} // namespace

ComposeEditor::ComposeEditor(QWidget *parent)
    : QWidget(parent)
    , m_plain(new PlainEditor(this))
    , m_rich(new RichEditor(this))
    , m_stack(new QStackedLayout(this))
{
    m_stack->addWidget(m_plain);
    m_stack->addWidget(m_rich);
    for (QWidget *editor : {static_cast<QWidget *>(m_plain), static_cast<QWidget *>(m_rich)}) {
        editor->setAccessibleName(tr("Text of the message"));
        editor->setMinimumHeight(kLeastLines * textHeight());
    }
    m_plain->document()->setDocumentMargin(space::dialog);
    connectDocument(m_plain->document());
    connectDocument(m_rich->document());
    connect(m_plain, &PlainEditor::filesDropped, this, &ComposeEditor::filesDropped);
    connect(m_plain, &PlainEditor::imageDropped, this, &ComposeEditor::imageDropped);
    connect(m_rich, &RichEditor::filesDropped, this, &ComposeEditor::filesDropped);
    connect(m_plain, &QPlainTextEdit::copyAvailable, this, &ComposeEditor::selectionChanged);
    connect(m_rich, &QTextEdit::copyAvailable, this, &ComposeEditor::selectionChanged);
    connect(m_plain, &QPlainTextEdit::undoAvailable, this, &ComposeEditor::canUndoChanged);
    connect(m_plain, &QPlainTextEdit::redoAvailable, this, &ComposeEditor::canRedoChanged);
    connect(m_rich, &QTextEdit::undoAvailable, this, &ComposeEditor::canUndoChanged);
    connect(m_rich, &QTextEdit::redoAvailable, this, &ComposeEditor::canRedoChanged);
    setFocusProxy(m_plain);
}

void ComposeEditor::connectDocument(QTextDocument *document)
{
    connect(document, &QTextDocument::contentsChanged, this, [this] {
        if (!m_isFilling)
            emit changed();
    });
}

QWidget *ComposeEditor::current() const
{
    return m_isRich ? static_cast<QWidget *>(m_rich) : m_plain;
}

void ComposeEditor::show(const Composition &composition)
{
    m_isFilling = true;
    m_isRich = !composition.html.isEmpty();
    if (m_isRich)
        m_rich->setContents(composition.html, composition.attachments);
    else
        m_plain->setPlainText(composition.text);
    m_stack->setCurrentWidget(current());
    setFocusProxy(current());
    m_isFilling = false;
    emit formChanged(m_isRich);
}

void ComposeEditor::read(Composition &composition) const
{
    composition.attachments.removeIf([](const Attachment &each) { return each.isInline(); });
    composition.text = plainForm();
    composition.html.clear();
    if (!m_isRich)
        return;
    composition.html = m_rich->html();
    composition.attachments.append(m_rich->pictures());
}

void ComposeEditor::setRich(bool rich)
{
    if (rich == m_isRich)
        return;
    m_isFilling = true;
    if (rich)
        m_rich->setPlain(m_plain->text());
    else
        m_plain->setPlainText(m_rich->plainForm());
    m_isRich = rich;
    m_stack->setCurrentWidget(current());
    setFocusProxy(current());
    current()->setFocus();
    m_isFilling = false;
    emit formChanged(m_isRich);
    emit changed();
}

/// Whether its HTML is more than that of its own plain form. Asked when the user goes over, not by a key.
bool ComposeEditor::hasFormatting() const
{
    if (!m_isRich)
        return false;
    QTextDocument plain;
    fillWithPlain(plain, m_rich->plainForm());
    return !m_rich->pictures().isEmpty() || htmlOf(plain) != m_rich->html();
}

QString ComposeEditor::plainForm() const
{
    if (m_isRich)
        return m_rich->plainForm();
    QString text = m_plain->text();
    return text.isEmpty() || text.endsWith(u'\n') ? text : text + u'\n';
}

int ComposeEditor::wordCount() const
{
    return wordsIn(m_isRich ? *m_rich->document() : *m_plain->document());
}

namespace {

/// Does @p inText to the editor that is shown, unless an entry field has the focus, which does @p inField.
template <typename Field, typename Text>
void doWhereFocusIs(Field inField, Text inText)
{
    if (auto *field = qobject_cast<QLineEdit *>(QApplication::focusWidget()))
        inField(field);
    else
        inText();
}

} // namespace

#define FORWARD(name)                                                                                        \
    void ComposeEditor::name()                                                                               \
    {                                                                                                        \
        doWhereFocusIs([](QLineEdit *field) { field->name(); },                                              \
                       [this] { m_isRich ? m_rich->name() : m_plain->name(); });                             \
    }
FORWARD(undo)
FORWARD(redo)
FORWARD(cut)
FORWARD(copy)
FORWARD(paste)
FORWARD(selectAll)
#undef FORWARD

void ComposeEditor::pastePlain()
{
    insertText(QApplication::clipboard()->text());
}

void ComposeEditor::pasteAsQuotation()
{
    m_isRich ? m_rich->pasteAsQuotation() : m_plain->pasteAsQuotation();
}

void ComposeEditor::rewrap()
{
    if (!m_isRich)
        m_plain->rewrap();
}

void ComposeEditor::insertText(const QString &text)
{
    if (m_isRich)
        m_rich->textCursor().insertText(text);
    else
        m_plain->insertText(text);
}

void ComposeEditor::placeCursor(bool atEnd)
{
    QTextDocument *document = m_isRich ? m_rich->document() : m_plain->document();
    QTextBlock block = document->begin();
    if (atEnd) { // behind the quotation, before the signature
        QTextBlock last = document->lastBlock();
        for (QTextBlock each = last; each.isValid(); each = each.previous())
            if (each.text() == "-- "_L1) {
                last = each.previous().isValid() ? each.previous() : each;
                break;
            }
        while (last.previous().isValid() && last.text().isEmpty() && last.previous().text().isEmpty())
            last = last.previous();
        block = last;
    }
    QTextCursor cursor(block);
    if (m_isRich)
        m_rich->setTextCursor(cursor), m_rich->ensureCursorVisible();
    else
        m_plain->setTextCursor(cursor), m_plain->ensureCursorVisible();
}
