#pragma once

#include <QTextFormat>

/// What blocks and frames of a message's document carry besides Qt's own formats, for painting and copying.
namespace bodyformat {
enum Property {
    QuoteLevel = QTextFormat::UserProperty + 1, ///< int, from 1
    FromRight,                                  ///< bool: a quotation in a script that runs to the left
    Continued,                                  ///< bool: the next block belongs to the same line
    FoldId,                                     ///< int: stands for quoted lines that are not shown
    FoldedIn,                                   ///< int: is not shown, that FoldId stands for it
    RuleAbove,                                  ///< bool: a hairline above the block
    Surface,                                    ///< QColor: the frame is a card of this colour
    Outline,                                    ///< QColor of the card's border; without one it has none
};

constexpr int kQuoteStep = 14; ///< pixels from the bar of one level to that of the next
} // namespace bodyformat

/// Links of the reader itself; a message's own links can never have this scheme.
namespace readerlink {
inline const QString scheme = QStringLiteral("reader");
inline const QString showAll = QStringLiteral("reader:all");
inline const QString fold = QStringLiteral("reader:fold/"); ///< + its FoldId
inline const QString part = QStringLiteral("reader:part/"); ///< + the index of a picture's part
} // namespace readerlink
