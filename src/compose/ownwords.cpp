#include "compose/ownwords.h"

#include "compose/editing.h"
#include "compose/quotemarks.h"

using namespace Qt::StringLiterals;

namespace {

constexpr QChar kQuotation = QChar::ParagraphSeparator; ///< stands for all lines of one
constexpr qsizetype kMostSearched = 100'000;            ///< characters; in more a line or two do not matter

/// What is looked at closely is only what is left.
QString withoutQuotations(QStringView rest)
{
    const QuoteMarks marks;
    QString left;
    bool isQuoted = false;
    while (!rest.isEmpty()) {
        const QStringView line = takeTextLine(rest);
        const bool wasQuoted = std::exchange(isQuoted, marks.isQuoted(line));
        if (isQuoted && wasQuoted)
            continue;
        left += isQuoted ? QStringView(&kQuotation, 1) : line;
        left += u'\n';
    }
    return left;
}

void dropForwarded(QString &text)
{
    const qsizetype begin = text.indexOf(kForwardBegin);
    const qsizetype end = begin < 0 ? -1 : text.lastIndexOf(kForwardEnd);
    if (end > begin)
        text.remove(begin, end + kForwardEnd.size() - begin);
}

int wordsIn(QStringView line)
{
    int words = 0;
    bool inWord = false;
    for (const QChar c : line) {
        const bool isWord = c.isLetterOrNumber();
        words += isWord && !inWord;
        inWord = isWord || (inWord && (c == u'\'' || c == u'’' || c == u'-'));
    }
    return words;
}

} // namespace

int countOwnWords(const QString &text, const QStringList &known)
{
    QString own = withoutQuotations(text);
    for (const QString &each : known) {
        const TextSpan place = own.size() <= kMostSearched ? findSignature(own, each) : TextSpan();
        if (place.start >= 0)
            own.remove(place.start, place.length);
    }
    dropForwarded(own);
    int words = 0;
    bool isSignature = false;
    for (QStringView rest = own; !rest.isEmpty();) {
        const QStringView line = takeTextLine(rest);
        isSignature = line == kSignatureSeparator || (isSignature && !line.startsWith(kQuotation));
        words += isSignature ? 0 : wordsIn(line);
    }
    return words;
}
