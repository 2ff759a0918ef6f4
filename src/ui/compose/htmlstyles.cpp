#include "ui/compose/htmlstyles.h"

#include "html/htmlescape.h"
#include "ui/compose/composeformat.h"

#include <QTextBlock>
#include <QTextTable>

using namespace Qt::StringLiterals;

namespace {

QString number(double value)
{
    return QString::number(value, 'g', 6);
}

QString declaration(QLatin1StringView name, const QString &value)
{
    return name + u':' + value + u';';
}

QString pixels(QLatin1StringView name, double value)
{
    return declaration(name, number(value) + u"px"_s);
}

QString attribute(QLatin1StringView name, const QString &value)
{
    return u' ' + name + u"=\""_s + value + u'"';
}

QString colourIn(const QTextFormat &format, int property, QLatin1StringView name)
{
    const QBrush brush = format.brushProperty(property);
    return brush.style() == Qt::NoBrush ? QString() : declaration(name, brush.color().name());
}

QString groundStyle(const QTextFormat &format, const QBrush &ground = {})
{
    const bool isThere = ground.style() != Qt::NoBrush && format.background() == ground;
    return isThere ? QString() : colourIn(format, QTextFormat::BackgroundBrush, "background-color"_L1);
}

QString length(const QTextLength &length)
{
    return length.type() == QTextLength::VariableLength ? QString()
           : length.type() == QTextLength::FixedLength  ? QString::number(qRound(length.rawValue()))
                                                        : number(length.rawValue()) + u'%';
}

/// Letters, digits and blanks alone: a name goes into an attribute.
QString families(const QStringList &names)
{
    QString out;
    for (QString name : names) {
        name.removeIf([](QChar c) { return !c.isLetterOrNumber() && c != u' ' && c != u'-' && c != u'_'; });
        if (name.isEmpty())
            continue;
        if (!out.isEmpty())
            out += u", "_s;
        out += name.contains(u' ') ? u'\'' + name + u'\'' : name;
    }
    return out;
}

QString sizeStyle(const QTextCharFormat &format, bool isHeading)
{
    static constexpr QStringView kNames[] = {u"x-small", u"small",   u"medium",
                                             u"large",   u"x-large", u"xx-large"};
    constexpr int kLeast = -2; // by steps from the usual size
    if (const int size = format.intProperty(QTextFormat::FontPixelSize); size > 0)
        return pixels("font-size"_L1, size);
    if (const double size = format.fontPointSize(); size > 0)
        return declaration("font-size"_L1, number(size) + u"pt"_s);
    const int step = format.intProperty(QTextFormat::FontSizeAdjustment);
    const auto index = std::size_t(std::clamp(step - kLeast, 0, int(std::size(kNames)) - 1));
    return step == 0 || isHeading ? QString() : declaration("font-size"_L1, kNames[index].toString());
}

constexpr QLatin1StringView kLines[] = {"none"_L1,   "dotted"_L1, "dashed"_L1, "solid"_L1, // by BorderStyle
                                        "double"_L1, "dashed"_L1, "dashed"_L1, "groove"_L1,
                                        "ridge"_L1,  "inset"_L1,  "outset"_L1};

QLatin1StringView lineName(int style)
{
    return kLines[std::size_t(std::clamp(style, 0, int(std::size(kLines)) - 1))];
}

struct SideProperties
{
    QLatin1StringView name;
    int padding;
    int border;
    int style;
    int brush;
};
constexpr SideProperties kSides[] = {
    {"top"_L1, QTextFormat::TableCellTopPadding, QTextFormat::TableCellTopBorder,
     QTextFormat::TableCellTopBorderStyle, QTextFormat::TableCellTopBorderBrush},
    {"right"_L1, QTextFormat::TableCellRightPadding, QTextFormat::TableCellRightBorder,
     QTextFormat::TableCellRightBorderStyle, QTextFormat::TableCellRightBorderBrush},
    {"bottom"_L1, QTextFormat::TableCellBottomPadding, QTextFormat::TableCellBottomBorder,
     QTextFormat::TableCellBottomBorderStyle, QTextFormat::TableCellBottomBorderBrush},
    {"left"_L1, QTextFormat::TableCellLeftPadding, QTextFormat::TableCellLeftBorder,
     QTextFormat::TableCellLeftBorderStyle, QTextFormat::TableCellLeftBorderBrush},
};

QString sideStyle(const QTextFormat &format, const SideProperties &side)
{
    QString css;
    if (format.hasProperty(side.padding))
        css += u"padding-"_s + pixels(side.name, format.doubleProperty(side.padding));
    const double width = format.doubleProperty(side.border);
    if (width <= 0)
        return css;
    const QBrush brush = format.brushProperty(side.brush);
    return css + u"border-"_s +
           declaration(side.name, number(width) + u"px "_s + lineName(format.intProperty(side.style)) + u' ' +
                                      (brush.style() == Qt::NoBrush ? u"#000000"_s : brush.color().name()));
}

} // namespace

QString styleAttribute(QString declarations)
{
    if (declarations.endsWith(u';'))
        declarations.chop(1);
    return declarations.isEmpty() ? QString() : attribute("style"_L1, declarations);
}

QString characterStyle(const QTextCharFormat &format, const QBrush &ground, bool isHeading)
{
    QString css = colourIn(format, QTextFormat::ForegroundBrush, "color"_L1);
    css += groundStyle(format, ground);
    if (const QString names = families(format.fontFamilies().toStringList()); !names.isEmpty())
        css += declaration("font-family"_L1, names);
    css += sizeStyle(format, isHeading);
    if (isHeading && format.hasProperty(QTextFormat::FontWeight) && format.fontWeight() <= QFont::Normal)
        css += declaration("font-weight"_L1, u"normal"_s);
    return css;
}

QString paragraphStyle(const QTextBlock &block, const QBrush &ground, double marginAbove, double marginBelow)
{
    const QTextBlockFormat format = block.blockFormat();
    QString css;
    if (format.topMargin() != marginAbove)
        css += pixels("margin-top"_L1, format.topMargin());
    if (format.bottomMargin() != marginBelow)
        css += pixels("margin-bottom"_L1, format.bottomMargin());
    if (const double indent = composeformat::ownIndent(format); indent > 0 && !block.textList())
        css += pixels("margin-left"_L1, indent);
    if (format.textIndent() > 0)
        css += pixels("text-indent"_L1, format.textIndent());
    if (format.lineHeightType() == QTextBlockFormat::ProportionalHeight && format.lineHeight() != 100)
        css += declaration("line-height"_L1, number(format.lineHeight()) + u'%');
    return css + groundStyle(format, ground);
}

QString sideAttributes(const QTextBlock &block)
{
    const QTextBlockFormat format = block.blockFormat();
    const bool isFromRight = format.hasProperty(QTextFormat::LayoutDirection)
                                 ? format.layoutDirection() == Qt::RightToLeft
                                 : block.textDirection() == Qt::RightToLeft;
    const QString direction = isFromRight ? attribute("dir"_L1, u"rtl"_s) : QString();
    const Qt::Alignment side = format.alignment();
    if (side & (Qt::AlignHCenter | Qt::AlignJustify))
        return direction + attribute("align"_L1, side & Qt::AlignHCenter ? u"center"_s : u"justify"_s);
    // what is not absolute is mirrored in a text from the right
    const bool isRight = bool(side & Qt::AlignRight) != (isFromRight && !(side & Qt::AlignAbsolute));
    return isRight == isFromRight ? direction
                                  : direction + attribute("align"_L1, isRight ? u"right"_s : u"left"_s);
}

QString listStyleName(int style)
{
    switch (style) {
    case QTextListFormat::ListCircle: return u"circle"_s;
    case QTextListFormat::ListSquare: return u"square"_s;
    case QTextListFormat::ListLowerAlpha: return u"lower-alpha"_s;
    case QTextListFormat::ListUpperAlpha: return u"upper-alpha"_s;
    case QTextListFormat::ListLowerRoman: return u"lower-roman"_s;
    case QTextListFormat::ListUpperRoman: return u"upper-roman"_s;
    default: return {};
    }
}

QString frameStyle(const QTextFrameFormat &format)
{
    const auto position = format.position();
    QString css;
    if (position != QTextFrameFormat::InFlow)
        css += declaration("float"_L1, position == QTextFrameFormat::FloatLeft ? u"left"_s : u"right"_s);
    return css + groundStyle(format);
}

QString tableAttributes(const QTextTable &table)
{
    const QTextTableFormat format = table.format();
    QString out = attribute("cellspacing"_L1, number(format.cellSpacing())) +
                  attribute("cellpadding"_L1, number(format.cellPadding()));
    if (format.border() > 0)
        out += attribute("border"_L1, number(format.border()));
    if (const QString width = length(format.width()); !width.isEmpty())
        out += attribute("width"_L1, width);
    const Qt::Alignment side = format.alignment() & Qt::AlignHorizontal_Mask;
    if (side & (Qt::AlignHCenter | Qt::AlignRight))
        out += attribute("align"_L1, side & Qt::AlignHCenter ? u"center"_s : u"right"_s);
    QString css = frameStyle(format);
    if (format.borderCollapse())
        css += declaration("border-collapse"_L1, u"collapse"_s);
    if (format.border() > 0 && format.borderStyle() != QTextFrameFormat::BorderStyle_Outset)
        css += declaration("border-style"_L1, lineName(format.borderStyle())) +
               colourIn(format, QTextFormat::FrameBorderBrush, "border-color"_L1);
    const double indent = format.leftMargin() - composeformat::quoteLevel(format) * composeformat::kQuoteStep;
    if (indent > 0)
        css += pixels("margin-left"_L1, indent);
    if (format.topMargin() > 0)
        css += pixels("margin-top"_L1, format.topMargin());
    if (format.bottomMargin() > 0)
        css += pixels("margin-bottom"_L1, format.bottomMargin());
    return out + styleAttribute(css);
}

QString cellAttributes(const QTextTable &table, const QTextTableCell &cell)
{
    const QTextCharFormat format = cell.format();
    QString out;
    if (cell.columnSpan() > 1)
        out += attribute("colspan"_L1, QString::number(cell.columnSpan()));
    if (cell.rowSpan() > 1)
        out += attribute("rowspan"_L1, QString::number(cell.rowSpan()));
    const auto widths = table.format().columnWidthConstraints();
    if (cell.columnSpan() == 1 && cell.column() < widths.size())
        if (const QString width = length(widths[cell.column()]); !width.isEmpty())
            out += attribute("width"_L1, width);
    const auto side = format.verticalAlignment();
    if (side == QTextCharFormat::AlignTop || side == QTextCharFormat::AlignBottom)
        out += attribute("valign"_L1, side == QTextCharFormat::AlignTop ? u"top"_s : u"bottom"_s);
    QString css = groundStyle(format);
    for (const SideProperties &each : kSides)
        css += sideStyle(format, each);
    return out + styleAttribute(css);
}
