#include "message/encodedword.h"

#include "message/ascii.h"
#include "message/charset.h"

using namespace Qt::StringLiterals;

namespace {

constexpr char kUpperHex[] = "0123456789ABCDEF";
constexpr qsizetype kRereadFactor = 16; ///< how often its own length a value's decoded text is searched again
constexpr qsizetype kRereadLeast = 4096;
constexpr qsizetype kLongestCharacter = 4; ///< in bytes, in any character set
constexpr qsizetype kLongestWord = 900;    ///< with more no server takes the line (RFC 5321 4.5.3.1.6)

QByteArray decodeQ(QByteArrayView text)
{
    QByteArray bytes;
    bytes.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const bool escape = text[i] == '=' && i + 2 < text.size();
        const int high = escape ? hexDigit(text[i + 1]) : -1;
        const int low = escape ? hexDigit(text[i + 2]) : -1;
        if (high >= 0 && low >= 0) {
            bytes.append(char(high << 4 | low));
            i += 2;
        } else {
            bytes.append(text[i] == '_' ? ' ' : text[i]);
        }
    }
    return bytes;
}

/// Base64; what follows padding is a stretch of its own, as where a writer joined two.
QByteArray decodeB(const QByteArray &text)
{
    QByteArray bytes;
    const QList<QByteArray> stretches = text.split('=');
    for (const QByteArray &stretch : stretches)
        bytes.append(QByteArray::fromBase64(stretch));
    return bytes;
}

/// Characters outside ASCII have no place in a word; those that stand there mean themselves.
QByteArray asBytes(QStringView text, QByteArrayView charset)
{
    const bool ascii = std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 0x80; });
    if (ascii)
        return text.toLatin1();
    return encodeCharset(text.toString(), charset).value_or(text.toUtf8());
}

QString asText(const QByteArray &bytes, QByteArrayView charset)
{
    return decodeCharset(bytes, charset).value_or(QString::fromLatin1(bytes));
}

struct Word
{
    QByteArray charset;
    QByteArray bytes;
    qsizetype begin = 0;
    qsizetype end = 0;
};

/// Reads a value from left to right. Decoded text that may begin a word goes back in front of what is still
/// to be read: it is shorter than the word it came from, so it is written over that.
class WordReader
{
public:
    explicit WordReader(const QString &value)
        : m_in(value)
        , m_rereadable(value.size() * kRereadFactor + kRereadLeast)
    {}

    QString read();

private:
    enum class Found { Word, Other, NoEnd };

    Found wordAt(qsizetype begin, Word &word) const;
    QString textOf(Word &word);
    void completeFromNext(Word &word, QString &text);
    void place(QString text, qsizetype room);

    QString m_in;
    QString m_out;
    qsizetype m_at = 0; ///< what lies before it is in m_out
    qsizetype m_rereadable;
    qsizetype m_takenFrom = -1; ///< the word at this position
    qsizetype m_taken = 0;      ///< gave so many of its bytes to the one before
};

WordReader::Found WordReader::wordAt(qsizetype begin, Word &word) const
{
    const qsizetype encoding = m_in.indexOf(u'?', begin + 2) + 1;
    if (encoding == 0 || encoding + 1 >= m_in.size())
        return Found::NoEnd;
    const char16_t code = m_in[encoding].unicode() | 0x20;
    if ((code != u'b' && code != u'q') || m_in[encoding + 1] != u'?')
        return Found::Other;
    const qsizetype text = encoding + 2;
    const qsizetype end = m_in.indexOf("?="_L1, text);
    if (end < 0)
        return Found::NoEnd;
    QByteArray charset = QStringView(m_in).sliced(begin + 2, encoding - begin - 3).toLatin1().toLower();
    if (const qsizetype language = charset.indexOf('*'); language >= 0)
        charset.truncate(language);
    word.charset = charset.trimmed();
    const QByteArray encoded = asBytes(QStringView(m_in).sliced(text, end - text), word.charset);
    word.bytes = code == u'b' ? decodeB(encoded) : decodeQ(encoded);
    word.begin = begin;
    word.end = end + 2;
    return Found::Word;
}

QString WordReader::textOf(Word &word)
{
    if (word.begin == m_takenFrom)
        word.bytes.remove(0, m_taken);
    QString text = asText(word.bytes, word.charset);
    if (text.endsWith(QChar::ReplacementCharacter))
        completeFromNext(word, text);
    return text;
}

/// A writer that counts bytes splits a character between two words: the first takes the rest of it.
void WordReader::completeFromNext(Word &word, QString &text)
{
    qsizetype begin = word.end;
    while (begin < m_in.size() && (m_in[begin] == u' ' || m_in[begin] == u'\t'))
        ++begin;
    Word next;
    if (!QStringView(m_in).sliced(begin).startsWith("=?"_L1) || wordAt(begin, next) != Found::Word ||
        next.charset != word.charset)
        return;
    for (qsizetype taken = 1; taken < kLongestCharacter && taken <= next.bytes.size(); ++taken) {
        const QString whole = asText(word.bytes + next.bytes.first(taken), word.charset);
        if (whole.count(QChar::ReplacementCharacter) >= text.count(QChar::ReplacementCharacter))
            continue;
        text = whole;
        m_takenFrom = begin;
        m_taken = taken;
        return;
    }
}

void WordReader::place(QString text, qsizetype room)
{
    const bool markFollows = m_at < m_in.size() && m_in[m_at] == u'?';
    const bool opens = m_out.endsWith(u'=') && (text.startsWith(u'?') || (text.isEmpty() && markFollows));
    const bool closes = text.endsWith(u'=') && markFollows;
    if ((!opens && !closes && !text.contains("=?"_L1)) || text.size() >= room || text.size() > m_rereadable) {
        m_out += text;
        return;
    }
    m_rereadable -= text.size();
    if (opens) {
        m_out.chop(1);
        text.prepend(u'=');
    }
    m_at -= text.size();
    std::copy(text.cbegin(), text.cend(), m_in.begin() + m_at);
}

QString WordReader::read()
{
    m_out.reserve(m_in.size());
    for (qsizetype begin = m_in.indexOf("=?"_L1); begin >= 0; begin = m_in.indexOf("=?"_L1, m_at)) {
        Word word;
        const Found found = wordAt(begin, word);
        if (found == Found::NoEnd)
            break; // nor has any word behind it
        if (found == Found::Other) {
            m_out += QStringView(m_in).sliced(m_at, begin + 2 - m_at);
            m_at = begin + 2;
            continue;
        }
        m_out += QStringView(m_in).sliced(m_at, begin - m_at);
        m_at = word.end;
        place(textOf(word), word.end - word.begin);
    }
    m_out += QStringView(m_in).sliced(m_at);
    return m_out;
}

bool breaksLine(QChar c)
{
    return c == u'\n' || c == u'\r' || c == u'\0' || c == u'\u0085' || c == u'\u2028' || c == u'\u2029';
}

bool meansItself(char c, WordPlace place)
{
    if (place == WordPlace::Text)
        return c > 32 && c < 127 && c != '=' && c != '?' && c != '_';
    return isDigit(c) || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

QByteArray singleWord(const QString &text, const QByteArray &charset, WordPlace place)
{
    QByteArray word = "=?" + charset + "?q?";
    const QByteArray bytes = encodeCharset(text, charset).value_or(text.toUtf8());
    for (const char c : bytes) {
        if (c == ' ')
            word += '_';
        else if (meansItself(c, place))
            word += c;
        else
            word.append('=').append(kUpperHex[quint8(c) >> 4]).append(kUpperHex[quint8(c) & 15]);
    }
    return word + "?=";
}

/// Where to cut @p text in two: behind a blank near the middle, else between characters that are not drawn
/// together.
qsizetype cutIn(QStringView text)
{
    qsizetype middle = text.size() / 2;
    const qsizetype blank = text.lastIndexOf(u' ', middle);
    if (blank > text.size() / 4)
        return blank + 1;
    const qsizetype least = std::max<qsizetype>(1, middle - 16);
    while (middle > least && (text[middle].isLowSurrogate() || text[middle].isMark()))
        --middle;
    return text[middle].isLowSurrogate() ? middle + 1 : middle;
}

void appendWords(QByteArray &words, const QString &text, const QByteArray &charset, WordPlace place)
{
    // No character takes more than four bytes and a change of the set's state before and after it: below
    // this there is no use in looking for a place to cut.
    const QByteArray word = text.size() > 32 * kLongestWord ? QByteArray() : singleWord(text, charset, place);
    if ((!word.isEmpty() && word.size() <= kLongestWord) || text.size() < 4) {
        words += (words.isEmpty() ? "" : " ") + word;
        return;
    }
    const qsizetype cut = cutIn(text);
    appendWords(words, text.first(cut), charset, place);
    appendWords(words, text.sliced(cut), charset, place);
}

bool hasLongRun(QStringView text)
{
    for (qsizetype from = 0; text.size() - from > kLongestWord;) {
        const qsizetype blank = text.indexOf(u' ', from);
        if (blank < 0 || blank - from > kLongestWord)
            return true;
        from = blank + 1;
    }
    return false;
}

} // namespace

QString decodeEncodedWords(const QString &value)
{
    return inOneLine(value.contains("=?"_L1) ? WordReader(value).read() : value);
}

QString inOneLine(QString text)
{
    if (std::any_of(text.cbegin(), text.cend(), breaksLine))
        std::replace_if(text.begin(), text.end(), breaksLine, QChar(u' '));
    return text;
}

QString decodeHeaderText(QByteArrayView value, QByteArrayView fallback)
{
    return decodeEncodedWords(decodeUnlabelled(value, fallback));
}

bool needsEncoding(QStringView text)
{
    return text.contains("=?"_L1) || hasLongRun(text) ||
           std::any_of(text.begin(), text.end(), [](QChar c) { return c < u' ' || c > u'~'; });
}

QByteArray encodedWord(const QString &text, QByteArrayView charset, WordPlace place)
{
    const bool fits = encodeCharset(text, charset).has_value();
    QByteArray words;
    appendWords(words, text, fits ? charset.trimmed().toByteArray() : QByteArray("utf-8"), place);
    return words;
}

QByteArray headerText(const QString &text, QByteArrayView charset, WordPlace place)
{
    return needsEncoding(text) ? encodedWord(text, charset, place) : text.toLatin1();
}
