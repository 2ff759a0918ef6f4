#pragma once

#include <QTextBlock>
#include <QTextFormat>
#include <QTextFrame>

#include <algorithm>

/// What a text in the formatted editor carries besides the toolkit's own formats.
namespace composeformat {

enum Property {
    QuoteLevel = QTextFormat::BlockQuoteLevel,     ///< int, of paragraphs and tables; in a cell from its edge
    IsSignature = QTextFormat::UserProperty + 100, ///< bool: inside the <div> of kSignatureClass
    IsFiller,                                      ///< bool: stands only because a table needs a neighbour
    ListStart,                                     ///< int, of lists: the number of the first item
};

constexpr int kDeepestQuote = 20; ///< what a hostile text has beyond these levels stays at the last
constexpr int kQuoteStep = 14;    ///< pixels from the bar of one level to that of the next

inline int quoteLevel(const QTextFormat &format)
{
    return format.intProperty(QuoteLevel);
}

/// @p indent: beyond what the quotation itself is moved in.
inline void setQuoteLevel(QTextBlockFormat &format, int level, double indent = 0)
{
    // what is as it was is not said: a document is quadratic in changed items of a list
    if (format.leftMargin() != level * kQuoteStep + indent)
        format.setLeftMargin(level * kQuoteStep + indent);
    if (format.rightMargin() != 0)
        format.setRightMargin(0);
    level > 0 ? format.setProperty(QuoteLevel, level) : format.clearProperty(QuoteLevel);
}

/// How far a paragraph is moved in beyond its quotation.
inline double ownIndent(const QTextBlockFormat &format)
{
    return std::max(0.0, format.leftMargin() - quoteLevel(format) * kQuoteStep);
}

/// What stands in a frame from @p at on, in its order: @p onFrame with each frame in it, @p onBlock with each
/// paragraph but the fillers beside a frame.
template <typename OnFrame, typename OnBlock>
void forEachIn(QTextFrame::iterator at, OnFrame onFrame, OnBlock onBlock)
{
    bool isAfterFrame = false;
    for (; !at.atEnd(); ++at) {
        if (const QTextFrame *frame = at.currentFrame()) {
            onFrame(*frame);
            isAfterFrame = true;
            continue;
        }
        QTextFrame::iterator next = at;
        ++next;
        const bool isBeside = isAfterFrame || (!next.atEnd() && next.currentFrame());
        isAfterFrame = false;
        const QTextBlock block = at.currentBlock();
        if (!isBeside || block.length() > 1 || !block.blockFormat().boolProperty(IsFiller))
            onBlock(block);
    }
}

} // namespace composeformat
