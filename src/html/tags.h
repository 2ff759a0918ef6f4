#pragma once

#include "html/elements.h"

#include <QByteArrayView>
#include <QVarLengthArray>

/// The attributes that get past the scan. Every other one means nothing to the reader.
enum class Attribute : unsigned char {
    Align,
    Alt,
    Background,
    Bgcolor,
    Border,
    Cellpadding,
    Cellspacing,
    Checked,
    Class,
    Color,
    Colspan,
    Data,
    Dir,
    Face,
    Height,
    Hidden,
    Href,
    Id,
    Name,
    Noshade,
    Nowrap,
    Poster,
    Rowspan,
    Size,
    Src,
    Srcset,
    Start,
    Style,
    Text,
    Title,
    Type,
    Valign,
    Value,
    Width
};

/// One tag as it is written: "<td Align=left>". Views point into the scanned text.
struct Tag
{
    struct Given
    {
        Attribute attribute;
        QByteArrayView value; ///< entities as written
    };

    Element element = Element::None;
    bool end = false;
    QVarLengthArray<Given, 12> attributes; ///< each at most once, the first one wins
};

/// Reads tags the way a browser does (HTML 13.2.5), in one pass over each: a quote that nobody closes does
/// not swallow the text behind the tag.
class TagReader
{
public:
    explicit TagReader(QByteArrayView text)
        : m_text(text)
    {}

    /// Whether a tag begins at @p position, which is a "<".
    bool beginsAt(qsizetype position) const;
    /// Reads the tag that begins at @p position; returns where the text goes on.
    qsizetype read(qsizetype position, Tag &tag);

private:
    qsizetype readAttribute(qsizetype position, Tag &tag);
    qsizetype readValue(qsizetype position, QByteArrayView &value);

    QByteArrayView m_text;
    qsizetype m_noQuoteFrom[2] = {-1, -1}; ///< no closing " or ' from here on; -1: not known
};

const char *attributeName(Attribute attribute);
