#include "ui/compose/composeeditor.h"

#include "compose/ownwords.h"
#include "compose/quotemarks.h"
#include "ui/compose/composeformat.h"
#include "ui/compose/plaineditor.h"
#include "ui/compose/plainform.h"
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

/// Its paragraphs as lines, those of a quotation with its marks.
QString linesOf(const QTextDocument &document)
{
    const QString mark = QuoteMarks().prefixOf(1);
    QString lines;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        if (composeformat::quoteLevel(block.blockFormat()) > 0)
            lines += mark;
        lines += block.text().replace(QChar::LineSeparator, u'\n').replace(QChar::Nbsp, u' ') + u'\n';
    }
    return lines;
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
    connect(m_plain, &PlainEditor::tooMuchPasted, this,
            [this](const QString &text) { emit tooMuchPasted(text, {}); });
    connect(m_rich, &RichEditor::filesDropped, this, &ComposeEditor::filesDropped);
    connect(m_rich, &RichEditor::tooMuchPasted, this, &ComposeEditor::tooMuchPasted);
    setFocusProxy(m_plain);
}

void ComposeEditor::connectDocument(QTextDocument *document)
{
    connect(document, &QTextDocument::contentsChanged, this, [this] {
        if (!m_isFilling)
            emit changed();
    });
    connect(document, &QTextDocument::undoCommandAdded, this, [this] {
        if (!m_isFilling)
            m_undone.clear(); // what is done anew cannot be followed by what was undone
    });
    connect(document, &QTextDocument::undoAvailable, this, [this] { emit canUndoChanged(canUndo()); });
    connect(document, &QTextDocument::redoAvailable, this, [this] { emit canRedoChanged(canRedo()); });
}

QTextDocument *ComposeEditor::document() const
{
    return m_isRich ? m_rich->document() : m_plain->document();
}

QWidget *ComposeEditor::current() const
{
    return m_isRich ? static_cast<QWidget *>(m_rich) : m_plain;
}

void ComposeEditor::show(const Composition &composition)
{
    m_isFilling = true;
    const bool rich = !composition.html.isEmpty();
    if (rich)
        m_rich->setContents(composition.html, composition.attachments);
    else
        m_plain->setContents(composition.text);
    forgetHistory();
    m_isFilling = false;
    showForm(rich);
}

void ComposeEditor::changeTo(const Composition &composition)
{
    if (m_isRich)
        m_rich->changeTo(composition.html);
    else
        m_plain->changeTo(composition.text);
}

void ComposeEditor::showForm(bool rich)
{
    m_isRich = rich;
    const bool hadFocus = m_plain->hasFocus() || m_rich->hasFocus();
    m_stack->setCurrentWidget(current());
    setFocusProxy(current());
    if (hadFocus)
        current()->setFocus();
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
    // straight back again, nothing written since: then nothing was lost on the way
    if (isAtSwitch()) {
        undoText();
        current()->setFocus();
        return;
    }
    const int stepsLeft = document()->availableUndoSteps();
    m_isFilling = true;
    if (rich)
        m_rich->setPlain(m_plain->text());
    else
        m_plain->setAll(m_rich->plainForm());
    m_isFilling = false;
    m_undone.clear();
    showForm(rich);
    current()->setFocus();
    m_done.push_back({rich, stepsLeft, document()->availableUndoSteps()});
    emit canUndoChanged(true);
    emit canRedoChanged(false);
    emit changed();
}

// --- One history for both forms -------------------------------------------------------------------------

/// Whether the next step back is the change of the form.
bool ComposeEditor::isAtSwitch() const
{
    return !m_done.empty() && m_done.back().toRich == m_isRich &&
           document()->availableUndoSteps() <= m_done.back().stepsThere;
}

bool ComposeEditor::canUndo() const
{
    return isAtSwitch() || document()->isUndoAvailable();
}

bool ComposeEditor::canRedo() const
{
    return document()->isRedoAvailable() || !m_undone.empty();
}

void ComposeEditor::forgetHistory()
{
    m_done.clear();
    m_undone.clear();
    m_plain->document()->clearUndoRedoStacks();
    m_rich->document()->clearUndoRedoStacks();
}

void ComposeEditor::undoText()
{
    if (!isAtSwitch()) {
        m_isRich ? m_rich->undo() : m_plain->undo();
        return;
    }
    const Switch last = m_done.back();
    m_done.pop_back();
    m_isFilling = true; // the form gone back to is as it was left; the other one is made as it was before
    m_isRich ? m_rich->undo() : m_plain->undo();
    m_isFilling = false;
    m_undone.push_back(last);
    showForm(!last.toRich);
    emit canUndoChanged(canUndo());
    emit canRedoChanged(true);
    emit changed();
}

void ComposeEditor::redoText()
{
    const bool isAtUndone = !m_undone.empty() && m_undone.back().toRich != m_isRich &&
                            document()->availableUndoSteps() >= m_undone.back().stepsLeft;
    if (!isAtUndone) {
        m_isRich ? m_rich->redo() : m_plain->redo();
        return;
    }
    const Switch next = m_undone.back();
    m_undone.pop_back();
    m_isFilling = true;
    next.toRich ? m_rich->redo() : m_plain->redo();
    m_isFilling = false;
    m_done.push_back(next);
    showForm(next.toRich);
    emit canUndoChanged(true);
    emit canRedoChanged(canRedo());
    emit changed();
}

bool ComposeEditor::hasFormatting() const
{
    return m_isRich && ::hasFormatting(*m_rich->document());
}

QString ComposeEditor::plainForm() const
{
    if (m_isRich)
        return m_rich->plainForm();
    QString text = m_plain->text();
    return text.isEmpty() || text.endsWith(u'\n') ? text : text + u'\n';
}

int ComposeEditor::wordCount(const QStringList &known) const
{
    return countOwnWords(linesOf(*document()), known);
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
FORWARD(cut)
FORWARD(copy)
FORWARD(paste)
FORWARD(selectAll)
#undef FORWARD

void ComposeEditor::undo()
{
    doWhereFocusIs([](QLineEdit *field) { field->undo(); }, [this] { undoText(); });
}

void ComposeEditor::redo()
{
    doWhereFocusIs([](QLineEdit *field) { field->redo(); }, [this] { redoText(); });
}

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
    if (!isFitToEdit(text, m_isRich ? kMostFormatted : kMostPlain))
        emit tooMuchPasted(text, {});
    else if (m_isRich)
        m_rich->textCursor().insertText(text);
    else
        m_plain->insertText(text);
}

void ComposeEditor::placeCursor()
{
    const QTextCursor cursor(document()->begin());
    if (m_isRich)
        m_rich->setTextCursor(cursor), m_rich->ensureCursorVisible();
    else
        m_plain->setTextCursor(cursor), m_plain->ensureCursorVisible();
}
