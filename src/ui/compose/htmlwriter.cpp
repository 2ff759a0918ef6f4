#include "ui/compose/htmlwriter.h"

#include "compose/quotemarks.h"
#include "html/htmlescape.h"
#include "ui/compose/composeformat.h"
#include "ui/compose/htmlstyles.h"

#include <QBrush>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextList>
#include <QTextTable>

#include <vector>

using namespace Qt::StringLiterals;
using namespace composeformat;

namespace {

/// A bar at the edge, for readers that only move quotations in.
constexpr QStringView kQuotation =
    u"<blockquote type=\"cite\" style=\"margin:0 0 0 4px;border-left:2px solid #a0aab2;padding-left:8px\">";

/// The text of @p fragment. Blanks that a reader of HTML would take away last: those at an end of a line, and
/// all but the last of several.
QString lastingText(const QTextFragment &fragment, const QTextBlock &block, const QString &line)
{
    QString text = fragment.text();
    const qsizetype before = fragment.position() - block.position();
    for (qsizetype i = 0; i < text.size(); ++i) {
        const qsizetype at = before + i;
        const bool isAtEnd = at == 0 || at + 1 >= line.size();
        if (text[i] == u' ' && (isAtEnd || line[at + 1] == u' ' || line[at + 1] == QChar::LineSeparator ||
                                line[at - 1] == QChar::LineSeparator))
            text[i] = QChar::Nbsp;
    }
    return text;
}

QString picture(const QTextImageFormat &format)
{
    if (!format.name().startsWith("cid:"_L1))
        return {};
    QString sizes;
    if (format.width() > 0)
        sizes += u" width=\"%1\""_s.arg(qRound(format.width()));
    if (format.height() > 0)
        sizes += u" height=\"%1\""_s.arg(qRound(format.height()));
    const QString words = htmlEscaped(format.stringProperty(QTextFormat::ImageAltText));
    return u"<img src=\""_s + htmlEscaped(format.name()) + u"\" alt=\""_s + words + u'"' + sizes + u'>';
}

QString letters(const QString &text, const QTextCharFormat &format, const QBrush &ground, bool isHeading,
                bool isVerbatim)
{
    QString html = htmlEscaped(text);
    html.replace(QChar::LineSeparator, u"<br>"_s);
    if (!isVerbatim)
        html.replace(u'\t', u"<span style=\"white-space: pre\">\t</span>"_s);
    const auto wrap = [&html](bool is, const QString &tag) {
        if (is)
            html = u'<' + tag + u'>' + html + u"</"_s + tag + u'>';
    };
    wrap(format.verticalAlignment() == QTextCharFormat::AlignSubScript, u"sub"_s);
    wrap(format.verticalAlignment() == QTextCharFormat::AlignSuperScript, u"sup"_s);
    wrap(format.fontStrikeOut(), u"s"_s);
    wrap(format.fontUnderline() && !format.isAnchor(), u"u"_s);
    wrap(format.fontItalic(), u"i"_s);
    wrap(format.fontWeight() > QFont::Normal && !isHeading, u"b"_s);
    if (const QString style = characterStyle(format, ground, isHeading); !style.isEmpty())
        html = u"<span"_s + styleAttribute(style) + u'>' + html + u"</span>"_s;
    return html;
}

QString contentsOf(const QTextBlock &block, const QBrush &ground, bool isHeading, bool isVerbatim)
{
    const QString line = block.text();
    QString html;
    QString link;
    const auto goTo = [&](const QString &target) {
        if (target == link)
            return;
        if (!link.isEmpty())
            html += u"</a>"_s;
        if (!target.isEmpty())
            html += u"<a href=\"%1\">"_s.arg(htmlEscaped(target));
        link = target;
    };
    for (auto it = block.begin(); !it.atEnd(); ++it) {
        const QTextFragment fragment = it.fragment();
        const QTextCharFormat format = fragment.charFormat();
        goTo(format.isAnchor() ? format.anchorHref() : QString());
        if (format.isImageFormat())
            html += picture(format.toImageFormat()).repeated(fragment.length());
        else
            html += letters(isVerbatim ? fragment.text() : lastingText(fragment, block, line), format, ground,
                            isHeading, isVerbatim);
    }
    goTo({});
    return html;
}

bool isRule(const QTextBlock &block)
{
    return block.blockFormat().hasProperty(QTextFormat::BlockTrailingHorizontalRulerWidth);
}

/// What stands in a document, or in one cell of a table.
class FlowWriter
{
public:
    explicit FlowWriter(QString &out, const QBrush &ground = {})
        : m_out(out)
        , m_ground(ground)
    {}

    void run(QTextFrame::iterator at)
    {
        forEachIn(
            at, [this](const QTextFrame &frame) { addFrame(frame); },
            [this](const QTextBlock &block) { add(block); });
        endLists();
        endVerbatim();
        toPlace(false, 0);
    }

    void add(const QTextBlock &block)
    {
        const QTextBlockFormat format = block.blockFormat();
        toPlace(format.boolProperty(IsSignature), quoteLevel(format));
        if (block.textList() || !format.nonBreakableLines())
            endVerbatim();
        if (const QTextList *list = block.textList())
            item(block, *list);
        else if (format.nonBreakableLines())
            verbatim(block);
        else
            paragraph(block);
    }

private:
    struct OpenList
    {
        const QTextList *list; ///< null: it only stands for a level
        QString tag;
        bool hasItem = false;
    };

    void addFrame(const QTextFrame &frame)
    {
        const QTextFrameFormat format = frame.frameFormat();
        toPlace(format.boolProperty(IsSignature), quoteLevel(format));
        endLists();
        endVerbatim();
        const auto *table = qobject_cast<const QTextTable *>(&frame);
        if (table)
            return addTable(*table);
        const QString style = styleAttribute(frameStyle(format));
        m_out += u"\n<div"_s + style + u'>';
        FlowWriter(m_out).run(frame.begin());
        m_out += u"</div>"_s;
    }

    void addTable(const QTextTable &table)
    {
        m_out += u"\n<table"_s + tableAttributes(table) + u'>';
        for (int row = 0; row < table.rows(); ++row) {
            m_out += u"\n<tr>"_s;
            for (int column = 0; column < table.columns(); ++column) {
                const QTextTableCell cell = table.cellAt(row, column);
                if (cell.row() != row || cell.column() != column)
                    continue;
                m_out += u"<td"_s + cellAttributes(table, cell) + u'>';
                FlowWriter(m_out, cell.format().background()).run(cell.begin());
                m_out += u"</td>"_s;
            }
            m_out += u"</tr>"_s;
        }
        m_out += u"</table>"_s;
    }

    // line ends only before what begins: behind a paragraph that is the last they would be read as a blank
    void paragraph(const QTextBlock &block)
    {
        endLists();
        constexpr double kAbove[] = {0, 18, 16, 14, 12, 12, 12}; // as the reader of HTML has them
        constexpr double kBelow[] = {0, 12, 12, 12, 12, 4, 4};
        constexpr double kParagraph = 12;
        const QTextBlockFormat format = block.blockFormat();
        const auto heading = std::size_t(std::clamp(format.headingLevel(), 0, 6));
        const QString inside = contentsOf(block, m_ground, heading > 0, false);
        if (!isRule(block) || !inside.isEmpty()) {
            const bool isApart = format.topMargin() == kParagraph && format.bottomMargin() == kParagraph;
            const bool isParagraph = heading == 0 && isApart;
            const QString tag = heading > 0 ? u"h%1"_s.arg(heading) : isParagraph ? u"p"_s : u"div"_s;
            const double above = isParagraph ? kParagraph : kAbove[heading];
            const double below = isParagraph ? kParagraph : kBelow[heading];
            m_out += u"\n<"_s + tag + sideAttributes(block) +
                     styleAttribute(paragraphStyle(block, m_ground, above, below)) + u'>' + opened(inside) +
                     u"</"_s + tag + u'>';
        }
        if (isRule(block))
            m_out += u"\n<hr>"_s;
    }

    /// A paragraph without anything has no height; one line end at its end is none.
    static QString opened(const QString &inside)
    {
        return inside.isEmpty() || inside.endsWith("<br>"_L1) ? inside + u"<br>"_s : inside;
    }

    void verbatim(const QTextBlock &block)
    {
        endLists();
        m_out += m_isVerbatim ? u"\n"_s : u"\n<pre"_s + sideAttributes(block) + u'>';
        if (!m_isVerbatim && block.text().isEmpty())
            m_out += u'\n'; // the first line end inside is dropped
        m_isVerbatim = true;
        m_out += contentsOf(block, m_ground, false, true);
    }

    void endVerbatim()
    {
        if (m_isVerbatim)
            m_out += u"</pre>"_s;
        m_isVerbatim = false;
    }

    void item(const QTextBlock &block, const QTextList &list)
    {
        const auto open = std::find_if(m_lists.begin(), m_lists.end(),
                                       [&list](const OpenList &each) { return each.list == &list; });
        if (open != m_lists.end())
            endLists(open - m_lists.begin() + 1);
        else
            beginList(block, list);
        OpenList &own = m_lists.back();
        if (own.hasItem)
            m_out += u"</li>"_s;
        own.hasItem = true;
        m_out += u"\n<li"_s + sideAttributes(block) +
                 styleAttribute(paragraphStyle(block, m_ground, block.blockFormat().topMargin(),
                                               block.blockFormat().bottomMargin())) +
                 u'>' + opened(contentsOf(block, m_ground, false, false));
    }

    void beginList(const QTextBlock &block, const QTextList &list)
    {
        const QTextListFormat format = list.format();
        const auto level = std::clamp<std::ptrdiff_t>(format.indent(), 1, kDeepestQuote);
        endLists(std::min<std::ptrdiff_t>(level - 1, std::ssize(m_lists)));
        while (std::ssize(m_lists) + 1 < level)
            openList({nullptr, u"ul"_s}, {});
        const bool isNumbered = format.style() <= QTextListFormat::ListDecimal;
        const int first = std::max(1, format.intProperty(ListStart)) + list.itemNumber(block);
        QString attributes;
        if (isNumbered && first > 1)
            attributes = u" start=\"%1\""_s.arg(first);
        if (const QString name = listStyleName(format.style()); !name.isEmpty())
            attributes += styleAttribute(u"list-style-type:"_s + name);
        openList({&list, isNumbered ? u"ol"_s : u"ul"_s}, attributes);
    }

    void openList(const OpenList &list, const QString &attributes)
    {
        m_out += u'<' + list.tag + attributes + u'>';
        m_lists.push_back(list);
    }

    void endLists(std::ptrdiff_t but = 0)
    {
        for (; std::ssize(m_lists) > but; m_lists.pop_back())
            m_out += (m_lists.back().hasItem ? u"</li></"_s : u"</"_s) + m_lists.back().tag + u'>';
    }

    void toPlace(bool isSignature, int level)
    {
        if (level == m_level && isSignature == m_isSignature)
            return;
        endLists();
        endVerbatim();
        const int shared = isSignature == m_isSignature ? level : 0;
        for (; m_level > shared; --m_level)
            m_out += u"</blockquote>"_s;
        if (isSignature != m_isSignature)
            m_out += isSignature ? u"\n<div class=\"%1\">"_s.arg(kSignatureClass) : u"</div>"_s;
        m_isSignature = isSignature;
        for (; m_level < level; ++m_level)
            m_out += kQuotation;
    }

    QString &m_out;
    QBrush m_ground; ///< what lies below, in a cell
    std::vector<OpenList> m_lists;
    int m_level = 0;
    bool m_isSignature = false;
    bool m_isVerbatim = false;
};

} // namespace

QString htmlOf(const QTextDocument &document)
{
    QString body;
    FlowWriter(body).run(document.rootFrame()->begin());
    return u"<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\"></head><body>"_s + body +
           u"</body></html>"_s;
}

QString htmlOf(const QTextBlock &block)
{
    QString html;
    FlowWriter(html).add(block);
    return html;
}
