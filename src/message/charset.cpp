#include "message/charset.h"

#include <QStringDecoder>
#include <QStringEncoder>

namespace {

constexpr char16_t kSubstitute = 0x1a; ///< what some converters put for what does not fit, instead of U+FFFD
constexpr qsizetype kLongestName = 64;

bool isNameCharacter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' ||
           c == '_' || c == ':' || c == '+' || c == '-';
}

/// The name as the toolkit wants it; empty when it is none.
QByteArray safeName(QByteArrayView charset)
{
    const QByteArray name = charset.trimmed().toByteArray().toLower();
    if (name.isEmpty() || name.size() > kLongestName || name == "locale" || name == "system" ||
        !std::all_of(name.begin(), name.end(), isNameCharacter))
        return {};
    if (name == "utf-8" || name == "windows-1252") // nearly always
        return name;
    // Names of the wild that no converter knows.
    if (name == "utf8" || name == "utf-8-mac" || name == "x-unicode-2-0-utf-8" || name == "unicode-1-1-utf-8")
        return "utf-8";
    if (name == "x-unknown" || name == "unknown-8bit" || name == "x-user-defined")
        return {};
    if (name == "ansi_x3.4-1968" || name == "ascii" || name == "us-ascii")
        return "windows-1252"; // who labels eight bits as ASCII means his own Windows, and ASCII is part of
                               // it
    if (name == "iso-8859-1" || name == "latin1" || name == "iso8859-1")
        return "windows-1252"; // 0x80 to 0x9f are typographic quotes far more often than control characters
    if (name == "ks_c_5601-1987" || name == "ks_c_5601-1989")
        return "cp949";
    if (name == "gb2312" || name == "gbk" || name == "x-gbk")
        return "gb18030"; // a superset, and what is written under the narrower names
    return name;
}

/// windows-1252 from 0x80 to 0x9f; everywhere else it is Latin-1. The five that it leaves undefined stay
/// control characters.
constexpr char16_t kWindows1252[] = {
    0x20ac, 0x0081, 0x201a, 0x0192, 0x201e, 0x2026, 0x2020, 0x2021, 0x02c6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008d, 0x017d, 0x008f, 0x0090, 0x2018, 0x2019, 0x201c, 0x201d, 0x2022,
    0x2013, 0x2014, 0x02dc, 0x2122, 0x0161, 0x203a, 0x0153, 0x009d, 0x017e, 0x0178,
};
static_assert(std::size(kWindows1252) == 0x20);

/// The set of most mail that is not UTF-8, ten times faster than through the toolkit's converter.
QString decodeWindows1252(QByteArrayView bytes)
{
    QString text = QString::fromLatin1(bytes);
    const auto moves = [](QChar c) { return c.unicode() >= 0x80 && c.unicode() < 0xa0; };
    for (auto at = std::find_if(text.begin(), text.end(), moves); at != text.end();
         at = std::find_if(at + 1, text.end(), moves))
        *at = kWindows1252[at->unicode() - 0x80];
    return text;
}

} // namespace

bool hasConverter(QByteArrayView charset)
{
    const QByteArray name = safeName(charset);
    return !name.isEmpty() && QStringDecoder(name.constData()).isValid();
}

std::optional<QString> decodeCharset(QByteArrayView bytes, QByteArrayView charset)
{
    const QByteArray name = safeName(charset);
    if (name.isEmpty())
        return {};
    if (name == "windows-1252")
        return decodeWindows1252(bytes);
    QStringDecoder decoder(name.constData(), QStringDecoder::Flag::Stateless);
    if (!decoder.isValid())
        return {};
    // The toolkit's converters for sets of several bytes drop a character cut at the end; a line end behind
    // it makes them tell.
    const bool mayBeCut = !bytes.isEmpty() && quint8(bytes.back()) >= 0x80 && !name.startsWith("utf-");
    const QByteArray ended = mayBeCut ? bytes.toByteArray() + '\n' : QByteArray();
    QString text = decoder(mayBeCut ? QByteArrayView(ended) : bytes);
    if (mayBeCut && text.endsWith(QChar::LineFeed))
        text.chop(1);
    if (decoder.hasError())
        text.replace(QChar(kSubstitute), QChar(QChar::ReplacementCharacter));
    return text;
}

std::optional<QByteArray> encodeCharset(const QString &text, QByteArrayView charset)
{
    QByteArray name = safeName(charset);
    if (name.isEmpty())
        return {};
    if (name == "windows-1252" || name == "gb18030")
        name = charset.trimmed().toByteArray().toLower(); // read generously, written to the letter
    QStringEncoder encoder(name.constData());
    if (!encoder.isValid())
        return {};
    // A stateful set is back in ASCII only behind a line end.
    QByteArray bytes = encoder(text + u'\n');
    if (encoder.hasError() || !bytes.endsWith('\n'))
        return {};
    bytes.chop(1);
    return bytes;
}

QString decodeUnlabelled(QByteArrayView bytes, QByteArrayView fallback)
{
    if (isUtf8(bytes))
        return QString::fromUtf8(bytes);
    if (const std::optional<QString> text = decodeCharset(bytes, fallback))
        return *text;
    return decodeCharset(bytes, "windows-1252").value_or(QString::fromLatin1(bytes));
}

bool isUtf8(QByteArrayView bytes)
{
    return bytes.isValidUtf8();
}
