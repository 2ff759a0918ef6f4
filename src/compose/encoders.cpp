#include "compose/encoders.h"

#include <cstring>

namespace {

constexpr char kUpperHex[] = "0123456789ABCDEF";
constexpr qsizetype kBase64LineBytes = 57; ///< make a line of 76
constexpr qsizetype kUuencodeLineBytes = 45;
constexpr qsizetype kQuotedPrintableWidth = 76;
constexpr qsizetype kYencWidth = 128;
constexpr qsizetype kYencPiece = 64 * 1024; ///< encoded at a time, so that room for the worst stays small
constexpr qsizetype kLongestLine = 998;

/// Two characters for each value of twelve bits: half a group of three bytes at once.
using PairTable = std::array<std::array<char, 2>, 4096>;

constexpr PairTable pairTable(const char *alphabet)
{
    PairTable table{};
    for (std::size_t value = 0; value < table.size(); ++value)
        table[value] = {alphabet[value >> 6], alphabet[value & 63]};
    return table;
}

constexpr PairTable kBase64Pairs =
    pairTable("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/");
// The grave accent stands for zero: transports drop blanks at the end of a line.
constexpr PairTable kUuencodePairs =
    pairTable("`!\"#$%&'()*+,-./0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_");

/// Four characters for every three bytes of @p size; missing bytes of the last group count as zeros.
char *encodeGroups(const PairTable &pairs, const uchar *in, qsizetype size, char *out)
{
    const auto put = [&](unsigned first, unsigned second, unsigned third) {
        const unsigned value = first << 16 | second << 8 | third;
        std::memcpy(out, pairs[value >> 12].data(), 2);
        std::memcpy(out + 2, pairs[value & 0xfff].data(), 2);
        out += 4;
    };
    for (; size >= 3; size -= 3, in += 3)
        put(in[0], in[1], in[2]);
    if (size > 0)
        put(in[0], size > 1 ? in[1] : 0, 0);
    return out;
}

/// Makes @p out longer by so many bytes that are to be written, and returns their place.
char *grow(QByteArray &out, qsizetype bytes)
{
    const qsizetype size = out.size();
    out.resize(size + bytes);
    return out.data() + size;
}

const uchar *unsignedBytes(QByteArrayView bytes)
{
    return reinterpret_cast<const uchar *>(bytes.data());
}

QByteArray inOneLine(const QByteArray &name)
{
    QByteArray line = name;
    std::replace_if(
        line.begin(), line.end(), [](char c) { return quint8(c) < ' ' || c == '\x7f'; }, ' ');
    return line.trimmed();
}

/// Writes text as quoted-printable, line by line.
class QuotedPrintableWriter
{
public:
    QuotedPrintableWriter(QByteArray &out, QByteArrayView text)
        : m_out(out)
        , m_text(text)
    {}

    void write()
    {
        while (m_at < m_text.size()) {
            if (const qsizetype plain = plainLength(); plain > 0)
                putPlain(plain);
            else if (m_text[m_at] == '\n')
                putLineEnd();
            else
                putEscape();
        }
    }

private:
    bool needsEscape(qsizetype at) const
    {
        const char c = m_text[at];
        if (c == ' ' || c == '\t')
            return at + 1 == m_text.size() || m_text[at + 1] == '\n';
        if (c == 'F' && (at == 0 || m_text[at - 1] == '\n'))
            return m_text.sliced(at).startsWith("From ");
        return quint8(c) <= ' ' || quint8(c) > '~' || c == '=';
    }
    /// Of the bytes that mean themselves, as many as one line may take.
    qsizetype plainLength() const
    {
        const qsizetype end = std::min(m_text.size(), m_at + kQuotedPrintableWidth);
        qsizetype at = m_at;
        while (at < end && !needsEscape(at))
            ++at;
        return at - m_at;
    }
    /// A line takes one character less than its width, which is kept for the "=" of a soft line break.
    qsizetype room() const { return kQuotedPrintableWidth - 1 - m_column; }

    void breakLine()
    {
        m_out += "=\n";
        m_column = 0;
    }
    void putPlain(qsizetype length)
    {
        if (room() == 0)
            breakLine();
        length = std::min(length, room());
        m_out += m_text.sliced(m_at, length);
        m_at += length;
        m_column += length;
    }
    void putEscape()
    {
        if (room() < 3)
            breakLine();
        const quint8 byte = quint8(m_text[m_at++]);
        const char escape[] = {'=', kUpperHex[byte >> 4], kUpperHex[byte & 15]};
        m_out.append(escape, 3);
        m_column += 3;
    }
    void putLineEnd()
    {
        if (m_at > 0 && m_text[m_at - 1] == '\r') {
            putEscape();
            return breakLine();
        }
        m_out += '\n';
        m_column = 0;
        ++m_at;
    }

    QByteArray &m_out;
    QByteArrayView m_text;
    qsizetype m_at = 0;
    qsizetype m_column = 0;
};

bool isCriticalInYenc(char c)
{
    return c == '\0' || c == '\n' || c == '\r' || c == '=';
}

/// The lines of a yEnc block, given in pieces.
class YencWriter
{
public:
    explicit YencWriter(QByteArray &out)
        : m_out(out)
    {}

    void write(QByteArrayView piece, bool isLast)
    {
        const qsizetype start = m_out.size();
        char *const begin = grow(m_out, 3 * piece.size()); // each escaped and on a line of its own
        char *to = begin;
        for (qsizetype i = 0; i < piece.size(); ++i)
            to = put(char(piece[i] + 42), isLast && i + 1 == piece.size(), to);
        m_out.truncate(start + (to - begin));
    }

private:
    char *put(char c, bool isLast, char *to)
    {
        const bool first = m_column == 0;
        const bool last = isLast || m_column + 1 >= kYencWidth;
        const bool escapes =
            isCriticalInYenc(c) || (first && c == '.') || ((first || last) && (c == ' ' || c == '\t'));
        if (escapes)
            *to++ = '=';
        *to++ = escapes ? char(c + 64) : c;
        m_column += escapes ? 2 : 1;
        if (isLast || m_column >= kYencWidth) {
            *to++ = '\n';
            m_column = 0;
        }
        return to;
    }

    QByteArray &m_out;
    qsizetype m_column = 0;
};

} // namespace

qsizetype base64LinesSize(qsizetype bytes)
{
    return (bytes + 2) / 3 * 4 + (bytes + kBase64LineBytes - 1) / kBase64LineBytes;
}

void appendBase64Lines(QByteArray &out, QByteArrayView bytes)
{
    char *to = grow(out, base64LinesSize(bytes.size()));
    const uchar *from = unsignedBytes(bytes);
    for (qsizetype left = bytes.size(); left > 0; left -= kBase64LineBytes, from += kBase64LineBytes) {
        to = encodeGroups(kBase64Pairs, from, std::min(left, kBase64LineBytes), to);
        if (left < kBase64LineBytes)
            for (qsizetype missing = (3 - left % 3) % 3; missing > 0; --missing)
                to[-missing] = '=';
        *to++ = '\n';
    }
}

void appendQuotedPrintable(QByteArray &out, QByteArrayView text)
{
    QuotedPrintableWriter(out, text).write();
}

void appendUuencodeBlock(QByteArray &out, QByteArrayView bytes, const QByteArray &name)
{
    out += "begin 644 " + inOneLine(name) + '\n';
    const qsizetype lines = (bytes.size() + kUuencodeLineBytes - 1) / kUuencodeLineBytes;
    const qsizetype size = (bytes.size() + 2) / 3 * 4 + 2 * lines;
    char *to = grow(out, size);
    const uchar *from = unsignedBytes(bytes);
    for (qsizetype left = bytes.size(); left > 0; left -= kUuencodeLineBytes, from += kUuencodeLineBytes) {
        const qsizetype length = std::min(left, kUuencodeLineBytes);
        *to++ = char(' ' + length);
        to = encodeGroups(kUuencodePairs, from, length, to);
        *to++ = '\n';
    }
    out += "`\nend\n";
}

void appendYencBlock(QByteArray &out, QByteArrayView bytes, const QByteArray &name)
{
    const QByteArray size = QByteArray::number(bytes.size());
    out += "=ybegin line=" + QByteArray::number(kYencWidth) + " size=" + size + " name=" + inOneLine(name) +
           '\n';
    YencWriter writer(out);
    for (qsizetype at = 0; at < bytes.size(); at += kYencPiece)
        writer.write(bytes.sliced(at, std::min(kYencPiece, bytes.size() - at)),
                     at + kYencPiece >= bytes.size());
    out += "=yend size=" + size + '\n';
}

QByteArray encodeBase64Lines(QByteArrayView bytes)
{
    QByteArray out;
    appendBase64Lines(out, bytes);
    return out;
}

QByteArray encodeQuotedPrintable(QByteArrayView text)
{
    QByteArray out;
    out.reserve(text.size() + text.size() / 8);
    appendQuotedPrintable(out, text);
    return out;
}

QByteArray encodeUuencodeBlock(QByteArrayView bytes, const QByteArray &name)
{
    QByteArray out;
    appendUuencodeBlock(out, bytes, name);
    return out;
}

QByteArray encodeYencBlock(QByteArrayView bytes, const QByteArray &name)
{
    QByteArray out;
    appendYencBlock(out, bytes, name);
    return out;
}

bool canGoUnencoded(QByteArrayView text)
{
    if (text.contains('\r') || text.contains('\0'))
        return false;
    for (qsizetype at = 0; text.size() - at > kLongestLine;) {
        const qsizetype end = text.indexOf('\n', at);
        if (end < 0 || end - at > kLongestLine)
            return false;
        at = end + 1;
    }
    return true;
}
