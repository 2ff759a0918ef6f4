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

constexpr qsizetype kLongestLine = 10'000; ///< beyond it a key takes longer than the screen

/// A longer line was pasted, not typed: it is wrapped when the message is sent, not at every key.
constexpr int kLongestTyped = 2000;
constexpr qsizetype kLongestWord = 10'000;

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

/// The toolkit's time to break a word at the edge grows with the square of its length.
bool hasEndlessWord(const QString &text)
{
    qsizetype length = 0;
    for (const QChar c : text) {
        length = c.isSpace() ? 0 : length + 1;
        if (length > kLongestWord)
            return true;
    }
    return false;
}

} // namespace

bool isFitToEdit(QStringView text, qsizetype most)
{
    if (text.size() > most)
        return false;
    qsizetype begin = 0;
    for (qsizetype i = 0; i <= text.size(); ++i) {
        if (i < text.size() && text[i] != u'\n' && text[i] != u'\r' && text[i] != QChar::ParagraphSeparator)
            continue;
        if (i - begin > kLongestLine)
            return false;
        begin = i + 1;
    }
    return true;
}

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

void PlainEditor::setContents(const QString &text)
{
    setWordWrapMode(hasEndlessWord(text) ? QTextOption::WrapAnywhere
                                         : QTextOption::WrapAtWordBoundaryOrAnywhere);
    setPlainText(text);
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
    if (line.length() - 1 <= width || line.length() > kLongestTyped || m_marks.depthOf(line.text()) > 0)
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
    const int depth = m_marks.depthOf(cursor.block().text());
    const auto belongs = [this, depth](const QTextBlock &block) {
        const QString text = block.text();
        return block.isValid() && !text.trimmed().isEmpty() && m_marks.depthOf(text) == depth;
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

void PlainEditor::setAll(const QString &text)
{
    QTextCursor cursor(document());
    cursor.select(QTextCursor::Document);
    cursor.insertText(text);
    moveCursor(QTextCursor::Start);
}

void PlainEditor::changeTo(const QString &text)
{
    const QString old = this->text();
    const qsizetype most = std::min(old.size(), text.size());
    const auto [oldEnd, newEnd] = std::mismatch(old.begin(), old.begin() + most, text.begin());
    const qsizetype same = oldEnd - old.begin();
    qsizetype below = 0;
    while (below < most - same && old[old.size() - 1 - below] == text[text.size() - 1 - below])
        ++below;
    const int taken = int(old.size() - same - below);
    const QString given = text.sliced(same, text.size() - same - below);
    if (taken == 0 && given.isEmpty())
        return;
    keepingCursor(*this, int(same), taken, int(given.size()), [&] {
        QTextCursor cursor(document());
        cursor.setPosition(int(same));
        cursor.setPosition(int(same) + taken, QTextCursor::KeepAnchor);
        cursor.insertText(given);
    });
}

void PlainEditor::changeQuoteDepth(int by)
{
    QTextCursor cursor = textCursor();
    const bool hadSelection = cursor.hasSelection();
    extendToWholeLines(cursor);
    QStringList lines = textOf(cursor).split(u'\n');
    const QString mark = m_marks.prefixOf(1);
    for (QString &line : lines) {
        const int depth = m_marks.depthOf(line);
        if (by > 0)
            line.prepend(depth > 0 && !mark.trimmed().isEmpty() ? mark.trimmed() : mark);
        else if (depth > 0) // the first mark, and with the last one its blank
            line = (depth > 1 ? m_marks.prefixOf(depth - 1) : QString()) +
                   line.sliced(m_marks.prefixLength(line));
    }
    const int from = cursor.selectionStart();
    cursor.insertText(lines.join(u'\n'));
    if (!hadSelection)
        return;
    const int end = cursor.position();
    cursor.setPosition(from); // once more does the same lines
    cursor.setPosition(end, QTextCursor::KeepAnchor);
    setTextCursor(cursor);
}

void PlainEditor::pasteAsQuotation()
{
    QString text = QGuiApplication::clipboard()->text();
    if (text.isEmpty())
        return;
    text = quotedText(text);
    if (!text.endsWith(u'\n'))
        text.append(u'\n');
    if (!isFitToEdit(text)) {
        emit tooMuchPasted(QGuiApplication::clipboard()->text());
        return;
    }
    if (!textCursor().atBlockStart() && !textCursor().hasSelection())
        text.prepend(u'\n'); // marks are none in the middle of a line
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
    if (taken)
        return;
    if (const QString text = source->text(); !isFitToEdit(text))
        emit tooMuchPasted(text);
    else
        QPlainTextEdit::insertFromMimeData(source);
}
