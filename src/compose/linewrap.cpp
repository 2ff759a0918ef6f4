#include "compose/linewrap.h"

#include "compose/columns.h"

namespace {

bool isBreakingBlank(char32_t c)
{
    return c == u' ' || c == u'\t';
}

bool mayBeginLine(QStringView rest, const QuoteMarks &marks)
{
    return !marks.isQuoted(rest) && !rest.startsWith(u"From ");
}

/// Where the piece being written may end, and where the next one begins.
struct Break
{
    qsizetype end = -1;
    qsizetype next = -1;
    int columns = 0; ///< of all that stands before the next piece
};

} // namespace

bool LineWrap::fits(QStringView content, int taken) const
{
    return columnsOf(content, taken) <= m_width - taken;
}

void LineWrap::append(QString &out, QStringView content, QStringView prefix, QStringView nextPrefix) const
{
    static constexpr QStringView kAddress = u"://";
    const int taken = columnsOf(prefix);
    const int width = std::max(m_width - taken, kNarrowest);
    qsizetype start = 0;
    qsizetype blanksFrom = 0; // of the blanks before the character in hand
    int columns = 0;          // from start
    char32_t before = u' ';
    bool inAddress = false; // an address on the net is no text to be broken
    Break chance;
    for (qsizetype at = 0; at < content.size();) {
        const qsizetype here = at;
        const char32_t c = takeCharacter(content, at);
        if (isBreakingBlank(c)) {
            if (!isBreakingBlank(before))
                blanksFrom = here;
            inAddress = false;
        } else {
            const bool afterBlank = isBreakingBlank(before);
            inAddress = (inAddress || content.sliced(here).startsWith(kAddress)) &&
                        (!isIdeographic(c) || mayBreakBetween(u'a', c));
            const qsizetype end = afterBlank ? blanksFrom : here;
            if (end > start && (afterBlank || (!inAddress && mayBreakBetween(before, c))) &&
                mayBeginLine(content.sliced(here), m_marks))
                chance = {end, here, columns};
            if (columns + columnsOf(c) > width && chance.end > start) {
                out += prefix;
                out += content.sliced(start, chance.end - start);
                out += u'\n';
                prefix = nextPrefix;
                start = chance.next;
                columns -= chance.columns;
                chance = {};
            }
        }
        columns += columnsAt(c, taken + columns);
        before = c;
    }
    QStringView last = content.sliced(start);
    while (start > 0 && last.endsWith(u' ')) // else a piece could become a separator
        last.chop(1);
    out += prefix;
    out += last;
}
