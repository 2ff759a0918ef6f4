#include "html/emitter.h"

#include "html/emitterparts.h"
#include "html/parsedhtml.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int kDeepestFrame = 4; ///< each is one more table around a table

int cellsBeside(const GumboNode *cell)
{
    const GumboVector &siblings = cell->parent->v.element.children;
    return int(std::count_if(siblings.data, siblings.data + siblings.length, [cell](void *sibling) {
        return sibling != cell && isElement(static_cast<const GumboNode *>(sibling));
    }));
}

bool isOnlyCell(const GumboNode *cell)
{
    return cellsBeside(cell) == 0;
}

/// About how many pixels the cells of @p table need at least: each as many as its longest word.
double leastWidth(const GumboNode *table, double fontSize)
{
    constexpr double kLetter = 0.55; // of the size, on average
    constexpr double kAround = 8;
    double greatest = 0;
    double row = 0;
    qsizetype longest = 0;
    walk(
        table,
        [&](const GumboNode *node) {
            const GumboTag tag = tagOf(node);
            if (tag == GUMBO_TAG_TR)
                row = 0;
            if (isText(node)) {
                qsizetype word = 0;
                for (const char *c = node->v.text.text; *c; ++c) {
                    word =
                        *c == ' ' || *c == '\n' || *c == '-' || *c == '/' ? 0 : word + ((*c & 0xC0) != 0x80);
                    longest = std::max(longest, word);
                }
            }
            return isElement(node) && (node == table || tag != GUMBO_TAG_TABLE);
        },
        [&](const GumboNode *node) {
            const GumboTag tag = tagOf(node);
            if (tag != GUMBO_TAG_TD && tag != GUMBO_TAG_TH)
                return;
            row += double(std::min<qsizetype>(longest, 80)) * fontSize * kLetter + kAround;
            longest = 0;
            greatest = std::max(greatest, row);
        });
    return greatest;
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
    return length <= kLongest && nodes < kMostNodes && (!isCell || cellsBeside(element) < kMostCells);
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
    const bool fits = m_options.width <= 0 || leastWidth(node, context().fontSize) <= m_options.width;
    if (!m_plan.keeps(node) || context().tables >= m_plan.depth() + 1 || !fits) {
        if (!fits)
            m_result.widest = std::max(m_result.widest, m_options.width + 1);
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
    const double cells = widthOfCells(node);
    const double asked = fitted(style.width.value_or(cells));
    const bool isTooWide = m_options.width > 0 && asked > m_options.width;
    if (isTooWide) {
        context().shrink *= m_options.width / asked;
        give(place, u"width", u"100%");
    } else {
        giveWidth(place, style);
    }
    context().cellWidths = isTooWide || style.widthPercent ? std::max(cells, 1.0) : 0;
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
    const double allCells = std::exchange(context().cellWidths, 0);
    if (style.width && !style.widthPercent && allCells > 1) // a text document mixes points and parts badly
        give(attributes, u"width", rounded(std::min(100.0, 100 * *style.width / allCells)) + u'%');
    else if (style.width || style.widthPercent)
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
