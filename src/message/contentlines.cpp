#include "message/contentlines.h"

#include "message/charset.h"
#include "message/decoders.h"

using namespace Qt::StringLiterals;

namespace {

/// Hands out the lines of a text one by one, folded ones put together (RFC 5545 section 3.1).
class Unfolder
{
public:
    explicit Unfolder(QStringView text)
        : m_text(text)
    {}

    bool atEnd() const { return m_at >= m_text.size(); }

    QString next()
    {
        QString line = physical().toString();
        while (!atEnd() && (m_text[m_at] == u' ' || m_text[m_at] == u'\t'))
            append(line, physical().sliced(1));
        return line;
    }

    /// The next line as it stands, for soft line breaks of quoted-printable.
    QStringView physical()
    {
        const qsizetype start = m_at;
        while (m_at < m_text.size() && m_text[m_at] != u'\n' && m_text[m_at] != u'\r')
            ++m_at;
        const QStringView line = m_text.sliced(start, m_at - start);
        if (m_at < m_text.size() && m_text[m_at++] == u'\r' && m_at < m_text.size() && m_text[m_at] == u'\n')
            ++m_at;
        return line;
    }

    static void append(QString &line, QStringView more)
    {
        line += more.first(std::min(more.size(), contentlimit::kLineLength -
                                                     std::min(line.size(), contentlimit::kLineLength)));
    }

private:
    QStringView m_text;
    qsizetype m_at = 0;
};

/// The place of @p wanted in @p text from @p from on, outside double quotes; -1 when there is none.
qsizetype findUnquoted(QStringView text, qsizetype from, QStringView wanted)
{
    bool quoted = false;
    for (qsizetype at = from; at < text.size(); ++at) {
        if (text[at] == u'"')
            quoted = !quoted;
        else if (!quoted && wanted.contains(text[at]))
            return at;
    }
    return -1;
}

QByteArray upper(QStringView name)
{
    return name.trimmed().toLatin1().toUpper();
}

QString parameterValue(QStringView value)
{
    value = value.trimmed();
    if (value.size() >= 2 && value.front() == u'"' && value.back() == u'"')
        value = value.sliced(1, value.size() - 2);
    QString out;
    for (qsizetype at = 0; at < value.size(); ++at) {
        const QChar next = at + 1 < value.size() ? value[at + 1] : QChar();
        const bool escape = value[at] == u'^' && (next == u'n' || next == u'\'' || next == u'^');
        if (!escape) {
            out += value[at];
            continue;
        }
        out += next == u'n' ? u'\n' : next == u'\'' ? u'"' : u'^';
        ++at;
    }
    return out;
}

QStringList parameterValues(QStringView text)
{
    QStringList values;
    for (qsizetype start = 0; start <= text.size();) {
        const qsizetype comma = findUnquoted(text, start, u",");
        const qsizetype end = comma < 0 ? text.size() : comma;
        values.append(parameterValue(text.sliced(start, end - start)));
        start = end + 1;
    }
    return values;
}

/// "HOME" and "QUOTED-PRINTABLE" stand without a name in version 2.1.
ContentLine::Parameter readParameter(QStringView text)
{
    const qsizetype equals = text.indexOf(u'=');
    if (equals >= 0)
        return {upper(text.first(equals)), parameterValues(text.sliced(equals + 1))};
    const QByteArray word = upper(text);
    const bool isEncoding = word == "QUOTED-PRINTABLE" || word == "BASE64";
    return {isEncoding ? QByteArray("ENCODING") : QByteArray("TYPE"), {text.trimmed().toString()}};
}

/// The bytes of a value in version 2.1 are those of its own character set, which the text has passed through
/// Latin-1 or UTF-8: only escapes are not ASCII.
QString decodedQuotedPrintable(const QString &value, const QString &charset)
{
    const QByteArray bytes = decodeQuotedPrintable(value.toUtf8());
    return decodeUnlabelled(bytes, charset.toLatin1());
}

void splitName(QStringView text, ContentLine &line)
{
    const qsizetype dot = text.lastIndexOf(u'.');
    line.name = upper(text.sliced(dot + 1));
    if (dot > 0)
        line.group = text.first(dot).trimmed().toLatin1();
}

/// False: this is no content line.
bool readHead(QStringView text, ContentLine &line, qsizetype &value)
{
    qsizetype colon = findUnquoted(text, 0, u":");
    if (colon < 0)
        colon = text.indexOf(u':'); // a quote that is never closed
    if (colon <= 0)
        return false;
    const QStringView head = text.first(colon);
    qsizetype end = findUnquoted(head, 0, u";");
    splitName(end < 0 ? head : head.first(end), line);
    while (end >= 0) {
        const qsizetype start = end + 1;
        end = findUnquoted(head, start, u";");
        line.parameters.append(readParameter(end < 0 ? head.sliced(start) : head.sliced(start, end - start)));
    }
    value = colon + 1;
    return !line.name.isEmpty();
}

class ComponentReader
{
public:
    explicit ComponentReader(const QList<ContentLine> &lines)
        : m_lines(lines)
    {}

    /// Reads up to the end of the component that stands at @p depth.
    void read(ContentComponent &into, int depth)
    {
        while (m_at < m_lines.size()) {
            const ContentLine &line = m_lines[m_at];
            if (line.name == "BEGIN") {
                begin(into, depth);
            } else if (line.name == "END") {
                if (depth > 0 && !isOpen(upper(line.value))) {
                    ++m_at; // the end of nothing
                    continue;
                }
                m_at += depth == 0 || upper(line.value) == into.name ? 1 : 0;
                if (depth > 0)
                    return;
            } else {
                into.lines.append(line);
                ++m_at;
            }
        }
    }

private:
    bool isOpen(const QByteArray &name) const { return m_open.contains(name); }

    void begin(ContentComponent &into, int depth)
    {
        const QByteArray name = upper(m_lines[m_at++].value);
        ContentComponent component{name, {}, {}};
        const bool tooMuch = depth + 1 >= contentlimit::kDepth || ++m_count > contentlimit::kComponents;
        if (tooMuch)
            return skip(name);
        m_open.append(name);
        read(component, depth + 1);
        m_open.removeLast();
        into.components.append(std::move(component));
    }

    void skip(const QByteArray &name)
    {
        int depth = 1;
        for (; m_at < m_lines.size() && depth > 0; ++m_at) {
            if (upper(m_lines[m_at].value) == name)
                depth += m_lines[m_at].name == "BEGIN" ? 1 : m_lines[m_at].name == "END" ? -1 : 0;
        }
    }

    const QList<ContentLine> &m_lines;
    QByteArrayList m_open;
    qsizetype m_at = 0;
    int m_count = 0;
};

} // namespace

QString ContentLine::parameter(QByteArrayView wanted) const
{
    for (const Parameter &one : parameters)
        if (one.name == wanted)
            return one.values.value(0);
    return {};
}

bool ContentLine::has(QByteArrayView wanted, QStringView value) const
{
    for (const Parameter &one : parameters)
        if (one.name == wanted)
            for (const QString &candidate : one.values)
                if (candidate.compare(value, Qt::CaseInsensitive) == 0)
                    return true;
    return false;
}

QString ContentLine::text() const
{
    return unescapedContent(value);
}

QStringList ContentLine::texts(QChar separator) const
{
    QStringList parts;
    qsizetype start = 0;
    for (qsizetype at = 0; at <= value.size(); ++at) {
        if (at < value.size() && value[at] == u'\\') {
            ++at;
        } else if (at >= value.size() || value[at] == separator) {
            parts.append(
                unescapedContent(QStringView(value).sliced(start, std::min(at, value.size()) - start)));
            start = at + 1;
        }
    }
    return parts;
}

const ContentLine *ContentComponent::line(QByteArrayView wanted) const
{
    const auto found =
        std::find_if(lines.begin(), lines.end(), [&](const ContentLine &one) { return one.name == wanted; });
    return found == lines.end() ? nullptr : &*found;
}

QList<const ContentLine *> ContentComponent::linesNamed(QByteArrayView wanted) const
{
    QList<const ContentLine *> found;
    for (const ContentLine &one : lines)
        if (one.name == wanted)
            found.append(&one);
    return found;
}

QString ContentComponent::text(QByteArrayView wanted) const
{
    const ContentLine *found = line(wanted);
    return found ? found->text() : QString();
}

QString unescapedContent(QStringView value)
{
    QString out;
    out.reserve(value.size());
    for (qsizetype at = 0; at < value.size(); ++at) {
        if (value[at] == u'\\' && at + 1 < value.size()) {
            const QChar next = value[++at];
            out += next == u'n' || next == u'N' ? QChar(u'\n') : next;
        } else {
            out += value[at];
        }
    }
    return out;
}

QList<ContentLine> readContentLines(QStringView text)
{
    if (text.startsWith(u'\xFEFF'))
        text = text.sliced(1);
    QList<ContentLine> lines;
    Unfolder unfolder(text);
    while (!unfolder.atEnd() && lines.size() < contentlimit::kLines) {
        QString raw = unfolder.next();
        ContentLine line;
        qsizetype value = 0;
        if (!readHead(raw, line, value))
            continue;
        if (line.has("ENCODING", u"QUOTED-PRINTABLE")) {
            // a "=" at the end goes on in the next line, whatever that begins with
            while (raw.endsWith(u'=') && !unfolder.atEnd()) {
                raw.chop(1);
                Unfolder::append(raw, unfolder.physical());
            }
            line.value = decodedQuotedPrintable(raw.sliced(value), line.parameter("CHARSET"));
        } else {
            line.value = raw.sliced(value);
        }
        lines.append(std::move(line));
    }
    return lines;
}

ContentComponent readContentComponents(QStringView text)
{
    const QList<ContentLine> lines = readContentLines(text);
    ContentComponent all;
    ComponentReader(lines).read(all, 0);
    return all;
}
