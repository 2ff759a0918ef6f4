#include "compose/bodypart.h"

#include "compose/encoders.h"
#include "compose/headerwriter.h"
#include "compose/messagebuilder.h"
#include "message/charset.h"
#include "message/contenttypes.h"
#include "message/lineends.h"

#include <QHash>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace {

constexpr char kPreamble[] = "This message is in MIME format.\n";
constexpr char kUpperHex[] = "0123456789ABCDEF";
constexpr qsizetype kLongestFileName = 200; ///< in bytes of UTF-8; three times that has to fit on a line

bool isAscii(QByteArrayView bytes)
{
    return std::none_of(bytes.begin(), bytes.end(), [](char c) { return quint8(c) >= 0x80; });
}

bool isAsciiText(QStringView text)
{
    return std::none_of(text.begin(), text.end(), [](QChar c) { return c.unicode() >= 0x80; });
}

/// Whether ASCII means itself in @p charset, so that a text in it can stand between ASCII lines.
bool holdsAscii(const QByteArray &charset)
{
    const QString ascii = u"09 AZ az !\"#$%&'()*+,-./:;<=>?@[\\]^_`{|}~\n"_s;
    return encodeCharset(ascii, charset) == ascii.toLatin1();
}

struct EncodedText
{
    QByteArray bytes;
    QByteArray charset;
};

EncodedText encodedText(const QString &text, const QByteArray &wanted)
{
    if (isAsciiText(text))
        return {text.toLatin1(), "us-ascii"};
    if (holdsAscii(wanted))
        if (std::optional<QByteArray> bytes = encodeCharset(text, wanted))
            return {std::move(*bytes), wanted.trimmed()};
    return {text.toUtf8(), "UTF-8"};
}

/// @p text with substitutes for those of its characters that @p charset does not hold.
QString fitting(const QString &text, const QByteArray &charset, bool isHtml)
{
    QHash<char32_t, bool> fits;
    QString out;
    out.reserve(text.size());
    for (const char32_t c : text.toUcs4()) {
        const QString character = QString::fromUcs4(&c, 1);
        auto known = fits.constFind(c);
        if (known == fits.constEnd())
            known = fits.insert(c, c < 0x80 || encodeCharset(character, charset).has_value());
        if (*known)
            out += character;
        else
            out += isHtml ? u"&#%1;"_s.arg(quint32(c)) : u"?"_s;
    }
    return out;
}

EncodedText encodedText(const QString &text, const TextRules &rules, bool isHtml)
{
    const bool isAsItIs = !rules.isForced || !holdsAscii(rules.charset) || isAsciiText(text) ||
                          encodeCharset(text, rules.charset);
    return encodedText(isAsItIs ? text : fitting(text, rules.charset, isHtml), rules.charset);
}

QByteArray encodingField(TransferEncoding encoding)
{
    switch (encoding) {
    case EightBit: return "Content-Transfer-Encoding: 8bit\n";
    case QuotedPrintable: return "Content-Transfer-Encoding: quoted-printable\n";
    case Base64: return "Content-Transfer-Encoding: base64\n";
    default: return {};
    }
}

QByteArray textFields(const char *subtype, const QByteArray &charset, TransferEncoding encoding)
{
    return "Content-Type: text/" + QByteArray(subtype) + "; charset=" + charset + '\n' +
           encodingField(encoding);
}

TransferEncoding textEncoding(QByteArrayView bytes, const TextRules &rules)
{
    const bool ascii = isAscii(bytes);
    if (rules.sevenBit || !canGoUnencoded(bytes) || (!ascii && rules.quotedPrintable))
        return QuotedPrintable;
    return ascii ? SevenBit : EightBit;
}

/// The file's name as others get it: no path, no control characters, no longer than a file's name can be.
QString outgoingName(const QString &name)
{
    QString text = fieldText(name);
    text = text.sliced(text.lastIndexOf(u'/') + 1).trimmed();
    if (text.toUtf8().size() <= kLongestFileName)
        return text;
    const qsizetype dot = text.lastIndexOf(u'.');
    const QString extension = dot > 0 && text.size() - dot <= 16 ? text.sliced(dot) : QString();
    QString base = text.chopped(extension.size());
    while ((base + extension).toUtf8().size() > kLongestFileName)
        base.chop(base.size() > 1 && base.back().isLowSurrogate() ? 2 : 1);
    return base + extension;
}

/// "; name=\"...\"", or its form of RFC 2231 for a name that is not ASCII or would be read as an encoded
/// word.
QByteArray nameParameter(const QByteArray &parameter, const QString &name, const QByteArray &charset)
{
    if (isAsciiText(name) && !name.contains("=?"_L1)) {
        QByteArray quoted = name.toLatin1();
        quoted.replace('\\', "\\\\").replace('"', "\\\"");
        return parameter + "=\"" + quoted + '"';
    }
    const EncodedText encoded =
        isAsciiText(name) ? EncodedText{name.toLatin1(), "us-ascii"} : encodedText(name, charset);
    QByteArray value = parameter + "*=" + encoded.charset + "''";
    for (const char c : encoded.bytes)
        value.append('%').append(kUpperHex[quint8(c) >> 4]).append(kUpperHex[quint8(c) & 15]);
    return value;
}

/// "Field: value; parameter; parameter", folded between them.
QByteArray contentField(QByteArrayView name, const QByteArrayList &pieces)
{
    QByteArray line;
    FoldedField field(line, name);
    for (qsizetype i = 0; i < pieces.size(); ++i)
        field.add(i + 1 < pieces.size() ? pieces.at(i) + ';' : pieces.at(i));
    field.end();
    return line;
}

/// "type/subtype" and parameters, without anything that could be more than that (RFC 2045 5.1).
const QRegularExpression &wellFormedType()
{
    static const QString token = u"[a-z0-9!#$&^_.+-]{1,100}"_s;
    static const QString quoted = u"\"[ a-z0-9!#$&^_.+:/-]{0,100}\""_s;
    static const QRegularExpression type(u"^(%1/%1)((?:; *%1=(?:%1|%2))*)\\z"_s.arg(token, quoted),
                                         QRegularExpression::CaseInsensitiveOption);
    return type;
}

/// The type of an attachment as it may stand in a header, its own parameters behind it.
QByteArrayList typeOf(const Attachment &attachment)
{
    const QRegularExpressionMatch match =
        wellFormedType().match(QString::fromLatin1(attachment.contentType.trimmed()));
    const QByteArray type =
        match.hasMatch() ? match.captured(1).toLatin1().toLower() : contentTypeOf(attachment.name);
    if (type.startsWith("multipart/"))
        return {"application/octet-stream"}; // its boundary is nobody's; and base64 is not allowed for it
    QByteArrayList pieces{type};
    const QByteArrayList parameters = match.captured(2).toLatin1().split(';');
    for (const QByteArray &parameter : parameters) {
        const qsizetype value = parameter.indexOf('=');
        const QByteArray name = parameter.left(value).trimmed().toLower();
        if (!name.isEmpty() && name != "name")
            pieces += name + parameter.sliced(value);
    }
    return pieces;
}

bool namesCharset(const QByteArrayList &type)
{
    return std::any_of(type.begin(), type.end(),
                       [](const QByteArray &piece) { return piece.startsWith("charset="); });
}

/// The encoding of an attachment; the type changes where it would not allow the one that is needed.
TransferEncoding attachmentEncoding(QByteArrayList &type, const QByteArray &data, const TextRules &rules)
{
    if (type.first().startsWith("message/")) {
        if (canGoUnencoded(data) && !(rules.sevenBit && !isAscii(data)))
            return EightBit;
        // Nothing but 7bit and 8bit is allowed for it (RFC 2046 5.2.1): such a one goes as a file.
        type = {"application/octet-stream"};
        return Base64;
    }
    if (!type.first().startsWith("text/"))
        return Base64;
    const TransferEncoding encoding = textEncoding(data, rules);
    return encoding == SevenBit ? EightBit : encoding;
}

/// The identifier as it may stand between angle brackets; empty when it cannot.
QByteArray safeContentId(const QByteArray &id)
{
    const bool printable =
        std::all_of(id.begin(), id.end(), [](char c) { return c > ' ' && c <= '~' && c != '<' && c != '>'; });
    return printable && id.size() <= 200 ? id : QByteArray();
}

bool is8bit(const BodyPart &part)
{
    if (part.encoding == EightBit)
        return !isAscii(part.content) || !part.parts.empty();
    return std::any_of(part.parts.begin(), part.parts.end(), is8bit);
}

/// What of @p part could be taken for a boundary. Base64 has no "-".
void collectTexts(const BodyPart &part, QList<QByteArray> &texts)
{
    texts += part.fields;
    if (part.encoding != Base64)
        texts += part.content;
    for (const BodyPart &inner : part.parts)
        collectTexts(inner, texts);
}

void appendContent(QByteArray &out, const BodyPart &part)
{
    switch (part.encoding) {
    case QuotedPrintable: return appendQuotedPrintable(out, part.content);
    case Base64: return appendBase64Lines(out, part.content);
    case Uuencode: return appendUuencodeBlock(out, part.content, part.name);
    case Yenc: return appendYencBlock(out, part.content, part.name);
    default: out += part.content;
    }
}

} // namespace

BodyPart textPart(const QString &text, const char *subtype, const TextRules &rules)
{
    EncodedText encoded = encodedText(text, rules, qstrcmp(subtype, "html") == 0);
    BodyPart part;
    part.encoding = textEncoding(encoded.bytes, rules);
    part.fields = textFields(subtype, encoded.charset, part.encoding);
    part.content = std::move(encoded.bytes);
    return part;
}

std::optional<BodyPart> textWithBlocks(const QString &text, const QList<Attachment> &attachments,
                                       AttachmentForm form, TextRules rules)
{
    rules.quotedPrintable = false; // readers look for blocks in what they got, not in what it decodes to
    BodyPart part = textPart(text, "plain", rules);
    if (part.encoding == QuotedPrintable)
        return {};
    if (form == AttachmentForm::Yenc) {
        part.encoding = EightBit;
        part.fields = textFields(
            "plain", isAsciiText(text) ? "ISO-8859-1" : encodedText(text, rules, false).charset, EightBit);
    }
    for (const Attachment &attachment : attachments) {
        BodyPart block;
        block.content = attachment.data;
        block.encoding = form == AttachmentForm::Yenc ? Yenc : Uuencode;
        block.name = encodedText(outgoingName(attachment.name), rules.charset).bytes;
        part.parts.push_back(std::move(block));
    }
    return part;
}

BodyPart attachmentPart(const Attachment &attachment, Disposition where, const TextRules &rules)
{
    BodyPart part;
    QByteArrayList type = typeOf(attachment);
    const bool isMessage = type.first().startsWith("message/");
    part.content = isMessage ? withUnixLineEnds(attachment.data) : attachment.data;
    part.encoding = attachmentEncoding(type, part.content, rules);
    if (type.first().startsWith("text/") && !namesCharset(type) && !isAscii(part.content) &&
        isUtf8(part.content))
        type += "charset=UTF-8";
    QByteArrayList disposition{where == Disposition::Inline ? "inline" : "attachment"};
    if (const QString name = outgoingName(attachment.name); !name.isEmpty()) {
        type += nameParameter("name", name, rules.charset);
        disposition += nameParameter("filename", name, rules.charset);
    }
    part.fields = contentField("Content-Type", type) + contentField("Content-Disposition", disposition) +
                  encodingField(part.encoding);
    if (const QByteArray id = safeContentId(attachment.contentId); !id.isEmpty())
        part.fields += "Content-ID: <" + id + ">\n";
    return part;
}

BodyPart multipart(const char *subtype, std::vector<BodyPart> parts, const QByteArrayList &parameters)
{
    BodyPart whole;
    QList<QByteArray> texts;
    for (const BodyPart &part : parts)
        collectTexts(part, texts);
    whole.boundary = newBoundary(texts);
    whole.fields = contentField("Content-Type", QByteArrayList{"multipart/" + QByteArray(subtype),
                                                               "boundary=\"" + whole.boundary + '"'} +
                                                    parameters);
    whole.parts = std::move(parts);
    if (is8bit(whole))
        whole.fields += encodingField(EightBit);
    return whole;
}

qsizetype writtenSize(const BodyPart &part)
{
    constexpr qsizetype kFrame = 200; // a boundary, a begin line
    qsizetype size = part.fields.size() + kFrame;
    if (part.encoding == Base64 || part.encoding == Uuencode)
        size += base64LinesSize(part.content.size()) + part.content.size() / 45; // a length on each line
    else
        size += part.content.size() + part.content.size() / 16;
    for (const BodyPart &inner : part.parts)
        size += writtenSize(inner);
    return size;
}

void appendPart(QByteArray &out, const BodyPart &part)
{
    out += part.fields + '\n';
    if (part.boundary.isEmpty()) {
        appendContent(out, part);
        for (const BodyPart &block : part.parts) {
            out += '\n';
            appendContent(out, block);
        }
        return;
    }
    out += kPreamble;
    for (const BodyPart &inner : part.parts) {
        out += "--" + part.boundary + '\n';
        appendPart(out, inner);
        if (inner.boundary.isEmpty() && inner.encoding != Base64)
            out += '\n'; // belongs to the boundary: the part ends as it did
    }
    out += "--" + part.boundary + "--\n";
}
