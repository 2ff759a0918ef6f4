#include "html/colours.h"

#include <QList>

#include <algorithm>
#include <array>
#include <cmath>

namespace {

struct NamedColour
{
    QStringView name;
    std::uint32_t rgb;
};

// CSS Color Module Level 4, and the few system colours that mail uses; sorted
constexpr std::array kNamedColours = {NamedColour{u"aliceblue", 0xf0f8ff},
                                      NamedColour{u"antiquewhite", 0xfaebd7},
                                      NamedColour{u"aqua", 0x00ffff},
                                      NamedColour{u"aquamarine", 0x7fffd4},
                                      NamedColour{u"azure", 0xf0ffff},
                                      NamedColour{u"beige", 0xf5f5dc},
                                      NamedColour{u"bisque", 0xffe4c4},
                                      NamedColour{u"black", 0x000000},
                                      NamedColour{u"blanchedalmond", 0xffebcd},
                                      NamedColour{u"blue", 0x0000ff},
                                      NamedColour{u"blueviolet", 0x8a2be2},
                                      NamedColour{u"brown", 0xa52a2a},
                                      NamedColour{u"burlywood", 0xdeb887},
                                      NamedColour{u"buttontext", 0x000000},
                                      NamedColour{u"cadetblue", 0x5f9ea0},
                                      NamedColour{u"chartreuse", 0x7fff00},
                                      NamedColour{u"chocolate", 0xd2691e},
                                      NamedColour{u"coral", 0xff7f50},
                                      NamedColour{u"cornflowerblue", 0x6495ed},
                                      NamedColour{u"cornsilk", 0xfff8dc},
                                      NamedColour{u"crimson", 0xdc143c},
                                      NamedColour{u"cyan", 0x00ffff},
                                      NamedColour{u"darkblue", 0x00008b},
                                      NamedColour{u"darkcyan", 0x008b8b},
                                      NamedColour{u"darkgoldenrod", 0xb8860b},
                                      NamedColour{u"darkgray", 0xa9a9a9},
                                      NamedColour{u"darkgreen", 0x006400},
                                      NamedColour{u"darkgrey", 0xa9a9a9},
                                      NamedColour{u"darkkhaki", 0xbdb76b},
                                      NamedColour{u"darkmagenta", 0x8b008b},
                                      NamedColour{u"darkolivegreen", 0x556b2f},
                                      NamedColour{u"darkorange", 0xff8c00},
                                      NamedColour{u"darkorchid", 0x9932cc},
                                      NamedColour{u"darkred", 0x8b0000},
                                      NamedColour{u"darksalmon", 0xe9967a},
                                      NamedColour{u"darkseagreen", 0x8fbc8f},
                                      NamedColour{u"darkslateblue", 0x483d8b},
                                      NamedColour{u"darkslategray", 0x2f4f4f},
                                      NamedColour{u"darkslategrey", 0x2f4f4f},
                                      NamedColour{u"darkturquoise", 0x00ced1},
                                      NamedColour{u"darkviolet", 0x9400d3},
                                      NamedColour{u"deeppink", 0xff1493},
                                      NamedColour{u"deepskyblue", 0x00bfff},
                                      NamedColour{u"dimgray", 0x696969},
                                      NamedColour{u"dimgrey", 0x696969},
                                      NamedColour{u"dodgerblue", 0x1e90ff},
                                      NamedColour{u"firebrick", 0xb22222},
                                      NamedColour{u"floralwhite", 0xfffaf0},
                                      NamedColour{u"forestgreen", 0x228b22},
                                      NamedColour{u"fuchsia", 0xff00ff},
                                      NamedColour{u"gainsboro", 0xdcdcdc},
                                      NamedColour{u"ghostwhite", 0xf8f8ff},
                                      NamedColour{u"gold", 0xffd700},
                                      NamedColour{u"goldenrod", 0xdaa520},
                                      NamedColour{u"gray", 0x808080},
                                      NamedColour{u"green", 0x008000},
                                      NamedColour{u"greenyellow", 0xadff2f},
                                      NamedColour{u"grey", 0x808080},
                                      NamedColour{u"honeydew", 0xf0fff0},
                                      NamedColour{u"hotpink", 0xff69b4},
                                      NamedColour{u"indianred", 0xcd5c5c},
                                      NamedColour{u"indigo", 0x4b0082},
                                      NamedColour{u"ivory", 0xfffff0},
                                      NamedColour{u"khaki", 0xf0e68c},
                                      NamedColour{u"lavender", 0xe6e6fa},
                                      NamedColour{u"lavenderblush", 0xfff0f5},
                                      NamedColour{u"lawngreen", 0x7cfc00},
                                      NamedColour{u"lemonchiffon", 0xfffacd},
                                      NamedColour{u"lightblue", 0xadd8e6},
                                      NamedColour{u"lightcoral", 0xf08080},
                                      NamedColour{u"lightcyan", 0xe0ffff},
                                      NamedColour{u"lightgoldenrodyellow", 0xfafad2},
                                      NamedColour{u"lightgray", 0xd3d3d3},
                                      NamedColour{u"lightgreen", 0x90ee90},
                                      NamedColour{u"lightgrey", 0xd3d3d3},
                                      NamedColour{u"lightpink", 0xffb6c1},
                                      NamedColour{u"lightsalmon", 0xffa07a},
                                      NamedColour{u"lightseagreen", 0x20b2aa},
                                      NamedColour{u"lightskyblue", 0x87cefa},
                                      NamedColour{u"lightslategray", 0x778899},
                                      NamedColour{u"lightslategrey", 0x778899},
                                      NamedColour{u"lightsteelblue", 0xb0c4de},
                                      NamedColour{u"lightyellow", 0xffffe0},
                                      NamedColour{u"lime", 0x00ff00},
                                      NamedColour{u"limegreen", 0x32cd32},
                                      NamedColour{u"linen", 0xfaf0e6},
                                      NamedColour{u"magenta", 0xff00ff},
                                      NamedColour{u"maroon", 0x800000},
                                      NamedColour{u"mediumaquamarine", 0x66cdaa},
                                      NamedColour{u"mediumblue", 0x0000cd},
                                      NamedColour{u"mediumorchid", 0xba55d3},
                                      NamedColour{u"mediumpurple", 0x9370db},
                                      NamedColour{u"mediumseagreen", 0x3cb371},
                                      NamedColour{u"mediumslateblue", 0x7b68ee},
                                      NamedColour{u"mediumspringgreen", 0x00fa9a},
                                      NamedColour{u"mediumturquoise", 0x48d1cc},
                                      NamedColour{u"mediumvioletred", 0xc71585},
                                      NamedColour{u"midnightblue", 0x191970},
                                      NamedColour{u"mintcream", 0xf5fffa},
                                      NamedColour{u"mistyrose", 0xffe4e1},
                                      NamedColour{u"moccasin", 0xffe4b5},
                                      NamedColour{u"navajowhite", 0xffdead},
                                      NamedColour{u"navy", 0x000080},
                                      NamedColour{u"oldlace", 0xfdf5e6},
                                      NamedColour{u"olive", 0x808000},
                                      NamedColour{u"olivedrab", 0x6b8e23},
                                      NamedColour{u"orange", 0xffa500},
                                      NamedColour{u"orangered", 0xff4500},
                                      NamedColour{u"orchid", 0xda70d6},
                                      NamedColour{u"palegoldenrod", 0xeee8aa},
                                      NamedColour{u"palegreen", 0x98fb98},
                                      NamedColour{u"paleturquoise", 0xafeeee},
                                      NamedColour{u"palevioletred", 0xdb7093},
                                      NamedColour{u"papayawhip", 0xffefd5},
                                      NamedColour{u"peachpuff", 0xffdab9},
                                      NamedColour{u"peru", 0xcd853f},
                                      NamedColour{u"pink", 0xffc0cb},
                                      NamedColour{u"plum", 0xdda0dd},
                                      NamedColour{u"powderblue", 0xb0e0e6},
                                      NamedColour{u"purple", 0x800080},
                                      NamedColour{u"rebeccapurple", 0x663399},
                                      NamedColour{u"red", 0xff0000},
                                      NamedColour{u"rosybrown", 0xbc8f8f},
                                      NamedColour{u"royalblue", 0x4169e1},
                                      NamedColour{u"saddlebrown", 0x8b4513},
                                      NamedColour{u"salmon", 0xfa8072},
                                      NamedColour{u"sandybrown", 0xf4a460},
                                      NamedColour{u"seagreen", 0x2e8b57},
                                      NamedColour{u"seashell", 0xfff5ee},
                                      NamedColour{u"sienna", 0xa0522d},
                                      NamedColour{u"silver", 0xc0c0c0},
                                      NamedColour{u"skyblue", 0x87ceeb},
                                      NamedColour{u"slateblue", 0x6a5acd},
                                      NamedColour{u"slategray", 0x708090},
                                      NamedColour{u"slategrey", 0x708090},
                                      NamedColour{u"snow", 0xfffafa},
                                      NamedColour{u"springgreen", 0x00ff7f},
                                      NamedColour{u"steelblue", 0x4682b4},
                                      NamedColour{u"tan", 0xd2b48c},
                                      NamedColour{u"teal", 0x008080},
                                      NamedColour{u"thistle", 0xd8bfd8},
                                      NamedColour{u"tomato", 0xff6347},
                                      NamedColour{u"turquoise", 0x40e0d0},
                                      NamedColour{u"violet", 0xee82ee},
                                      NamedColour{u"wheat", 0xf5deb3},
                                      NamedColour{u"white", 0xffffff},
                                      NamedColour{u"whitesmoke", 0xf5f5f5},
                                      NamedColour{u"window", 0xffffff},
                                      NamedColour{u"windowtext", 0x000000},
                                      NamedColour{u"yellow", 0xffff00},
                                      NamedColour{u"yellowgreen", 0x9acd32}};
static_assert(std::is_sorted(kNamedColours.begin(), kNamedColours.end(), [](const auto &a, const auto &b) {
    return std::u16string_view(a.name.utf16(), std::size_t(a.name.size())) <
           std::u16string_view(b.name.utf16(), std::size_t(b.name.size()));
}));

std::optional<Colour> named(QStringView name)
{
    const QString wanted = name.toString().toLower();
    const auto less = [](const NamedColour &colour, QStringView text) { return colour.name < text; };
    const auto found =
        std::lower_bound(kNamedColours.begin(), kNamedColours.end(), QStringView(wanted), less);
    if (found == kNamedColours.end() || found->name != wanted)
        return {};
    return found->rgb;
}

std::uint32_t overWhite(std::uint32_t rgb, double alpha)
{
    std::uint32_t out = 0;
    for (const int shift : {16, 8, 0}) {
        const double part = (rgb >> shift) & 0xFF;
        out |= std::uint32_t(std::lround(part * alpha + 255 * (1 - alpha))) << shift;
    }
    return out;
}

/// "abc", "aabbcc" and both with an alpha part behind.
std::optional<Colour> hexadecimal(QStringView digits)
{
    QString wide;
    const qsizetype repeat = digits.size() <= 4 ? 2 : 1;
    for (const QChar c : digits)
        wide.append(QString(repeat, c));
    bool ok = false;
    const std::uint32_t value = wide.toUInt(&ok, 16);
    if (!ok || (wide.size() != 6 && wide.size() != 8))
        return {};
    if (wide.size() == 6)
        return value;
    return (value & 0xFF) == 0 ? kTransparent : overWhite(value >> 8, (value & 0xFF) / 255.0);
}

double partOf(QStringView text, double whole)
{
    const bool percent = text.endsWith(u'%');
    const double value = (percent ? text.chopped(1) : text).toDouble();
    return std::isfinite(value) ? std::clamp(percent ? value / 100 * whole : value, 0.0, whole) : 0;
}

/// HSL as CSS Color 4, 7.1 turns it into RGB.
std::uint32_t fromHsl(double hue, double saturation, double lightness)
{
    const double a = saturation * std::min(lightness, 1 - lightness);
    std::uint32_t rgb = 0;
    for (const int n : {0, 8, 4}) {
        const double k = std::fmod(n + hue / 30, 12);
        const double part = lightness - a * std::max(-1.0, std::min({k - 3, 9 - k, 1.0}));
        rgb = rgb << 8 | std::uint32_t(std::lround(part * 255));
    }
    return rgb;
}

/// The inside of rgb(...), rgba(...), hsl(...) and hsla(...), in both ways of writing.
std::optional<Colour> functional(QStringView name, QStringView arguments)
{
    QString plain = arguments.toString();
    plain.replace(u',', u' ').replace(u'/', u' ');
    const QList<QStringView> parts = QStringView(plain).split(u' ', Qt::SkipEmptyParts);
    if (parts.size() < 3)
        return {};
    const double alpha = parts.size() > 3 ? partOf(parts[3], 1) : 1;
    if (alpha <= 0)
        return kTransparent;
    if (name.startsWith(u"hsl"))
        return overWhite(fromHsl(partOf(parts[0], 360), partOf(parts[1], 1), partOf(parts[2], 1)), alpha);
    std::uint32_t rgb = 0;
    for (qsizetype i = 0; i < 3; ++i)
        rgb = rgb << 8 | std::uint32_t(std::lround(partOf(parts[i], 255)));
    return overWhite(rgb, alpha);
}

} // namespace

std::optional<Colour> parseColour(QStringView text)
{
    constexpr qsizetype kLongest = 64;
    text = text.trimmed();
    if (text.isEmpty() || text.size() > kLongest)
        return {};
    if (text.startsWith(u'#'))
        return hexadecimal(text.sliced(1));
    if (text.compare(u"transparent", Qt::CaseInsensitive) == 0)
        return kTransparent;
    if (const qsizetype open = text.indexOf(u'('); open > 0) {
        const QString name = text.first(open).toString().toLower();
        const bool known = name == u"rgb" || name == u"rgba" || name == u"hsl" || name == u"hsla";
        return known && text.endsWith(u')') ? functional(name, text.sliced(open + 1).chopped(1))
                                            : std::nullopt;
    }
    return named(text);
}

std::optional<Colour> parseAttributeColour(QStringView text)
{
    const std::optional<Colour> colour = parseColour(text);
    text = text.trimmed();
    return colour || text.size() != 6 ? colour : hexadecimal(text); // "ffffff" without its mark
}

QString colourName(Colour colour)
{
    return u'#' + QString::number(colour, 16).rightJustified(6, u'0');
}

double contrastOf(Colour a, Colour b)
{
    const auto light = [](Colour colour) {
        const auto linear = [colour](int shift) {
            const double part = double((colour >> shift) & 0xFF) / 255;
            return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * linear(16) + 0.7152 * linear(8) + 0.0722 * linear(0);
    };
    const auto [darker, lighter] = std::minmax({light(a), light(b)});
    return (lighter + 0.05) / (darker + 0.05);
}

Colour readableOn(Colour text, Colour ground)
{
    constexpr double kLeast = 3;
    constexpr double kWanted = 4.5;
    constexpr int kSteps = 20;
    if (contrastOf(text, ground) >= kLeast)
        return text;
    const Colour end = contrastOf(0, ground) >= contrastOf(0xFFFFFF, ground) ? 0 : 0xFFFFFF;
    for (int step = 1; step < kSteps; ++step) {
        Colour moved = 0;
        for (const int shift : {16, 8, 0}) {
            const int from = int((text >> shift) & 0xFF);
            const int to = int((end >> shift) & 0xFF);
            moved |= Colour(from + (to - from) * step / kSteps) << shift;
        }
        if (contrastOf(moved, ground) >= kWanted)
            return moved;
    }
    return end;
}
