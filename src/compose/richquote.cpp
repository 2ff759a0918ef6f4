#include "compose/richquote.h"

#include "html/sanitizer.h"
#include "message/messageid.h"

#include <QHash>

using namespace Qt::StringLiterals;

namespace {

constexpr QByteArrayView kPictureTypes[] = {"image/png",  "image/jpeg", "image/jpg",  "image/pjpeg",
                                            "image/gif",  "image/bmp",  "image/webp", "image/x-png",
                                            "image/tiff", "image/avif", "image/heic"};

bool isPicture(const MIMEPart &part)
{
    return std::find(std::begin(kPictureTypes), std::end(kPictureTypes), QByteArrayView(part.contenttype)) !=
           std::end(kPictureTypes);
}

QByteArray withoutBrackets(QByteArray id)
{
    return id.replace('<', QByteArray()).replace('>', QByteArray()).trimmed();
}

/// Gives the pictures in what the sanitiser wrote new identifiers, and takes away those that are no parts of
/// the message.
class PictureTaker
{
public:
    PictureTaker(const MIMEContext &mime, const QString &sender, RichQuote &result)
        : m_mime(mime)
        , m_sender(sender)
        , m_result(result)
    {
        for (int part = mime.count() - 1; part >= 0; --part) // of several the first counts
            if (isPicture(mime.part(part)) && !mime.part(part).contentid.isEmpty())
                m_parts.insert(withoutBrackets(mime.part(part).contentid), part);
    }

    QString run(const QString &html)
    {
        static constexpr QStringView kTag = u"<img "; // in text every "<" is a reference
        QString out;
        out.reserve(html.size());
        QStringView rest = html;
        for (qsizetype at; (at = rest.indexOf(kTag)) >= 0;) {
            const qsizetype end = rest.indexOf(u'>', at);
            if (end < 0)
                break;
            out += rest.first(at);
            addTag(out, rest.sliced(at, end + 1 - at));
            rest = rest.sliced(end + 1);
        }
        out += rest;
        return out;
    }

private:
    void addTag(QString &out, QStringView tag)
    {
        static constexpr QStringView kSource = u" src=\"";
        const qsizetype source = tag.indexOf(kSource);
        const qsizetype from = source + kSource.size();
        const qsizetype end = source < 0 ? -1 : tag.indexOf(u'"', from);
        const QString id = end < 0 ? QString() : newId(tag.sliced(from, end - from));
        if (id.isEmpty())
            return;
        out += tag.first(from);
        out += u"cid:"_s + id;
        out += tag.sliced(end);
    }

    QString newId(QStringView source)
    {
        if (!source.startsWith(u"cid:", Qt::CaseInsensitive))
            return {};
        QByteArray wanted = source.sliced(4).toUtf8();
        wanted.replace("&lt;", "<").replace("&gt;", ">").replace("&quot;", "\"").replace("&amp;", "&");
        const int part = m_parts.value(withoutBrackets(QByteArray::fromPercentEncoding(wanted)), -1);
        if (part < 0)
            return {};
        QString &id = m_ids[part];
        if (id.isEmpty()) {
            Attachment picture = attachmentFrom(m_mime, part);
            picture.contentId = withoutBrackets(newMessageId(m_sender));
            id = QString::fromLatin1(picture.contentId);
            m_result.pictures.append(picture);
            m_result.parts.append(part);
        }
        return id;
    }

    const MIMEContext &m_mime;
    QString m_sender;
    RichQuote &m_result;
    QHash<QByteArray, int> m_parts; ///< by their Content-IDs
    QHash<int, QString> m_ids;      ///< the new ones, by part
};

/// The places to break a word that the sanitiser put into long addresses and the like.
QString withoutBreakMarks(const QString &html)
{
    const auto isAscii = [](QChar c) { return c > u' ' && c < u'\x7F'; };
    QString out;
    out.reserve(html.size());
    for (qsizetype i = 0; i < html.size(); ++i)
        if (html[i] != u'\x200B' || i == 0 || i + 1 == html.size() || !isAscii(html[i - 1]) ||
            !isAscii(html[i + 1]))
            out += html[i];
    return out;
}

/// The content of the body, in a block that has the body's own style.
QString inBlock(const QString &document)
{
    const qsizetype body = document.indexOf(u"<body");
    const qsizetype open = body < 0 ? -1 : document.indexOf(u'>', body);
    const qsizetype close = document.lastIndexOf(u"</body>");
    if (open < 0 || close < open)
        return {};
    return u"<div"_s + document.sliced(body + 5, open - body - 5) + u'>' +
           document.sliced(open + 1, close - open - 1) + u"</div>"_s;
}

} // namespace

RichQuote richQuote(const MessageBody &body, const MIMEContext &mime, const QString &sender, qsizetype most)
{
    RichQuote quote;
    PictureTaker pictures(mime, sender, quote);
    HtmlOptions options;
    options.cap = most;
    for (const QString &html : body.html) {
        const SafeHtml safe = sanitizeHtml(html, options);
        quote.html += pictures.run(withoutBreakMarks(inBlock(safe.html)));
        quote.isCut |= safe.truncated;
    }
    return quote;
}
