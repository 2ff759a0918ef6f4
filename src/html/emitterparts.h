#pragma once

#include "html/parsedhtml.h"
#include "html/style.h"

#include <cmath>

/// What the files of the emitter share.

constexpr double kGreatestIndent = 160; // pixels, of all margins around a text

/// Whether what is inside @p element is short enough to be kept in one line, as it asks for.
bool mayStayInOneLine(const GumboNode *element);

inline bool isFilled(const Style &style)
{
    return style.background && *style.background != kTransparent;
}
inline QString rounded(double value)
{
    return QString::number(std::lround(value));
}
inline QString pixels(double value)
{
    return rounded(value) + QStringLiteral("px");
}

/// Appends "property:value;".
inline void declare(QString &out, QStringView property, QStringView value)
{
    out.append(property).append(u':').append(value).append(u';');
}

/// Appends an attribute whose value needs no escaping any more.
inline void give(QString &out, QStringView attribute, QStringView value)
{
    out.append(u' ').append(attribute).append(u"=\"").append(value).append(u'"');
}
