#include "ui/compose/quotecolours.h"

#include "ui/look/storedcolours.h"

using namespace Qt::StringLiterals;

namespace {

/// The state of a line: how many lines stand between it and the separator above it. Signatures are short;
/// what comes later is text.
constexpr int kNoSignature = -1;
constexpr int kLongestSignature = 30;

constexpr Setting kQuoteColours[] = {Setting::ReadColourQ1, Setting::ReadColourQ2, Setting::ReadColourQ3,
                                     Setting::ReadColourQ4};
constexpr int kQuoteKinds = int(std::size(kQuoteColours));

} // namespace

QuoteColours::QuoteColours(QTextDocument *document)
    : QSyntaxHighlighter(document)
{}

int QuoteColours::depthOf(QStringView line)
{
    int depth = 0;
    for (const QChar c : line) {
        if (c == u'>')
            ++depth;
        else if (c != u' ' || depth == 0)
            break;
    }
    return depth;
}

void QuoteColours::highlightBlock(const QString &text)
{
    const int above = previousBlockState();
    int state = kNoSignature;
    if (text == "-- "_L1)
        state = 0;
    else if (above >= 0 && above < kLongestSignature)
        state = above + 1;
    setCurrentBlockState(state);
    if (const int depth = depthOf(text); depth > 0)
        setFormat(0, int(text.size()), shownColour(kQuoteColours[(depth - 1) % kQuoteKinds]));
    else if (state != kNoSignature)
        setFormat(0, int(text.size()), shownColour(Setting::ReadColourSig));
}
