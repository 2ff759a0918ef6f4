#include "compose/columns.h"
#include "compose/linewrap.h"
#include "compose/quotemarks.h"
#include "compose/quoting.h"

using namespace Qt::StringLiterals;

namespace {

/// The length of what marks an item of a list ("- ", "12. "), its indentation included; 0: it is none.
qsizetype itemMarkLength(QStringView line)
{
    qsizetype at = 0;
    while (at < line.size() && line[at] == u' ')
        ++at;
    const qsizetype mark = at;
    if (at < line.size() && (line[at] == u'-' || line[at] == u'*' || line[at] == u'+'))
        ++at;
    while (at < line.size() && at < mark + 3 && line[at] >= u'0' && line[at] <= u'9')
        ++at;
    if (at > mark && at < line.size() && line[at - 1].isDigit() && (line[at] == u'.' || line[at] == u')'))
        ++at;
    const bool isMark = at > mark && !line[at - 1].isDigit() && at < line.size() && line[at] == u' ';
    return isMark && at + 1 - mark <= 5 && mark <= 12 ? at + 1 : 0;
}

QString withoutBlanks(QStringView text)
{
    QString out;
    for (const QChar c : text)
        if (c != u' ')
            out += c;
    return out;
}

/// Fills the paragraphs of one text anew, line by line.
class Rewrapper
{
public:
    Rewrapper(int width, qsizetype size)
        : m_wrap(width)
        , m_width(width)
    {
        m_out.reserve(size + size / 8);
    }

    void add(QStringView line)
    {
        const qsizetype length = m_marks.prefixLength(line);
        if (length == 0) {
            finish();
            m_signatureDepth.clear();
            m_wrap.append(m_out, line);
            m_out += u'\n';
            return;
        }
        addQuoted(line, length);
    }

    void keep(QStringView line)
    {
        finish();
        m_out += line;
        m_out += u'\n';
    }

    QString finished()
    {
        finish();
        return std::move(m_out);
    }

private:
    void addQuoted(QStringView line, qsizetype length)
    {
        const QStringView prefix = line.first(length);
        const QStringView content = line.sliced(length);
        const qsizetype mark = itemMarkLength(content);
        if (isVerbatim(prefix, content, mark))
            return keep(line);
        if (m_text.isEmpty() || mark > 0 || withoutBlanks(prefix) != m_depth)
            begin(prefix, content.first(mark));
        join(content.sliced(mark).trimmed());
    }

    /// Empty lines, signatures, code, tables, and what lies too deep stay as they are.
    bool isVerbatim(QStringView prefix, QStringView content, qsizetype mark)
    {
        if (content.trimmed().isEmpty())
            return true;
        if (prefix.size() > m_width || m_width - columnsOf(prefix) < LineWrap::kNarrowest)
            return true;
        if (!m_signatureDepth.isEmpty() || content == kSignatureSeparator) {
            const QString depth = withoutBlanks(prefix);
            if (content == kSignatureSeparator)
                m_signatureDepth = depth;
            if (depth == m_signatureDepth)
                return true;
            m_signatureDepth.clear();
        }
        return content.contains(u"   ") || content.contains(u'\t') ||
               (content.startsWith(u' ') && mark == 0 && !continuesItem(content));
    }

    /// Whether an indented line is the rest of the item above it.
    bool continuesItem(QStringView content) const
    {
        qsizetype blanks = 0;
        while (blanks < content.size() && content[blanks] == u' ')
            ++blanks;
        return !m_text.isEmpty() && !m_item.isEmpty() && blanks == m_item.size();
    }

    void begin(QStringView prefix, QStringView item)
    {
        finish();
        m_depth = withoutBlanks(prefix);
        m_prefix = prefix.endsWith(u' ') ? prefix.toString() : prefix.toString() + u' ';
        m_item = item.toString();
    }

    void join(QStringView content)
    {
        if (!m_text.isEmpty() && !content.isEmpty() &&
            !(isIdeographic(m_text.back().unicode()) && isIdeographic(content.front().unicode())))
            m_text += u' ';
        m_text += content;
    }

    void finish()
    {
        if (m_text.isEmpty())
            return;
        m_wrap.append(m_out, m_text, QString(m_prefix + m_item),
                      QString(m_prefix + QString(m_item.size(), u' ')));
        m_out += u'\n';
        m_text.clear();
        m_item.clear();
    }

    LineWrap m_wrap;
    int m_width;
    QuoteMarks m_marks;
    QString m_out;
    QString m_depth;          ///< the paragraph's prefix without its blanks
    QString m_signatureDepth; ///< the same of the signature that is being read
    QString m_prefix;
    QString m_item;
    QString m_text; ///< in one line
};

/// Gives each line above the signature that is not inside a forwarded message to @p add, the others to
/// @p keep.
template <typename Add, typename Keep>
void forLines(QStringView text, Add add, Keep keep)
{
    const qsizetype signature = signatureStart(text);
    const bool isForward = text.indexOf(kForwardEnd) >= 0;
    bool inForward = false;
    QStringView rest = signature < 0 ? text : text.first(signature);
    while (!rest.isEmpty()) {
        const QStringView line = takeTextLine(rest);
        inForward |= isForward && line == kForwardBegin;
        inForward ? keep(line) : add(line);
        inForward &= line != kForwardEnd;
    }
    rest = signature < 0 ? QStringView() : text.sliced(signature);
    while (!rest.isEmpty())
        keep(takeTextLine(rest));
}

} // namespace

QString wrapText(const QString &text, int width)
{
    if (width < 1)
        return text;
    const LineWrap wrap(width);
    const QuoteMarks marks;
    QString out;
    out.reserve(text.size() + text.size() / 32);
    const auto keep = [&](QStringView line) {
        out += line;
        out += u'\n';
    };
    forLines(
        text,
        [&](QStringView line) {
            if (wrap.fits(line) || marks.isQuoted(line))
                return keep(line);
            wrap.append(out, line);
            out += u'\n';
        },
        keep);
    if (!text.endsWith(u'\n'))
        out.chop(1);
    return out;
}

QString rewrapText(const QString &text, int width)
{
    if (width < 1)
        return text;
    Rewrapper rewrapper(width, text.size());
    forLines(
        text, [&](QStringView line) { rewrapper.add(line); },
        [&](QStringView line) { rewrapper.keep(line); });
    QString out = rewrapper.finished();
    if (!text.endsWith(u'\n'))
        out.chop(1);
    return out;
}
