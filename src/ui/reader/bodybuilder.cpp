#include "ui/reader/bodybuilder.h"

#include "html/htmltotext.h"
#include "message/charset.h"
#include "message/deliverystatus.h"
#include "message/headerblock.h"
#include "message/mimecontext.h"
#include "message/mimepartial.h"
#include "ui/look/metrics.h"
#include "ui/reader/bodydocument.h"
#include "ui/reader/bodyformat.h"
#include "ui/reader/bodywriter.h"
#include "ui/reader/htmlquotes.h"
#include "ui/texts/harmless.h"

#include <QApplication>
#include <QFontInfo>
#include <QFontMetrics>
#include <QTextBlock>
#include <QTextFrame>
#include <QTextOption>

using namespace Qt::StringLiterals;

namespace {

constexpr int kFirstLines = 3000; ///< written at once
constexpr int kSliceLines = 200;
constexpr qsizetype kFirstLetters = 40'000; ///< likewise; more than any window shows
constexpr qsizetype kSliceLetters = 10'000;
constexpr qsizetype kTextBytes = 1024 * 1024;     ///< of a text that are decoded for a first look
constexpr qsizetype kHtmlBytes = 3 * 1024 * 1024; ///< pictures may stand in HTML itself
constexpr int kMargin = 24;
constexpr double kUsualText = 14; ///< pixels; who reads larger text reads that of newsletters larger, too

QString translated(const char *text)
{
    return QCoreApplication::translate("BodyBuilder", text);
}

QByteArray withoutBrackets(const QByteArray &id)
{
    return id.startsWith('<') && id.endsWith('>') ? id.sliced(1, id.size() - 2) : id;
}

Colour colourOf(const QColor &colour)
{
    return colour.rgb() & 0xFFFFFF;
}

QSize fitted(const QSize &size, int width)
{
    return size.width() <= width
               ? size
               : QSize(width, std::max<int>(1, int(qint64(size.height()) * width / size.width())));
}

} // namespace

BodyBuilder::BodyBuilder(const Message &message, const BodyOptions &options)
    : m_message(message)
    , m_options(options)
    , m_style(bodyStyle(options.zoom))
    , m_plan(planBody(message.mime(), options.plan))
    , m_textLeft(options.everything ? std::numeric_limits<qsizetype>::max() : kFirstLook)
{
    m_facts.isSigned = m_plan.isSigned;
    m_facts.isEncrypted = m_plan.isEncrypted;
    m_facts.hasBothForms = m_plan.hasBothForms;
    sanitizeAll();
    settleAttachments();
}

/// What is shown of a text, of a very long one its beginning.
QString BodyBuilder::textOf(int part, qsizetype most)
{
    const MIMEContext &mime = m_message.mime();
    const bool holdsFiles = part + 1 < mime.count() && mime.part(part + 1).parent == part;
    if (m_options.everything || holdsFiles || mime.rawContent(part).size() <= most)
        return mime.displayText(part, m_options.charset);
    m_facts.truncated = true;
    return mime.displayText(part, m_options.charset, most);
}

/// Which pictures the texts show is known only when they have been read.
void BodyBuilder::sanitizeAll()
{
    qsizetype left = m_options.everything ? HtmlOptions::kEverything : HtmlOptions::kFirstLook;
    for (const BodySection &section : std::as_const(m_plan.sections)) {
        if (section.kind != BodySection::Html || m_options.plan.preferPlain)
            continue;
        m_facts.isPlain = false;
        const QString text = textOf(section.part, kHtmlBytes);
        HtmlOptions options;
        options.cap = std::max<qsizetype>(left, 1);
        options.fontSize = QFontInfo(m_style.font).pixelSize();
        options.zoom =
            m_options.zoom * std::max(1.0, QFontInfo(QApplication::font()).pixelSize() / kUsualText);
        options.width = m_options.width - 2 * (kMargin + space::card);
        options.text = colourOf(m_style.paperText);
        options.link = colourOf(m_style.paperLink);
        options.images = m_options.plan.images;
        options.remoteImages = m_options.remoteImages;
        SafeHtml html = sanitizeHtml(text, options);
        left -= std::min(left, text.size());
        for (const QString &id : std::as_const(html.cids))
            m_shownIds.insert(id.toUtf8());
        m_facts.truncated |= html.truncated && !m_options.everything;
        m_facts.widest = std::max(m_facts.widest, html.widest);
        m_facts.remoteImages += html.remoteImages;
        m_facts.trackers += html.trackers;
        m_facts.remoteOthers += html.remoteOthers;
        m_facts.deceptiveLinks += html.deceptiveLinks;
        if (html.hasOwnColours)
            m_style.marks = QColor::fromRgb(readableOn(colourOf(m_style.paperText), colourOf(paperOf(html))));
        m_html.insert(section.part, std::move(html));
    }
    m_facts.remoteImages.removeDuplicates();
    m_facts.trackers.removeDuplicates();
}

void BodyBuilder::settleAttachments()
{
    for (const int part : std::as_const(m_plan.attachments)) {
        const MIMEPart &entry = m_message.mime().part(part);
        const bool shown =
            !entry.contentid.isEmpty() && m_shownIds.contains(withoutBrackets(entry.contentid));
        if (!shown || entry.disposition == "attachment")
            m_facts.attachments.append(part);
    }
}

void BodyBuilder::build(BodyDocument &document)
{
    document.setDefaultFont(m_style.font);
    QTextOption option = document.defaultTextOption();
    option.setTabStopDistance(8 * QFontMetrics(m_style.font).horizontalAdvance(u'0'));
    document.setDefaultTextOption(option);
    QTextFrameFormat margins = document.rootFrame()->frameFormat();
    margins.setMargin(kMargin);
    margins.setTopMargin(kMargin - 8);
    document.rootFrame()->setFrameFormat(margins);
    QTextCursor cursor(&document);
    cursor.beginEditBlock();
    BodyWriter writer(cursor, m_style, true);
    if (m_options.allHeaders)
        writer.allHeaders(m_message);
    for (const BodySection &section : std::as_const(m_plan.sections))
        write(writer, section);
    if (m_facts.truncated)
        writer.note(translated("This is the beginning of a long message."), translated("Show all"),
                    readerlink::showAll);
    if (!m_html.isEmpty())
        document.replaceMissing();
    cursor.endEditBlock();
}

void BodyBuilder::write(BodyWriter &writer, const BodySection &section)
{
    switch (section.kind) {
    case BodySection::Text: return writeText(writer, section.part);
    case BodySection::Html: return writeHtml(writer, section.part);
    case BodySection::Image: return writeImage(writer, section.part);
    case BodySection::Data:
        if (!writeCards(writer, section.part))
            writer.note(translated("\u201c%1\u201d cannot be read. It may be saved all the same.")
                            .arg(harmlessLine(m_message.mime().part(section.part).displayName(), 200)));
        return;
    case BodySection::Delivery:
        if (writeCards(writer, section.part))
            return;
        separate(writer, section.part, section.kind);
        return addText(writer, deliveryStatusText(m_message.mime().decodedBytes(section.part)), {});
    case BodySection::Piece: return writePiece(writer, section.part);
    case BodySection::Enclosed: return writeEnclosed(writer, section.part);
    case BodySection::End:
        writer.endCard();
        m_first = true; // the card itself parts it from what follows
        return;
    case BodySection::Note: writer.note(section.note); m_first = false;
    }
}

/// A hairline, with the name of the part when it has one, between it and what stands before it.
void BodyBuilder::separate(BodyWriter &writer, int part, BodySection::Kind kind)
{
    const QString &name = m_message.mime().part(part).name;
    if (!m_first && kind == BodySection::Text && !name.isEmpty())
        writer.caption(harmlessLine(name, 200));
    else if (!m_first && kind != BodySection::Image)
        writer.divider();
    m_first = false;
}

void BodyBuilder::writeText(BodyWriter &writer, int part)
{
    const MIMEPart &entry = m_message.mime().part(part);
    const QString text = textOf(part, kTextBytes);
    const bool isEmpty = QStringView(text).trimmed().isEmpty();
    if (isEmpty && m_plan.sections.size() > 1)
        return;
    separate(writer, part, BodySection::Text);
    if (entry.type == OtherTextPart && m_options.charset.isEmpty() &&
        (entry.contenttype == "text/plain" || entry.contenttype == "text/html"))
        writer.note(
            translated("The character set \u201c%1\u201d is not known here. Some letters may be wrong.")
                .arg(harmlessLine(QString::fromLatin1(entry.charset), 60)));
    if (isEmpty)
        writer.note(emptyNoteOf(m_options.plan));
    else
        addText(writer, text, {entry.flowed, entry.delsp, entry.needsstrip});
}

void BodyBuilder::addText(BodyWriter &writer, QStringView text, const PlainTextOptions &options)
{
    const QStringView shown = firstLook(text, std::max<qsizetype>(m_textLeft, 2000));
    m_textLeft -= std::min(m_textLeft, shown.size());
    m_facts.truncated |= shown.size() < text.size();
    PlainText plain = readPlainText(shown, options);
    m_facts.isSigned |= plain.isSigned;
    if (plain.isEncrypted) {
        m_facts.isEncrypted = true;
        writer.note(translated("This text is encrypted. It cannot be opened here yet."));
    }
    Text entry{std::move(plain.lines), {}, m_folds};
    entry.folds = foldsOf(entry.lines);
    m_folds += int(entry.folds.size());
    m_texts.append(std::move(entry));
    const int next = writeLines(writer, m_texts.last(), 0, {kFirstLines, kFirstLetters});
    if (next >= m_texts.last().lines.size())
        return;
    // a cursor of its own, which what is written behind it does not move
    QTextCursor at = writer.cursor();
    at.setKeepPositionOnInsert(true);
    m_pending.append({at, int(m_texts.size()) - 1, next});
}

/// Writes about @p most; returns the first one that is left.
int BodyBuilder::writeLines(BodyWriter &writer, const Text &text, int from, Amount most)
{
    auto fold = std::find_if(text.folds.begin(), text.folds.end(),
                             [from](const QuoteFold &one) { return one.first >= from; });
    int at = from;
    for (; at < text.lines.size() && most.lines > 0 && most.letters > 0; --most.lines) {
        if (fold == text.folds.end() || at != fold->first) {
            most.letters -= text.lines[at].text.size();
            writer.line(text.lines[at++]);
            continue;
        }
        const TextLine &first = text.lines[at];
        writer.fold(text.firstFold + int(fold - text.folds.begin()), *fold, first.quote,
                    first.text.isRightToLeft());
        at += fold->count;
        ++fold;
    }
    return at;
}

bool BodyBuilder::writeMore()
{
    if (m_pending.isEmpty())
        return false;
    Pending &pending = m_pending.first();
    const Text &text = m_texts[pending.text];
    QTextCursor cursor = pending.at;
    cursor.setKeepPositionOnInsert(false);
    cursor.beginEditBlock();
    BodyWriter writer(cursor, m_style, false);
    pending.next = writeLines(writer, text, pending.next, {kSliceLines, kSliceLetters});
    cursor.endEditBlock();
    pending.at.setPosition(writer.cursor().position());
    if (pending.next >= text.lines.size())
        m_pending.removeFirst();
    return !m_pending.isEmpty();
}

void BodyBuilder::writeHtml(BodyWriter &writer, int part)
{
    separate(writer, part, BodySection::Html);
    if (m_options.plan.preferPlain)
        return addText(writer, htmlToText(textOf(part, kHtmlBytes)), {});
    const SafeHtml &html = m_html[part];
    if (html.html.isEmpty())
        writer.note(emptyNoteOf(m_options.plan));
    else
        writer.html(html, m_folds);
}

void BodyBuilder::writeImage(BodyWriter &writer, int part)
{
    const MIMEPart &entry = m_message.mime().part(part);
    if (!entry.contentid.isEmpty() && m_shownIds.contains(withoutBrackets(entry.contentid)))
        return;
    separate(writer, part, BodySection::Image);
    const MessageImages::Extent extent = MessageImages(m_message).extentOf(part);
    const QString name = harmlessLine(entry.displayName(), 200);
    if (extent.size.isEmpty())
        return writer.note(
            translated("The picture \u201c%1\u201d is damaged or too large to be shown.").arg(name));
    if (!extent.isWhole)
        writer.note(translated("The picture \u201c%1\u201d is damaged: its end is missing.").arg(name));
    m_facts.hasPictures = true;
    writer.picture(readerlink::part + QString::number(part),
                   fitted(extent.size, m_options.width - 2 * kMargin));
}

/// False: nothing can be read in the part.
bool BodyBuilder::writeCards(BodyWriter &writer, int part)
{
    const QList<DataCard> cards = partCards(m_message, part);
    for (const DataCard &card : cards) {
        if (m_cards.contains(card))
            continue;
        writer.dataCard(card);
        m_cards.append(card);
        m_first = true; // the card itself parts it from what follows
    }
    return !cards.isEmpty();
}

void BodyBuilder::writePiece(BodyWriter &writer, int part)
{
    separate(writer, part, BodySection::Piece);
    const auto piece = MIMEPartial::describe(m_message.text());
    if (!piece)
        writer.note(translated("A part of a longer message"));
    else if (piece->total > 0)
        writer.note(translated("Part %1 of %2 of a longer message").arg(piece->number).arg(piece->total));
    else
        writer.note(translated("Part %1 of a longer message").arg(piece->number));
    addText(writer, decodeUnlabelled(m_message.mime().decodedBytes(part)), {});
}

void BodyBuilder::writeEnclosed(BodyWriter &writer, int part)
{
    const QByteArray bytes = m_message.mime().decodedBytes(part);
    writer.beginCard();
    writer.summary(Message(bytes.first(headerExtent(bytes).length)));
    m_first = true;
}

BodyBuilder::FoldPlace BodyBuilder::placeOf(int id) const
{
    for (const Text &text : m_texts)
        if (id >= text.firstFold && id < text.firstFold + text.folds.size())
            return {&text, &text.folds[id - text.firstFold]};
    return {nullptr, nullptr};
}

bool BodyBuilder::unfold(BodyDocument &document, int id)
{
    if (showHtmlFold(document, id))
        return true;
    const auto [text, fold] = placeOf(id);
    QTextBlock block = document.begin();
    while (fold && block.isValid() &&
           (!block.blockFormat().hasProperty(bodyformat::FoldId) ||
            block.blockFormat().intProperty(bodyformat::FoldId) != id))
        block = block.next();
    if (!fold || !block.isValid())
        return false;
    QTextCursor cursor(block);
    cursor.beginEditBlock();
    cursor.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
    cursor.removeSelectedText();
    BodyWriter writer(cursor, m_style, true);
    for (int at = fold->first; at < fold->first + fold->count; ++at)
        writer.line(text->lines[at]);
    cursor.endEditBlock();
    return true;
}

QList<int> BodyBuilder::foldsWith(const QString &text) const
{
    QList<int> found;
    for (int id = 0; id < m_folds; ++id)
        if (foldedText(id).contains(text, Qt::CaseInsensitive))
            found.append(id);
    return found;
}

QString BodyBuilder::foldedText(int id) const
{
    const auto [text, fold] = placeOf(id);
    QString out;
    for (int at = fold ? fold->first : 0; fold && at < fold->first + fold->count; ++at) {
        out += text->lines[at].text;
        if (!text->lines[at].continued)
            out += u'\n';
    }
    return out;
}
