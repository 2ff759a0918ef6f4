#include "compose/quotemarks.h"

#include "config/settings.h"

using namespace Qt::StringLiterals;

QuoteMarks::QuoteMarks()
    : m_prefix(stringSetting(Setting::QuotePrefix))
    , m_mark(m_prefix.trimmed())
{
    if (m_mark.isEmpty())
        m_mark = m_prefix;
}

qsizetype QuoteMarks::markLength(QStringView rest) const
{
    if (rest.startsWith(u'>'))
        return 1;
    return !m_mark.isEmpty() && rest.startsWith(m_mark) ? m_mark.size() : 0;
}

bool QuoteMarks::isQuoted(QStringView line) const
{
    return markLength(line) > 0;
}

qsizetype QuoteMarks::prefixLength(QStringView line) const
{
    qsizetype length = markLength(line);
    for (qsizetype next = length; next > 0 && next < line.size();) {
        const qsizetype blank = line[next] == u' ' ? 1 : 0;
        const qsizetype mark = markLength(line.sliced(next + blank));
        if (mark == 0)
            return next + blank;
        next += blank + mark;
        length = next;
    }
    return length;
}

int QuoteMarks::depthOf(QStringView line) const
{
    int depth = 0;
    for (qsizetype length = markLength(line); length > 0; length = markLength(line)) {
        ++depth;
        line = line.sliced(length);
        if (line.startsWith(u' ') && markLength(line.sliced(1)) > 0)
            line = line.sliced(1);
    }
    return depth;
}

QString QuoteMarks::prefixOf(int depth) const
{
    if (m_mark.isEmpty())
        return QString(depth, u'>') + u' ';
    return m_mark.repeated(depth) + (m_prefix.endsWith(u' ') ? u" "_s : QString());
}
