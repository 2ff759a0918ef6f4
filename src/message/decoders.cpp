#include "message/decoders.h"

#include "message/lineends.h"

#include <QtEndian>

#include <cstring>

namespace {

constexpr quint8 kNoDigit = 0x80;
constexpr qsizetype kMostGrowth = 4; ///< of uuencoded lines that count more bytes than they hold

constexpr std::array<quint8, 256> base64Digits()
{
    constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::array<quint8, 256> digits{};
    digits.fill(kNoDigit);
    for (quint8 value = 0; value < 64; ++value)
        digits[quint8(alphabet[value])] = value;
    return digits;
}
constexpr std::array<quint8, 256> hexDigits()
{
    std::array<quint8, 256> digits{};
    digits.fill(kNoDigit);
    for (quint8 value = 0; value < 16; ++value) {
        digits[quint8("0123456789ABCDEF"[value])] = value;
        digits[quint8("0123456789abcdef"[value])] = value;
    }
    return digits;
}
constexpr std::array<quint8, 256> kBase64 = base64Digits();

constexpr quint32 kNoGroup = 1; ///< the mark of a byte that is no digit; below the bits of a group

/// The digits at the place that they have in a group, which fills the upper three bytes.
constexpr std::array<quint32, 256> digitsAt(int shift)
{
    std::array<quint32, 256> placed{};
    for (std::size_t byte = 0; byte < placed.size(); ++byte)
        placed[byte] = kBase64[byte] == kNoDigit ? kNoGroup : quint32(kBase64[byte]) << shift;
    return placed;
}
constexpr std::array<quint32, 256> kFirst = digitsAt(26);
constexpr std::array<quint32, 256> kSecond = digitsAt(20);
constexpr std::array<quint32, 256> kThird = digitsAt(14);
constexpr std::array<quint32, 256> kFourth = digitsAt(8);
constexpr std::array<quint8, 256> kHex = hexDigits();

const char *findLineEnd(const char *from, const char *end)
{
    const void *found = std::memchr(from, '\n', std::size_t(end - from));
    return found ? static_cast<const char *>(found) : end;
}

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r';
}

/// Whether the next line with anything on it is base64 from end to end.
bool goesOnInBase64(QByteArrayView rest)
{
    const auto *from =
        std::find_if(rest.begin(), rest.end(), [](char c) { return !isBlank(c) && c != '\n'; });
    QByteArrayView behind(from, rest.end());
    const QByteArrayView line = takeLine(behind).trimmed();
    return std::all_of(line.begin(), line.end(),
                       [](char c) { return kBase64[quint8(c)] != kNoDigit || c == '='; });
}

/// The digits of one group of four, gathered singly where bytes that are none stand between them.
class Base64Group
{
public:
    bool isEmpty() const { return m_count == 0; }
    void add(quint8 digit, char *&out)
    {
        m_bits = m_bits << 6 | digit;
        if (++m_count == 4)
            finish(out);
    }
    /// Writes the whole bytes gathered so far.
    void finish(char *&out)
    {
        const quint32 bits = m_bits << (6 * (4 - m_count));
        for (int byte = 0; byte < m_count - 1; ++byte)
            *out++ = char(bits >> (16 - 8 * byte));
        m_bits = 0;
        m_count = 0;
    }

private:
    quint32 m_bits = 0;
    int m_count = 0;
};

/// Decodes groups of four digits as long as nothing else comes. Four bytes are written for each three, so
/// there must be one to spare.
void decodeWholeGroups(const char *&in, const char *end, char *&out)
{
    for (; end - in >= 4; in += 4, out += 3) {
        const quint32 bits =
            kFirst[quint8(in[0])] | kSecond[quint8(in[1])] | kThird[quint8(in[2])] | kFourth[quint8(in[3])];
        if (bits & kNoGroup)
            return;
        qToBigEndian(bits, out);
    }
}

/// Decodes one "=" at @p in, of which nothing more than its line is known.
void decodeEscape(const char *&in, const char *end, char *&out)
{
    if (end - in >= 3) {
        const quint8 high = kHex[quint8(in[1])];
        const quint8 low = kHex[quint8(in[2])];
        if (!((high | low) & kNoDigit)) {
            *out++ = char(high << 4 | low);
            in += 3;
            return;
        }
    }
    *out++ = *in++;
}

void decodeQuotedLine(const char *in, const char *end, char *&out)
{
    while (in < end) {
        const void *found = std::memchr(in, '=', std::size_t(end - in));
        const char *escape = found ? static_cast<const char *>(found) : end;
        std::memcpy(out, in, std::size_t(escape - in));
        out += escape - in;
        for (in = escape; in < end && *in == '=';)
            decodeEscape(in, end, out);
    }
}

int uuencodeDigit(QByteArrayView line, qsizetype index)
{
    return index < line.size() ? (line[index] - ' ') & 0x3f : 0;
}

void decodeUuencodeLine(QByteArrayView line, QByteArray &out)
{
    const int count = uuencodeDigit(line, 0);
    for (qsizetype in = 1, done = 0; done < count; in += 4) {
        quint32 bits = 0;
        for (qsizetype digit = 0; digit < 4; ++digit)
            bits = bits << 6 | quint32(uuencodeDigit(line, in + digit));
        for (int shift = 16; shift >= 0 && done < count; shift -= 8, ++done)
            out += char(bits >> shift);
    }
}

} // namespace

QByteArray decodeBase64(QByteArrayView encoded)
{
    QByteArray decoded(encoded.size() / 4 * 3 + 4, Qt::Uninitialized);
    char *out = decoded.data();
    Base64Group group;
    bool padded = false;
    const char *end = encoded.end();
    for (const char *in = encoded.begin(); in < end;) {
        if (group.isEmpty() && !padded)
            decodeWholeGroups(in, end, out);
        if (in == end)
            break;
        const char c = *in++;
        if (const quint8 digit = kBase64[quint8(c)]; digit != kNoDigit) {
            group.add(digit, out);
        } else if (c == '=') {
            group.finish(out);
            padded = true;
        } else if (c == '\n' && padded) {
            if (!goesOnInBase64(QByteArrayView(in, end)))
                break;
            padded = false;
        }
    }
    group.finish(out);
    decoded.truncate(out - decoded.constData());
    return decoded;
}

QByteArray decodeQuotedPrintable(QByteArrayView encoded)
{
    QByteArray decoded(encoded.size(), Qt::Uninitialized);
    char *out = decoded.data();
    const char *end = encoded.end();
    for (const char *in = encoded.begin(); in < end;) {
        const char *lineEnd = findLineEnd(in, end);
        const char *last = lineEnd;
        while (last > in && isBlank(last[-1]))
            --last;
        const bool soft = last > in && last[-1] == '=';
        decodeQuotedLine(in, soft ? last - 1 : last, out);
        if (lineEnd == end)
            break;
        if (!soft)
            *out++ = '\n';
        in = lineEnd + 1;
    }
    decoded.truncate(out - decoded.constData());
    return decoded;
}

bool isUuencodeLine(QByteArrayView line)
{
    if (line.isEmpty() || !std::all_of(line.begin(), line.end(), [](char c) { return c >= ' ' && c <= '`'; }))
        return false;
    const qsizetype digits = qsizetype((uuencodeDigit(line, 0) + 2) / 3) * 4;
    return line.size() <= 1 + digits + 1; // some add a checksum; blanks at the end may be lost
}

QByteArray decodeUuencode(QByteArrayView encoded)
{
    QByteArrayView rest = encoded;
    while (!rest.isEmpty() && !takeLine(rest).startsWith("begin ")) {
    }
    if (rest.isEmpty())
        rest = encoded;
    QByteArray decoded;
    decoded.reserve(rest.size() / 4 * 3);
    const qsizetype most = encoded.size() * kMostGrowth;
    while (!rest.isEmpty() && decoded.size() < most) {
        const QByteArrayView line = takeLine(rest);
        if (line.trimmed() == "end")
            break;
        if (isUuencodeLine(line))
            decodeUuencodeLine(line, decoded);
    }
    return decoded;
}
