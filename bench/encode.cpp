#include "encode.h"

#include <QStringEncoder>

namespace {

constexpr char kHex[] = "0123456789ABCDEF";
constexpr qsizetype kLineWidth = 76;
constexpr qsizetype kWordCharacters = 12; ///< of text in one encoded word, so that it stays below 75 bytes

constexpr std::array kTransferNames = {"7bit", "8bit", "quoted-printable", "base64"};
static_assert(kTransferNames.size() == std::size_t(Transfer::Base64) + 1);

void appendEscape(QByteArray &out, char c)
{
    out.append('=').append(kHex[quint8(c) >> 4]).append(kHex[quint8(c) & 15]);
}

bool isPlain(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

QByteArray encodedWord(const QString &text, const QByteArray &charset)
{
    const QByteArray bytes = inCharset(text, charset);
    if (charset != "iso-8859-1" && charset != "windows-1252")
        return "=?" + charset + "?B?" + bytes.toBase64() + "?=";
    QByteArray word = "=?" + charset + "?Q?";
    for (const char c : bytes) {
        if (c == ' ')
            word += '_';
        else if (isPlain(c))
            word += c;
        else
            appendEscape(word, c);
    }
    return word + "?=";
}

/// How many characters from @p at on go into one word. They fill whole groups of base64: not every reader
/// goes on behind padding.
qsizetype wordLength(const QString &text, qsizetype at, const QByteArray &charset)
{
    qsizetype length = kWordCharacters;
    while (at + length < text.size() && inCharset(text.mid(at, length), charset).size() % 3 != 0)
        ++length;
    return length;
}

} // namespace

QByteArray inCharset(const QString &text, const QByteArray &charset)
{
    QStringEncoder encoder(charset == "us-ascii" ? "iso-8859-1" : charset.constData());
    // A set with shifts is back in ASCII only behind a line end.
    QByteArray bytes = encoder(text + u'\n');
    if (encoder.hasError())
        qFatal("a text does not fit into %s", charset.constData());
    bytes.chop(1);
    return bytes;
}

QByteArray quotedPrintable(const QByteArray &bytes)
{
    QByteArray out;
    out.reserve(bytes.size() + bytes.size() / 4);
    qsizetype lineStart = 0;
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        const char c = bytes[i];
        if (c == '\n') {
            out += c;
            lineStart = out.size();
            continue;
        }
        const bool lastOnLine = i + 1 == bytes.size() || bytes[i + 1] == '\n';
        if (out.size() - lineStart >= kLineWidth - 3) {
            out += "=\n";
            lineStart = out.size();
        }
        if (c == '=' || quint8(c) < ' ' || quint8(c) > '~' || (c == ' ' && lastOnLine))
            appendEscape(out, c);
        else
            out += c;
    }
    return out;
}

QByteArray base64Lines(const QByteArray &bytes)
{
    const QByteArray whole = bytes.toBase64();
    QByteArray lines;
    lines.reserve(whole.size() + whole.size() / kLineWidth + 1);
    for (qsizetype at = 0; at < whole.size(); at += kLineWidth)
        lines.append(QByteArrayView(whole).sliced(at, qMin(kLineWidth, whole.size() - at))).append('\n');
    return lines;
}

QByteArray transferEncoded(const QByteArray &bytes, Transfer transfer)
{
    switch (transfer) {
    case Transfer::QuotedPrintable: return quotedPrintable(bytes);
    case Transfer::Base64: return base64Lines(bytes);
    case Transfer::SevenBit:
    case Transfer::EightBit: break;
    }
    return bytes;
}

const char *transferName(Transfer transfer)
{
    return kTransferNames[std::size_t(transfer)];
}

QByteArray headerValue(const QString &text, const QByteArray &charset)
{
    const bool ascii = std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 0x80; });
    if (ascii)
        return text.toLatin1();
    QByteArray value;
    for (qsizetype at = 0; at < text.size();) {
        const qsizetype length = wordLength(text, at, charset);
        if (at > 0)
            value += "\n ";
        value += encodedWord(text.mid(at, length), charset);
        at += length;
    }
    return value;
}
