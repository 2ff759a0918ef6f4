#include "message/mimeparser.h"

#include "config/reporter.h"
#include "message/charset.h"
#include "message/contentfields.h"
#include "message/contenttypes.h"
#include "message/encodedblocks.h"
#include "message/encodedword.h"
#include "message/headerblock.h"
#include "message/lineends.h"

#include <cstring>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kKeptText = 1 << 20; ///< a decoded text up to this size is kept, it will be wanted soon
constexpr qsizetype kHeaderBytes = 1 << 12;  ///< looked ahead for more of a header that seems to be over
constexpr qsizetype kGuessedBytes = 1 << 16; ///< looked through for a boundary that the header does not name

bool isIdentity(int encoding)
{
    return encoding <= Binary;
}

bool isContentField(QByteArrayView line)
{
    return line.size() > 8 && line.first(8).compare("content-", Qt::CaseInsensitive) == 0;
}

bool isBlankText(QByteArrayView text)
{
    return text.trimmed().isEmpty();
}

} // namespace

BoundaryMatch testBoundary(QByteArrayView line, const QList<QByteArray> &open)
{
    if (!line.startsWith("--"))
        return {};
    const QByteArrayView bare = line.trimmed().sliced(2);
    const bool mayClose = bare.endsWith("--");
    for (qsizetype index = 0; index < open.size(); ++index) {
        const QByteArray &boundary = open[index];
        if (mayClose && bare.size() == boundary.size() + 2 && bare.startsWith(boundary))
            return {2, index};
        if (bare == boundary)
            return {1, index};
    }
    return {};
}

MIMEParser::MIMEParser(MIMEContext &context)
    : m_context(context)
    , m_source{context.m_text, context.m_text.size(), -1, {}}
    // Base64 in base64 shrinks; only messages that pretend to be encoded over and over reach this.
    , m_budget(4 * context.m_text.size())
{}

void MIMEParser::run()
{
    const HeaderExtent header = headerExtent(m_source.text);
    m_context.m_headerLength = header.length;
    const ContentFields fields = ContentFields::read(m_source.text.first(header.length));
    const ParameterList type(fields.type);
    MIMEPart whole = describePart(fields, type, "text/plain");
    const int category = categoryOf(whole.contenttype);
    whole.offset = header.bodyOffset;
    const QByteArray boundary = type.bytes("boundary").trimmed();
    if (!isMultipartCategory(category)) {
        m_context.m_type = whole.type;
        const int index = add(std::move(whole));
        return parseContent(index, header.bodyOffset, {}, {-1, 0});
    }
    // A multipart has no encoding of its own (RFC 2045 section 6.4); to believe one would hide the message.
    m_context.m_type = category;
    if (category == SignedPart)
        parseSigned(header.bodyOffset, boundary);
    else
        parseMultipart(-1, header.bodyOffset, boundary, {-1, 1, category == DigestPart});
}

/// Reads the part whose header begins at @p from, and all that is in it, up to the boundary that ends it.
void MIMEParser::parsePart(qsizetype from, const Place &place)
{
    if (!hasRoom())
        return addRest(from, place.parent);
    stopAtEnd();
    qsizetype headerEnd = from;
    const qsizetype content = readHeader(from, place, &headerEnd);
    const ContentFields fields = ContentFields::read(m_source.text.sliced(from, headerEnd - from));
    const ParameterList type(fields.type);
    MIMEPart read = describePart(fields, type, place.inDigest ? "message/rfc822" : "text/plain");
    read.hdroffset = from;
    read.offset = content;
    read.parent = place.parent;
    const int index = add(std::move(read));
    if (m_stop.next > 0) // the header ran into a boundary
        return;
    const QByteArray boundary = isMultipartCategory(part(index).type) ? type.bytes("boundary").trimmed() : "";
    parseContent(index, content, boundary, place);
}

/// Reads the content of a listed part; what it holds is listed behind it.
void MIMEParser::parseContent(int index, qsizetype from, const QByteArray &boundary, const Place &place)
{
    const bool composite = isMultipartCategory(part(index).type) || isEnclosedCategory(part(index).type);
    const Place inside{index, place.depth + 1, part(index).type == DigestPart,
                       !isMultipartCategory(part(index).type)};
    const bool enter = composite && mayEnter(index, inside);
    // Some senders label what they enclose as base64 and leave it as it is. No base64 has a colon in it.
    if (enter && inside.isMessage && part(index).encoding == Base64 &&
        beginsWithField(m_source.text.sliced(from, m_source.end - from)))
        part(index).encoding = SevenBit;

    if (enter && !inside.isMessage)
        parseMultipart(index, from, boundary, inside);
    else if (enter && isIdentity(part(index).encoding))
        parsePart(from, inside);
    else
        stopAtBoundary(from);
    part(index).length = m_stop.contentEnd - part(index).offset;

    if (enter && inside.isMessage && !isIdentity(part(index).encoding))
        parseEncodedMessage(index, inside);
    else if (!enter)
        parseLeaf(index);
}

void MIMEParser::parseMultipart(int index, qsizetype from, const QByteArray &named, const Place &inside)
{
    const std::size_t before = m_context.m_parts.size();
    qsizetype preambleEnd = readParts(from, named, inside);
    if (m_context.m_parts.size() == before) {
        // No boundary is named, or one that never comes: what the body shows is believed instead.
        const QByteArray guessed = guessBoundary(from);
        if (!guessed.isEmpty() && (named.isEmpty() || !guessed.startsWith(named)))
            preambleEnd = readParts(from, guessed, inside);
    }
    // Without any part, what stands there is all there is to read.
    if (m_context.m_parts.size() == before)
        addText(from, preambleEnd, index);
}

/// Reads the parts between the lines of @p boundary up to what ends the multipart, and returns where the text
/// before the first one ends.
qsizetype MIMEParser::readParts(qsizetype from, const QByteArray &boundary, const Place &inside)
{
    if (boundary.isEmpty()) {
        stopAtBoundary(from);
        return m_stop.contentEnd;
    }
    const qsizetype level = m_source.open.size();
    m_source.open.prepend(boundary);
    stopAtBoundary(from);
    const qsizetype preambleEnd = m_stop.contentEnd;
    while (m_stop.result == 1 && m_stop.level == level)
        parsePart(m_stop.next, inside);
    m_source.open.removeFirst();
    if (m_stop.level == level)
        stopAtBoundary(m_stop.next); // over the epilogue
    return preambleEnd;
}

/// A message that is multipart/signed is split by its own boundary alone, and each half is read by itself:
/// what stands inside the signed half can neither end it nor reach beyond it.
void MIMEParser::parseSigned(qsizetype from, const QByteArray &named)
{
    const QByteArray boundary = named.isEmpty() ? guessBoundary(from) : named;
    const QList<QByteArray> own = boundary.isEmpty() ? QList<QByteArray>() : QList<QByteArray>{boundary};
    const Source whole = m_source;
    m_source.open = own;
    stopAtBoundary(from);
    const qsizetype preambleEnd = m_stop.contentEnd;
    while (m_stop.result == 1) {
        const qsizetype start = m_stop.next;
        if (!hasRoom()) {
            addRest(start, -1);
            break;
        }
        stopAtBoundary(start);
        const Stop after = m_stop;
        m_source.open.clear();
        m_source.end = after.contentEnd;
        ++m_reserved;
        parsePart(start, {-1, 1});
        --m_reserved;
        m_source = whole;
        m_source.open = own;
        m_stop = after;
    }
    if (m_context.m_parts.empty())
        addText(from, preambleEnd, -1);
}

/// Decodes an enclosed message and reads it as a text of its own.
void MIMEParser::parseEncodedMessage(int index, const Place &inside)
{
    const MIMEPart &enclosed = part(index);
    m_budget -= enclosed.length;
    if (m_budget < 0) {
        part(index).type = AttachmentPart;
        return truncate();
    }
    const QByteArray decoded = m_context.decodedBytes(index);
    m_context.m_decoded.insert(index, decoded);
    const Source outer = std::exchange(m_source, Source{decoded, decoded.size(), index, {}});
    const Stop after = m_stop;
    ++m_reserved;
    parsePart(0, inside);
    --m_reserved;
    m_source = outer;
    m_stop = after;
}

void MIMEParser::parseLeaf(int index)
{
    const int type = part(index).type;
    if (type == PlainTextPart || type == OtherTextPart)
        listBlocks(index);
}

/// Finds the content behind the header at @p from and where the header's lines end. A header ends at its
/// first empty line, and before a boundary, where m_stop tells of it. Before a line that is no field it ends
/// where there is no header at all, and where the empty line was forgotten, as many a sender of parts does.
qsizetype MIMEParser::readHeader(qsizetype from, const Place &place, qsizetype *headerEnd)
{
    const qsizetype first = place.isMessage ? skipEnvelope(from) : from;
    bool continues = false; // the line before asks for more
    bool sure = false;      // of the empty line that is to come
    for (qsizetype at = first; at < m_source.end;) {
        const qsizetype end = lineEnd(at);
        *headerEnd = at;
        if (isEmptyLine(at, end))
            return std::min(end + 1, m_source.end);
        if (testLine(at, end, from))
            return m_stop.contentEnd;
        const QByteArrayView line = m_source.text.sliced(at, end - at);
        const bool folded = (line[0] == ' ' || line[0] == '\t') && at > from;
        if (!folded && !continues && !sure && !isFieldLine(line)) {
            sure = at > first && (place.isMessage || contentFieldFollows(end + 1));
            if (!sure)
                return at;
        }
        continues = line.trimmed().endsWith(';');
        at = end + 1;
    }
    *headerEnd = m_source.end;
    return m_source.end;
}

/// Whether a Content- field stands at or behind @p from, and the header's empty line behind that.
bool MIMEParser::contentFieldFollows(qsizetype from) const
{
    const qsizetype last = std::min(m_source.end, from + kHeaderBytes);
    bool found = false;
    for (qsizetype at = from; at < last;) {
        const qsizetype end = lineEnd(at);
        const QByteArrayView line = m_source.text.sliced(at, end - at);
        if (isEmptyLine(at, end))
            return found;
        if (testBoundary(line, m_source.open).result != 0)
            return false;
        found = found || (isContentField(line) && isFieldLine(line));
        at = end + 1;
    }
    return false;
}

/// Only a text that was decoded can have "\r\n" at the ends of its lines.
bool MIMEParser::isEmptyLine(qsizetype from, qsizetype end) const
{
    return end == from || (m_source.within >= 0 && end == from + 1 && m_source.text[from] == '\r');
}

/// Behind the empty lines and the mailbox separator that some put in front of an enclosed message.
qsizetype MIMEParser::skipEnvelope(qsizetype from) const
{
    qsizetype at = from;
    while (at < m_source.end && isEmptyLine(at, lineEnd(at)))
        at = std::min(lineEnd(at) + 1, m_source.end);
    const QByteArrayView rest = m_source.text.sliced(at, m_source.end - at);
    if (rest.startsWith("From ") || rest.startsWith(">From "))
        return std::min(lineEnd(at) + 1, m_source.end);
    return isFieldLine(rest.first(lineEnd(at) - at)) ? at : from;
}

/// The first @p c at or behind @p from, or the end.
qsizetype MIMEParser::find(char c, qsizetype from) const
{
    if (from >= m_source.end)
        return m_source.end;
    const char *text = m_source.text.data();
    const void *found = std::memchr(text + from, c, std::size_t(m_source.end - from));
    return found ? static_cast<const char *>(found) - text : m_source.end;
}

void MIMEParser::stopAtEnd()
{
    m_stop = {0, -1, m_source.end, 0};
}

/// Looks for the next boundary line at or behind @p from, the start of a line.
void MIMEParser::stopAtBoundary(qsizetype from)
{
    stopAtEnd();
    if (m_source.open.isEmpty())
        return;
    const char *text = m_source.text.data();
    // Dashes are rarer than lines, and base64 has none at all.
    for (qsizetype at = find('-', from); at < m_source.end; at = find('-', at)) {
        if ((at == from || text[at - 1] == '\n') && testLine(at, lineEnd(at), from))
            return;
        while (at < m_source.end && text[at] == '-')
            ++at;
    }
    m_stop.contentEnd = std::max(from, m_source.end);
}

/// Stops at the line from @p from to @p end when it is a boundary; content from @p contentFrom ends before
/// it.
bool MIMEParser::testLine(qsizetype from, qsizetype end, qsizetype contentFrom)
{
    const BoundaryMatch match = testBoundary(m_source.text.sliced(from, end - from), m_source.open);
    if (match.result == 0)
        return false;
    qsizetype contentEnd = from - 1;
    if (m_source.within >= 0 && contentEnd > contentFrom && m_source.text[contentEnd - 1] == '\r')
        --contentEnd;
    m_stop = {match.result, m_source.open.size() - 1 - match.index, std::max(contentFrom, contentEnd),
              std::min(end + 1, m_source.end)};
    return true;
}

/// The boundary that the body itself shows: a line "--" and something, with a Content- field behind it.
QByteArray MIMEParser::guessBoundary(qsizetype from) const
{
    QByteArrayView rest = m_source.text.sliced(from, std::min(m_source.end - from, kGuessedBytes));
    while (!rest.isEmpty()) {
        const QByteArrayView line = takeLine(rest).trimmed();
        if (testBoundary(line, m_source.open).result != 0)
            break; // here our own content ends
        if (line.size() > 2 && line.startsWith("--") && isContentField(rest))
            return line.sliced(2).toByteArray();
    }
    return {};
}

bool MIMEParser::hasRoom() const
{
    return int(m_context.m_parts.size()) + m_reserved < kMostParts;
}

int MIMEParser::add(MIMEPart part)
{
    part.within = m_source.within;
    m_context.m_parts.push_back(std::move(part));
    return int(m_context.m_parts.size()) - 1;
}

/// Lists all that is left of the text as one attachment.
void MIMEParser::addRest(qsizetype from, int parent)
{
    MIMEPart rest;
    rest.contenttype = "application/octet-stream";
    rest.hdroffset = from;
    rest.offset = from;
    rest.length = m_source.end - from;
    rest.parent = parent;
    add(std::move(rest));
    stopAtEnd();
    truncate();
}

/// Lists what stands between @p from and @p end as a plain text, unless it is blank.
void MIMEParser::addText(qsizetype from, qsizetype end, int parent)
{
    if (isBlankText(m_source.text.sliced(from, end - from)))
        return;
    if (!hasRoom()) {
        if (parent >= 0)
            part(parent).type = AttachmentPart; // so that what is in it can still be had
        return truncate();
    }
    MIMEPart text = describePart({}, {}, "text/plain");
    text.hdroffset = from;
    text.offset = from;
    text.length = end - from;
    text.parent = parent;
    listBlocks(add(std::move(text)));
}

/// Looks for uuencode, yEnc and PGP blocks in a text and lists those that are attachments.
void MIMEParser::listBlocks(int index)
{
    const MIMEPart text = part(index);
    const bool raw = isIdentity(text.encoding);
    const QByteArray decoded = raw ? QByteArray() : m_context.decodedBytes(index);
    const QByteArrayView bytes = raw ? m_context.rawContent(index) : QByteArrayView(decoded);
    const int room = kMostParts - m_reserved - int(m_context.m_parts.size());
    const EncodedBlocks found = findEncodedBlocks(bytes, std::max(room, 0));
    part(index).needsstrip = found.pgp;
    if (!raw && (!found.blocks.empty() || decoded.size() <= kKeptText))
        m_context.m_decoded.insert(index, decoded);
    for (const EncPart &block : found.blocks) {
        MIMEPart attachment;
        attachment.name = decodeHeaderText(block.name, text.charset);
        attachment.contenttype = contentTypeOf(attachment.name);
        attachment.encoding = block.encoding;
        attachment.offset = block.offset + (raw ? text.offset : 0);
        attachment.hdroffset = attachment.offset;
        attachment.length = block.length;
        attachment.needsstrip = true;
        attachment.parent = index;
        const int listed = add(std::move(attachment));
        if (!raw)
            part(listed).within = index;
    }
    if (found.truncated)
        truncate();
}

/// Whether a composite part is entered; beyond the deepest level it becomes an attachment.
bool MIMEParser::mayEnter(int index, const Place &place)
{
    if (place.depth <= kMostLevels)
        return true;
    part(index).type = AttachmentPart;
    truncate();
    return false;
}

void MIMEParser::truncate()
{
    if (!std::exchange(m_context.m_truncated, true))
        note(u"A message has more than %1 parts or %2 levels; what lies beyond is listed as one part"_s
                 .arg(kMostParts)
                 .arg(kMostLevels));
}
