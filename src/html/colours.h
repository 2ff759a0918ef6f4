#pragma once

#include <QString>
#include <QStringView>

#include <cstdint>
#include <optional>

/// 0xRRGGBB, or kTransparent.
using Colour = std::uint32_t;
constexpr Colour kTransparent = 0xFF000000;

/// A colour as style sheets write it (CSS Color 4: names, hexadecimal, rgb, rgba, hsl, hsla). What is half
/// transparent is mixed with white, the card that HTML lies on. Empty: no colour.
std::optional<Colour> parseColour(QStringView text);

/// A colour as attributes write it, where "ffffff" means "#ffffff".
std::optional<Colour> parseAttributeColour(QStringView text);

/// How far two colours are from each other in lightness, 1 to 21 (WCAG 2.1).
double contrastOf(Colour a, Colour b);

/// @p text as it can be read on @p ground: itself from a contrast of 3 on, else moved towards black or white
/// until there are 4.5.
Colour readableOn(Colour text, Colour ground);

/// "#rrggbb".
QString colourName(Colour colour);
