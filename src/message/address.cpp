#include "message/address.h"

#include "message/encodedword.h"

#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

bool isBlank(QChar c)
{
    return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r';
}

bool isControl(QChar c)
{
    return c < u' ' || c == u'\x7f';
}

/// Whether @p c means nothing but itself, wherever it stands in a field.
bool isOrdinary(QChar c)
{
    return c.isLetterOrNumber() || c == u'.' || c == u'@' || c == u'-' || c == u'_';
}

/// Without the quotes of quoted strings and the backslashes of quoted pairs.
QString unquoted(QStringView text)
{
    QString plain;
    plain.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == u'\\' && i + 1 < text.size())
            plain += text[++i];
        else if (text[i] != u'"')
            plain += text[i];
    }
    return plain;
}

QString nameFrom(QStringView phrase)
{
    return decodeEncodedWords(unquoted(phrase)).trimmed();
}

/// Where the encoded word at the start of @p text ends; 0 when none begins there.
qsizetype encodedWordLength(QStringView text)
{
    if (!text.startsWith("=?"_L1))
        return 0;
    int marks = 1;
    for (qsizetype i = 2; i < text.size() && !isBlank(text[i]); ++i) {
        if (text[i] != u'?')
            continue;
        if (++marks < 4)
            continue;
        return i + 1 < text.size() && text[i + 1] == u'=' ? i + 2 : 0;
    }
    return 0;
}

/// An address without its route, comments, and the blanks that old forms have around "@" and ".".
QString cleaned(QStringView spec)
{
    spec = spec.trimmed();
    if (spec.startsWith(u'@')) // a route: "@relay,@relay:local@domain"
        spec = spec.sliced(spec.indexOf(u':') + 1);
    if (spec.startsWith("mailto:"_L1, Qt::CaseInsensitive))
        spec = spec.sliced(7);
    if (std::all_of(spec.begin(), spec.end(), isOrdinary))
        return spec.toString();
    QString address;
    address.reserve(spec.size());
    bool quoted = false;
    qsizetype blanks = 0; ///< held back until it is known what follows
    for (qsizetype i = 0; i < spec.size(); ++i) {
        const QChar c = spec[i];
        if (!quoted && isBlank(c)) {
            ++blanks;
            continue;
        }
        if (isControl(c))
            continue;
        const bool glued =
            c == u'@' || c == u'.' || address.isEmpty() || address.endsWith(u'@') || address.endsWith(u'.');
        if (blanks > 0 && !glued)
            address += u' ';
        blanks = 0;
        quoted = c == u'"' ? !quoted : quoted;
        address += c;
        if (quoted && c == u'\\' && i + 1 < spec.size())
            address += spec[++i];
    }
    return address;
}

/// One field from left to right. What is opened and never closed is taken for an ordinary character from then
/// on, so nothing is searched for twice.
class FieldReader
{
public:
    explicit FieldReader(const QString &field)
        : m_text(field)
        , m_lastSemicolon(field.lastIndexOf(u';'))
    {}

    QList<Address> read();

private:
    void readNext();
    void readQuoted();
    void readComment();
    void readAngle();
    void readWord();
    void finish();
    Address withoutAngle() const;

    qsizetype closingQuote(qsizetype from);
    qsizetype ordinaryEnd(qsizetype from) const;

    QStringView m_text;
    qsizetype m_at = 0;
    qsizetype m_lastSemicolon;
    bool m_quotesClose = true;
    bool m_commentsClose = true;

    QString m_phrase; ///< of the present entry: all but comments and angle brackets, quotes kept
    QString m_comment;
    QString m_angle;
    QList<Address> m_addresses;
};

QList<Address> FieldReader::read()
{
    while (m_at < m_text.size())
        readNext();
    finish();
    return m_addresses;
}

void FieldReader::readNext()
{
    const QChar c = m_text[m_at];
    if (c == u'"' && m_quotesClose)
        return readQuoted();
    if (c == u'(' && m_commentsClose)
        return readComment();
    if (c == u'<')
        return readAngle();
    if (c == u',' || c == u';') {
        finish();
    } else if (c == u':' && m_at < m_lastSemicolon && m_angle.isEmpty() && !m_phrase.contains(u'@')) {
        m_phrase.clear(); // the name of a group
    } else if (isBlank(c)) {
        if (!m_phrase.isEmpty() && !m_phrase.endsWith(u' '))
            m_phrase += u' ';
    } else if (c != u'>' && c != u'"') {
        return readWord();
    }
    ++m_at;
}

/// Behind the ordinary characters that stand at @p from.
qsizetype FieldReader::ordinaryEnd(qsizetype from) const
{
    while (from < m_text.size() && isOrdinary(m_text[from]))
        ++from;
    return from;
}

/// The position of the quote that ends the string whose content begins at @p from; -1 without one.
qsizetype FieldReader::closingQuote(qsizetype from)
{
    for (qsizetype i = from; i < m_text.size(); ++i) {
        if (m_text[i] == u'\\')
            ++i;
        else if (m_text[i] == u'"')
            return i;
    }
    m_quotesClose = false;
    return -1;
}

void FieldReader::readQuoted()
{
    const qsizetype end = closingQuote(m_at + 1);
    if (end >= 0)
        m_phrase += m_text.sliced(m_at, end + 1 - m_at);
    m_at = end < 0 ? m_at + 1 : end + 1;
}

void FieldReader::readComment()
{
    int depth = 0;
    for (qsizetype i = m_at; i < m_text.size(); ++i) {
        if (m_text[i] == u'\\')
            ++i;
        else if (m_text[i] == u'(')
            ++depth;
        else if (m_text[i] == u')' && --depth == 0) {
            m_comment = m_text.sliced(m_at + 1, i - m_at - 1).toString();
            m_at = i + 1;
            return;
        }
    }
    m_commentsClose = false;
}

void FieldReader::readAngle()
{
    do
        ++m_at;
    while (m_at < m_text.size() && isBlank(m_text[m_at]));
    const bool route = m_text.sliced(m_at).startsWith(u'@');
    QString content;
    for (; m_at < m_text.size() && m_text[m_at] != u'>' && m_text[m_at] != u'<'; ++m_at) {
        const QChar c = m_text[m_at];
        if (!route && (c == u',' || c == u';'))
            break; // the bracket was forgotten
        if (c == u'(' && m_commentsClose) {
            const QString outside = std::exchange(m_comment, QString());
            readComment();
            m_comment = outside;
            if (m_commentsClose) {
                --m_at;
                continue;
            }
        }
        const qsizetype quote = c == u'"' && m_quotesClose ? closingQuote(m_at + 1) : -1;
        const qsizetype end = quote >= 0 ? quote + 1 : ordinaryEnd(m_at + 1);
        content += m_text.sliced(m_at, end - m_at);
        m_at = end - 1;
    }
    if (m_at < m_text.size() && m_text[m_at] == u'>')
        ++m_at;
    if (m_angle.isEmpty() || content.contains(u'@'))
        m_angle = cleaned(content);
}

void FieldReader::readWord()
{
    qsizetype length = encodedWordLength(m_text.sliced(m_at));
    if (length == 0)
        length = m_text[m_at] == u'\\' && m_at + 1 < m_text.size() ? 2 : 1;
    const qsizetype end = ordinaryEnd(m_at + length);
    m_phrase += m_text.sliced(m_at, end - m_at);
    m_at = end;
}

void FieldReader::finish()
{
    const Address entry =
        m_angle.isEmpty() ? withoutAngle()
                          : Address{nameFrom(m_phrase.trimmed().isEmpty() ? m_comment : m_phrase), m_angle};
    if (!entry.name.isEmpty() || !entry.address.isEmpty())
        m_addresses.append(entry);
    m_phrase.clear();
    m_comment.clear();
    m_angle.clear();
}

/// "local@domain (name)", or words with an address among them.
Address FieldReader::withoutAngle() const
{
    const QString text = cleaned(m_phrase);
    qsizetype begin = -1, end = -1; // of the last word with an "@"
    bool quoted = false;
    for (qsizetype i = 0, word = 0; i <= text.size(); ++i) {
        if (i < text.size() && (quoted || text[i] != u' ')) {
            quoted = text[i] == u'"' ? !quoted : quoted;
            i += text[i] == u'\\' ? 1 : 0;
            continue;
        }
        const QStringView candidate = QStringView(text).sliced(word, std::min(i, text.size()) - word);
        if (candidate.contains(u'@') && !candidate.startsWith("=?"_L1)) {
            begin = word;
            end = std::min(i, text.size());
        }
        word = i + 1;
    }
    if (begin < 0 && !text.contains(u' ') && !text.contains(u'"') && !m_phrase.contains("=?"_L1))
        return {nameFrom(m_comment), text};
    if (begin < 0)
        return {nameFrom(m_phrase.isEmpty() ? m_comment : m_phrase), {}};
    const QString name = nameFrom(text.first(begin) + text.sliced(end)).simplified();
    return {name.isEmpty() ? nameFrom(m_comment) : name, text.sliced(begin, end - begin)};
}

bool mustBeQuoted(const QString &name)
{
    constexpr QStringView kSpecials = u"()<>[]:;@\\,.\"";
    return name != name.simplified() ||
           std::any_of(name.cbegin(), name.cend(), [&](QChar c) { return kSpecials.contains(c); });
}

QString quotedName(const QString &name)
{
    if (!mustBeQuoted(name))
        return name;
    QString quoted = name;
    quoted.replace(u'\\', u"\\\\"_s).replace(u'"', u"\\\""_s);
    return u'"' + quoted + u'"';
}

/// The address without what would end the brackets or the line, its domain in ASCII.
QByteArray addressForHeader(const QString &address)
{
    QString safe;
    std::copy_if(address.cbegin(), address.cend(), std::back_inserter(safe),
                 [](QChar c) { return !isControl(c) && c != u'<' && c != u'>'; });
    const qsizetype at = safe.lastIndexOf(u'@');
    const QByteArray domain = at < 0 ? QByteArray() : QUrl::toAce(safe.sliced(at + 1));
    if (domain.isEmpty())
        return safe.toUtf8();
    return safe.first(at + 1).toUtf8() + domain;
}

bool isAtomCharacter(QChar c)
{
    constexpr QStringView kMarks = u"!#$%&'*+-/=?^_`{|}~";
    return c.unicode() < 0x80 ? c.isLetterOrNumber() || kMarks.contains(c)
                              : c.isLetterOrNumber() || c.isMark() || c.isSurrogate();
}

bool isQuotedLocal(QStringView text)
{
    if (text.size() < 3 || text.front() != u'"' || text.back() != u'"')
        return false;
    for (qsizetype i = 1; i < text.size() - 1; ++i) {
        if (text[i] == u'\\' && ++i == text.size() - 1)
            return false;
        if (text[i] < u' ' || text[i] == u'\x7f' || (text[i] == u'"' && text[i - 1] != u'\\'))
            return false;
    }
    return true;
}

bool isLocal(QStringView text)
{
    if (text.isEmpty() || text.toUtf8().size() > 64)
        return false;
    if (text.front() == u'"')
        return isQuotedLocal(text);
    const QList<QStringView> atoms = text.split(u'.');
    return std::all_of(atoms.begin(), atoms.end(), [](QStringView atom) {
        return !atom.isEmpty() && std::all_of(atom.begin(), atom.end(), isAtomCharacter);
    });
}

bool isLabel(QStringView label)
{
    const auto allowed = [](QChar c) {
        return c == u'-' || (isAtomCharacter(c) && (c.unicode() >= 0x80 || c.isLetterOrNumber()));
    };
    return !label.isEmpty() && label.size() <= 63 && !label.startsWith(u'-') && !label.endsWith(u'-') &&
           std::all_of(label.begin(), label.end(), allowed);
}

bool isDomain(QStringView text)
{
    if (text.startsWith(u'[') && text.endsWith(u']') && text.size() > 2)
        return std::all_of(text.begin() + 1, text.end() - 1, [](QChar c) {
            return c > u' ' && c < u'\x7f' && c != u'[' && c != u']' && c != u'\\';
        });
    const QList<QStringView> labels = text.split(u'.');
    return std::all_of(labels.begin(), labels.end(), isLabel);
}

} // namespace

QList<Address> parseAddresses(const QString &field)
{
    return FieldReader(field).read();
}

QString bareAddress(const QString &field)
{
    const QList<Address> addresses = parseAddresses(field);
    return addresses.isEmpty() ? QString() : addresses.first().address;
}

QString formatAddress(const Address &address)
{
    const QString name = decodeEncodedWords(address.name);
    if (name.isEmpty())
        return address.address;
    return address.address.isEmpty() ? quotedName(name) : quotedName(name) + " <"_L1 + address.address + u'>';
}

QByteArray addressField(const QList<Address> &addresses, QByteArrayView charset)
{
    QByteArrayList entries;
    for (const Address &entry : addresses) {
        const QByteArray address = addressForHeader(entry.address);
        const QByteArray name = needsEncoding(entry.name)
                                    ? encodedWord(entry.name, charset, WordPlace::Phrase)
                                    : quotedName(entry.name).toLatin1();
        if (name.isEmpty())
            entries.append(address);
        else
            entries.append(address.isEmpty() ? name : name + " <" + address + '>');
    }
    return entries.join(", ");
}

bool isValidAddress(QStringView text)
{
    const qsizetype at = text.lastIndexOf(u'@');
    return at > 0 && text.toUtf8().size() <= 254 && isLocal(text.first(at)) && isDomain(text.sliced(at + 1));
}
