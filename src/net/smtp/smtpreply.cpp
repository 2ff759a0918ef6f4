#include "net/smtp/smtpreply.h"

#include "config/reporter.h"
#include "message/ascii.h"

#include <QStringList>

using namespace Qt::StringLiterals;

namespace {

constexpr int kMostLines = 1000;
constexpr qsizetype kMostHeard = 256 * 1024; // bytes of a reply
constexpr qsizetype kMostBytes = 4000;       // of them that are kept for people
constexpr qsizetype kMostShown = 1000;       // characters
constexpr qsizetype kMostInLine = 300;       // of a text that stands in one line

QString shown(const QByteArray &line)
{
    return onOneLine(QString::fromUtf8(line).simplified());
}

QString cut(QString text, qsizetype most)
{
    if (text.size() <= most)
        return text;
    text.truncate(text[most - 1].isHighSurrogate() ? most - 1 : most);
    return text + u'\u2026';
}

/// 0: the line begins with none.
int codeOf(QByteArrayView line)
{
    if (line.size() < 3 || !isDigit(line[0]) || !isDigit(line[1]) || !isDigit(line[2]))
        return 0;
    const int code = (line[0] - '0') * 100 + (line[1] - '0') * 10 + line[2] - '0';
    const bool isLonger = line.size() > 3 && isDigit(line[3]);
    return isLonger || code < 200 || code > 599 ? 0 : code;
}

} // namespace

SmtpReply::Progress SmtpReply::take(QByteArrayView line)
{
    if (m_isOver)
        *this = {};
    const int code = codeOf(line);
    const bool isFirst = m_count++ == 0;
    m_heard += line.size();
    const bool fits =
        code > 0 && (isFirst || code == m_code) && m_count <= kMostLines && m_heard <= kMostHeard;
    m_code = code;
    m_last = line.toByteArray();
    if (m_lines.size() < kMostBytes)
        m_lines += (isFirst ? QByteArray() : QByteArray("\n")) + m_last.left(kMostBytes);
    if (fits && line.size() > 3 && line[3] == '-')
        return Progress::More;
    m_isOver = true;
    return fits ? Progress::Whole : Progress::Broken;
}

QByteArray SmtpReply::argument() const
{
    return m_last.mid(4).trimmed();
}

QString SmtpReply::lines() const
{
    QStringList lines;
    for (const QByteArray &line : m_lines.split('\n'))
        lines += shown(line);
    return cut(lines.join(u'\n'), kMostShown);
}

QString SmtpReply::text() const
{
    QStringList texts;
    for (const QByteArray &line : m_lines.split('\n'))
        texts += shown(line.mid(4));
    return cut(texts.join(u' ').simplified(), kMostInLine);
}
