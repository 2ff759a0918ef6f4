#include "compose/editing.h"
#include "compose/quotemarks.h"
#include "compose/references.h"
#include "message/ascii.h"
#include "message/charset.h"
#include "message/encodedword.h"

using namespace Qt::StringLiterals;

namespace {

constexpr QStringView kScheme = u"mailto:";

/// A "%" that is no escape stays, as people type it.
QByteArray percentDecoded(QStringView text)
{
    const QByteArray bytes = text.toUtf8();
    QByteArray out;
    out.reserve(bytes.size());
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        const bool isWhole = bytes[i] == '%' && i + 2 < bytes.size();
        const int high = isWhole ? hexDigit(bytes[i + 1]) : -1;
        const int low = isWhole ? hexDigit(bytes[i + 2]) : -1;
        const bool isEscape = high >= 0 && low >= 0;
        out += isEscape ? char(high << 4 | low) : bytes[i];
        i += isEscape ? 2 : 0;
    }
    return out;
}

/// Text for one line of a header: what would end the line, or could not be seen, goes.
QString lineOf(QStringView encoded)
{
    QString out;
    for (const QChar c : decodeHeaderText(percentDecoded(encoded)))
        out += c < u' ' || c == u'\x7F' || c == QChar::LineSeparator || c == QChar::ParagraphSeparator ? u' '
                                                                                                       : c;
    return out.trimmed();
}

/// Its lines end in "\n"; a separator would make a signature of what stands behind it.
QString bodyTextOf(QStringView encoded)
{
    const QString decoded = decodeUnlabelled(percentDecoded(encoded));
    QString out;
    out.reserve(decoded.size());
    for (qsizetype i = 0; i < decoded.size(); ++i) {
        const QChar c = decoded[i];
        if (c == u'\n' && out.endsWith(kSignatureSeparator) &&
            (out.size() == 3 || out[out.size() - 4] == u'\n'))
            out.chop(1);
        if (c == u'\r' && (i + 1 == decoded.size() || decoded[i + 1] != u'\n'))
            out += u'\n';
        else if ((c >= u' ' && c != u'\x7F') || c == u'\n' || c == u'\t')
            out += c;
    }
    return out;
}

/// The entries of @p encoded that hold an address; the commas between them are those that are not encoded.
void addAddresses(QString &list, QStringView encoded)
{
    while (!encoded.isEmpty()) {
        const qsizetype comma = encoded.indexOf(u',');
        const QStringView piece = comma < 0 ? encoded : encoded.first(comma);
        encoded = comma < 0 ? QStringView() : encoded.sliced(comma + 1);
        for (const Address &address : parseAddresses(lineOf(piece))) {
            if (address.address.isEmpty())
                continue;
            if (!list.isEmpty())
                list += u", ";
            list += formatAddress(address);
        }
    }
}

/// RFC 6068 section 4: a field that is not known to be harmless is not set.
void setField(Composition &composition, const QString &name, QStringView value)
{
    if (name == u"to")
        addAddresses(composition.to, value);
    else if (name == u"cc")
        addAddresses(composition.cc, value);
    else if (name == u"bcc")
        addAddresses(composition.bcc, value);
    else if (name == u"subject" && composition.subject.isEmpty())
        composition.subject = lineOf(value);
    else if (name == u"body" && composition.text.isEmpty())
        composition.text = bodyTextOf(value);
    else if (name == u"in-reply-to" && composition.inReplyTo.isEmpty())
        composition.references = composition.inReplyTo = usableIds(percentDecoded(value)).value(0);
}

} // namespace

std::optional<Composition> readMailto(const QString &url, const Identity &identity)
{
    const QStringView all = QStringView(url).trimmed();
    if (!all.startsWith(kScheme, Qt::CaseInsensitive))
        return {};
    Composition composition = newComposition(identity);
    const QStringView rest = all.sliced(kScheme.size());
    const qsizetype question = rest.indexOf(u'?');
    addAddresses(composition.to, question < 0 ? rest : rest.first(question));
    QStringView fields = question < 0 ? QStringView() : rest.sliced(question + 1);
    while (!fields.isEmpty()) {
        const qsizetype end = fields.indexOf(u'&');
        QStringView field = end < 0 ? fields : fields.first(end);
        fields = end < 0 ? QStringView() : fields.sliced(end + 1);
        if (field.startsWith(u"amp;")) // an "&" as HTML writes it
            field = field.sliced(4);
        const qsizetype equals = field.indexOf(u'=');
        if (equals > 0)
            setField(composition, QString::fromUtf8(percentDecoded(field.first(equals))).toLower(),
                     field.sliced(equals + 1));
    }
    return composition;
}
