#pragma once

#include "html/colours.h"

#include <QString>
#include <QStringView>

#include <array>
#include <optional>

enum Side { Top, Right, Bottom, Left };

/// What one element's style says, as far as the reader can show it: parsed values only, so that nothing of
/// the written text gets into what is shown. Lengths are pixels, within bounds.
struct Style
{
    struct Border
    {
        double width = 0;
        Colour colour = 0;
        QStringView line = u"none"; ///< a CSS keyword, of static life
    };
    enum class Decoration { None, Underline, LineThrough };

    std::optional<Colour> colour;
    std::optional<Colour> background;
    std::optional<double> fontSize; ///< below 1: the text is meant not to be seen
    QString family;
    std::optional<int> weight;
    std::optional<bool> italic;
    std::optional<Decoration> decoration;
    std::optional<bool> hidden; ///< visibility
    QStringView align;          ///< left, right, center or justify
    QStringView verticalAlign;
    QStringView whiteSpace;
    QStringView listStyle;
    QStringView floats; ///< left or right
    QStringView transform;
    std::optional<double> lineHeight; ///< percent
    std::optional<double> textIndent;
    std::array<std::optional<double>, 4> margin;
    std::array<std::optional<double>, 4> padding;
    std::array<bool, 4> autoMargin = {};
    std::array<Border, 4> border;
    std::optional<double> width;
    std::optional<double> widthPercent;
    std::optional<double> maxWidth;
    std::optional<double> height;
    std::optional<double> maxHeight;
    bool collapsedBorders = false;
    bool cutsOverflow = false;
    bool dropped = false; ///< display: none and its like

    /// Whether the element and all in it is not to be seen, however that is said.
    bool isInvisible() const;
    bool hasBorder() const;
    bool hasPadding() const;
};

/// Applies a list of declarations ("color: red; margin: 0") to @p style; what is not understood or not
/// allowed is left out. @p parentFontSize is what em and % refer to.
void applyDeclarations(QStringView declarations, double parentFontSize, Style &style);

/// A length in pixels ("12px", "1.5em", "10pt", "7"); empty: none, or a percentage.
std::optional<double> parseLength(QStringView text, double fontSize);

constexpr double kLeastFontSize = 8;
constexpr double kGreatestFontSize = 72;
