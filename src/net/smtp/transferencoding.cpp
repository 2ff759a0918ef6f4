#include "net/smtp/transferencoding.h"

#include "message/headerblock.h"
#include "message/lineends.h"
#include "message/message.h"
#include "message/mimecontext.h"

#include <algorithm>
#include <vector>

namespace {

constexpr qsizetype kLongestEncodedLine = 76; // RFC 2045 6.7 (5), the "=" of a soft line break with it

struct Edit
{
    qsizetype at;
    qsizetype length;
    QByteArray text;
};

bool hasEightBit(QByteArrayView text)
{
    return std::any_of(text.begin(), text.end(), [](char c) { return uchar(c) >= 0x80; });
}

bool hasLongLine(QByteArrayView text)
{
    while (!text.isEmpty()) {
        if (takeLine(text).size() > kLongestMailLine)
            return true;
    }
    return false;
}

QByteArray quotedByte(char c)
{
    constexpr char kDigits[] = "0123456789ABCDEF";
    return QByteArray("=") + kDigits[uchar(c) >> 4] + kDigits[uchar(c) & 15];
}

void appendQuotedLine(QByteArray &out, QByteArrayView line)
{
    qsizetype column = 0;
    for (qsizetype i = 0; i < line.size(); ++i) {
        const char c = line[i];
        const bool isLast = i + 1 == line.size();
        const bool isPlain = (c > ' ' && c < 0x7f && c != '=') || ((c == ' ' || c == '\t') && !isLast);
        const QByteArray piece = isPlain ? QByteArray(1, c) : quotedByte(c);
        if (column + piece.size() > kLongestEncodedLine - (isLast ? 0 : 1)) {
            out += "=\n";
            column = 0;
        }
        out += piece;
        column += piece.size();
    }
}

QByteArray quotedPrintable(QByteArrayView text)
{
    QByteArray out;
    out.reserve(text.size() + text.size() / 4);
    while (!text.isEmpty()) {
        const qsizetype feed = text.indexOf('\n');
        appendQuotedLine(out, text.first(feed < 0 ? text.size() : feed));
        if (feed >= 0)
            out += '\n';
        text = text.sliced(feed < 0 ? text.size() : feed + 1);
    }
    return out;
}

/// The field of that name in the header that begins at @p from: where it stands in @p text, its end included.
std::optional<Edit> findField(QByteArrayView text, qsizetype from, qsizetype end, QByteArrayView name)
{
    for (qsizetype at = from; at < end;) {
        qsizetype next = text.indexOf('\n', at) + 1;
        while (next > 0 && next < end && (text[next] == ' ' || text[next] == '\t'))
            next = text.indexOf('\n', next) + 1;
        next = next <= 0 ? end : std::min(next, end);
        const QByteArrayView field = text.sliced(at, next - at);
        const qsizetype colon = field.indexOf(':');
        if (colon > 0 && field.first(colon).trimmed().compare(name, Qt::CaseInsensitive) == 0)
            return Edit{at, next - at, {}};
        at = next;
    }
    return {};
}

/// Goes over the parts of one message, and into the messages that it encloses.
class Reencoder
{
public:
    Reencoder(const QByteArray &message, bool mayHaveEightBit)
        : m_text(message)
        , m_mayHaveEightBit(mayHaveEightBit)
        , m_message(message)
        , m_parts(m_message.mime())
    {}

    QByteArray run()
    {
        for (int i = 0; i < m_parts.count(); ++i)
            lookAt(i);
        if (m_edits.empty())
            return m_text;
        const HeaderExtent extent = headerExtent(m_text);
        relabel(0, extent, m_parts.type());
        if (!m_message.hasHeader("MIME-Version")) // without it nobody would decode
            m_edits.push_back({extent.length, 0, "MIME-Version: 1.0\n"});
        return edited();
    }

private:
    /// Containers must not claim less than what they hold, and need not claim more.
    void relabel(qsizetype from, const HeaderExtent &extent, int type)
    {
        if (isMultipartCategory(type) && !isSealed(type) && !m_mayHaveEightBit)
            setEncoding(from, from + extent.length, {});
    }

    static bool isSealed(int category) { return category == SignedPart || category == EncryptedPart; }

    /// Whether a part, or one that it stands in, must stay as it is to the byte.
    bool isSealedIn(int index) const
    {
        if (isSealed(m_parts.type()))
            return true;
        for (int at = index; at >= 0; at = m_parts.part(at).parent) {
            if (isSealed(m_parts.part(at).type))
                return true;
        }
        return false;
    }

    void lookAt(int index)
    {
        const MIMEPart &part = m_parts.part(index);
        if (part.within >= 0 || isSealedIn(index))
            return;
        const qsizetype headerEnd = headerEndOf(part);
        if (isMultipartCategory(part.type) || isEnclosedCategory(part.type)) {
            if (!m_mayHaveEightBit && part.encoding != Base64 && part.encoding != QuotedPrintable)
                setEncoding(part.hdroffset, headerEnd, {});
            return;
        }
        const bool isOpen = part.encoding == SevenBit || part.encoding == EightBit || part.encoding == Binary;
        const QByteArrayView content = QByteArrayView(m_text).sliced(part.offset, part.length);
        const bool isBlock = part.hdroffset >= part.offset; // of a uuencoded file within a text
        if (!isOpen || isBlock)
            return;
        if (!hasLongLine(content) && (m_mayHaveEightBit || !hasEightBit(content)))
            return;
        setEncoding(part.hdroffset, headerEnd, "Content-Transfer-Encoding: quoted-printable\n");
        m_edits.push_back({part.offset, part.length, quotedPrintable(content)});
    }

    qsizetype headerEndOf(const MIMEPart &part) const
    {
        const qsizetype size = part.offset - part.hdroffset;
        return part.hdroffset + headerExtent(QByteArrayView(m_text).sliced(part.hdroffset, size)).length;
    }

    /// Replaces the field; an empty one means 7bit.
    void setEncoding(qsizetype from, qsizetype end, const QByteArray &field)
    {
        std::optional<Edit> old = findField(m_text, from, end, "Content-Transfer-Encoding");
        if (!old && field.isEmpty())
            return;
        Edit edit = old.value_or(Edit{end, 0, {}});
        edit.text = field;
        m_edits.push_back(edit);
    }

    QByteArray edited()
    {
        std::stable_sort(m_edits.begin(), m_edits.end(),
                         [](const Edit &a, const Edit &b) { return a.at < b.at; });
        QByteArray out;
        qsizetype at = 0;
        for (const Edit &edit : m_edits) {
            if (edit.at < at)
                continue;
            out += QByteArrayView(m_text).sliced(at, edit.at - at);
            out += edit.text;
            at = edit.at + edit.length;
        }
        return out += QByteArrayView(m_text).sliced(at);
    }

    const QByteArray m_text;
    const bool m_mayHaveEightBit;
    const Message m_message;
    const MIMEContext &m_parts;
    std::vector<Edit> m_edits;
};

} // namespace

QByteArray withFittingEncodings(const QByteArray &message, bool mayHaveEightBit)
{
    return Reencoder(message, mayHaveEightBit).run();
}
