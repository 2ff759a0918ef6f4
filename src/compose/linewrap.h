#pragma once

#include "compose/quotemarks.h"

#include <QString>
#include <QStringView>

/// What makes one long line several.
class LineWrap
{
public:
    /// @p width in columns, prefixes included.
    explicit LineWrap(int width)
        : m_width(width)
    {}

    /// Whether the content fits behind a prefix of @p taken columns as it is.
    bool fits(QStringView content, int taken = 0) const;

    /// Appends @p content to @p out in lines without a last "\n", the first behind @p prefix, the others
    /// behind @p nextPrefix of the same width. A piece that would look quoted, or like the separator line of
    /// a mailbox, begins no line. Linear in the content.
    void append(QString &out, QStringView content, QStringView prefix = {},
                QStringView nextPrefix = {}) const;

    /// Narrower than this no text is squeezed in behind a prefix.
    static constexpr int kNarrowest = 20;

private:
    int m_width;
    QuoteMarks m_marks;
};
