#include "message/mimecontext.h"

#include "config/reporter.h"
#include "message/charset.h"
#include "message/contentfields.h"
#include "message/decoders.h"
#include "message/encodedblocks.h"
#include "message/lineends.h"
#include "message/mimeparser.h"
#include "message/yenc.h"

#include <QSaveFile>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kMetaBytes = 1024; ///< of an HTML text, searched for its character set

QByteArrayView withoutBrackets(QByteArrayView id)
{
    QByteArrayView bare = id.trimmed();
    if (bare.startsWith('<'))
        bare = bare.sliced(1);
    if (bare.endsWith('>'))
        bare.chop(1);
    return bare;
}

QByteArray charsetOfByteOrderMark(QByteArrayView bytes)
{
    if (bytes.startsWith("\xef\xbb\xbf"))
        return "utf-8";
    return bytes.startsWith("\xff\xfe") || bytes.startsWith("\xfe\xff") ? "utf-16" : "";
}

/// The character set that a <meta> element near the beginning of HTML names, in either of its two forms.
QByteArray charsetOfMeta(QByteArrayView html)
{
    const QByteArray head = html.first(std::min(html.size(), kMetaBytes)).toByteArray().toLower();
    for (qsizetype meta = head.indexOf("<meta"); meta >= 0; meta = head.indexOf("<meta", meta + 5)) {
        const qsizetype close = head.indexOf('>', meta);
        const QByteArray element = head.sliced(meta, (close < 0 ? head.size() : close) - meta);
        qsizetype at = element.indexOf("charset");
        if (at < 0)
            continue;
        for (at += 7; at < element.size() && QByteArrayView(" \t\n='\"").contains(element[at]);)
            ++at;
        qsizetype end = at;
        while (end < element.size() && !QByteArrayView(" \t\n'\";/").contains(element[end]))
            ++end;
        const QByteArray charset = element.sliced(at, end - at);
        // It was read as ASCII, so that it cannot be.
        return charset.startsWith("utf-16") ? "utf-8" : charset;
    }
    return {};
}

/// Whether 7-bit bytes switch to Japanese (RFC 1468), as unlabelled mail from Japan does.
bool looksLikeIso2022Jp(QByteArrayView bytes)
{
    // The search for one byte is far faster than that for several, and most texts have none.
    for (qsizetype at = bytes.indexOf('\x1b'); at >= 0; at = bytes.indexOf('\x1b', at + 1)) {
        const QByteArrayView rest = bytes.sliced(at + 1);
        if (rest.startsWith("$B") || rest.startsWith("$@"))
            return true;
    }
    return false;
}

QByteArray unlabelledCharset(const MIMEPart &part, QByteArrayView bytes)
{
    QByteArray charset = charsetOfByteOrderMark(bytes);
    if (charset.isEmpty() && part.type == HtmlPart)
        charset = charsetOfMeta(bytes);
    if (charset.isEmpty() && looksLikeIso2022Jp(bytes))
        charset = "iso-2022-jp";
    return charset;
}

/// At most @p most bytes, up to the end of a line or else of a character in UTF-8.
QByteArrayView beginningOf(QByteArrayView content, qsizetype most)
{
    const QByteArrayView piece = content.first(most);
    if (const qsizetype end = piece.lastIndexOf('\n'); end > most / 2)
        return piece.first(end + 1);
    qsizetype end = most;
    while (end > most - 4 && end > 0 && (uchar(content[end]) & 0xC0) == 0x80)
        --end;
    return piece.first(end);
}

QByteArray decodeYencBlock(const MIMEPart &part, QByteArrayView content)
{
    YencBlock block = decodeYenc(content);
    if (!block.isIntact())
        note(u"The yEnc block '%1' is damaged: %2"_s.arg(
            part.displayName(), !block.ended         ? u"its end is missing"_s
                                : !block.sizeMatches ? u"its size is not the one announced"_s
                                                     : u"its checksum does not match"_s));
    return std::move(block.bytes);
}

void appendLine(QByteArray &out, const char *name, QByteArrayView value)
{
    out.append(name).append(" = ").append(onOneLine(QString::fromUtf8(value)).toUtf8()).append('\n');
}

void appendLine(QByteArray &out, const char *name, qint64 value)
{
    out.append(name).append(" = ").append(QByteArray::number(value)).append('\n');
}

} // namespace

MIMEContext MIMEContext::parse(const QByteArray &messageText)
{
    MIMEContext context;
    context.m_text = messageText;
    MIMEParser(context).run();
    return context;
}

int MIMEContext::indexOfContentId(QByteArrayView id) const
{
    const QByteArrayView wanted = withoutBrackets(id);
    const auto found = std::find_if(m_parts.begin(), m_parts.end(), [wanted](const MIMEPart &part) {
        return !part.contentid.isEmpty() && withoutBrackets(part.contentid) == wanted;
    });
    return found == m_parts.end() ? -1 : int(found - m_parts.begin());
}

QByteArray MIMEContext::parameter(int index, QByteArrayView field, QByteArrayView name) const
{
    const ContentFields fields = ContentFields::read(rawHeader(index));
    const bool isType = field.compare("content-type", Qt::CaseInsensitive) == 0;
    return ParameterList(isType ? fields.type : fields.disposition).bytes(name);
}

/// The text in which the positions of @p part count.
const QByteArray &MIMEContext::source(const MIMEPart &part) const
{
    if (part.within < 0)
        return m_text;
    return *m_decoded.constFind(part.within);
}

QByteArrayView MIMEContext::rawHeader(int index) const
{
    if (index < 0)
        return QByteArrayView(m_text).first(m_headerLength);
    const MIMEPart &one = part(index);
    return QByteArrayView(source(one)).sliced(one.hdroffset, one.offset - one.hdroffset);
}

QByteArrayView MIMEContext::rawContent(int index) const
{
    const MIMEPart &one = part(index);
    return QByteArrayView(source(one)).sliced(one.offset, one.length);
}

QByteArray MIMEContext::decode(const MIMEPart &part, QByteArrayView content) const
{
    if (isMultipartCategory(part.type))
        return content.toByteArray();
    switch (part.encoding) {
    case QuotedPrintable: return decodeQuotedPrintable(content);
    case Base64: return decodeBase64(content);
    case Uuencode: return decodeUuencode(content);
    case Yenc: return decodeYencBlock(part, content);
    default: return content.toByteArray();
    }
}

QByteArray MIMEContext::decodedBytes(int index) const
{
    const auto kept = m_decoded.constFind(index);
    return kept != m_decoded.constEnd() ? *kept : decode(part(index), rawContent(index));
}

QString MIMEContext::toText(const MIMEPart &part, const QByteArray &bytes, const QByteArray &wanted) const
{
    const QByteArray charset = !wanted.isEmpty() && hasConverter(wanted) ? wanted
                               : part.labelled                           ? part.charset
                                                                         : unlabelledCharset(part, bytes);
    const std::optional<QString> decoded = charset.isEmpty() ? std::nullopt : decodeCharset(bytes, charset);
    QString text = decoded ? *decoded : decodeUnlabelled(bytes, "windows-1252");
    if (bytes.contains('\r')) // what came in base64 has the line ends of the wire
        text.replace("\r\n"_L1, "\n"_L1);
    return text;
}

QString MIMEContext::decodedText(int index) const
{
    return toText(part(index), decodedBytes(index));
}

QString MIMEContext::displayText(int index, const QByteArray &charset, qsizetype most) const
{
    const MIMEPart &text = part(index);
    std::vector<EncPart> blocks;
    for (int next = index + 1; next < count() && part(next).parent == index; ++next) {
        EncPart block;
        block.offset = part(next).offset - (part(next).within == index ? 0 : text.offset);
        block.length = part(next).length;
        blocks.push_back(std::move(block));
    }
    const QByteArrayView raw = rawContent(index);
    const bool isWide = text.charset.startsWith("utf-16") || text.charset.startsWith("utf-32");
    if (blocks.empty() && most >= 0 && raw.size() > most && !isWide)
        return toText(text, decode(text, beginningOf(raw, most)), charset);
    if (!isTextCategory(text.type) || blocks.empty())
        return toText(text, decodedBytes(index), charset);
    return toText(text, withoutBlocks(decodedBytes(index), blocks), charset);
}

MIMEContext::Content MIMEContext::decodedContent(int index) const
{
    Content content{decodedBytes(index), {}};
    if (isTextCategory(part(index).type))
        content.text = toText(part(index), content.bytes);
    return content;
}

bool MIMEContext::savePart(int index, const QString &path) const
{
    QSaveFile file(path);
    const QByteArray bytes = decodedBytes(index);
    if (file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit())
        return true;
    report(ReportLevel::Warning, "Unable to save decoded file");
    return false;
}

std::optional<SignedParts> MIMEContext::signedParts(int index) const
{
    if ((index < 0 ? m_type : part(index).type) != SignedPart)
        return {};
    SignedParts halves;
    for (int next = index + 1; next < count() && halves.signaturePart < 0; ++next) {
        if (part(next).parent == index)
            (halves.contentPart < 0 ? halves.contentPart : halves.signaturePart) = next;
    }
    if (halves.signaturePart < 0)
        return {};
    const MIMEPart &content = part(halves.contentPart);
    halves.content = withUnixLineEnds(
        source(content).mid(content.hdroffset, content.offset + content.length - content.hdroffset));
    halves.signature = decodedBytes(halves.signaturePart);
    return halves;
}

QByteArray MIMEContext::dump() const
{
    QByteArray out = "Dumping MIME Context...\n";
    appendLine(out, "type", m_type);
    for (const MIMEPart &part : m_parts) {
        if (&part != m_parts.data())
            out += "-----\n";
        appendLine(out, "name", part.name.toUtf8());
        appendLine(out, "desc", part.desc.toUtf8());
        appendLine(out, "contenttype", part.contenttype);
        appendLine(out, "charset", part.charset);
        appendLine(out, "contentid", part.contentid);
        appendLine(out, "contentlocation", part.contentlocation);
        appendLine(out, "encoding", part.encoding);
        appendLine(out, "type", part.type);
        appendLine(out, "hdroffset", part.hdroffset);
        appendLine(out, "offset", part.offset);
        appendLine(out, "length", part.length);
        appendLine(out, "needsstrip", part.needsstrip ? 1 : 0);
    }
    return out;
}
