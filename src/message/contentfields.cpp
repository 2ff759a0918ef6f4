#include "message/contentfields.h"

#include "config/settings.h"
#include "message/charset.h"
#include "message/encodedword.h"
#include "message/headerblock.h"
#include "message/lineends.h"

#include <cstring>

namespace {

struct FieldPlace
{
    const char *name;
    QByteArray ContentFields::*value;
};

constexpr FieldPlace kFields[] = {
    {"content-type", &ContentFields::type},
    {"content-disposition", &ContentFields::disposition},
    {"content-transfer-encoding", &ContentFields::encoding},
    {"content-description", &ContentFields::description},
    {"content-id", &ContentFields::id},
    {"content-location", &ContentFields::location},
};

qsizetype lineEndIn(QByteArrayView text, qsizetype from)
{
    const void *found = std::memchr(text.data() + from, '\n', std::size_t(text.size() - from));
    return found ? static_cast<const char *>(found) - text.data() : text.size();
}

/// The end of the field whose first line begins at @p from, the lines that continue it included.
qsizetype fieldEndIn(QByteArrayView header, qsizetype from)
{
    qsizetype start = from;
    while (true) {
        const qsizetype end = lineEndIn(header, start);
        if (end + 1 >= header.size())
            return end;
        const QByteArrayView line = header.sliced(start, end - start).trimmed();
        const bool folded = header[end + 1] == ' ' || header[end + 1] == '\t';
        const qsizetype next = lineEndIn(header, end + 1);
        if (!folded && !(line.endsWith(';') && !isFieldLine(header.sliced(end + 1, next - end - 1))))
            return end;
        start = end + 1;
    }
}

QByteArray unfoldedValue(QByteArrayView folded)
{
    const QByteArrayView value = folded.trimmed();
    if (!value.contains('\n'))
        return value.toByteArray();
    return unfolded(withUnixLineEnds(value.toByteArray())).replace('\n', ' ');
}

/// Most mail is in one of these, and asking the toolkit costs more than reading a short part.
bool isReadable(const QByteArray &charset)
{
    return charset == "utf-8" || charset == "iso-8859-1" || hasConverter(charset);
}

QByteArray charsetOf(const ParameterList &type)
{
    QByteArray charset = type.bytes("charset").trimmed().toLower();
    while (charset.size() > 1 && (charset.startsWith('\'') || charset.startsWith('"')))
        charset = charset.sliced(1).chopped(charset.endsWith(charset.front()) ? 1 : 0).trimmed();
    return charset;
}

void setCharset(MIMEPart &part, const QByteArray &charset)
{
    part.charset = charset;
    if (!isTextCategory(part.type))
        return;
    part.labelled = !charset.isEmpty() && charset != "us-ascii";
    if (!part.labelled)
        part.charset = "iso-8859-1";
    else if (!isReadable(charset))
        part.type = OtherTextPart;
}

void setEncoding(MIMEPart &part, const QByteArray &field)
{
    const int code = encodingOf(ParameterList(field).value());
    part.encoding = code == 0 ? SevenBit : code;
    if (code == 0 || code == Uuencode)
        part.type = AttachmentPart;
}

/// Drops the white space between adjacent encoded words, which belongs to the folding (RFC 2047 section 6.2).
QByteArray withoutFoldingBlanks(const QByteArray &value)
{
    if (!value.contains("=?"))
        return value;
    QByteArray joined;
    for (qsizetype at = 0; at < value.size();) {
        const qsizetype wordEnd = value.indexOf("?=", at);
        qsizetype next = wordEnd < 0 ? value.size() : wordEnd + 2;
        joined += QByteArrayView(value).sliced(at, next - at);
        at = next;
        while (next < value.size() && (value[next] == ' ' || value[next] == '\t'))
            ++next;
        if (QByteArrayView(value).sliced(next).startsWith("=?"))
            at = next;
    }
    return joined;
}

bool isLatin1(const QString &text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 0x100; });
}

/// UTF-8 that somebody read as Latin-1 and encoded once more.
QString withoutDoubleUtf8(const QString &name)
{
    const QByteArray bytes = name.toLatin1();
    if (!isLatin1(name) || !isUtf8(bytes))
        return name;
    return QString::fromUtf8(bytes);
}

/// Puts right what senders do to names: percent escapes, with their character set or without, in a parameter
/// that may have none, and an encoded word that has lost its end.
QByteArray withBrokenEncodingMended(const QByteArray &value, QByteArray *charset)
{
    // Not the "=?" that base64 and a cut end make together.
    if (const qsizetype word = QByteArrayView(value).chopped(1).lastIndexOf("=?"); word >= 0) {
        const qsizetype encoding = value.indexOf('?', word + 2);
        const qsizetype text = encoding < 0 ? -1 : value.indexOf('?', encoding + 1);
        if (text < 0 || value.indexOf("?=", text + 1) >= 0)
            return value;
        return value + (value.indexOf('?', text + 1) == value.size() - 1 ? "=" : "?=");
    }
    if (!value.contains('%'))
        return value;
    const ParameterList escaped("x; n*=\"" + QByteArray(value).replace('"', '_') + '"');
    QByteArray named;
    QByteArray plain = escaped.bytes("n", &named);
    if (named.isEmpty() && (!isUtf8(plain) || plain == value))
        return value;
    *charset = named;
    return plain;
}

QString repairedName(const QByteArray &value, QByteArrayView charset)
{
    QByteArray named;
    const QByteArray mended = withBrokenEncodingMended(value, &named);
    if (named.isEmpty())
        return withoutDoubleUtf8(decodeHeaderText(withoutFoldingBlanks(mended), charset));
    return inOneLine(decodeCharset(mended, named).value_or(decodeUnlabelled(mended, charset)));
}

} // namespace

ContentFields ContentFields::read(QByteArrayView header)
{
    ContentFields fields;
    for (qsizetype at = 0; at < header.size();) {
        if ((header[at] | 0x20) != 'c') {
            at = lineEndIn(header, at) + 1;
            continue;
        }
        const qsizetype end = fieldEndIn(header, at);
        const QByteArrayView field = header.sliced(at, end - at);
        const qsizetype colon = field.indexOf(':');
        for (const auto &[name, value] : kFields) {
            if (colon < 0 || !(fields.*value).isNull() ||
                field.first(colon).compare(QByteArrayView(name), Qt::CaseInsensitive) != 0)
                continue;
            fields.*value = unfoldedValue(field.sliced(colon + 1));
            if ((fields.*value).isNull())
                fields.*value = "";
        }
        at = end + 1;
    }
    return fields;
}

MIMEPart describePart(const ContentFields &fields, const ParameterList &type, QByteArrayView withoutType)
{
    MIMEPart part;
    part.contenttype = type.value().isEmpty() ? withoutType.toByteArray() : type.value();
    part.type = categoryOf(part.contenttype, type.bytes("profile"));
    setCharset(part, charsetOf(type));
    setEncoding(part, fields.encoding);
    if (part.type == PlainTextPart) {
        part.flowed = type.bytes("format").compare("flowed", Qt::CaseInsensitive) == 0;
        part.delsp = part.flowed && type.bytes("delsp").compare("yes", Qt::CaseInsensitive) == 0;
    }
    const ParameterList disposition(fields.disposition);
    part.disposition = disposition.value();
    part.name = attachmentName(disposition, "filename", part.charset);
    if (part.name.isEmpty())
        part.name = attachmentName(type, "name", part.charset);
    part.desc = decodeHeaderText(fields.description, part.charset);
    part.contentid = fields.id;
    part.contentlocation = fields.location;
    return part;
}

QString attachmentName(const ParameterList &list, QByteArrayView parameter, QByteArrayView charset)
{
    QByteArray named;
    const QByteArray value = list.bytes(parameter, &named);
    if (value.isEmpty())
        return {};
    if (!named.isEmpty())
        return inOneLine(decodeCharset(value, named).value_or(decodeUnlabelled(value, charset)));
    if (boolSetting(Setting::BrokenAttachmentNames))
        return repairedName(value, charset);
    return decodeHeaderText(withoutFoldingBlanks(value), charset);
}
