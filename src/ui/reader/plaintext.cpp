#include "ui/reader/plaintext.h"

#include <array>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kLongestWord = 1000;   ///< a layout is quadratic in what cannot be wrapped
constexpr qsizetype kLongestLine = 16'000; ///< and slow in lines that fill many screens
constexpr qsizetype kLongestEmphasis = 200;
constexpr int kMostAccents = 8;       ///< on one letter; a shaper of text is quadratic in them
constexpr qsizetype kUsualWidth = 80; ///< characters

constexpr QStringView kSignatureMark = u"-- ";
constexpr QStringView kArmour = u"-----";
constexpr QStringView kBeginSigned = u"-----BEGIN PGP SIGNED MESSAGE-----";
constexpr QStringView kBeginSignature = u"-----BEGIN PGP SIGNATURE-----";
constexpr QStringView kEndSignature = u"-----END PGP SIGNATURE-----";
constexpr QStringView kBeginMessage = u"-----BEGIN PGP MESSAGE";
constexpr QStringView kEndMessage = u"-----END PGP MESSAGE";

/// Characters that a text document keeps for itself would break it into pieces; control characters show what
/// they are.
QChar shownCharacter(QChar c)
{
    switch (c.unicode()) {
    case u'\t': return c;
    case u'\f': return u' ';
    case u'\x7F': return QChar(0x2421);
    case u'\xFFFC':
    case u'\xFDD0':
    case u'\xFDD1': return QChar::ReplacementCharacter;
    case u'\x2028':
    case u'\x2029':
    case u'\x85': return u' ';
    default: return c < u' ' ? QChar(0x2400 + c.unicode()) : c;
    }
}

QString shownText(QStringView line)
{
    QString out;
    out.reserve(line.size());
    int accents = 0;
    for (const QChar c : line) {
        accents = c.unicode() >= 0x300 && c.isMark() ? accents + 1 : 0;
        if (accents <= kMostAccents)
            out += shownCharacter(c);
    }
    return out;
}

/// Takes line after line off a text.
class Lines
{
public:
    explicit Lines(QStringView text)
        : m_rest(text)
    {}

    std::optional<QStringView> next()
    {
        if (m_rest.isEmpty())
            return {};
        const qsizetype end = m_rest.indexOf(u'\n');
        QStringView line = end < 0 ? m_rest : m_rest.first(end);
        m_rest = end < 0 ? QStringView() : m_rest.sliced(end + 1);
        if (line.endsWith(u'\r'))
            line.chop(1);
        return line;
    }

private:
    QStringView m_rest;
};

class Reader
{
public:
    explicit Reader(const PlainTextOptions &options)
        : m_options(options)
    {}

    PlainText read(QStringView text)
    {
        Lines lines(text);
        while (const std::optional<QStringView> line = lines.next()) {
            if (!m_options.armour || !readArmour(*line))
                readLine(*line);
        }
        finishParagraph();
        while (!m_result.lines.isEmpty() && m_result.lines.last().text.trimmed().isEmpty() &&
               m_result.lines.last().quote == 0)
            m_result.lines.removeLast();
        markSignature();
        return std::move(m_result);
    }

private:
    enum class Armour { None, Header, Signed, Signature, Encrypted };

    /// True: the line belongs to the armour and is not shown.
    bool readArmour(QStringView line)
    {
        switch (m_armour) {
        case Armour::Header: // "Hash:" and its like, up to the empty line
            if (line.trimmed().isEmpty())
                m_armour = Armour::Signed;
            return true;
        case Armour::Signature:
            if (line.startsWith(kEndSignature))
                m_armour = Armour::None;
            return true;
        case Armour::Encrypted:
            if (line.startsWith(kEndMessage))
                m_armour = Armour::None;
            return true;
        default: return beginsArmour(line);
        }
    }

    bool beginsArmour(QStringView line)
    {
        if (m_armour == Armour::Signed && line.startsWith(u"- ")) { // dash-escaped, RFC 4880 section 7.1
            readLine(line.sliced(2));
            return true;
        }
        if (!line.startsWith(kArmour))
            return false;
        if (line.startsWith(kBeginSigned))
            m_armour = Armour::Header;
        else if (m_armour == Armour::Signed && line.startsWith(kBeginSignature))
            m_armour = Armour::Signature;
        else if (line.startsWith(kBeginMessage))
            m_armour = Armour::Encrypted;
        else
            return false;
        m_result.isSigned |= m_armour == Armour::Header;
        m_result.isEncrypted |= m_armour == Armour::Encrypted;
        return true;
    }

    void readLine(QStringView line)
    {
        int quote = 0;
        const QStringView content = m_options.flowed ? unstuffed(line, &quote) : unquoted(line, &quote);
        if (m_options.flowed)
            addFlowed(content, quote);
        else
            add(content, quote);
    }

    static QStringView unstuffed(QStringView line, int *quote)
    {
        qsizetype at = 0;
        while (at < line.size() && line[at] == u'>')
            ++at;
        *quote = int(at);
        return at < line.size() && line[at] == u' ' ? line.sliced(at + 1) : line.sliced(at);
    }

    QStringView unquoted(QStringView line, int *quote) const
    {
        // a mailbox on the way has put this mark before a line that is none of a separator's
        if (line.startsWith(u">From ") && (m_result.lines.isEmpty() || m_result.lines.last().quote == 0))
            return line;
        qsizetype at = 0;
        for (qsizetype next = 0; next < line.size() && line[next] == u'>'; ++*quote) {
            at = next + 1;
            next = at < line.size() && line[at] == u' ' ? at + 1 : at;
        }
        return *quote > 0 && at < line.size() && line[at] == u' ' ? line.sliced(at + 1) : line.sliced(at);
    }

    void addFlowed(QStringView content, int quote)
    {
        const bool isMark = content == kSignatureMark;
        const bool flows = content.endsWith(u' ') && !isMark;
        if (m_flowing && (isMark || quote != m_paragraph.quote))
            finishParagraph();
        m_paragraph.quote = quote;
        m_paragraph.text += flows && m_options.delsp ? content.chopped(1) : content;
        m_flowing = true;
        if (!flows)
            finishParagraph();
    }

    void finishParagraph()
    {
        if (m_flowing)
            add(m_paragraph.text, m_paragraph.quote);
        m_paragraph = {};
        m_flowing = false;
    }

    /// Too long a line becomes several, broken at blanks where there are any.
    void add(QStringView line, int quote)
    {
        while (line.size() > kLongestWord) {
            const qsizetype length = pieceOf(line);
            if (length == line.size())
                break;
            m_result.lines.append({shownText(line.first(length)), quote, false, true});
            line = line.sliced(length);
        }
        m_result.lines.append({shownText(line), quote, false, false});
    }

    static qsizetype pieceOf(QStringView line)
    {
        qsizetype wordStart = 0;
        const qsizetype most = std::min(line.size(), kLongestLine);
        for (qsizetype at = 0; at < most; ++at) {
            if (line[at].isSpace())
                wordStart = at + 1;
            else if (at - wordStart >= kLongestWord)
                return wordStart > 0 ? wordStart : whole(line, at);
        }
        if (most == line.size())
            return most;
        return wordStart > 0 ? wordStart : whole(line, most);
    }

    static qsizetype whole(QStringView line, qsizetype at) // never between the halves of a character
    {
        return line[at].isLowSurrogate() && line[at - 1].isHighSurrogate() ? at - 1 : at;
    }

    void markSignature()
    {
        QList<TextLine> &lines = m_result.lines;
        qsizetype mark = lines.size() - 1;
        while (mark >= 0 && (lines[mark].quote > 0 || lines[mark].text != kSignatureMark))
            --mark;
        for (qsizetype at = std::max<qsizetype>(mark, 0); mark >= 0 && at < lines.size(); ++at)
            lines[at].signature = lines[at].quote == 0;
    }

    PlainTextOptions m_options;
    PlainText m_result;
    TextLine m_paragraph; ///< of a flowed text, as long as it goes on
    bool m_flowing = false;
    Armour m_armour = Armour::None;
};

std::optional<Emphasis::Kind> kindOfMark(QChar mark)
{
    switch (mark.unicode()) {
    case u'*': return Emphasis::Bold;
    case u'/': return Emphasis::Italic;
    case u'_': return Emphasis::Underline;
    default: return {};
    }
}

bool mayStandOutside(QStringView line, qsizetype at)
{
    return at < 0 || at >= line.size() || line[at].isSpace() ||
           (line[at].isPunct() && !kindOfMark(line[at]) && line[at] != u'-');
}

/// The position of the mark that ends what begins at @p start; -1: none does.
qsizetype closingMark(QStringView line, qsizetype start)
{
    const QChar mark = line[start];
    if (!mayStandOutside(line, start - 1) || start + 2 >= line.size() || !line[start + 1].isLetterOrNumber())
        return -1;
    const qsizetype most = std::min(line.size(), start + kLongestEmphasis);
    for (qsizetype at = start + 1; at < most; ++at)
        if (line[at] == mark)
            return !line[at - 1].isSpace() && mayStandOutside(line, at + 1) ? at : -1;
    return -1;
}

} // namespace

PlainText readPlainText(QStringView text, const PlainTextOptions &options)
{
    return Reader(options).read(text);
}

QStringView firstLook(QStringView text, qsizetype most)
{
    if (text.size() <= most)
        return text;
    const qsizetype end = text.first(most).lastIndexOf(u'\n');
    return text.first(end < most / 2 ? most : end + 1);
}

QList<QuoteFold> foldsOf(const QList<TextLine> &lines)
{
    const bool hasOwnWords = std::any_of(lines.begin(), lines.end(), [](const TextLine &line) {
        return line.quote == 0 && !line.text.trimmed().isEmpty();
    });
    QList<QuoteFold> folds;
    for (int first = 0; hasOwnWords && first < lines.size();) {
        int end = first;
        int shown = 0;
        for (; end < lines.size() && lines[end].quote > 0; ++end)
            shown += 1 + int(lines[end].text.size() / kUsualWidth);
        if (shown > kLongestOpenQuote)
            folds.append({first, end - first, shown});
        first = std::max(end, first + 1);
    }
    return folds;
}

QList<Emphasis> findEmphasis(QStringView line)
{
    QList<Emphasis> found;
    for (qsizetype at = 0; at < line.size(); ++at) {
        const std::optional<Emphasis::Kind> kind = kindOfMark(line[at]);
        const qsizetype end = kind ? closingMark(line, at) : -1;
        if (end < 0)
            continue;
        found.append({at, end + 1 - at, *kind});
        at = end;
    }
    return found;
}
