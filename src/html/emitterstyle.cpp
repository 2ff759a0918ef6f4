#include "html/emitter.h"

#include "html/emitterparts.h"
#include "html/parsedhtml.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// A width or height attribute; percentages only if @p percent is given.
void readSize(const QString &text, std::optional<double> &size, std::optional<double> *percent)
{
    QStringView value = QStringView(text).trimmed();
    if (value.isEmpty())
        return;
    if (value.endsWith(u'%')) {
        if (bool ok = false; percent)
            if (const double number = value.chopped(1).toDouble(&ok); ok && number > 0)
                *percent = std::min(number, 100.0);
        return;
    }
    if (const auto length = parseLength(value, kLeastFontSize))
        size = std::clamp(*length, 0.0, 1600.0);
}

/// <font size>: 1 to 7, or steps from 3.
std::optional<double> legacyFontSize(const QString &text)
{
    constexpr double kSizes[] = {10, 13, 16, 18, 24, 32, 48};
    bool ok = false;
    const int number = text.trimmed().toInt(&ok);
    const bool relative = text.trimmed().startsWith(u'+') || text.trimmed().startsWith(u'-');
    return ok ? std::optional(kSizes[std::clamp(relative ? 3 + number : number, 1, 7) - 1]) : std::nullopt;
}

} // namespace

Style Emitter::styleOf(const GumboNode *node, GumboTag tag)
{
    Style style;
    attributeStyle(node, tag, style);
    const double fontSize =
        m_frames.size() > 1 ? m_frames[m_frames.size() - 2].context.fontSize : m_options.fontSize;
    m_sheet.apply(node, fontSize, style);
    if (const GumboAttribute *given = gumbo_get_attribute(&node->v.element.attributes, "style"))
        applyDeclarations(QString::fromUtf8(given->value), fontSize, style);
    return style;
}

/// What older mail says by attributes.
void Emitter::attributeStyle(const GumboNode *node, GumboTag tag, Style &style) const
{
    const GumboVector &attributes = node->v.element.attributes;
    for (unsigned i = 0; i < attributes.length; ++i) {
        const auto *attribute = static_cast<const GumboAttribute *>(attributes.data[i]);
        const QByteArrayView name(attribute->name);
        const QString value = QString::fromUtf8(attribute->value);
        if (name == "align" && tag == GUMBO_TAG_IMG)
            applyDeclarations(u"float:"_s + value, 0, style);
        else if (name == "align" && tag != GUMBO_TAG_TABLE)
            applyDeclarations(u"text-align:"_s + value, 0, style);
        else if (name == "valign")
            applyDeclarations(u"vertical-align:"_s + value, 0, style);
        else if (name == "bgcolor")
            style.background = parseAttributeColour(value);
        else if ((name == "color" && tag == GUMBO_TAG_FONT) || (name == "text" && tag == GUMBO_TAG_BODY))
            style.colour = parseAttributeColour(value);
        else if (name == "face")
            applyDeclarations(u"font-family:"_s + value, 0, style);
        else if (name == "size" && tag == GUMBO_TAG_FONT)
            style.fontSize = legacyFontSize(value);
        else if (name == "width")
            readSize(value, style.width, tag == GUMBO_TAG_IMG ? nullptr : &style.widthPercent);
        else if (name == "height")
            readSize(value, style.height, nullptr);
        else if (name == "hidden")
            style.dropped = true;
    }
    if (tag == GUMBO_TAG_CENTER)
        style.align = u"center";
    if (tag == GUMBO_TAG_MARK)
        style.background = 0xFFF2A8;
    if (tag != GUMBO_TAG_IMG)
        style.height.reset(); // a cell's or table's height is the least one, it hides nothing
}

/// The colour of the text, where it changes or what it lies on does.
void Emitter::colourText(const Style &style, QString &css)
{
    constexpr Colour kPaper = 0xFFFFFF;
    constexpr Colour kLightText = 0xF2F4F5;
    Context &now = context();
    if (style.colour && *style.colour != kTransparent) {
        now.colour = style.colour;
        m_result.hasOwnColours = m_result.hasOwnColours || *style.colour != 0;
    }
    if (isFilled(style)) {
        now.ground = style.background;
        m_result.hasOwnColours = true;
    }
    const Colour own = now.link ? m_options.link : m_options.text;
    const bool isPlain = now.colour.value_or(0) == 0 && !now.ground; // black on nothing is what all text is
    const Colour wanted = isPlain ? own : now.colour.value_or(own);
    Colour shown = readableOn(wanted, now.ground.value_or(kPaper));
    if (shown != wanted && !now.colour && !now.link)
        shown = kLightText; // nobody has asked for a colour on this dark ground
    if (shown == now.shown.value_or(own))
        return;
    now.shown = shown;
    declare(css, u"color", colourName(shown));
}

/// @p width as it may be where the whole is too wide for the window.
double Emitter::fitted(double width)
{
    m_result.widest = std::max(m_result.widest, int(width));
    return width * context().shrink;
}

/// The width attribute of a table or a cell.
void Emitter::giveWidth(QString &out, const Style &style)
{
    const double width = style.width ? fitted(*style.width) : 0;
    if (style.widthPercent)
        give(out, u"width", rounded(*style.widthPercent) + u'%');
    else if (width > 0)
        give(out, u"width", rounded(width));
}

/// The declarations of text that change something here; the context knows them from now on.
QString Emitter::textStyle(const Style &style)
{
    Context &now = context();
    QString css;
    colourText(style, css);
    if (style.fontSize && *style.fontSize >= 1 && *style.fontSize != now.fontSize) {
        now.fontSize = *style.fontSize;
        declare(css, u"font-size", pixels(std::max(*style.fontSize * m_options.zoom, 1.0)));
    }
    if (!style.family.isEmpty() && style.family != now.family) {
        now.family = style.family;
        declare(css, u"font-family", style.family);
    }
    if (style.weight && *style.weight != now.weight) {
        now.weight = *style.weight;
        declare(css, u"font-weight", QString::number(now.weight));
    }
    if (style.italic && *style.italic != now.italic) {
        now.italic = *style.italic;
        declare(css, u"font-style", now.italic ? u"italic" : u"normal");
    }
    if (style.decoration) {
        static constexpr QStringView kNames[] = {u"none", u"underline", u"line-through"};
        declare(css, u"text-decoration", kNames[std::size_t(*style.decoration)]);
    }
    if (!style.transform.isEmpty())
        declare(css, u"text-transform", style.transform);
    return css;
}

/// @p boxed: padding and borders are said elsewhere.
QString Emitter::blockStyle(const Style &style, bool boxed)
{
    QString css;
    if (!style.align.isEmpty())
        declare(css, u"text-align", style.align);
    if (style.lineHeight)
        declare(css, u"line-height", QString::number(std::lround(*style.lineHeight)) + u'%');
    if (style.textIndent && *style.textIndent > 0)
        declare(css, u"text-indent", pixels(*style.textIndent));
    if (context().verbatim && style.whiteSpace.startsWith(u"pre"))
        declare(css, u"white-space", u"pre-wrap");
    if (boxed)
        return css;
    if (isFilled(style))
        declare(css, u"background-color", colourName(*style.background));
    static constexpr QStringView kMargins[] = {u"margin-top", u"margin-right", u"margin-bottom",
                                               u"margin-left"};
    for (const Side side : {Top, Right, Bottom, Left}) {
        if (!style.margin[side] && !style.padding[side])
            continue;
        double margin = style.margin[side].value_or(0) + style.padding[side].value_or(0);
        if (side == Left || side == Right) {
            margin = std::min(margin, std::max(kGreatestIndent - context().indent, 0.0));
            context().indent += margin;
        }
        declare(css, kMargins[side], pixels(margin));
    }
    return css;
}

QString Emitter::boxStyle(const Style &style) const
{
    static constexpr QStringView kSides[] = {u"top", u"right", u"bottom", u"left"};
    QString css;
    if (isFilled(style))
        declare(css, u"background-color", colourName(*style.background));
    for (const Side side : {Top, Right, Bottom, Left}) {
        if (style.padding[side])
            declare(css, u"padding-"_s + kSides[side].toString(), pixels(*style.padding[side]));
        const Style::Border &border = style.border[side];
        if (border.width <= 0 || border.line == u"none" || border.colour == kTransparent)
            continue;
        const QString name = u"border-"_s + kSides[side].toString();
        declare(css, name + u"-width"_s, pixels(border.width));
        declare(css, name + u"-style"_s, border.line);
        declare(css, name + u"-color"_s, colourName(border.colour));
    }
    return css;
}
