#include "html/emitter.h"

#include "html/emitterparts.h"
#include "html/parsedhtml.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int kDeepestFrame = 4; ///< each is one more table around a table

bool isOnlyCell(const GumboNode *cell)
{
    const GumboVector &siblings = cell->parent->v.element.children;
    return std::none_of(siblings.data, siblings.data + siblings.length, [cell](void *sibling) {
        return sibling != cell && isElement(static_cast<const GumboNode *>(sibling));
    });
}

/// What the cells of the first row ask for in their attributes.
double widthOfCells(const GumboNode *table)
{
    double width = 0;
    int rows = 0;
    walk(
        table,
        [&](const GumboNode *node) {
            const GumboTag tag = tagOf(node);
            rows += tag == GUMBO_TAG_TR;
            if (rows == 1 && (tag == GUMBO_TAG_TD || tag == GUMBO_TAG_TH))
                width += std::clamp(attributeOf(node, "width").toDouble(), 0.0, 2000.0);
            return isElement(node) && rows < 2 && tag != GUMBO_TAG_TD && tag != GUMBO_TAG_TH;
        },
        [](const GumboNode *) {});
    return width;
}

/// The border of @p style and nothing else.
Style onlyBorder(const Style &style)
{
    Style border = style;
    border.background.reset();
    border.padding = {};
    return border;
}

} // namespace

bool mayStayInOneLine(const GumboNode *element)
{
    constexpr qsizetype kLongest = 40;
    constexpr unsigned kMostNodes = 16;
    constexpr int kMostCells = 6;
    qsizetype length = 0;
    unsigned nodes = 0;
    walk(
        element,
        [&](const GumboNode *node) {
            if (isText(node))
                length += qsizetype(qstrnlen(node->v.text.text, kLongest + 1));
            return ++nodes < kMostNodes && length <= kLongest;
        },
        [](const GumboNode *) {});
    const GumboTag tag = tagOf(element);
    const bool isCell = tag == GUMBO_TAG_TD || tag == GUMBO_TAG_TH;
    const unsigned siblings = isCell ? element->parent->v.element.children.length : 0; // blanks between, too
    return length <= kLongest && nodes < kMostNodes && siblings <= 2 * kMostCells;
}

/// A text document draws a border around every cell of a table, where style sheets mean the table alone. So
/// the table stands in a frame: a table of one cell that has the border, the place and the width.
void Emitter::openFrame(const Style &style, const QString &place, const QString &margins)
{
    m_result.html += u"<table cellspacing=\"0\" cellpadding=\"0\""_s + place;
    if (!margins.isEmpty())
        m_result.html += u" style=\""_s + margins.chopped(1) + u'"';
    m_result.html += u"><tr><td"_s;
    if (style.width) // inside another table only cells have a width
        give(m_result.html, u"width", rounded(fitted(*style.width)));
    m_result.html += u" style=\""_s + boxStyle(onlyBorder(style)).chopped(1) + u"\">"_s;
}

bool Emitter::openTable(const GumboNode *node, const Style &style)
{
    m_word = 0;
    if (!m_plan.keeps(node) || context().tables >= m_plan.depth() + 1) {
        context().rows = false;
        return openBlock(node, u"div", style);
    }
    ++context().tables;
    context().rows = true;
    const auto number = [&](const char *name, int greatest, int otherwise) {
        bool ok = false;
        const int value = attributeOf(node, name).toInt(&ok);
        return QString::number(ok ? std::clamp(value, 0, greatest) : otherwise);
    };
    QString attributes;
    give(attributes, u"cellpadding", number("cellpadding", 40, 1));
    give(attributes, u"cellspacing", number("cellspacing", 20, style.collapsedBorders ? 0 : 2));
    if (const QString width = number("border", 4, 0); width != u"0")
        give(attributes, u"border", width);
    QString place;
    const double asked = fitted(style.width ? *style.width : widthOfCells(node));
    if (m_options.width > 0 && asked > m_options.width) {
        context().shrink *= m_options.width / asked;
        give(place, u"width", u"100%");
    } else {
        giveWidth(place, style);
    }
    context().tableWidth = style.width.value_or(0);
    if (attributeOf(node, "align").compare(u"center", Qt::CaseInsensitive) == 0 || style.autoMargin[Left])
        give(place, u"align", u"center");
    Style outside = style; // alignment of the table is none of its text
    outside.align = {};
    QString css = textStyle(outside);
    if (isFilled(style))
        declare(css, u"background-color", colourName(*style.background));
    if (style.collapsedBorders)
        declare(css, u"border-collapse", u"collapse");
    QString margins;
    for (const auto &[side, name] : {std::pair(Top, u"margin-top"), std::pair(Bottom, u"margin-bottom")})
        if (style.margin[side])
            declare(margins, name, pixels(*style.margin[side]));
    const bool framed = !boxStyle(onlyBorder(style)).isEmpty() && context().boxes < kDeepestFrame;
    if (framed) {
        ++context().boxes;
        openFrame(style, place, margins);
        give(attributes, u"width", u"100%");
    }
    open(u"table", framed ? attributes : attributes + place, framed ? css : css + margins);
    if (framed)
        m_frames.back().closing += u"</td></tr></table>";
    return true;
}

bool Emitter::openCell(const GumboNode *node, GumboTag tag, const Style &style)
{
    m_word = 0;
    m_shown += u' ';
    if (tag == GUMBO_TAG_TH)
        context().weight = 700;
    if (!context().rows) { // of a table that has given way to its content
        const bool alone = isOnlyCell(node);
        if (alone || tag == GUMBO_TAG_CAPTION)
            return openBlock(node, u"div", style);
        openInline(node, u"span", style);
        m_frames.back().closing += u"\x00A0 ";
        return true;
    }
    context().rows = false;
    QString attributes;
    for (const char *key : {"colspan", "rowspan"})
        if (const int span = TablePlan::span(node, key); span > 1)
            give(attributes, QLatin1StringView(key).toString(), QString::number(span));
    const double tableWidth = std::exchange(context().tableWidth, 0);
    if (style.width || style.widthPercent)
        giveWidth(attributes, style);
    else if (tableWidth > 0 &&
             isOnlyCell(node)) // a text document asks the cells, not the table inside a table
        give(attributes, u"width", rounded(fitted(tableWidth)));
    if (style.verticalAlign == u"top" || style.verticalAlign == u"middle" || style.verticalAlign == u"bottom")
        give(attributes, u"valign", style.verticalAlign);
    if (!style.align.isEmpty())
        give(attributes, u"align", style.align);
    QString css = textStyle(style) + blockStyle(style, true) + boxStyle(style);
    if ((style.whiteSpace == u"nowrap" || hasAttribute(node, "nowrap")) && mayStayInOneLine(node))
        declare(css, u"white-space", u"nowrap");
    const bool caption = tag == GUMBO_TAG_CAPTION;
    if (caption)
        m_result.html += u"<tr>";
    open(tag == GUMBO_TAG_TH ? u"th" : u"td", attributes, css);
    if (caption)
        m_frames.back().closing += u"</tr>";
    return true;
}
