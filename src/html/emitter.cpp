#include "html/emitter.h"

#include "html/emitterparts.h"
#include "html/htmlescape.h"
#include "html/parsedhtml.h"
#include "html/urls.h"

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr int kLongestWord = 80; // letters, in a window that is wide enough
constexpr int kShortestBroken = 24;
constexpr int kMostAccents = 8;    // on one letter; a shaper of text is quadratic in them
constexpr int kMostPictures = 400; // per first look
constexpr int kDeepestList = 8;
constexpr int kDeepestBox = 2;
constexpr int kMostBlocks = 6000; // per first look; a text document is quadratic in the items of lists
constexpr int kMostItems = 1500;
constexpr int kMostGrowth = 3; // of what is written against what was read

struct Shape
{
    enum Kind {
        Inline,
        Block,
        List,
        Table,
        Section,
        Cell,
        Link,
        Image,
        Break,
        Rule,
        Input,
        Quote,
        Body,
        Through,
        Drop
    };
    GumboTag tag;
    Kind kind;
    QStringView name; ///< what it is written as
};

constexpr Shape kShapes[] = {
    {GUMBO_TAG_HTML, Shape::Through, u""},      {GUMBO_TAG_HEAD, Shape::Through, u""},
    {GUMBO_TAG_BODY, Shape::Body, u"body"},     {GUMBO_TAG_A, Shape::Link, u"a"},
    {GUMBO_TAG_B, Shape::Inline, u"b"},         {GUMBO_TAG_STRONG, Shape::Inline, u"b"},
    {GUMBO_TAG_I, Shape::Inline, u"i"},         {GUMBO_TAG_EM, Shape::Inline, u"i"},
    {GUMBO_TAG_CITE, Shape::Inline, u"i"},      {GUMBO_TAG_DFN, Shape::Inline, u"i"},
    {GUMBO_TAG_VAR, Shape::Inline, u"i"},       {GUMBO_TAG_U, Shape::Inline, u"u"},
    {GUMBO_TAG_INS, Shape::Inline, u"u"},       {GUMBO_TAG_S, Shape::Inline, u"s"},
    {GUMBO_TAG_STRIKE, Shape::Inline, u"s"},    {GUMBO_TAG_DEL, Shape::Inline, u"s"},
    {GUMBO_TAG_CODE, Shape::Inline, u"code"},   {GUMBO_TAG_TT, Shape::Inline, u"code"},
    {GUMBO_TAG_KBD, Shape::Inline, u"code"},    {GUMBO_TAG_SAMP, Shape::Inline, u"code"},
    {GUMBO_TAG_BIG, Shape::Inline, u"big"},     {GUMBO_TAG_SMALL, Shape::Inline, u"small"},
    {GUMBO_TAG_SUB, Shape::Inline, u"sub"},     {GUMBO_TAG_SUP, Shape::Inline, u"sup"},
    {GUMBO_TAG_SPAN, Shape::Inline, u"span"},   {GUMBO_TAG_FONT, Shape::Inline, u"span"},
    {GUMBO_TAG_MARK, Shape::Inline, u"span"},   {GUMBO_TAG_LABEL, Shape::Inline, u"span"},
    {GUMBO_TAG_ABBR, Shape::Inline, u"span"},   {GUMBO_TAG_ACRONYM, Shape::Inline, u"span"},
    {GUMBO_TAG_NOBR, Shape::Inline, u"span"},   {GUMBO_TAG_TIME, Shape::Inline, u"span"},
    {GUMBO_TAG_Q, Shape::Quote, u"span"},       {GUMBO_TAG_P, Shape::Block, u"p"},
    {GUMBO_TAG_H1, Shape::Block, u"h1"},        {GUMBO_TAG_H2, Shape::Block, u"h2"},
    {GUMBO_TAG_H3, Shape::Block, u"h3"},        {GUMBO_TAG_H4, Shape::Block, u"h4"},
    {GUMBO_TAG_H5, Shape::Block, u"h5"},        {GUMBO_TAG_H6, Shape::Block, u"h6"},
    {GUMBO_TAG_PRE, Shape::Block, u"pre"},      {GUMBO_TAG_BLOCKQUOTE, Shape::Block, u"blockquote"},
    {GUMBO_TAG_DL, Shape::Block, u"dl"},        {GUMBO_TAG_DT, Shape::Block, u"dt"},
    {GUMBO_TAG_DD, Shape::Block, u"dd"},        {GUMBO_TAG_LI, Shape::Block, u"li"},
    {GUMBO_TAG_UL, Shape::List, u"ul"},         {GUMBO_TAG_OL, Shape::List, u"ol"},
    {GUMBO_TAG_MENU, Shape::List, u"ul"},       {GUMBO_TAG_DIR, Shape::List, u"ul"},
    {GUMBO_TAG_TABLE, Shape::Table, u"table"},  {GUMBO_TAG_TBODY, Shape::Section, u""},
    {GUMBO_TAG_THEAD, Shape::Section, u""},     {GUMBO_TAG_TFOOT, Shape::Section, u""},
    {GUMBO_TAG_TR, Shape::Section, u"tr"},      {GUMBO_TAG_TD, Shape::Cell, u"td"},
    {GUMBO_TAG_TH, Shape::Cell, u"th"},         {GUMBO_TAG_CAPTION, Shape::Cell, u"td"},
    {GUMBO_TAG_IMG, Shape::Image, u"img"},      {GUMBO_TAG_BR, Shape::Break, u"br"},
    {GUMBO_TAG_HR, Shape::Rule, u"hr"},         {GUMBO_TAG_INPUT, Shape::Input, u""},
    {GUMBO_TAG_DIV, Shape::Block, u"div"},      {GUMBO_TAG_CENTER, Shape::Block, u"div"},
    {GUMBO_TAG_ADDRESS, Shape::Block, u"div"},  {GUMBO_TAG_ARTICLE, Shape::Block, u"div"},
    {GUMBO_TAG_ASIDE, Shape::Block, u"div"},    {GUMBO_TAG_DETAILS, Shape::Block, u"div"},
    {GUMBO_TAG_FIELDSET, Shape::Block, u"div"}, {GUMBO_TAG_FIGCAPTION, Shape::Block, u"div"},
    {GUMBO_TAG_FIGURE, Shape::Block, u"div"},   {GUMBO_TAG_FOOTER, Shape::Block, u"div"},
    {GUMBO_TAG_HEADER, Shape::Block, u"div"},   {GUMBO_TAG_MAIN, Shape::Block, u"div"},
    {GUMBO_TAG_NAV, Shape::Block, u"div"},      {GUMBO_TAG_SECTION, Shape::Block, u"div"},
    {GUMBO_TAG_SUMMARY, Shape::Block, u"div"},
};

/// What is written for @p tag; what is not on the list is dropped with all its content.
Shape shapeOf(GumboTag tag)
{
    static const auto shapes = [] {
        std::array<Shape, GUMBO_TAG_LAST + 1> all;
        all.fill({GUMBO_TAG_UNKNOWN, Shape::Drop, u""});
        for (const Shape &shape : kShapes)
            all[std::size_t(shape.tag)] = shape;
        return all;
    }();
    return shapes[std::size_t(tag)];
}

bool isHeading(GumboTag tag)
{
    return tag >= GUMBO_TAG_H1 && tag <= GUMBO_TAG_H6;
}

} // namespace

Emitter::Emitter(const HtmlOptions &options, const TablePlan &plan, StyleSheet &sheet)
    : m_options(options)
    , m_plan(plan)
    , m_sheet(sheet)
    , m_longestWord(options.width > 0 ? std::clamp(options.width / 12, kShortestBroken, kLongestWord)
                                      : kLongestWord)
    , m_boxesLeft(plan.tablesLeft())
    , m_blocksLeft(kMostBlocks * options.effort())
    , m_itemsLeft(kMostItems * options.effort())
    , m_picturesLeft(kMostPictures * options.effort())
{
    m_frames.emplace_back();
    context().fontSize = options.fontSize;
}

bool Emitter::enter(const GumboNode *node)
{
    if (isText(node)) {
        if (!context().rows)
            text(QString::fromUtf8(node->v.text.text));
        return false;
    }
    m_frames.push_back({context(), {}, -1, {}});
    if (openElement(node, tagOf(node)))
        return true;
    m_frames.pop_back();
    return false;
}

void Emitter::leave(const GumboNode *)
{
    Frame &frame = m_frames.back();
    m_result.html += frame.closing;
    if (frame.linkText >= 0) {
        const QString shown = m_shown.sliced(frame.linkText).simplified();
        if (isDeceptive(shown, frame.target))
            m_result.deceptiveLinks.append({shown, frame.target});
    }
    m_frames.pop_back();
}

SafeHtml Emitter::finish(const Prescan &scanned)
{
    m_result.truncated = scanned.truncated;
    m_result.remoteOthers += scanned.remote;
    m_result.html = u"<html>"_s + m_result.html + u"</html>"_s;
    return std::move(m_result);
}

bool Emitter::openElement(const GumboNode *node, GumboTag tag)
{
    const Shape shape = shapeOf(tag);
    if (shape.kind == Shape::Drop || shape.kind == Shape::Through)
        return shape.kind == Shape::Through;
    if (m_result.html.size() - m_pictures > m_options.cap * kMostGrowth)
        return true; // from here on the text alone
    const Style style = styleOf(node, tag);
    if (style.isInvisible() && shape.kind != Shape::Body) {
        noteHidden(node);
        return false;
    }
    if (style.hidden)
        context().hidden = *style.hidden;
    if (style.fontSize)
        context().unseen = *style.fontSize < 1;
    switch (shape.kind) {
    case Shape::Body: return openBody(node, style);
    case Shape::Block: return openBlock(node, shape.name, style);
    case Shape::List: return openList(node, shape.name, style);
    case Shape::Table: return openTable(node, style);
    case Shape::Cell: return openCell(node, tag, style);
    case Shape::Link: return openLink(node, style);
    case Shape::Image: image(node, style); return false;
    case Shape::Input: input(node); return false;
    case Shape::Break:
    case Shape::Rule:
        m_word = 0;
        m_shown += u' ';
        if (!context().hidden && !context().rows)
            m_result.html += shape.kind == Shape::Break ? u"<br>" : u"<hr>";
        return false;
    case Shape::Section:
        if (!context().rows)
            return tag != GUMBO_TAG_TR || openBlock(node, u"div", Style());
        if (tag == GUMBO_TAG_TR) {
            QString attributes;
            QString css = textStyle(style);
            if (isFilled(style))
                give(attributes, u"bgcolor", colourName(*style.background));
            open(u"tr", attributes, css);
        }
        return true;
    case Shape::Quote:
        text(u"\x201C");
        openInline(node, shape.name, style);
        m_frames.back().closing += u'\x201D';
        return true;
    default: return openInline(node, shape.name, style);
    }
}

bool Emitter::openInline(const GumboNode *node, QStringView name, const Style &style)
{
    if ((name == u"b" && context().weight >= 700) || (name == u"i" && context().italic))
        name = u"span";
    if (name == u"b")
        context().weight = 700;
    if (name == u"i")
        context().italic = true;
    if (name == u"big" || name == u"small")
        context().fontSize *= name == u"big" ? 1.2 : 0.83;
    QString css = textStyle(style);
    if (isFilled(style))
        declare(css, u"background-color", colourName(*style.background));
    if (style.verticalAlign == u"sub" || style.verticalAlign == u"super")
        declare(css, u"vertical-align", style.verticalAlign);
    if ((tagOf(node) == GUMBO_TAG_NOBR || style.whiteSpace == u"nowrap") && mayStayInOneLine(node))
        declare(css, u"white-space", u"nowrap");
    if (name == u"span" && css.isEmpty())
        return true;
    open(name, {}, css);
    return true;
}

bool Emitter::openBlock(const GumboNode *node, QStringView name, const Style &style)
{
    m_word = 0;
    m_shown += u' ';
    const bool item = name == u"li";
    if ((item && --m_itemsLeft < 0) || --m_blocksLeft < 0) {
        m_result.html += item ? u"<br>\x2022 " : u"<br>";
        return true;
    }
    if (name == u"pre" || style.whiteSpace.startsWith(u"pre"))
        context().verbatim = true;
    else if (style.whiteSpace == u"normal")
        context().verbatim = false;
    if (const GumboTag tag = tagOf(node); isHeading(tag)) {
        static constexpr double kTimes[] = {2, 1.5, 1.17, 1, 0.83, 0.67};
        context().weight = 700;
        context().fontSize *= kTimes[tag - GUMBO_TAG_H1];
    }
    if (name == u"blockquote" && context().indent >= kGreatestIndent)
        name = u"div";
    if (name == u"blockquote")
        context().indent += 40;
    if (name == u"div" && wantsBox(node, style))
        return openBox(node, style);
    QString attributes;
    if (const QString direction = attributeOf(node, "dir").toLower();
        direction == u"rtl" || direction == u"ltr")
        give(attributes, u"dir", direction);
    QString css = textStyle(style) + blockStyle(style, false);
    if (name == u"pre" && !style.whiteSpace.startsWith(u"pre"))
        declare(css, u"white-space", u"pre-wrap"); // a line that ends beyond the window is read by nobody
    open(name, attributes, css);
    return true;
}

/// A text document knows neither padding nor borders nor a width of blocks; it does of tables.
bool Emitter::wantsBox(const GumboNode *node, const Style &style) const
{
    const Context &now = m_frames.back().context;
    if (m_boxesLeft <= 0 || now.boxes >= kDeepestBox || now.tables >= m_plan.depth() || now.rows)
        return false;
    if (m_plan.holdsTable(node) && now.tables > 0)
        return false;
    const bool filled = isFilled(style);
    const bool narrow = (style.maxWidth && *style.maxWidth >= 100) || (style.width && *style.width >= 100);
    return style.hasBorder() || (filled && style.hasPadding()) || (narrow && style.autoMargin[Left]);
}

bool Emitter::openBox(const GumboNode *, const Style &style)
{
    --m_boxesLeft;
    ++context().boxes;
    ++context().tables;
    QString attributes = u" cellspacing=\"0\" cellpadding=\"0\""_s;
    const double asked = fitted(style.maxWidth.value_or(style.width.value_or(0)));
    const bool isTooWide = m_options.width > 0 && asked > m_options.width;
    const double width = isTooWide ? 0 : asked;
    give(attributes, u"width", width >= 100 ? rounded(width) : u"100%"_s);
    if (style.autoMargin[Left])
        give(attributes, u"align", u"center");
    QString margins;
    for (const auto &[side, name] : {std::pair(Top, u"margin-top"), std::pair(Bottom, u"margin-bottom")})
        if (style.margin[side])
            declare(margins, name, pixels(*style.margin[side]));
    open(u"table", attributes, margins);
    const QString closing = m_frames.back().closing;
    const QString css = textStyle(style) + blockStyle(style, true) + boxStyle(style);
    m_result.html += u"<tr>";
    QString cell;
    if (width >= 100)
        give(cell, u"width", rounded(width));
    open(u"td", cell, css);
    m_frames.back().closing = u"</td></tr>"_s + closing;
    return true;
}

bool Emitter::openLink(const GumboNode *node, const Style &style)
{
    const QString target = safeTarget(attributeOf(node, "href"));
    if (target.isEmpty())
        return openInline(node, u"span", style);
    if (!target.startsWith(u'#'))
        m_result.links.append(target);
    context().colour.reset(); // links have a colour of their own
    context().shown.reset();
    context().link = true;
    QString css = textStyle(style);
    const bool button = isFilled(style);
    if (button)
        declare(css, u"background-color", colourName(*style.background));
    QString attributes;
    give(attributes, u"href", htmlEscaped(target));
    open(u"a", attributes, css);
    const bool padded = button && style.padding[Left].value_or(0) >= 4;
    if (padded) {
        m_result.html += u"\x00A0\x00A0";
        m_frames.back().closing = u"\x00A0\x00A0</a>"_s;
    }
    m_frames.back().linkText = m_shown.size();
    m_frames.back().target = target;
    return true;
}

bool Emitter::openList(const GumboNode *node, QStringView name, const Style &style)
{
    if (++context().lists > kDeepestList)
        return openBlock(node, u"div", style);
    QString attributes;
    bool ok = false;
    if (const int start = attributeOf(node, "start").toInt(&ok); ok && start >= 0)
        give(attributes, u"start", QString::number(start));
    QString css = textStyle(style);
    if (!style.listStyle.isEmpty())
        declare(css, u"list-style-type", style.listStyle);
    open(name, attributes, css);
    return true;
}

bool Emitter::openBody(const GumboNode *, const Style &style)
{
    QString css = textStyle(style);
    if (isFilled(style)) {
        m_result.background = colourName(*style.background);
        declare(css, u"background-color", m_result.background);
    }
    open(u"body", {}, css);
    return true;
}

void Emitter::input(const GumboNode *node)
{
    const QString type = attributeOf(node, "type").toLower();
    if (context().rows || type == u"hidden" || type == u"password")
        return;
    const bool checked = hasAttribute(node, "checked");
    if (type == u"checkbox" || type == u"radio")
        text(type == u"radio" ? (checked ? u"\x25C9 " : u"\x25CB ") : (checked ? u"\x2611 " : u"\x2610 "));
    else if (const QString value = attributeOf(node, "value").simplified(); !value.isEmpty())
        text(u'[' + value + u']');
}

void Emitter::text(QStringView text)
{
    const Context &now = context();
    if (now.hidden || now.unseen)
        return;
    QString out;
    out.reserve(text.size());
    for (QChar c : text) {
        m_accents = c.unicode() >= 0x300 && c.isMark() ? m_accents + 1 : 0;
        if (m_accents > kMostAccents)
            continue;
        const bool blank = c == u' ' || c == u'\n' || c == u'\t' || c == u'\r' || c == u'\f';
        if (blank && !now.verbatim) {
            if (!out.isEmpty() && out.back() == u' ')
                continue;
            c = u' ';
        }
        const bool breaks = blank || c == u'-' || c == u'/' || c == u'?' || c == u'\x200B' ||
                            c == u'\x00AD' || c.unicode() >= 0x2E80; // ideographs break anywhere
        m_word = breaks && !c.isLowSurrogate() ? 0 : m_word + 1;
        if (m_word > m_longestWord && !c.isLowSurrogate()) {
            out += u'\x200B';
            m_word = 1;
        }
        out += c;
    }
    m_shown += out;
    appendEscaped(m_result.html, out);
}

/// Writes a start tag and notes the end tag. @p attributes are written already.
void Emitter::open(QStringView name, const QString &attributes, const QString &style)
{
    QString &html = m_result.html;
    html.append(u'<').append(name).append(attributes);
    if (!style.isEmpty())
        html.append(u" style=\"").append(QStringView(style).chopped(1)).append(u'"');
    html.append(u'>');
    m_frames.back().closing = u"</"_s + name.toString() + u'>';
}
