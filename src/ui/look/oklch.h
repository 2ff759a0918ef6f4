#pragma once

#include <QColor>

/// Colours by lightness, chroma and hue as the eye has them (the published OKLab, in polar form). HSL would
/// turn a blue violet when it is made lighter.
struct Oklch
{
    double lightness; ///< 0 black to 1 white
    double chroma;    ///< 0 grey; sRGB reaches about 0.32
    double hue;       ///< radians
};

Oklch toOklch(const QColor &colour);

/// The nearest colour that sRGB has with this lightness and hue: the chroma is lowered as far as it must be.
QColor fromOklch(Oklch colour);

/// The contrast of two opaque colours as WCAG 2 defines it, 1 to 21, whichever is the lighter.
double contrast(const QColor &a, const QColor &b);

/// Whether light text belongs on @p background.
bool isDarkBackground(const QColor &background);

/// @p colour, which was chosen for white paper, fit for text on @p background: not garish, its hue kept, and
/// its contrast at least @p ratio unless not even black or white has that. Opaque.
QColor mapColour(const QColor &colour, const QColor &background, double ratio = 5);
