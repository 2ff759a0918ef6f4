#include "html/htmltotext.h"

#include "html/parsedhtml.h"
#include "html/prescan.h"
#include "html/stylesheet.h"
#include "html/urls.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int kDeepestPrefix = 20; // quotations and lists that still show

enum class Kind { Inline, Line, Paragraph, Quote, List, Item, Row, Cell, Link, Verbatim };

Kind kindOf(GumboTag tag)
{
    switch (tag) {
    case GUMBO_TAG_P:
    case GUMBO_TAG_H1:
    case GUMBO_TAG_H2:
    case GUMBO_TAG_H3:
    case GUMBO_TAG_H4:
    case GUMBO_TAG_H5:
    case GUMBO_TAG_H6:
    case GUMBO_TAG_DL: return Kind::Paragraph;
    case GUMBO_TAG_PRE: return Kind::Verbatim;
    case GUMBO_TAG_BLOCKQUOTE: return Kind::Quote;
    case GUMBO_TAG_UL:
    case GUMBO_TAG_OL:
    case GUMBO_TAG_MENU:
    case GUMBO_TAG_DIR: return Kind::List;
    case GUMBO_TAG_LI: return Kind::Item;
    case GUMBO_TAG_TR:
    case GUMBO_TAG_CAPTION: return Kind::Row;
    case GUMBO_TAG_TD:
    case GUMBO_TAG_TH: return Kind::Cell;
    case GUMBO_TAG_A: return Kind::Link;
    case GUMBO_TAG_DIV:
    case GUMBO_TAG_CENTER:
    case GUMBO_TAG_ADDRESS:
    case GUMBO_TAG_ARTICLE:
    case GUMBO_TAG_ASIDE:
    case GUMBO_TAG_DETAILS:
    case GUMBO_TAG_FIELDSET:
    case GUMBO_TAG_FIGCAPTION:
    case GUMBO_TAG_FIGURE:
    case GUMBO_TAG_FOOTER:
    case GUMBO_TAG_HEADER:
    case GUMBO_TAG_MAIN:
    case GUMBO_TAG_NAV:
    case GUMBO_TAG_SECTION:
    case GUMBO_TAG_SUMMARY:
    case GUMBO_TAG_DT:
    case GUMBO_TAG_DD:
    case GUMBO_TAG_TABLE: return Kind::Line;
    default: return Kind::Inline;
    }
}

class TextWriter
{
public:
    TextWriter(const HtmlTextOptions &options, StyleSheet &sheet)
        : m_options(options)
        , m_sheet(sheet)
    {
        m_frames.emplace_back();
    }

    bool enter(const GumboNode *node);
    void leave(const GumboNode *node);
    QString finish();

private:
    struct Frame
    {
        QString prefix;  ///< of each line
        int number = -1; ///< of the next item; -1: it gets a dash
        bool hidden = false;
        bool unseen = false;
        bool verbatim = false;
        qsizetype linkText = -1;
        QString target;
    };

    void openElement(const GumboNode *node, Kind kind);
    void text(QStringView text);
    void put(QChar c);
    void lines(int count) { m_lines = std::max(m_lines, m_empty || !m_bullet.isEmpty() ? 0 : count); }
    void item();

    HtmlTextOptions m_options;
    StyleSheet &m_sheet;
    std::vector<Frame> m_frames;
    QString m_out;
    QString m_prefix;     ///< of the line before
    QString m_bullet;     ///< stands before the next text
    int m_lines = 0;      ///< line ends before the next text
    bool m_blank = false; ///< a blank before the next text
    bool m_empty = true;
};

bool TextWriter::enter(const GumboNode *node)
{
    if (isText(node)) {
        text(QString::fromUtf8(node->v.text.text));
        return false;
    }
    if (!isElement(node))
        return node->type == GUMBO_NODE_DOCUMENT;
    Frame frame = m_frames.back();
    frame.linkText = -1;
    Style style;
    m_sheet.apply(node, 14, style);
    if (const GumboAttribute *given = gumbo_get_attribute(&node->v.element.attributes, "style"))
        applyDeclarations(QString::fromUtf8(given->value), 14, style);
    if (node->v.element.tag != GUMBO_TAG_BODY && (style.isInvisible() || hasAttribute(node, "hidden")))
        return false;
    frame.hidden = style.hidden.value_or(frame.hidden);
    frame.unseen = style.fontSize ? *style.fontSize < 1 : frame.unseen;
    m_frames.push_back(frame);
    openElement(node, kindOf(tagOf(node)));
    return true;
}

void TextWriter::openElement(const GumboNode *node, Kind kind)
{
    Frame &frame = m_frames.back();
    const GumboTag tag = tagOf(node);
    switch (kind) {
    case Kind::Verbatim: frame.verbatim = true; [[fallthrough]];
    case Kind::Paragraph: lines(2); break;
    case Kind::Quote:
        lines(2);
        if (m_options.quotes && frame.prefix.size() < kDeepestPrefix * 2)
            frame.prefix += u"> ";
        break;
    case Kind::List: {
        lines(1);
        bool ok = false;
        const int start = attributeOf(node, "start").toInt(&ok);
        frame.number = tag != GUMBO_TAG_OL ? -1 : ok && start >= 0 ? start : 1;
        break;
    }
    case Kind::Item:
        lines(1);
        item();
        break;
    case Kind::Line:
    case Kind::Row: lines(1); break;
    case Kind::Cell: m_blank = true; break;
    case Kind::Link:
        frame.target = safeTarget(attributeOf(node, "href"));
        frame.linkText = m_out.size();
        break;
    case Kind::Inline: break;
    }
    if (tag == GUMBO_TAG_BR)
        m_lines = m_empty ? 0 : std::min(m_lines + 1, 2);
    else if (tag == GUMBO_TAG_HR)
        lines(2);
    else if (tag == GUMBO_TAG_IMG)
        text(attributeOf(node, "alt"));
}

void TextWriter::item()
{
    Frame &list = m_frames[m_frames.size() - 2];
    m_bullet = list.number < 0 ? u"- "_s : QString::number(list.number) + u". "_s;
    if (list.number >= 0)
        ++list.number;
    if (m_frames.back().prefix.size() < kDeepestPrefix * 2)
        m_frames.back().prefix += u"  ";
}

void TextWriter::leave(const GumboNode *node)
{
    const Frame frame = std::move(m_frames.back());
    m_frames.pop_back();
    switch (kindOf(tagOf(node))) {
    case Kind::Verbatim:
    case Kind::Paragraph:
    case Kind::Quote: lines(2); break;
    case Kind::List: lines(m_frames.size() > 1 && m_frames.back().prefix.isEmpty() ? 2 : 1); break;
    case Kind::Item:
        m_bullet.clear();
        lines(1);
        break;
    case Kind::Row:
    case Kind::Line: lines(1); break;
    default: break;
    }
    if (frame.linkText < 0 || frame.target.isEmpty() || frame.target.startsWith(u'#') || !m_options.links)
        return;
    const QString shown = m_out.sliced(std::min(frame.linkText, m_out.size())).simplified();
    const bool same = frame.target.endsWith(shown) || frame.target.chopped(1).endsWith(shown);
    if (!shown.isEmpty() && !same)
        text(u" <"_s + frame.target + u'>');
}

void TextWriter::text(QStringView text)
{
    const Frame &frame = m_frames.back();
    if (frame.hidden || frame.unseen)
        return;
    for (const QChar c : text) {
        const bool blank =
            c == u' ' || c == u'\n' || c == u'\t' || c == u'\r' || c == u'\f' || c == u'\x00A0';
        if (frame.verbatim && c == u'\n')
            m_lines = m_empty ? 0 : m_lines + 1;
        else if (frame.verbatim && blank)
            m_lines > 0 || m_empty ? put(u' ') : void(m_out += u' ');
        else if (blank)
            m_blank = true;
        else if (c >= u' ' && c != u'\x200B' && c != u'\x200C' && c != u'\xFEFF' && c != u'\x00AD' &&
                 c != u'\x034F')
            put(c); // senders fill their previews with characters that nobody sees
    }
}

/// Appends a character behind the line ends, the prefix and the blank that are due.
void TextWriter::put(QChar c)
{
    const Frame &frame = m_frames.back();
    if (m_lines > 0 || m_empty) {
        for (; m_lines > 0; --m_lines) {
            while (m_out.endsWith(u' '))
                m_out.chop(1);
            m_out += u'\n';
            if (m_lines > 1) // an empty line belongs to the quotation only when both around it do
                m_out += m_prefix.startsWith(frame.prefix)   ? frame.prefix
                         : frame.prefix.startsWith(m_prefix) ? m_prefix
                                                             : QString();
        }
        QString prefix = frame.prefix;
        if (!m_bullet.isEmpty() && prefix.endsWith(u"  "))
            prefix.chop(2);
        m_out += prefix;
        m_prefix = frame.prefix;
        m_blank = false;
    }
    m_out += m_bullet;
    if (m_blank && m_bullet.isEmpty() && !m_out.isEmpty() && !m_out.endsWith(u' '))
        m_out += u' ';
    m_bullet.clear();
    m_blank = m_empty = false;
    m_out += c;
}

QString TextWriter::finish()
{
    while (m_out.endsWith(u' ') || m_out.endsWith(u'\n'))
        m_out.chop(1);
    if (!m_out.isEmpty())
        m_out += u'\n';
    return std::move(m_out);
}

} // namespace

QString htmlToText(const QString &html, const HtmlTextOptions &options)
{
    const Prescan scanned = prescan(html, options.cap);
    const ParsedHtml parsed(scanned.html);
    StyleSheet sheet(scanned.css);
    TextWriter writer(options, sheet);
    walk(
        parsed.root(), [&](const GumboNode *node) { return writer.enter(node); },
        [&](const GumboNode *node) { writer.leave(node); });
    return writer.finish();
}
