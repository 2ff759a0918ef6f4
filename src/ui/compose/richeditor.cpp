#include "ui/compose/richeditor.h"

#include "compose/quotemarks.h"
#include "config/reporter.h"
#include "config/settings.h"
#include "html/sanitizer.h"
#include "message/contenttypes.h"
#include "ui/compose/composeformat.h"
#include "ui/compose/htmlreader.h"
#include "ui/compose/htmlwriter.h"
#include "ui/compose/plaineditor.h"
#include "ui/compose/plainform.h"
#include "ui/compose/quotecolours.h"
#include "ui/look/metrics.h"
#include "ui/look/storedcolours.h"

#include <QAbstractTextDocumentLayout>
#include <QBuffer>
#include <QClipboard>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMimeData>
#include <QPainter>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextDocumentFragment>
#include <QTextList>
#include <QTextTable>
#include <QUuid>

using namespace Qt::StringLiterals;
using namespace composeformat;

namespace {

constexpr int kQuoteBar = 3;
constexpr int kWidestPicture = 640; ///< shown; the part keeps all its pixels
constexpr qint64 kLargestPicture = 50'000'000;

QByteArray newContentId()
{
    return QUuid::createUuid().toByteArray(QUuid::WithoutBraces) + "@velmar.invalid";
}

/// A document that is only read: it loads nothing, from the disk or elsewhere.
class LooseDocument : public QTextDocument
{
protected:
    QVariant loadResource(int, const QUrl &) override { return {}; }
};

/// The paragraphs of @p document that stand in no table, and before each of them what tells it apart: its
/// HTML, and the text of what comes between it and the one before.
struct Paragraph
{
    QTextBlock block;
    QString content;
};

QList<Paragraph> paragraphsOf(const QTextDocument &document)
{
    QList<Paragraph> paragraphs;
    QString between;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        const QString content = htmlOf(block);
        if (document.rootFrame() != QTextCursor(block).currentFrame()) {
            between += content;
            continue;
        }
        paragraphs.append({block, between + content});
        between.clear();
    }
    return paragraphs;
}

/// How many of @p a and @p b are the same at the beginning, or with @p isEnd at the end.
qsizetype sharedBy(const QList<Paragraph> &a, const QList<Paragraph> &b, bool isEnd, qsizetype most)
{
    qsizetype count = 0;
    const auto at = [&](const QList<Paragraph> &all) -> const QString & {
        return all[isEnd ? all.size() - 1 - count : count].content;
    };
    while (count < most && at(a) == at(b))
        ++count;
    return count;
}

int endOf(const QTextBlock &block)
{
    return block.position() + block.length() - 1;
}

} // namespace

RichEditor::RichEditor(QWidget *parent)
    : QTextEdit(parent)
    , m_colours(new RichColours(document()))
{
    setFrameShape(QFrame::NoFrame);
    setAcceptRichText(true);
    setTabChangesFocus(false);
    document()->setDocumentMargin(space::dialog);
    takeFont();
    connect(this, &QTextEdit::currentCharFormatChanged, this, &RichEditor::formatChanged);
    connect(this, &QTextEdit::cursorPositionChanged, this, &RichEditor::formatChanged);
}

/// `SendFont`, where it was changed, and the colours for writing.
void RichEditor::takeFont()
{
    QFont chosen;
    if (stringSetting(Setting::SendFont) != defaultStringSetting(Setting::SendFont) &&
        chosen.fromString(stringSetting(Setting::SendFont)))
        setFont(chosen);
    QPalette colours = palette();
    colours.setColor(QPalette::Base, shownColour(Setting::SendColourBG));
    colours.setColor(QPalette::Text, shownColour(Setting::SendColourFG));
    if (colours != palette())
        setPalette(colours);
}

void RichEditor::changeEvent(QEvent *event)
{
    QTextEdit::changeEvent(event);
    if (event->type() != QEvent::StyleChange)
        return;
    takeFont();
    m_colours->takeLook();
}

void RichEditor::setContents(const QString &html, const QList<Attachment> &pictures)
{
    m_pictures.clear();
    for (const Attachment &each : pictures)
        if (each.isInline())
            m_pictures.insert(QString::fromUtf8(each.contentId), each);
    fillWithHtml(*document(), html);
    moveCursor(QTextCursor::Start);
}

void RichEditor::changeTo(const QString &html)
{
    LooseDocument wanted;
    fillWithHtml(wanted, html);
    const QList<Paragraph> old = paragraphsOf(*document());
    const QList<Paragraph> fresh = paragraphsOf(wanted);
    const qsizetype most = std::min(old.size(), fresh.size());
    const qsizetype above = sharedBy(old, fresh, false, most);
    if (above == old.size() && above == fresh.size())
        return;
    // a paragraph stays at either end, so that whole ones are replaced between them
    const qsizetype below = sharedBy(old, fresh, true, most - std::min(above, most));
    const auto from = [above](const QList<Paragraph> &all) {
        return above > 0 ? endOf(all[above - 1].block) : 0;
    };
    const auto to = [below](const QList<Paragraph> &all) { return endOf(all[all.size() - 1 - below].block); };
    const int taken = to(old) - from(old);
    const int given = to(fresh) - from(fresh);
    keepingCursor(*this, from(old), taken, given, [&] {
        QTextCursor source(&wanted);
        source.setPosition(from(fresh));
        source.setPosition(from(fresh) + given, QTextCursor::KeepAnchor);
        QTextCursor cursor(document());
        cursor.beginEditBlock();
        cursor.setPosition(from(old));
        cursor.setPosition(from(old) + taken, QTextCursor::KeepAnchor);
        cursor.removeSelectedText();
        if (given > 0)
            cursor.insertFragment(source.selection());
        cursor.endEditBlock();
    });
}

void RichEditor::setPlain(const QString &text)
{
    fillWithPlain(*document(), text);
    moveCursor(QTextCursor::Start);
}

QString RichEditor::html() const
{
    return htmlOf(*document());
}

QString RichEditor::plainForm() const
{
    return plainTextOf(*document());
}

QList<Attachment> RichEditor::pictures() const
{
    QList<Attachment> shown;
    if (m_pictures.isEmpty())
        return shown;
    QSet<QString> seen;
    for (QTextBlock block = document()->begin(); block.isValid(); block = block.next())
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QString name = it.fragment().charFormat().toImageFormat().name();
            const auto found = m_pictures.constFind(name.sliced(std::min<qsizetype>(name.size(), 4)));
            if (found == m_pictures.cend() || seen.contains(name))
                continue;
            seen.insert(name);
            shown.append(*found);
        }
    return shown;
}

QVariant RichEditor::loadResource(int type, const QUrl &name)
{
    if (type == QTextDocument::ImageResource && name.scheme() == "cid"_L1) {
        const auto found = m_pictures.constFind(name.path());
        QImage image;
        if (found != m_pictures.cend())
            image.loadFromData(found->data);
        return image;
    }
    return QVariant(QImage()); // nothing else is read, from the disk or elsewhere
}

bool RichEditor::insertPictureFile(const QString &path)
{
    QFile file(path);
    Attachment picture;
    QImage image;
    if (!QFileInfo(path).isFile() || file.size() > kLargestPicture || !file.open(QIODevice::ReadOnly))
        return false;
    picture.name = QFileInfo(path).fileName();
    picture.contentType = contentTypeOf(picture.name);
    picture.data = file.readAll();
    if (!image.loadFromData(picture.data))
        return false;
    insertAttached(picture, image);
    return true;
}

void RichEditor::insertPicture(const QImage &image, const QString &name)
{
    Attachment picture;
    QBuffer buffer(&picture.data);
    if (!image.save(&buffer, "PNG"))
        return;
    picture.name = name;
    picture.contentType = "image/png";
    insertAttached(picture, image);
}

void RichEditor::insertAttached(const Attachment &picture, const QImage &image)
{
    Attachment own = picture;
    own.contentId = newContentId();
    m_pictures.insert(QString::fromUtf8(own.contentId), own);
    QTextImageFormat format;
    format.setName(u"cid:"_s + QString::fromUtf8(own.contentId));
    if (image.width() > kWidestPicture) {
        format.setWidth(kWidestPicture);
        format.setHeight(double(image.height()) * kWidestPicture / image.width());
    }
    textCursor().insertImage(format);
}

void RichEditor::merge(const QTextCharFormat &format)
{
    mergeCurrentCharFormat(format);
    emit formatChanged();
}

void RichEditor::setBold(bool on)
{
    QTextCharFormat format;
    format.setFontWeight(on ? QFont::Bold : QFont::Normal);
    merge(format);
}

void RichEditor::setItalic(bool on)
{
    QTextCharFormat format;
    format.setFontItalic(on);
    merge(format);
}

void RichEditor::setUnderline(bool on)
{
    QTextCharFormat format;
    format.setFontUnderline(on);
    merge(format);
}

void RichEditor::setColour(const QColor &colour)
{
    QTextCursor cursor = textCursor();
    QTextCharFormat format = cursor.charFormat();
    if (colour.isValid())
        format.setForeground(colour);
    else
        format.clearForeground();
    if (cursor.hasSelection())
        cursor.setCharFormat(format);
    setCurrentCharFormat(format);
    emit formatChanged();
}

void RichEditor::setList(bool on, bool numbered)
{
    QTextCursor cursor = textCursor();
    cursor.beginEditBlock();
    if (on) {
        QTextListFormat format;
        format.setStyle(numbered ? QTextListFormat::ListDecimal : QTextListFormat::ListDisc);
        cursor.createList(format);
    } else if (QTextList *list = cursor.currentList()) {
        QTextBlock block = document()->findBlock(cursor.selectionStart());
        const int end = cursor.selectionEnd();
        for (; block.isValid() && block.position() <= end; block = block.next())
            if (block.textList() == list)
                list->remove(block);
        QTextBlockFormat format = cursor.blockFormat();
        format.setIndent(0);
        cursor.setBlockFormat(format);
    }
    cursor.endEditBlock();
    emit formatChanged();
}

int RichEditor::blockStyle() const
{
    const QTextBlockFormat format = textCursor().blockFormat();
    return quoteLevel(format) > 0 ? -1 : format.headingLevel();
}

/// All paragraphs that the selection touches.
void RichEditor::setBlockStyle(int heading)
{
    constexpr int kAbove[] = {0, 18, 16, 14}; // what a reader of HTML leaves around headings
    constexpr int kBelow[] = {0, 12, 12, 12};
    const int level = std::clamp(heading, 0, int(std::size(kAbove)) - 1);
    QTextCharFormat text;
    text.setFontWeight(level > 0 ? QFont::Bold : QFont::Normal);
    text.setProperty(QTextFormat::FontSizeAdjustment, level > 0 ? 4 - level : 0);
    QTextCursor cursor = textCursor();
    const int end = cursor.selectionEnd();
    QTextBlock block = document()->findBlock(cursor.selectionStart());
    cursor.beginEditBlock();
    for (; block.isValid() && block.position() <= end; block = block.next()) {
        QTextBlockFormat format = block.blockFormat();
        const bool wasHeading = format.headingLevel() > 0;
        setQuoteLevel(format, heading < 0 ? std::max(1, quoteLevel(format)) : 0);
        format.setHeadingLevel(level);
        format.setTopMargin(kAbove[level]);
        format.setBottomMargin(kBelow[level]);
        cursor.setPosition(block.position());
        cursor.setBlockFormat(format);
        if (level == 0 && !wasHeading)
            continue; // bold words of a text stay bold
        cursor.setPosition(endOf(block), QTextCursor::KeepAnchor);
        cursor.mergeCharFormat(text);
        cursor.mergeBlockCharFormat(text);
    }
    cursor.endEditBlock();
    emit formatChanged();
}

void RichEditor::pasteAsQuotation()
{
    QString text = QGuiApplication::clipboard()->text();
    if (text.isEmpty())
        return;
    if (!isFitToEdit(text, kMostFormatted)) {
        emit tooMuchPasted(text, {});
        return;
    }
    const QuoteMarks marks;
    QStringView rest(text);
    QTextCursor cursor = textCursor();
    cursor.beginEditBlock();
    cursor.removeSelectedText();
    while (!rest.isEmpty()) {
        const QStringView line = takeTextLine(rest);
        const int depth = marks.depthOf(line);
        QTextBlockFormat quoted;
        setQuoteLevel(quoted, std::min(depth + 1, kDeepestQuote));
        if (cursor.block().length() > 1)
            cursor.insertBlock(quoted, {});
        else
            cursor.setBlockFormat(quoted);
        cursor.insertText(line.sliced(depth > 0 ? marks.prefixLength(line) : 0).toString(), {});
        if (!rest.isEmpty())
            cursor.insertBlock(quoted, {});
    }
    cursor.insertBlock(QTextBlockFormat(), {});
    cursor.endEditBlock();
    setTextCursor(cursor);
}

/// Enter in an empty item or quoted paragraph goes one level out; behind a signature begins text.
bool RichEditor::leaveBlock()
{
    QTextCursor cursor = textCursor();
    const QTextBlock block = cursor.block();
    QTextBlockFormat format = block.blockFormat();
    if (cursor.hasSelection() || block.length() > 1)
        return false;
    if (block.textList())
        return changeListLevel(-1);
    if (quoteLevel(format) == 0)
        return false;
    setQuoteLevel(format, quoteLevel(format) - 1);
    cursor.setBlockFormat(format);
    return true;
}

bool RichEditor::changeListLevel(int by)
{
    QTextCursor cursor = textCursor();
    QTextList *list = cursor.currentList();
    if (!list)
        return false;
    QTextListFormat format = list->format();
    const int level = format.indent() + by;
    if (level > kDeepestQuote)
        return true;
    cursor.beginEditBlock();
    if (level < 1) {
        list->remove(cursor.block());
        QTextBlockFormat paragraph = cursor.blockFormat();
        paragraph.setIndent(0);
        cursor.setBlockFormat(paragraph);
    } else {
        // an item goes to the list above that has its new level; else it begins one
        QTextList *other = nullptr;
        for (QTextBlock above = cursor.block().previous(); above.isValid() && above.textList() && !other;
             above = above.previous()) {
            if (above.textList()->format().indent() == level)
                other = above.textList();
            else if (above.textList()->format().indent() < level)
                break;
        }
        format.setIndent(level);
        format.clearProperty(ListStart);
        if (other)
            other->add(cursor.block());
        else
            cursor.createList(format);
    }
    cursor.endEditBlock();
    emit formatChanged();
    return true;
}

void RichEditor::keyPressEvent(QKeyEvent *event)
{
    const bool isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isEnter && event->modifiers() == Qt::NoModifier && leaveBlock())
        return;
    const bool atItem = textCursor().currentList() && textCursor().atBlockStart();
    if (atItem && event->key() == Qt::Key_Tab && changeListLevel(1))
        return;
    if (atItem && event->key() == Qt::Key_Backtab && changeListLevel(-1))
        return;
    QTextEdit::keyPressEvent(event);
    const QTextBlock block = textCursor().block();
    const bool isLast = !block.next().isValid() || !block.next().blockFormat().boolProperty(IsSignature);
    if (!isEnter || !isLast || !block.blockFormat().boolProperty(IsSignature))
        return;
    QTextBlockFormat format = block.blockFormat(); // what is written below a signature is none of it
    format.clearProperty(IsSignature);
    QTextCursor step = textCursor();
    step.joinPreviousEditBlock();
    step.setBlockFormat(format);
    step.endEditBlock();
}

bool RichEditor::canInsertFromMimeData(const QMimeData *source) const
{
    return source->hasUrls() || source->hasImage() || QTextEdit::canInsertFromMimeData(source);
}

void RichEditor::insertFromMimeData(const QMimeData *source)
{
    const bool taken = takeDropped(
        source, [this](const QStringList &paths) { emit filesDropped(paths); },
        [this](const QImage &image) { insertPicture(image, tr("Picture") + u".png"_s); });
    if (taken)
        return;
    if (source->hasHtml())
        insertHtmlSafely(source->html());
    else if (const QString text = source->text(); isFitToEdit(text, kMostFormatted))
        QTextEdit::insertFromMimeData(source);
    else
        emit tooMuchPasted(text, {});
}

/// What comes from elsewhere is as little trusted as a message, and brings no picture along.
void RichEditor::insertHtmlSafely(const QString &html)
{
    HtmlOptions options;
    options.images = false;
    const bool mayFit = html.size() <= options.cap;
    const SafeHtml safe = mayFit ? sanitizeHtml(html, options) : SafeHtml();
    LooseDocument source;
    fillWithHtml(source, safe.html);
    if (!mayFit || safe.truncated || !isFitToEdit(source.toRawText(), kMostFormatted)) {
        emit tooMuchPasted({}, html);
        return;
    }
    QTextCursor cursor = textCursor();
    cursor.insertFragment(QTextDocumentFragment(&source));
    setTextCursor(cursor);
    ensureCursorVisible();
}

/// The table around @p block that is quoted with all its cells.
const QTextTable *RichEditor::quotedTable(const QTextBlock &block) const
{
    const QTextTable *found = nullptr;
    for (const QTextFrame *frame = QTextCursor(block).currentFrame(); frame; frame = frame->parentFrame())
        if (const auto *table = qobject_cast<const QTextTable *>(frame))
            found = table;
    return found && quoteLevel(found->format()) > 0 ? found : nullptr;
}

void RichEditor::paintBars(QPainter &painter, const QRectF &place, double left, int level)
{
    for (int each = 0; each < level; ++each)
        painter.fillRect(QRectF(left + each * kQuoteStep, place.top(), kQuoteBar, place.height()),
                         m_colours->levelColour(each + 1));
}

void RichEditor::paintEvent(QPaintEvent *event)
{
    QTextEdit::paintEvent(event);
    QPainter painter(viewport());
    const QPointF offset(-horizontalScrollBar()->value(), -verticalScrollBar()->value());
    const auto *layout = document()->documentLayout();
    const QTextTable *last = nullptr;
    QTextBlock block = cursorForPosition(event->rect().topLeft()).block();
    for (; block.isValid(); block = block.next()) {
        QRectF place = layout->blockBoundingRect(block).translated(offset);
        if (place.top() > event->rect().bottom())
            break;
        const QTextBlockFormat format = block.blockFormat();
        if (const QTextTable *table = quotedTable(block); table && table != last) {
            last = table;
            const QRectF whole =
                layout->frameBoundingRect(const_cast<QTextTable *>(table)).translated(offset);
            paintBars(painter, whole, document()->documentMargin() + offset.x(), quoteLevel(table->format()));
        }
        const int level = quoteLevel(format);
        if (level == 0)
            continue;
        const QTextBlock next = block.next(); // the bar goes on through what lies between two paragraphs
        const double below = next.isValid() && quoteLevel(next.blockFormat()) >= level
                                 ? layout->blockBoundingRect(next).translated(offset).top()
                                 : place.bottom();
        if (below > place.bottom())
            place.setBottom(below);
        paintBars(painter, place, place.left(), level);
    }
}
