#include "ui/compose/plaineditor.h"

#include "compose/quoting.h"
#include "config/settings.h"
#include "ui/compose/quotecolours.h"
#include "ui/look/fixedfont.h"
#include "ui/look/storedcolours.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QImage>
#include <QKeyEvent>
#include <QMimeData>
#include <QTextBlock>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

constexpr int kNarrowest = 20; ///< `SendWrapWidth` below this is a mistake

/// A longer line was pasted, not typed: it is wrapped when the message is sent, not at every key.
constexpr int kLongestTyped = 2000;

int wrapWidth()
{
    return std::max(intSetting(Setting::SendWrapWidth), kNarrowest);
}

/// The text of a selection: its paragraphs are parted by U+2029.
QString textOf(const QTextCursor &cursor)
{
    QString text = cursor.selectedText();
    return text.replace(QChar::ParagraphSeparator, u'\n').replace(QChar::LineSeparator, u'\n');
}

void extendToWholeLines(QTextCursor &cursor)
{
    const int end = std::max(cursor.anchor(), cursor.position());
    cursor.setPosition(std::min(cursor.anchor(), cursor.position()));
    cursor.movePosition(QTextCursor::StartOfBlock);
    cursor.setPosition(end, QTextCursor::KeepAnchor);
    if (cursor.atBlockStart() && cursor.hasSelection())
        cursor.movePosition(QTextCursor::Left, QTextCursor::KeepAnchor);
    cursor.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
}

} // namespace

bool takeDropped(const QMimeData *source, const std::function<void(const QStringList &)> &files,
                 const std::function<void(const QImage &)> &image)
{
    QStringList paths;
    for (const QUrl &url : source->urls())
        if (url.isLocalFile())
            paths.append(url.toLocalFile());
    if (!paths.isEmpty()) {
        files(paths);
        return true;
    }
    if (source->hasImage() && !source->hasText()) {
        image(qvariant_cast<QImage>(source->imageData()));
        return true;
    }
    return false;
}

PlainEditor::PlainEditor(QWidget *parent)
    : QPlainTextEdit(parent)
    , m_colours(new QuoteColours(document()))
{
    setFrameShape(QFrame::NoFrame);
    setTabChangesFocus(false);
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    setUndoRedoEnabled(true);
    takeFont();
}

/// `SendFont`; at its default the desktop's own font of fixed width.
void PlainEditor::takeFont()
{
    QFont chosen;
    if (stringSetting(Setting::SendFont) == defaultStringSetting(Setting::SendFont) ||
        !chosen.fromString(stringSetting(Setting::SendFont)))
        setFixedFont(this);
    else
        setFont(chosen);
    QPalette colours = palette();
    colours.setColor(QPalette::Base, shownColour(Setting::SendColourBG));
    colours.setColor(QPalette::Text, shownColour(Setting::SendColourFG));
    if (colours != palette())
        setPalette(colours);
}

void PlainEditor::changeEvent(QEvent *event)
{
    QPlainTextEdit::changeEvent(event);
    if (event->type() == QEvent::StyleChange) {
        takeFont();
        m_colours->rehighlight();
    }
}

void PlainEditor::keyPressEvent(QKeyEvent *event)
{
    const QString typed = event->text();
    const bool mayWrap = !typed.isEmpty() && typed.front().isPrint() &&
                         boolSetting(Setting::AutoWrapCompose) && textCursor().block().length() > wrapWidth();
    if (!mayWrap)
        return QPlainTextEdit::keyPressEvent(event);
    QTextCursor step = textCursor(); // what is typed and the break that it makes are undone together
    step.beginEditBlock();
    QPlainTextEdit::keyPressEvent(event);
    wrapLine();
    step.endEditBlock();
    ensureCursorVisible();
}

/// A line that has become too long is broken at its last blank within the width, as part of what was typed.
/// Lines that are quoted, and those that nobody types in, stay as they are.
void PlainEditor::wrapLine()
{
    QTextCursor cursor = textCursor();
    const QTextBlock line = cursor.block();
    const int width = wrapWidth();
    if (line.length() - 1 <= width || line.length() > kLongestTyped || QuoteColours::depthOf(line.text()) > 0)
        return;
    const QString wrapped = wrapText(line.text(), width);
    const qsizetype end = wrapped.indexOf(u'\n');
    if (end <= 0)
        return;
    // the blank at the break stays behind or goes, as wrapText() decided
    qsizetype next = end;
    const QString whole = line.text();
    while (next < whole.size() && whole[next] == u' ')
        ++next;
    if (next >= whole.size())
        return; // only blanks would go over
    cursor.setPosition(line.position() + int(end));
    cursor.setPosition(line.position() + int(next), QTextCursor::KeepAnchor);
    cursor.insertText(u"\n"_s);
}

QTextCursor PlainEditor::paragraph() const
{
    QTextCursor cursor = textCursor();
    if (cursor.hasSelection()) {
        extendToWholeLines(cursor);
        return cursor;
    }
    const int depth = QuoteColours::depthOf(cursor.block().text());
    const auto belongs = [depth](const QTextBlock &block) {
        const QString text = block.text();
        return block.isValid() && !text.trimmed().isEmpty() && QuoteColours::depthOf(text) == depth;
    };
    QTextBlock first = cursor.block();
    QTextBlock last = first;
    while (belongs(first.previous()))
        first = first.previous();
    while (belongs(last.next()))
        last = last.next();
    cursor.setPosition(first.position());
    cursor.setPosition(last.position() + last.length() - 1, QTextCursor::KeepAnchor);
    return cursor;
}

void PlainEditor::rewrap()
{
    QTextCursor cursor = paragraph();
    QString text = rewrapText(textOf(cursor), wrapWidth());
    if (text.endsWith(u'\n'))
        text.chop(1);
    cursor.insertText(text);
}

QString PlainEditor::text() const
{
    QString raw = document()->toRawText();
    return raw.replace(QChar::ParagraphSeparator, u'\n').replace(QChar::LineSeparator, u'\n');
}

void PlainEditor::insertText(const QString &text)
{
    textCursor().insertText(text);
}

void PlainEditor::replaceAll(const QString &text)
{
    const int line = textCursor().blockNumber();
    QTextCursor cursor(document());
    cursor.select(QTextCursor::Document);
    cursor.insertText(text);
    cursor.setPosition(
        document()->findBlockByNumber(std::min(line, document()->blockCount() - 1)).position());
    setTextCursor(cursor);
}

void PlainEditor::changeQuoteDepth(int by)
{
    QTextCursor cursor = textCursor();
    extendToWholeLines(cursor);
    QStringList lines = textOf(cursor).split(u'\n');
    for (QString &line : lines) {
        if (by > 0)
            line.prepend(QuoteColours::depthOf(line) > 0 ? u">"_s : u"> "_s);
        else if (line.startsWith("> "_L1))
            line.remove(0, 2);
        else if (line.startsWith(u'>'))
            line.remove(0, 1);
    }
    cursor.insertText(lines.join(u'\n'));
}

void PlainEditor::pasteAsQuotation()
{
    QString text = QGuiApplication::clipboard()->text();
    if (text.isEmpty())
        return;
    text = quotedText(text);
    if (!text.endsWith(u'\n'))
        text.append(u'\n');
    insertText(text);
}

bool PlainEditor::canInsertFromMimeData(const QMimeData *source) const
{
    return source->hasUrls() || source->hasImage() || QPlainTextEdit::canInsertFromMimeData(source);
}

void PlainEditor::insertFromMimeData(const QMimeData *source)
{
    const bool taken = takeDropped(
        source, [this](const QStringList &paths) { emit filesDropped(paths); },
        [this](const QImage &image) { emit imageDropped(image); });
    if (!taken)
        QPlainTextEdit::insertFromMimeData(source);
}
