#include "compose/messagebody.h"

#include "html/htmlescape.h"
#include "html/htmltotext.h"
#include "html/sanitizer.h"
#include "message/headerblock.h"
#include "message/lineends.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// The soft line breaks of a flowed text undone (RFC 3676 section 4).
class Unflowing
{
public:
    explicit Unflowing(bool delsp)
        : m_delsp(delsp)
    {}

    QString run(const QString &text)
    {
        m_out.reserve(text.size());
        QStringView rest = text;
        while (!rest.isEmpty()) {
            const qsizetype end = rest.indexOf(u'\n');
            add(end < 0 ? rest : rest.first(end));
            rest = end < 0 ? QStringView() : rest.sliced(end + 1);
        }
        return std::move(m_out);
    }

private:
    void add(QStringView line)
    {
        qsizetype depth = 0;
        while (depth < line.size() && line[depth] == u'>')
            ++depth;
        QStringView content = line.sliced(depth);
        const bool isStuffed = content.startsWith(u' ');
        if (isStuffed)
            content = content.sliced(1);
        const bool isSeparator = content == u"-- ";
        const bool flows = content.endsWith(u' ') && !isSeparator;
        if (!m_flowing || depth != m_depth || isSeparator) {
            begin(depth, isStuffed && depth == 0 && content.startsWith(u'>'));
            m_depth = depth;
        }
        m_out += flows && m_delsp ? content.chopped(1) : content;
        m_flowing = flows;
    }

    void begin(qsizetype depth, bool keepsBlank)
    {
        if (!m_first)
            m_out += u'\n';
        m_first = false;
        m_out += QString(depth, u'>');
        if (depth > 0 || keepsBlank) // the blank tells the line from a quoted one
            m_out += u' ';
    }

    bool m_delsp;
    bool m_first = true;
    bool m_flowing = false;
    qsizetype m_depth = 0;
    QString m_out;
};

QString htmlOfPlain(const QString &text)
{
    return u"<div style=\"white-space: pre-wrap\">"_s + htmlEscaped(text) + u"</div>"_s;
}

/// One text of a message in the forms that there are of it.
struct Piece
{
    QString plain;
    QString html;
    bool flows = false;
    QByteArray charset;
    bool hasPlain = false;

    bool isEmpty() const { return !hasPlain && html.isEmpty(); }
};

class BodyReader
{
public:
    explicit BodyReader(const MIMEContext &mime)
        : m_mime(mime)
        , m_children(std::size_t(mime.count()) + 1)
    {
        for (int part = 0; part < mime.count(); ++part)
            m_children[std::size_t(mime.part(part).parent + 1)].append(part);
    }

    MessageBody run()
    {
        const QList<Piece> pieces =
            m_mime.type() == AlternativePart ? alternative(-1) : all(m_children.front());
        std::sort(m_others.begin(), m_others.end());
        return joined(pieces);
    }

private:
    QList<Piece> all(const QList<int> &parts)
    {
        QList<Piece> pieces;
        for (const int part : parts)
            pieces += read(part);
        return pieces;
    }

    QList<Piece> read(int part)
    {
        const MIMEPart &entry = m_mime.part(part);
        if (entry.type == AlternativePart)
            return alternative(part);
        if (isMultipartCategory(entry.type))
            return all(m_children[std::size_t(part + 1)]);
        if (isText(entry)) {
            m_anyText = true;
            all(m_children[std::size_t(part + 1)]); // blocks of uuencode stand below the text that holds them
            return {textOf(part)};
        }
        if (entry.type != PgpSignaturePart && entry.type != PgpEncryptedPart)
            m_others.append(part);
        return {};
    }

    /// A text with a name is a file, unless it is the first one or meant to be read in its place.
    bool isText(const MIMEPart &entry) const
    {
        const bool isReadable = entry.type == OtherTextPart &&
                                (entry.contenttype == "text/plain" || entry.contenttype == "text/markdown" ||
                                 entry.contenttype == "text/enriched");
        if (entry.type != PlainTextPart && entry.type != HtmlPart && !isReadable)
            return false;
        return entry.disposition == "inline" ||
               (entry.disposition != "attachment" && (entry.name.isEmpty() || !m_anyText));
    }

    Piece textOf(int part) const
    {
        const MIMEPart &entry = m_mime.part(part);
        Piece piece;
        if (entry.type == HtmlPart) {
            piece.html = m_mime.decodedText(part);
            return piece;
        }
        piece.plain = m_mime.displayText(part);
        piece.hasPlain = true;
        piece.flows = entry.flowed;
        if (entry.flowed)
            piece.plain = Unflowing(entry.delsp).run(piece.plain);
        if (entry.labelled)
            piece.charset = entry.charset;
        return piece;
    }

    /// The plain form of the first part that has one, the HTML of the last (RFC 2046 section 5.1.4).
    QList<Piece> alternative(int part)
    {
        QList<Piece> plain;
        QList<Piece> rich;
        const bool anyBefore = m_anyText;
        for (const int child : m_children[std::size_t(part + 1)]) {
            m_anyText = anyBefore;
            const QList<Piece> pieces = read(child);
            const auto isRich = [](const Piece &piece) { return !piece.html.isEmpty(); };
            const auto isWritten = [](const Piece &piece) { return !piece.plain.trimmed().isEmpty(); };
            if (std::any_of(pieces.begin(), pieces.end(), isRich))
                rich = pieces;
            else if (plain.isEmpty() && std::any_of(pieces.begin(), pieces.end(), isWritten))
                plain = pieces;
        }
        m_anyText = true;
        if (plain.isEmpty() || rich.isEmpty())
            return plain.isEmpty() ? rich : plain;
        return {joinedForms(plain, rich)};
    }

    static Piece joinedForms(const QList<Piece> &plain, const QList<Piece> &rich)
    {
        Piece both;
        both.hasPlain = true;
        both.charset = plain.first().charset;
        for (const Piece &piece : plain) {
            both.plain += piece.plain;
            both.flows |= piece.flows;
        }
        for (const Piece &piece : rich)
            both.html += piece.html.isEmpty() ? htmlOfPlain(piece.plain) : piece.html;
        return both;
    }

    MessageBody joined(const QList<Piece> &pieces)
    {
        MessageBody body;
        body.others = m_others;
        bool isRich = false;
        for (const Piece &piece : pieces) {
            QString text = piece.plain;
            if (!piece.hasPlain && !piece.html.isEmpty()) {
                text = htmlToText(piece.html, {.cap = HtmlOptions::kEverything});
                body.isFromHtml = true;
            }
            body.isCut |= piece.html.size() > HtmlOptions::kEverything;
            if (!body.text.isEmpty() && !body.text.endsWith(u'\n'))
                body.text += u'\n';
            body.text += text;
            body.isFlowing |= piece.flows || !piece.hasPlain;
            isRich |= !piece.html.isEmpty();
            if (body.charset.isEmpty())
                body.charset = piece.charset;
        }
        for (const Piece &piece : pieces)
            if (isRich && !piece.isEmpty())
                body.html.append(piece.html.isEmpty() ? htmlOfPlain(piece.plain) : piece.html);
        return body;
    }

    const MIMEContext &m_mime;
    std::vector<QList<int>> m_children;
    QList<int> m_others;
    bool m_anyText = false;
};

bool isTypeName(QByteArrayView type)
{
    const auto isToken = [](char c) {
        return c > ' ' && c < 0x7f && !QByteArrayView("()<>@,;:\\\"[]?=").contains(c);
    };
    return type.count('/') == 1 && type.size() < 128 && std::all_of(type.begin(), type.end(), isToken);
}

/// Whether a header field is the program's own.
bool isControlHeader(QByteArrayView name)
{
    static constexpr QByteArrayView kControl("X-VELMAR-");
    return name.size() >= kControl.size() &&
           name.first(kControl.size()).compare(kControl, Qt::CaseInsensitive) == 0;
}

} // namespace

MessageBody bodyOf(const MIMEContext &mime)
{
    return BodyReader(mime).run();
}

QByteArray withoutPrivateHeaders(const QByteArray &original)
{
    QByteArray message = withUnixLineEnds(original);
    const HeaderExtent extent = headerExtent(message);
    // On its way a CR may become the end of a line; no field hides behind one, and no header ends there.
    for (qsizetype at = message.indexOf('\r'); at >= 0 && at < extent.length; at = message.indexOf('\r', at))
        message[at] = at + 1 < message.size() && message[at + 1] > ' ' ? '\n' : ' ';
    QByteArray out;
    out.reserve(message.size());
    QByteArrayView rest = QByteArrayView(message).first(extent.length);
    bool isPrivate = false;
    while (!rest.isEmpty()) {
        const qsizetype end = rest.indexOf('\n');
        const QByteArrayView line = end < 0 ? rest : rest.first(end + 1);
        rest = rest.sliced(line.size());
        if (!line.startsWith(' ') && !line.startsWith('\t')) {
            const QByteArrayView name = line.first(std::max<qsizetype>(line.indexOf(':'), 0)).trimmed();
            isPrivate = isControlHeader(name) || name.compare("Bcc", Qt::CaseInsensitive) == 0 ||
                        name.compare("Resent-Bcc", Qt::CaseInsensitive) == 0;
        }
        if (!isPrivate)
            out += line;
    }
    return out.append(QByteArrayView(message).sliced(extent.length));
}

Attachment attachmentFrom(const MIMEContext &mime, int part)
{
    const MIMEPart &entry = mime.part(part);
    Attachment attachment;
    attachment.name = entry.fileName();
    attachment.contentType = isTypeName(entry.contenttype) ? entry.contenttype : "application/octet-stream";
    attachment.data = mime.decodedBytes(part);
    if (isTextCategory(entry.type) && entry.labelled && isTypeName("x/" + entry.charset))
        attachment.contentType += "; charset=" + entry.charset;
    if (entry.contenttype == "message/rfc822")
        attachment.data = withoutPrivateHeaders(attachment.data);
    return attachment;
}
