#include "ui/compose/richeditor.h"

#include "compose/quoting.h"
#include "config/settings.h"
#include "html/sanitizer.h"
#include "ui/compose/composeattachments.h"
#include "ui/compose/htmlwriter.h"
#include "ui/compose/plaineditor.h"
#include "ui/compose/quotecolours.h"
#include "ui/look/metrics.h"
#include "ui/look/storedcolours.h"

#include <QAbstractTextDocumentLayout>
#include <QBuffer>
#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <QPainter>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextList>
#include <QUuid>

using namespace Qt::StringLiterals;

namespace {

constexpr int kToolkitQuoteMargin = 40; ///< that its reader of HTML gives each level
constexpr int kQuoteStep = 14;
constexpr int kQuoteBar = 3;
constexpr int kWidestPicture = 640; ///< shown; the part keeps all its pixels

constexpr Setting kQuoteColours[] = {Setting::ReadColourQ1, Setting::ReadColourQ2, Setting::ReadColourQ3,
                                     Setting::ReadColourQ4};

void setQuoteDepth(QTextBlockFormat &format, int depth)
{
    format.setLeftMargin(depth * kQuoteStep);
    format.setRightMargin(0);
    format.setProperty(QTextFormat::BlockQuoteLevel, depth);
}

QByteArray newContentId()
{
    return QUuid::createUuid().toByteArray(QUuid::WithoutBraces) + "@velmar.invalid";
}

/// What a hostile text has beyond these levels of quotation stays text.
constexpr int kDeepest = 20;

/// Takes the marks of @p depth levels off @p line, and the blank behind them.
QStringView withoutMarks(QStringView line, int depth)
{
    for (; depth > 0; --depth)
        line = line.sliced(line.indexOf(u'>') + 1);
    return line.startsWith(u' ') ? line.sliced(1) : line;
}

} // namespace

void fillWithPlain(QTextDocument &document, const QString &text)
{
    QStringView lines(text);
    if (lines.endsWith(u'\n'))
        lines.chop(1);
    document.clear();
    QTextCursor cursor(&document);
    cursor.beginEditBlock();
    bool isFirst = true;
    for (const QStringView line : lines.split(u'\n')) {
        const int depth = std::min(QuoteColours::depthOf(line), kDeepest);
        QTextBlockFormat format;
        if (depth > 0)
            setQuoteDepth(format, depth);
        if (isFirst)
            cursor.setBlockFormat(format);
        else
            cursor.insertBlock(format, {});
        isFirst = false;
        cursor.insertText((depth > 0 ? withoutMarks(line, depth) : line).toString());
    }
    cursor.endEditBlock();
}

RichEditor::RichEditor(QWidget *parent)
    : QTextEdit(parent)
{
    setFrameShape(QFrame::NoFrame);
    setAcceptRichText(true);
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
    if (event->type() == QEvent::StyleChange)
        takeFont();
}

void RichEditor::setContents(const QString &html, const QList<Attachment> &pictures)
{
    m_pictures.clear();
    for (const Attachment &each : pictures)
        if (each.isInline())
            m_pictures.insert(QString::fromUtf8(each.contentId), each);
    setHtml(html);
    QTextCursor cursor(document());
    cursor.beginEditBlock();
    bool isQuotedAbove = false;
    for (QTextBlock block = document()->begin(); block.isValid(); block = block.next()) {
        QTextBlockFormat format = block.blockFormat();
        // the toolkit says it of the first paragraph of a quotation only; the others have just its margin
        const int deep = qRound(format.leftMargin() / kToolkitQuoteMargin);
        const bool isQuoted =
            format.intProperty(QTextFormat::BlockQuoteLevel) > 0 || (isQuotedAbove && deep > 0);
        if (isQuoted)
            setQuoteDepth(format, std::clamp(deep, 1, kDeepest));
        isQuotedAbove = isQuoted;
        cursor.setPosition(block.position());
        cursor.setBlockFormat(format);
    }
    cursor.endEditBlock();
    document()->clearUndoRedoStacks();
    document()->setModified(false);
}

void RichEditor::setPlain(const QString &text)
{
    m_pictures.clear();
    fillWithPlain(*document(), text);
    document()->clearUndoRedoStacks();
    document()->setModified(false);
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
    const QString text = html();
    for (auto it = m_pictures.begin(); it != m_pictures.end(); ++it)
        if (text.contains(u"cid:"_s + it.key()))
            shown.append(it.value());
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
    std::optional<Attachment> read = readAttachment(path);
    if (!read)
        return false;
    QImage image;
    if (!image.loadFromData(read->data))
        return false;
    read->contentId = newContentId();
    m_pictures.insert(QString::fromUtf8(read->contentId), *read);
    QTextImageFormat format;
    format.setName(u"cid:"_s + QString::fromUtf8(read->contentId));
    if (image.width() > kWidestPicture) {
        format.setWidth(kWidestPicture);
        format.setHeight(double(image.height()) * kWidestPicture / image.width());
    }
    textCursor().insertImage(format);
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
    picture.contentId = newContentId();
    m_pictures.insert(QString::fromUtf8(picture.contentId), picture);
    QTextImageFormat format;
    format.setName(u"cid:"_s + QString::fromUtf8(picture.contentId));
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
    return format.intProperty(QTextFormat::BlockQuoteLevel) > 0 ? -1 : format.headingLevel();
}

void RichEditor::setBlockStyle(int heading)
{
    QTextCursor cursor = textCursor();
    cursor.beginEditBlock();
    QTextBlockFormat format = cursor.blockFormat();
    setQuoteDepth(format, heading < 0 ? 1 : 0);
    format.setHeadingLevel(std::max(heading, 0));
    cursor.setBlockFormat(format);
    QTextCharFormat text;
    text.setFontWeight(heading > 0 ? QFont::Bold : QFont::Normal);
    text.setProperty(QTextFormat::FontSizeAdjustment, heading > 0 ? 4 - std::min(heading, 3) : 0);
    cursor.select(QTextCursor::BlockUnderCursor);
    cursor.mergeCharFormat(text);
    cursor.endEditBlock();
    mergeCurrentCharFormat(text);
    emit formatChanged();
}

void RichEditor::pasteAsQuotation()
{
    const QString text = QGuiApplication::clipboard()->text();
    if (text.isEmpty())
        return;
    QTextCursor cursor = textCursor();
    cursor.beginEditBlock();
    QTextBlockFormat quoted;
    setQuoteDepth(quoted, 1);
    for (const QString &line : text.split(u'\n')) {
        cursor.insertBlock(quoted, {});
        cursor.insertText(line);
    }
    cursor.insertBlock(QTextBlockFormat(), {});
    cursor.endEditBlock();
    setTextCursor(cursor);
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
    if (!source->hasHtml()) {
        QTextEdit::insertFromMimeData(source);
        return;
    }
    // what comes from elsewhere is as little trusted as a message, and brings no picture along
    HtmlOptions options;
    options.images = false;
    textCursor().insertHtml(sanitizeHtml(source->html(), options).html);
    ensureCursorVisible();
}

void RichEditor::paintEvent(QPaintEvent *event)
{
    QTextEdit::paintEvent(event);
    QPainter painter(viewport());
    const QPointF offset(-horizontalScrollBar()->value(), -verticalScrollBar()->value());
    const auto *layout = document()->documentLayout();
    QTextBlock block = cursorForPosition(event->rect().topLeft()).block();
    for (; block.isValid(); block = block.next()) {
        const QRectF place = layout->blockBoundingRect(block).translated(offset);
        if (place.top() > event->rect().bottom())
            break;
        const int depth = block.blockFormat().intProperty(QTextFormat::BlockQuoteLevel);
        for (int level = 0; level < depth; ++level)
            painter.fillRect(QRectF(document()->documentMargin() + offset.x() + level * kQuoteStep,
                                    place.top(), kQuoteBar, place.height()),
                             shownColour(kQuoteColours[std::size_t(level) % std::size(kQuoteColours)]));
    }
}
