#include "ui/reader/bodywriter.h"

#include "html/sanitizer.h"
#include "html/urls.h"
#include "message/encodedword.h"
#include "message/headerblock.h"
#include "message/message.h"
#include "ui/look/metrics.h"
#include "ui/reader/bodyformat.h"
#include "ui/reader/datacard.h"
#include "ui/reader/htmlquotes.h"
#include "ui/texts/datetext.h"
#include "ui/texts/harmless.h"

#include <QCoreApplication>
#include <QFontMetrics>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextTable>

using namespace Qt::StringLiterals;

namespace {

constexpr int kDeepestQuote = 24;
constexpr int kLineHeight = 128; // percent
constexpr int kParagraphGap = 8;
constexpr int kMostHeaders = 500;
constexpr qsizetype kLongestHeader = 4000;
constexpr qsizetype kLongestHeaderName = 40;

QString translated(const char *text)
{
    return QCoreApplication::translate("BodyWriter", text);
}

QString headerName(const HeaderFields::Field &field)
{
    return harmlessLine(QString::fromLatin1(field.name), kLongestHeaderName);
}

/// A block that must be there and is not to be seen.
QTextBlockFormat tinyBlock()
{
    QTextBlockFormat format;
    format.setLineHeight(1, QTextBlockFormat::FixedHeight);
    return format;
}

/// Inserted HTML gives its first block to the one it is inserted into, with nothing left of its alignment.
/// So a paragraph goes in front that may lose what it has, and is taken out again.
void insertWhole(QTextCursor &cursor, QString html)
{
    html.insert(html.indexOf(u'>', html.indexOf("<body"_L1)) + 1, "<p>.</p>"_L1);
    const int begin = cursor.position();
    cursor.insertHtml(html);
    QTextCursor front(cursor.document());
    front.setPosition(begin);
    front.deleteChar();
    const QTextBlock first = front.block().next();
    QTextCursor next(first);
    if (next.currentFrame() != front.currentFrame() || first.position() != front.position() + 1)
        return; // a table
    front.deleteChar();
    QTextBlockFormat edge;
    edge.setTopMargin(0);
    next.mergeBlockFormat(edge);
}

} // namespace

QColor paperOf(const SafeHtml &html)
{
    return html.background.isEmpty() ? BodyStyle::paper() : QColor(html.background);
}

BodyWriter::BodyWriter(const QTextCursor &cursor, const BodyStyle &style, bool fresh)
    : m_cursor(cursor)
    , m_style(style)
    , m_fresh(fresh)
{}

QTextBlockFormat BodyWriter::paragraph() const
{
    QTextBlockFormat format;
    format.setLineHeight(kLineHeight, QTextBlockFormat::ProportionalHeight);
    return format;
}

QTextCharFormat BodyWriter::coloured(const QColor &colour) const
{
    QTextCharFormat format;
    format.setForeground(colour);
    return format;
}

QTextCharFormat BodyWriter::linkFormat(const QColor &colour, const QString &target) const
{
    QTextCharFormat format = coloured(colour);
    format.setAnchor(true);
    format.setAnchorHref(target);
    format.setFontUnderline(true);
    return format;
}

void BodyWriter::startBlock(const QTextBlockFormat &format, const QTextCharFormat &text)
{
    if (m_fresh) {
        m_cursor.setBlockFormat(format);
        m_cursor.setBlockCharFormat(text);
    } else {
        m_cursor.insertBlock(format, text);
    }
    m_fresh = false;
}

void BodyWriter::line(const TextLine &line)
{
    QTextBlockFormat block = paragraph();
    const bool blank = line.text.isEmpty();
    if (blank && !m_afterBlank)
        block.setLineHeight(kParagraphGap, QTextBlockFormat::FixedHeight);
    m_afterBlank = blank;
    QTextCharFormat text;
    if (line.quote > 0) {
        const bool fromRight = line.text.isRightToLeft();
        const double margin = bodyformat::kQuoteStep * std::min(line.quote, kDeepestQuote);
        fromRight ? block.setRightMargin(margin) : block.setLeftMargin(margin);
        block.setProperty(bodyformat::QuoteLevel, std::min(line.quote, kDeepestQuote));
        block.setProperty(bodyformat::FromRight, fromRight);
    }
    if (line.continued)
        block.setProperty(bodyformat::Continued, true);
    if (m_style.coloured && line.quote > 0)
        text.setForeground(m_style.quoteColour(line.quote));
    else if (m_style.coloured && line.signature)
        text.setForeground(m_style.signature);
    else
        text.setForeground(m_style.text);
    startBlock(block, text);
    richText(line.text, text);
}

/// Inserts @p text with its addresses as links and, if wished, its marks as what they mean.
void BodyWriter::richText(const QString &text, const QTextCharFormat &format)
{
    qsizetype done = 0;
    const auto plainUpTo = [&](qsizetype end) {
        if (end > done)
            m_cursor.insertText(text.sliced(done, end - done), format);
        done = std::max(done, end);
    };
    const QList<UrlRange> urls = findUrls(text);
    for (const UrlRange &url : urls) {
        plainUpTo(url.start);
        QTextCharFormat link = linkFormat(m_style.url, url.target);
        if (!m_style.coloured)
            link.setForeground(m_style.text);
        m_cursor.insertText(text.sliced(url.start, url.length), link);
        done = url.start + url.length;
    }
    if (!urls.isEmpty() || !m_style.emphasis)
        return plainUpTo(text.size());
    const QList<Emphasis> marks = findEmphasis(text);
    for (const Emphasis &mark : marks) {
        plainUpTo(mark.start);
        QTextCharFormat drawn = format;
        switch (mark.kind) {
        case Emphasis::Bold: drawn.setFontWeight(QFont::Bold); break;
        case Emphasis::Italic: drawn.setFontItalic(true); break;
        case Emphasis::Underline: drawn.setFontUnderline(true); break;
        }
        m_cursor.insertText(text.sliced(mark.start, mark.length), drawn);
        done = mark.start + mark.length;
    }
    plainUpTo(text.size());
}

void BodyWriter::fold(int id, const QuoteFold &fold, int level, bool fromRight)
{
    QTextBlockFormat block = paragraph();
    fromRight ? block.setRightMargin(bodyformat::kQuoteStep) : block.setLeftMargin(bodyformat::kQuoteStep);
    block.setProperty(bodyformat::QuoteLevel, std::min(level, 1));
    block.setProperty(bodyformat::FromRight, fromRight);
    block.setProperty(bodyformat::FoldId, id);
    QTextCharFormat link = linkFormat(m_style.link, readerlink::fold + QString::number(id));
    link.setFontUnderline(false);
    startBlock(block, link);
    m_cursor.insertText(
        QCoreApplication::translate("BodyWriter", "Show %n quoted lines", nullptr, fold.shown), link);
    m_afterBlank = false;
}

void BodyWriter::note(const QString &words, const QString &linkText, const QString &target)
{
    QTextBlockFormat block = paragraph();
    block.setTopMargin(m_fresh ? 0 : kParagraphGap);
    block.setBottomMargin(kParagraphGap);
    startBlock(block, coloured(m_style.text2));
    m_cursor.insertText(words, coloured(m_style.text2));
    if (!linkText.isEmpty()) {
        m_cursor.insertText(u" "_s, coloured(m_style.text2));
        m_cursor.insertText(linkText, linkFormat(m_style.link, target));
    }
    m_afterBlank = true;
}

void BodyWriter::caption(const QString &name)
{
    divider();
    QTextCharFormat format = coloured(m_style.text2);
    format.setFontWeight(QFont::DemiBold);
    QTextBlockFormat block = paragraph();
    block.setBottomMargin(kParagraphGap);
    startBlock(block, format);
    m_cursor.insertText(name, format);
    m_afterBlank = true;
}

void BodyWriter::divider()
{
    QTextBlockFormat block = tinyBlock();
    block.setTopMargin(space::card);
    block.setBottomMargin(space::card - 1);
    block.setProperty(bodyformat::RuleAbove, true);
    startBlock(block, {});
    m_afterBlank = true;
}

void BodyWriter::html(const SafeHtml &html, int &nextFold)
{
    const QColor paper = paperOf(html);
    const bool isCard = html.hasOwnColours && paper != m_style.background;
    enterFrame(isCard ? cardFormat(paper, {}) : QTextFrameFormat());
    const QColor text = html.hasOwnColours ? m_style.paperText : m_style.text;
    const QColor link = html.hasOwnColours ? m_style.paperLink : m_style.link;
    m_cursor.document()->setDefaultStyleSheet(
        u"body { color: %1 } a { color: %2; text-decoration: underline }"_s.arg(text.name(), link.name()));
    insertWhole(m_cursor, html.html);
    finishHtml(m_frames.last(), nextFold);
    leaveFrame();
}

void BodyWriter::finishHtml(QTextFrame *frame, int &nextFold)
{
    markHtmlQuotes(frame);
    const QList<HtmlFold> folds = htmlFoldsOf(frame);
    for (const HtmlFold &one : folds) {
        const int level = one.first.blockFormat().intProperty(bodyformat::QuoteLevel);
        const int position = one.first.position();
        QTextCursor cursor(one.first);
        cursor.insertBlock(); // the old one stays in front and is the label from now on
        HtmlFold hidden = one;
        hidden.first = cursor.block();
        if (one.first == one.last)
            hidden.last = hidden.first;
        hideHtmlFold(hidden, nextFold);
        cursor.setPosition(position);
        BodyWriter label(cursor, m_style, true);
        label.fold(nextFold++, {0, 0, one.shown}, level, false);
    }
}

void BodyWriter::picture(const QString &name, const QSize &size)
{
    QTextBlockFormat block;
    block.setTopMargin(kParagraphGap);
    block.setBottomMargin(kParagraphGap);
    startBlock(block, {});
    QTextImageFormat format;
    format.setName(name);
    format.setWidth(size.width()); // known, so that it is decoded when it is painted and not before
    format.setHeight(size.height());
    m_cursor.insertImage(format);
    m_afterBlank = true;
}

void BodyWriter::field(const QString &name, const QString &value)
{
    if (value.isEmpty())
        return;
    startBlock(paragraph(), {});
    m_cursor.insertText(name + u"  "_s, coloured(m_style.text2));
    m_cursor.insertText(value, coloured(m_style.text));
}

void BodyWriter::cardTitle(const QString &title)
{
    QTextCharFormat format;
    format.setFontWeight(QFont::DemiBold);
    format.setFontPointSize(m_style.font.pointSizeF() > 0 ? m_style.font.pointSizeF() * scale::title : 12);
    startBlock(paragraph(), format);
    m_cursor.insertText(title, format);
}

void BodyWriter::dataCard(const DataCard &card)
{
    beginCard();
    if (!card.badge.isEmpty()) {
        startBlock(paragraph(), coloured(m_style.text2));
        m_cursor.insertText(card.badge, coloured(m_style.text2));
    }
    cardTitle(card.title);
    cardRows(card);
    endCard();
}

/// Labels in a column of their own, so that values of several lines keep one edge.
void BodyWriter::cardRows(const DataCard &card)
{
    if (card.rows.isEmpty())
        return;
    const QFontMetrics metrics(m_style.font);
    int widest = 0;
    for (const DataCard::Row &row : card.rows)
        widest = std::max(widest, metrics.horizontalAdvance(row.label));
    QTextTableFormat format;
    format.setBorder(0);
    format.setCellSpacing(0);
    format.setCellPadding(2);
    format.setLeftMargin(-2); // the letters on one edge with the title, whatever the padding
    format.setColumnWidthConstraints({QTextLength(QTextLength::FixedLength, widest + space::card),
                                      QTextLength(QTextLength::PercentageLength, 100)});
    QTextTable *table = m_cursor.insertTable(int(card.rows.size()), 2, format);
    for (int at = 0; at < card.rows.size(); ++at) {
        const DataCard::Row &row = card.rows[at];
        table->cellAt(at, 0).firstCursorPosition().insertText(row.label, coloured(m_style.text2));
        table->cellAt(at, 1).firstCursorPosition().insertText(
            row.value, row.link.isEmpty() ? QTextCharFormat() : linkFormat(m_style.link, row.link));
    }
    m_cursor = table->lastCursorPosition();
    m_cursor.movePosition(QTextCursor::NextBlock);
    m_cursor.setBlockFormat(tinyBlock());
}

void BodyWriter::summary(const Message &message)
{
    const QString subject = harmlessLine(message.subject());
    cardTitle(subject.isEmpty() ? translated("No subject") : subject);
    QStringList people;
    for (const auto &[label, name] :
         {std::pair("From", "From"), std::pair("To", "To"), std::pair("Cc", "Cc")}) {
        people.clear();
        const QList<Address> addresses = message.addresses(name);
        for (const Address &address : addresses.first(std::min<qsizetype>(addresses.size(), 20))) {
            const ShownPerson shown = shownPerson(address);
            people += shown.name == shown.address
                          ? isolatedAddress(shown.address)
                          : isolatedName(shown.name) + u" <"_s + isolatedAddress(shown.address) + u'>';
        }
        field(translated(label), people.join(u", "_s));
    }
    field(translated("Date"), longDateText(message));
    startBlock(tinyBlock(), {});
    m_afterBlank = false;
    line({}); // the distance of a paragraph
}

void BodyWriter::allHeaders(const Message &message)
{
    const HeaderFields fields(message.headerBlock());
    const int rows = int(std::min<qsizetype>(fields.count(), kMostHeaders));
    if (rows == 0)
        return;
    QTextTableFormat format;
    format.setBorder(0);
    format.setCellSpacing(0);
    format.setCellPadding(2);
    const QFontMetrics metrics(m_style.font);
    int widest = 0;
    for (int row = 0; row < rows; ++row)
        widest = std::max(widest, metrics.horizontalAdvance(headerName(fields.at(row))));
    format.setColumnWidthConstraints({QTextLength(QTextLength::FixedLength, widest + space::group),
                                      QTextLength(QTextLength::PercentageLength, 100)});
    QTextFrameFormat around;
    around.setBottomMargin(space::between);
    enterFrame(around); // an empty block right behind a table would be laid out beside it
    QTextTable *table = m_cursor.insertTable(rows, 2, format);
    for (int row = 0; row < rows; ++row) {
        const HeaderFields::Field entry = fields.at(row);
        QTextCharFormat name = coloured(m_style.text2);
        table->cellAt(row, 0).firstCursorPosition().insertText(headerName(entry), name);
        table->cellAt(row, 1).firstCursorPosition().insertText(
            harmlessLine(decodeHeaderText(unfolded(entry.value.toByteArray())), kLongestHeader),
            coloured(m_style.text));
    }
    leaveFrame();
    divider();
    if (rows < fields.count())
        note(translated("The header goes on; its source shows all of it."));
}

QTextFrameFormat BodyWriter::cardFormat(const QColor &surface, const QColor &outline) const
{
    QTextFrameFormat format;
    format.setPadding(space::card);
    format.setTopMargin(kParagraphGap);
    format.setBottomMargin(kParagraphGap);
    format.setProperty(bodyformat::Surface, surface);
    if (outline.isValid())
        format.setProperty(bodyformat::Outline, outline);
    return format;
}

void BodyWriter::enterFrame(const QTextFrameFormat &format)
{
    if (m_fresh)
        m_cursor.setBlockFormat(tinyBlock());
    QTextFrame *frame = m_cursor.insertFrame(format);
    m_frames.append(frame);
    m_cursor = frame->firstCursorPosition();
    m_fresh = true;
    m_afterBlank = true;
}

void BodyWriter::leaveFrame()
{
    m_cursor.setPosition(m_frames.takeLast()->lastPosition() + 1);
    m_cursor.setBlockFormat(tinyBlock());
    m_fresh = true;
    m_afterBlank = true;
}

void BodyWriter::beginCard()
{
    enterFrame(cardFormat(m_style.card, m_style.line));
}

void BodyWriter::endCard()
{
    leaveFrame();
}
