#pragma once

#include <QColor>
#include <QFont>
#include <QPalette>

#include <array>

/// How texts of messages look, by the settings and the look of the moment; made anew when either changes.
struct BodyStyle
{
    QFont font;
    QFont fixedFont;
    QColor background;
    QColor text;
    QColor marks; ///< before the items of lists: of the text that they belong to
    QColor text2; ///< labels and notes
    std::array<QColor, 4> quotes;
    QColor signature;
    QColor url;            ///< addresses found in a plain text
    QColor link;           ///< what the reader itself offers to click
    QColor card;           ///< behind an enclosed message
    QColor line;           //
    bool coloured = true;  ///< quotes, signatures and addresses have colours of their own
    bool emphasis = false; ///< *bold*, /italic/ and _underline_ are drawn so
    int wrapWidth = 0;     ///< pixels of a line of plain text; 0: as wide as the window

    /// What HTML with colours of its own lies on, whatever the look.
    static QColor paper() { return {0xFF, 0xFF, 0xFF}; }
    QColor paperText;
    QColor paperLink;

    const QColor &quoteColour(int level) const { return quotes[std::size_t(level - 1) % quotes.size()]; }
};

/// @p zoom multiplies the size of the text.
BodyStyle bodyStyle(double zoom);

/// The font that a stored description means; @p fallback when it is empty or names a font that is not there.
QFont storedFont(const QString &description, const QFont &fallback);
