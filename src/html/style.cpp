#include "html/style.h"

#include <QList>

#include <algorithm>
#include <cmath>
#include <iterator>

using namespace Qt::StringLiterals;

namespace {

constexpr double kGreatestMargin = 100;
constexpr double kGreatestWidth = 1600;
constexpr qsizetype kLongestFamily = 120;
constexpr int kMostDeclarations = 100;

struct Given
{
    QStringView value; ///< trimmed, lower case
    double fontSize;   ///< the parent's
};
using Apply = void (*)(const Given &, Style &);

/// The one of @p words that @p value is, so that it outlives the text; else empty.
template <std::size_t N>
QStringView oneOf(QStringView value, const QStringView (&words)[N])
{
    const auto found = std::find(std::begin(words), std::end(words), value);
    return found == std::end(words) ? QStringView() : *found;
}

template <std::size_t N>
void setWord(QStringView &target, QStringView value, const QStringView (&words)[N])
{
    if (const QStringView word = oneOf(value, words); !word.isEmpty())
        target = word;
}

/// @p value split at blanks outside of brackets; at most four pieces.
QList<QStringView> pieces(QStringView value)
{
    QList<QStringView> out;
    qsizetype begin = 0;
    int depth = 0;
    for (qsizetype i = 0; i <= value.size() && out.size() < 4; ++i) {
        const QChar c = i < value.size() ? value[i] : u' ';
        depth += c == u'(' ? 1 : c == u')' ? -1 : 0;
        if (!c.isSpace() || (depth > 0 && i < value.size()))
            continue;
        if (i > begin)
            out.append(value.sliced(begin, i - begin));
        begin = i + 1;
    }
    return out;
}

double ownFontSize(const Given &given, const Style &style)
{
    return style.fontSize.value_or(given.fontSize);
}

std::optional<double> bounded(std::optional<double> value, double greatest)
{
    return value ? std::optional(std::clamp(*value, 0.0, greatest)) : value;
}

std::optional<double> percentage(QStringView value)
{
    bool ok = false;
    const double number = value.endsWith(u'%') ? value.chopped(1).toDouble(&ok) : 0;
    return ok && std::isfinite(number) ? std::optional(number) : std::nullopt;
}

void background(const Given &given, Style &style)
{
    for (const QStringView piece : pieces(given.value))
        if (const auto colour = parseColour(piece))
            style.background = colour;
}

void borderPiece(QStringView piece, double fontSize, Style::Border &border)
{
    static constexpr QStringView kLines[] = {u"none",   u"hidden", u"solid", u"dashed", u"dotted",
                                             u"double", u"groove", u"ridge", u"inset",  u"outset"};
    if (const QStringView line = oneOf(piece, kLines); !line.isEmpty())
        border.line = line;
    else if (piece == u"thin" || piece == u"medium" || piece == u"thick")
        border.width = piece == u"thin" ? 1 : piece == u"medium" ? 2 : 4;
    else if (const auto width = parseLength(piece, fontSize))
        border.width = std::clamp(*width, 0.0, 12.0);
    else if (const auto colour = parseColour(piece))
        border.colour = *colour;
}

template <Side... sides>
void border(const Given &given, Style &style)
{
    Style::Border border;
    border.width = 2; // medium, when a line is named without a width
    border.colour = style.colour.value_or(0);
    for (const QStringView piece : pieces(given.value))
        borderPiece(piece, ownFontSize(given, style), border);
    ((style.border[sides] = border), ...);
}

/// border-width, -style and -color, for all four sides alike.
void borderPart(const Given &given, Style &style)
{
    const QList<QStringView> parts = pieces(given.value);
    for (qsizetype side = 0; side < 4 && !parts.isEmpty(); ++side) // top, right, bottom, left
        borderPiece(parts[parts.size() > side ? side
                          : parts.size() > 1  ? side % 2
                                              : 0],
                    given.fontSize, style.border[std::size_t(side)]);
}

template <bool isMargin>
void setEdge(QStringView value, std::size_t side, const Given &given, Style &style)
{
    if (isMargin)
        style.autoMargin[side] = value == u"auto";
    const auto length = bounded(parseLength(value, ownFontSize(given, style)), kGreatestMargin);
    if (length)
        (isMargin ? style.margin : style.padding)[side] = length;
}

template <bool isMargin>
void edges(const Given &given, Style &style)
{
    const QList<QStringView> parts = pieces(given.value);
    for (qsizetype side = 0; side < 4 && !parts.isEmpty(); ++side) {
        const qsizetype index = parts.size() == 4     ? side
                                : side == 3           ? std::min<qsizetype>(1, parts.size() - 1)
                                : side < parts.size() ? side
                                                      : 0;
        setEdge<isMargin>(parts[index], std::size_t(side), given, style);
    }
}

template <bool isMargin, Side side>
void edge(const Given &given, Style &style)
{
    setEdge<isMargin>(given.value, side, given, style);
}

void colour(const Given &given, Style &style)
{
    if (const auto colour = parseColour(given.value); colour && *colour != kTransparent)
        style.colour = colour;
}

void display(const Given &given, Style &style)
{
    style.dropped = given.value == u"none";
}

std::optional<double> fontSizeOf(const Given &given)
{
    struct Named
    {
        QStringView name;
        double pixels;
    };
    static constexpr Named kNamed[] = {{u"xx-small", 9}, {u"x-small", 10}, {u"small", 13},   {u"medium", 16},
                                       {u"large", 18},   {u"x-large", 24}, {u"xx-large", 32}};
    for (const auto &[name, pixels] : kNamed)
        if (given.value == name)
            return pixels;
    if (given.value == u"smaller" || given.value == u"larger")
        return given.fontSize * (given.value == u"smaller" ? 0.83 : 1.2);
    if (const auto percent = percentage(given.value))
        return given.fontSize * *percent / 100;
    return parseLength(given.value, given.fontSize);
}

void fontSize(const Given &given, Style &style)
{
    if (const auto size = fontSizeOf(given))
        style.fontSize = *size <= 2 ? 0 : std::clamp(*size, kLeastFontSize, kGreatestFontSize);
}

void family(const Given &given, Style &style)
{
    QString clean;
    for (const QChar c : given.value.first(std::min(given.value.size(), kLongestFamily)))
        if (c.isLetterOrNumber() || c == u' ' || c == u',' || c == u'-')
            clean += c;
    if (given.value != u"inherit")
        style.family = clean.trimmed();
}

void weight(const Given &given, Style &style)
{
    bool ok = false;
    const int number = given.value.toInt(&ok);
    if (ok)
        style.weight = number >= 600 ? 700 : 400;
    else if (given.value == u"bold" || given.value == u"bolder" || given.value == u"normal")
        style.weight = given.value == u"normal" ? 400 : 700;
}

void fontStyle(const Given &given, Style &style)
{
    style.italic = given.value == u"italic" || given.value == u"oblique";
}

/// font: [style] [weight] size[/line height] family
void font(const Given &given, Style &style)
{
    const QList<QStringView> parts = pieces(given.value);
    for (const QStringView part : parts) {
        const QStringView size = part.first(std::find(part.begin(), part.end(), u'/') - part.begin());
        const Given one{size, given.fontSize};
        if (part == u"italic" || part == u"oblique")
            style.italic = true;
        else if (part == u"bold" || (part.size() == 3 && part.endsWith(u"00")))
            weight(one, style);
        else if (fontSizeOf(one) && part != u"0") {
            fontSize(one, style);
            return family({given.value.sliced(part.end() - given.value.begin()).trimmed(), given.fontSize},
                          style);
        }
    }
}

void decoration(const Given &given, Style &style)
{
    if (given.value.contains(u"underline"))
        style.decoration = Style::Decoration::Underline;
    else if (given.value.contains(u"line-through"))
        style.decoration = Style::Decoration::LineThrough;
    else if (given.value.startsWith(u"none"))
        style.decoration = Style::Decoration::None;
}

void lineHeight(const Given &given, Style &style)
{
    bool ok = false;
    double percent = given.value.toDouble(&ok) * 100;
    if (!ok) {
        const auto length = parseLength(given.value, ownFontSize(given, style));
        const double fontSize = std::max(ownFontSize(given, style), kLeastFontSize);
        // a text document counts from the font's own line, which is about 1.2 times its size
        percent = percentage(given.value).value_or(length ? *length / fontSize * 100 : 0);
    }
    percent /= 1.2;
    if (std::isfinite(percent) && percent > 0)
        style.lineHeight = std::clamp(percent, 100.0, 180.0);
}

void opacity(const Given &given, Style &style)
{
    bool ok = false;
    if (given.value.toDouble(&ok) <= 0.01 && ok)
        style.dropped = true;
}

void size(const Given &given, std::optional<double> &pixels, std::optional<double> *percent,
          const Style &style)
{
    pixels = bounded(parseLength(given.value, ownFontSize(given, style)), kGreatestWidth);
    if (percent)
        *percent = bounded(percentage(given.value), 100);
}

void width(const Given &given, Style &style)
{
    size(given, style.width, &style.widthPercent, style);
}
void maxWidth(const Given &given, Style &style)
{
    size(given, style.maxWidth, nullptr, style);
}
void height(const Given &given, Style &style)
{
    size(given, style.height, nullptr, style);
}
void maxHeight(const Given &given, Style &style)
{
    size(given, style.maxHeight, nullptr, style);
}
void hide(const Given &given, Style &style)
{
    style.dropped = style.dropped || given.value == u"all";
}
void overflow(const Given &given, Style &style)
{
    style.cutsOverflow = given.value == u"hidden";
}
void collapse(const Given &given, Style &style)
{
    style.collapsedBorders = given.value == u"collapse";
}

void textIndent(const Given &given, Style &style)
{
    style.textIndent = bounded(parseLength(given.value, ownFontSize(given, style)), kGreatestMargin);
}

void visibility(const Given &given, Style &style)
{
    style.hidden = given.value == u"hidden" || given.value == u"collapse";
}

void textAlign(const Given &given, Style &style)
{
    static constexpr QStringView kWords[] = {u"left", u"right", u"center", u"justify"};
    setWord(style.align, given.value, kWords);
}

void verticalAlign(const Given &given, Style &style)
{
    static constexpr QStringView kWords[] = {u"top", u"middle", u"bottom", u"baseline", u"sub", u"super"};
    setWord(style.verticalAlign, given.value, kWords);
}

void whiteSpace(const Given &given, Style &style)
{
    static constexpr QStringView kWords[] = {u"normal", u"pre", u"pre-wrap", u"pre-line", u"nowrap"};
    setWord(style.whiteSpace, given.value, kWords);
}

void listStyle(const Given &given, Style &style)
{
    static constexpr QStringView kWords[] = {u"none",        u"disc",        u"circle",
                                             u"square",      u"decimal",     u"lower-alpha",
                                             u"upper-alpha", u"lower-roman", u"upper-roman"};
    for (const QStringView piece : pieces(given.value))
        setWord(style.listStyle, piece, kWords);
}

void floats(const Given &given, Style &style)
{
    static constexpr QStringView kWords[] = {u"left", u"right"};
    setWord(style.floats, given.value, kWords);
}

void transform(const Given &given, Style &style)
{
    static constexpr QStringView kWords[] = {u"uppercase", u"lowercase", u"capitalize", u"none"};
    setWord(style.transform, given.value, kWords);
}

struct Property
{
    QStringView name;
    Apply apply;
};

constexpr Property kProperties[] = {
    // sorted
    {u"background", background},
    {u"background-color", background},
    {u"border", border<Top, Right, Bottom, Left>},
    {u"border-bottom", border<Bottom>},
    {u"border-collapse", collapse},
    {u"border-color", borderPart},
    {u"border-left", border<Left>},
    {u"border-right", border<Right>},
    {u"border-style", borderPart},
    {u"border-top", border<Top>},
    {u"border-width", borderPart},
    {u"color", colour},
    {u"display", display},
    {u"float", floats},
    {u"font", font},
    {u"font-family", family},
    {u"font-size", fontSize},
    {u"font-style", fontStyle},
    {u"font-weight", weight},
    {u"height", height},
    {u"line-height", lineHeight},
    {u"list-style", listStyle},
    {u"list-style-type", listStyle},
    {u"margin", edges<true>},
    {u"margin-bottom", edge<true, Bottom>},
    {u"margin-left", edge<true, Left>},
    {u"margin-right", edge<true, Right>},
    {u"margin-top", edge<true, Top>},
    {u"max-height", maxHeight},
    {u"max-width", maxWidth},
    {u"mso-hide", hide},
    {u"opacity", opacity},
    {u"overflow", overflow},
    {u"padding", edges<false>},
    {u"padding-bottom", edge<false, Bottom>},
    {u"padding-left", edge<false, Left>},
    {u"padding-right", edge<false, Right>},
    {u"padding-top", edge<false, Top>},
    {u"text-align", textAlign},
    {u"text-decoration", decoration},
    {u"text-indent", textIndent},
    {u"text-transform", transform},
    {u"vertical-align", verticalAlign},
    {u"visibility", visibility},
    {u"white-space", whiteSpace},
    {u"width", width},
};

void applyOne(QStringView name, QStringView value, double parentFontSize, Style &style)
{
    const auto less = [](const Property &property, QStringView wanted) { return property.name < wanted; };
    const auto property = std::lower_bound(std::begin(kProperties), std::end(kProperties), name, less);
    if (property == std::end(kProperties) || property->name != name)
        return;
    if (const qsizetype mark = value.indexOf(u'!'); mark >= 0)
        value = value.first(mark).trimmed(); // "!important"
    if (!value.isEmpty())
        property->apply({value, parentFontSize}, style);
}

} // namespace

bool Style::isInvisible() const
{
    const bool flat = (height && *height <= 1) || (maxHeight && *maxHeight <= 1);
    return dropped || (flat && cutsOverflow) || (maxHeight && *maxHeight <= 0);
}

bool Style::hasBorder() const
{
    return std::any_of(border.begin(), border.end(), [](const Border &side) {
        return side.width > 0 && side.line != u"none" && side.line != u"hidden" &&
               side.colour != kTransparent;
    });
}

bool Style::hasPadding() const
{
    return std::any_of(padding.begin(), padding.end(), [](const auto &side) { return side.value_or(0) > 0; });
}

std::optional<double> parseLength(QStringView text, double fontSize)
{
    struct Unit
    {
        QStringView name;
        double pixels; ///< 0: the font's size
    };
    static constexpr Unit kUnits[] = {
        {u"px", 1},         {u"pt", 96 / 72.0}, {u"rem", 16}, {u"em", 0}, {u"in", 96},
        {u"cm", 96 / 2.54}, {u"mm", 96 / 25.4}, {u"pc", 16},  {u"ex", 8}, {u"", 1}};
    for (const auto &[name, pixels] : kUnits) {
        if (!text.endsWith(name))
            continue;
        bool ok = false;
        const double number = text.chopped(name.size()).trimmed().toDouble(&ok);
        return ok && std::isfinite(number) ? std::optional(number * (pixels > 0 ? pixels : fontSize))
                                           : std::nullopt;
    }
    return {};
}

void applyDeclarations(QStringView declarations, double parentFontSize, Style &style)
{
    const QString lower = declarations.toString().toLower();
    const QStringView text(lower);
    qsizetype begin = 0;
    for (int count = 0; begin < text.size() && count < kMostDeclarations; ++count) {
        qsizetype end = text.indexOf(u';', begin);
        end = end < 0 ? text.size() : end;
        const QStringView one = text.sliced(begin, end - begin);
        if (const qsizetype colon = one.indexOf(u':'); colon > 0)
            applyOne(one.first(colon).trimmed(), one.sliced(colon + 1).trimmed(), parentFontSize, style);
        begin = end + 1;
    }
}
