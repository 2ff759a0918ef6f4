#include "ui/look/oklch.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

using Linear = std::array<double, 3>;

double toLinear(double c)
{
    return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
}

double fromLinear(double c)
{
    return c <= 0.0031308 ? 12.92 * c : 1.055 * std::pow(c, 1 / 2.4) - 0.055;
}

/// By the 8-bit parts, so that what is measured is what is shown.
Linear linear(const QColor &colour)
{
    return {toLinear(colour.red() / 255.0), toLinear(colour.green() / 255.0),
            toLinear(colour.blue() / 255.0)};
}

double luminance(const QColor &colour)
{
    const auto [r, g, b] = linear(colour);
    return 0.2126 * r + 0.7152 * g + 0.0722 * b;
}

/// May lie outside 0 to 1: then sRGB does not have the colour.
Linear linear(const Oklch &colour)
{
    const double a = colour.chroma * std::cos(colour.hue);
    const double b = colour.chroma * std::sin(colour.hue);
    const double l = std::pow(colour.lightness + 0.3963377774 * a + 0.2158037573 * b, 3);
    const double m = std::pow(colour.lightness - 0.1055613458 * a - 0.0638541728 * b, 3);
    const double s = std::pow(colour.lightness - 0.0894841775 * a - 1.2914855480 * b, 3);
    return {4.0767416621 * l - 3.3077115913 * m + 0.2309699292 * s,
            -1.2684380046 * l + 2.6097574011 * m - 0.3413193965 * s,
            -0.0041960863 * l - 0.7034186147 * m + 1.7076147010 * s};
}

bool insideSrgb(const Linear &parts)
{
    return std::all_of(parts.begin(), parts.end(), [](double part) { return part >= 0 && part <= 1; });
}

constexpr double kChromaStep = 0.004;
constexpr double kLightnessStep = 0.005;

} // namespace

Oklch toOklch(const QColor &colour)
{
    const auto [r, g, b] = linear(colour);
    const double l = std::cbrt(0.4122214708 * r + 0.5363325363 * g + 0.0514459929 * b);
    const double m = std::cbrt(0.2119034982 * r + 0.6806995451 * g + 0.1073969566 * b);
    const double s = std::cbrt(0.0883024619 * r + 0.2817188376 * g + 0.6299787005 * b);
    const double x = 1.9779984951 * l - 2.4285922050 * m + 0.4505937099 * s;
    const double y = 0.0259040371 * l + 0.7827717662 * m - 0.8086757660 * s;
    return {0.2104542553 * l + 0.7936177850 * m - 0.0040720468 * s, std::hypot(x, y), std::atan2(y, x)};
}

QColor fromOklch(Oklch colour)
{
    Linear parts = linear(colour);
    while (colour.chroma > 0 && !insideSrgb(parts)) {
        colour.chroma = std::max(0.0, colour.chroma - kChromaStep);
        parts = linear(colour);
    }
    const auto byte = [](double part) {
        return int(std::lround(255 * fromLinear(std::clamp(part, 0.0, 1.0))));
    };
    return QColor(byte(parts[0]), byte(parts[1]), byte(parts[2]));
}

double contrast(const QColor &a, const QColor &b)
{
    const auto [dark, light] = std::minmax({luminance(a), luminance(b)});
    return (light + 0.05) / (dark + 0.05);
}

bool isDarkBackground(const QColor &background)
{
    return contrast(background, Qt::white) > contrast(background, Qt::black);
}

QColor mapColour(const QColor &colour, const QColor &background, double ratio)
{
    const bool dark = isDarkBackground(background);
    Oklch mapped = toOklch(colour);
    mapped.chroma = std::min(mapped.chroma, dark ? 0.125 : 0.155);
    if (dark)
        mapped.lightness = std::max(mapped.lightness, 0.70);
    QColor result = fromOklch(mapped);
    while (contrast(result, background) < ratio && mapped.lightness > 0 && mapped.lightness < 1) {
        mapped.lightness = std::clamp(mapped.lightness + (dark ? kLightnessStep : -kLightnessStep), 0.0, 1.0);
        result = fromOklch(mapped);
    }
    return result;
}
