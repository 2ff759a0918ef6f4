#include "message/parameters.h"

#include "message/ascii.h"

namespace {

constexpr int kMostPieces = 1000;             ///< of one parameter; a name of a thousand pieces is no name
constexpr std::size_t kMostParameters = 1000; ///< of a field; what stands behind them is not looked at
constexpr int kMostComments = 8; ///< looked for in one value, so that nested ones cannot cost quadratic time

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool endsToken(char c)
{
    return isBlank(c) || c == ';' || c == '=' || c == '"' || c == ',' || c == '(' || c == ')';
}

qsizetype skipBlanks(QByteArrayView text, qsizetype at)
{
    while (at < text.size() && isBlank(text[at]))
        ++at;
    return at;
}

/// Behind the comment that begins at @p at; at the end when it is not closed. Comments nest.
qsizetype skipComment(QByteArrayView text, qsizetype at)
{
    int depth = 0;
    for (; at < text.size(); ++at) {
        if (text[at] == '\\')
            ++at;
        else if (text[at] == '(')
            ++depth;
        else if (text[at] == ')' && --depth == 0)
            return at + 1;
    }
    return text.size();
}

qsizetype skipToken(QByteArrayView text, qsizetype at)
{
    while (at < text.size() && !endsToken(text[at]))
        ++at;
    return at;
}

/// Whether a parameter begins at @p at: a token and "=".
bool beginsParameter(QByteArrayView text, qsizetype at)
{
    const qsizetype end = skipToken(text, at);
    return end > at && end < text.size() && text[end] == '=';
}

/// Whether a value that might end at @p at does: a semicolon, the end, or another parameter whose semicolon
/// was left out.
bool isValueEnd(QByteArrayView text, qsizetype at)
{
    const qsizetype next = skipBlanks(text, at);
    return next == text.size() || text[next] == ';' || text[next] == ',' || text[next] == '(' ||
           (next > at && beginsParameter(text, next));
}

/// Reads the quoted value whose opening quote is at @p at. A quote that is followed by more of the value is
/// part of it: filename="a "b" c.txt". Without a closing quote the value ends at the first semicolon, and
/// @p unbalanced keeps later values from looking for one once more.
qsizetype readQuoted(QByteArrayView text, qsizetype at, QByteArray &value, bool &unbalanced)
{
    const qsizetype start = ++at;
    for (; at < text.size() && !unbalanced; ++at) {
        if (text[at] == '"' && isValueEnd(text, at + 1))
            return at + 1;
        // Only what has to be escaped: senders put the paths of their disks here, unescaped.
        if (text[at] == '\\' && at + 1 < text.size() && (text[at + 1] == '"' || text[at + 1] == '\\'))
            ++at;
        value += text[at];
    }
    unbalanced = true;
    const qsizetype semicolon = text.indexOf(';', start);
    const qsizetype end = semicolon < 0 ? text.size() : semicolon;
    value = text.sliced(start, end - start).trimmed().toByteArray();
    return end;
}

/// Reads a value without quotes. Blanks belong to it unless a parameter follows, a comment does not.
qsizetype readPlain(QByteArrayView text, qsizetype at, QByteArray &value)
{
    const qsizetype start = at;
    qsizetype end = at;
    int comments = 0;
    while (at < text.size() && text[at] != ';') {
        if (isBlank(text[at])) {
            const qsizetype next = skipBlanks(text, at);
            if (beginsParameter(text, next))
                break;
            if (next < text.size() && text[next] == '(' && ++comments <= kMostComments) {
                const qsizetype behind = skipComment(text, next);
                if (isValueEnd(text, behind)) {
                    at = behind;
                    break;
                }
            }
            at = next;
            continue;
        }
        end = ++at;
    }
    value = text.sliced(start, end - start).toByteArray();
    return at;
}

void appendUnescaped(QByteArrayView escaped, QByteArray &out)
{
    for (qsizetype at = 0; at < escaped.size(); ++at) {
        if (escaped[at] == '%' && at + 2 < escaped.size()) {
            const int high = hexDigit(escaped[at + 1]);
            const int low = hexDigit(escaped[at + 2]);
            if (high >= 0 && low >= 0) {
                out += char(high << 4 | low);
                at += 2;
                continue;
            }
        }
        out += escaped[at];
    }
}

/// Takes the character set and the language off an extended value: utf-8'en'text. Without the two quotes
/// there is neither.
QByteArrayView withoutCharset(QByteArrayView value, QByteArray *charset)
{
    const qsizetype first = value.indexOf('\'');
    const qsizetype second = first < 0 ? -1 : value.indexOf('\'', first + 1);
    if (second < 0)
        return value;
    if (charset)
        *charset = value.first(first).trimmed().toByteArray().toLower();
    return value.sliced(second + 1);
}

} // namespace

ParameterList::ParameterList(QByteArrayView field)
    : m_field(field.toByteArray())
{
    for (qsizetype at = readValue(); at < m_field.size() && m_parameters.size() < kMostParameters;)
        at = readParameter(at);
}

qsizetype ParameterList::readValue()
{
    const QByteArrayView text = m_field;
    qsizetype at = 0;
    while (at < text.size() && text[at] != ';') {
        if (text[at] == '(') {
            at = skipComment(text, at);
        } else if (isBlank(text[at])) {
            at = skipBlanks(text, at);
            // "text / plain" goes on behind a blank; a word there is none of the value's
            const bool joined = m_value.isEmpty() || m_value.endsWith('/');
            if (!joined && at < text.size() && text[at] != '/' && text[at] != '(')
                break;
        } else {
            if (text[at] != '"')
                m_value += text[at];
            ++at;
        }
    }
    m_value = m_value.toLower();
    return at;
}

qsizetype ParameterList::readParameter(qsizetype from)
{
    const QByteArrayView text = m_field;
    qsizetype at = from;
    while (at < text.size() && (isBlank(text[at]) || text[at] == ';' || text[at] == ','))
        ++at;
    if (at < text.size() && text[at] == '(')
        return skipComment(text, at);
    const qsizetype nameEnd = skipToken(text, at);
    const QByteArrayView name = text.sliced(at, nameEnd - at);
    at = skipBlanks(text, nameEnd);
    if (name.isEmpty() || at >= text.size() || text[at] != '=')
        return std::max(nameEnd, from + 1);

    at = skipBlanks(text, at + 1);
    Parameter parameter{name, {}};
    if (at < text.size() && text[at] == '"')
        at = readQuoted(text, at, parameter.value, m_unbalanced);
    else
        at = readPlain(text, at, parameter.value);
    m_anyExtended = m_anyExtended || name.contains('*');
    m_parameters.push_back(std::move(parameter));
    return at;
}

const ParameterList::Parameter *ParameterList::find(QByteArrayView name) const
{
    for (const Parameter &parameter : m_parameters) {
        if (parameter.name.compare(name, Qt::CaseInsensitive) == 0)
            return &parameter;
    }
    return nullptr;
}

/// The pieces NAME*, NAME*0, NAME*1* and so on, in their order; of duplicates the first.
std::vector<ParameterList::Piece> ParameterList::pieces(QByteArrayView name) const
{
    std::vector<Piece> found;
    for (const Parameter &parameter : m_parameters) {
        if (parameter.name.size() <= name.size() || parameter.name[name.size()] != '*' ||
            parameter.name.first(name.size()).compare(name, Qt::CaseInsensitive) != 0)
            continue;
        QByteArrayView number = parameter.name.sliced(name.size() + 1);
        const bool whole = number.isEmpty();
        const bool escaped = whole || number.endsWith('*');
        if (escaped && !whole)
            number.chop(1);
        bool readable = true;
        const int index = whole ? -1 : number.toByteArray().toInt(&readable);
        if (readable && index < kMostPieces)
            found.push_back({index, escaped, &parameter.value});
    }
    const auto order = [](const Piece &a, const Piece &b) { return a.index < b.index; };
    const auto same = [](const Piece &a, const Piece &b) { return a.index == b.index; };
    std::stable_sort(found.begin(), found.end(), order);
    found.erase(std::unique(found.begin(), found.end(), same), found.end());
    if (!found.empty() && found.front().index < 0)
        found.resize(1); // the value in one piece wins over the same in several
    return found;
}

QByteArray ParameterList::bytes(QByteArrayView name, QByteArray *charset) const
{
    if (m_anyExtended) {
        QByteArray joined;
        const std::vector<Piece> found = pieces(name);
        for (const Piece &piece : found) {
            const bool first = &piece == found.data();
            if (!piece.escaped)
                joined += *piece.value;
            else
                appendUnescaped(first ? withoutCharset(*piece.value, charset) : *piece.value, joined);
        }
        if (!joined.isEmpty())
            return joined;
    }
    const Parameter *parameter = find(name);
    return parameter ? parameter->value : QByteArray();
}
