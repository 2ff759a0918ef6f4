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

/// "#rrggbb".
QString colourName(Colour colour);
