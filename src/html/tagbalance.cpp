#include "html/tagbalance.h"

#include "html/prescan.h"

#include <algorithm>

namespace {

constexpr std::size_t kMostCarried = 6; // formatting elements that go on behind one block
constexpr int kMostCarriedInAll = 2000;
constexpr qsizetype kLongestCarried = 512;
constexpr qsizetype kLongestValue = 16 * 1024;

bool isBlank(QByteArrayView text)
{
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f'; });
}

bool isCell(Element element)
{
    return element == Element::Td || element == Element::Th || element == Element::Caption;
}

bool isSection(Element element)
{
    return element == Element::Tbody || element == Element::Thead || element == Element::Tfoot;
}

/// Elements that the end tag of a text element does not reach across.
bool isWall(Element element)
{
    const ElementKind kind = rowOf(element).kind;
    return (kind == ElementKind::Block && element != Element::P) || kind == ElementKind::Item ||
           kind == ElementKind::TablePart || kind == ElementKind::Heading;
}

bool isText(Element element)
{
    const ElementKind kind = rowOf(element).kind;
    return kind == ElementKind::Inline || kind == ElementKind::Formatting;
}

bool endsParagraph(Element element)
{
    const ElementKind kind = rowOf(element).kind;
    return kind == ElementKind::Block || kind == ElementKind::Item || kind == ElementKind::Heading ||
           element == Element::Hr;
}

bool isPicture(const Tag::Given &given)
{
    return given.attribute == Attribute::Src && given.value.size() > 11 &&
           qstrnicmp(given.value.data(), 11, "data:image/", 11) == 0;
}

} // namespace

TagBalance::TagBalance()
    : m_carriedLeft(kMostCarriedInAll)
{}

void TagBalance::tag(const Tag &tag)
{
    if (tag.element == Element::None)
        return;
    if (tag.end)
        return tag.element == Element::Br ? open(Element::Br) : end(tag.element);
    if (tag.element != Element::Body)
        return start(tag);
    if (m_body.isEmpty())
        writeTag(m_body, Element::Body, &tag);
}

void TagBalance::text(QByteArrayView text)
{
    if (text.isEmpty())
        return;
    if (needsCell()) {
        if (isBlank(text))
            return;
        makeCell();
    }
    if (text == "<")
        m_out += "&lt;";
    else
        m_out += text;
}

void TagBalance::open(Element element)
{
    Tag tag;
    tag.element = element;
    start(tag);
}

void TagBalance::close(Element element)
{
    end(element);
}

QByteArray TagBalance::finish()
{
    popTo(0);
    QByteArray whole = "<!DOCTYPE html>" + m_body + m_out;
    *this = TagBalance();
    return whole;
}

void TagBalance::start(const Tag &tag)
{
    const Element element = tag.element;
    const ElementKind kind = rowOf(element).kind;
    if (kind == ElementKind::TablePart)
        return startTablePart(tag);
    if (needsCell()) {
        if (element == Element::Br || element == Element::Input)
            return; // found between rows, where they would make rows of their own
        makeCell();
    }
    const Carried carried = endImplied(element);
    const bool linked = std::any_of(tag.attributes.cbegin(), tag.attributes.cend(),
                                    [](const auto &given) { return given.attribute == Attribute::Href; });
    if (kind == ElementKind::Void)
        writeTag(m_out, element, &tag);
    else if (element != Element::A || linked) // a target's name alone is often never closed
        push(element, &tag);
    if (element != Element::Table)
        carryOn(carried);
}

void TagBalance::startTablePart(const Tag &tag)
{
    const int table = nearestTable();
    if (table < 0)
        return;
    int depth = table;
    if (tag.element == Element::Tr)
        depth = std::max(table, depthOf({Element::Tbody, Element::Thead, Element::Tfoot}, table));
    else if (isCell(tag.element) && tag.element != Element::Caption)
        depth =
            std::max(table, depthOf({Element::Tr, Element::Tbody, Element::Thead, Element::Tfoot}, table));
    popTo(std::size_t(depth) + 1);
    if (isCell(tag.element) && tag.element != Element::Caption && m_open.back().element != Element::Tr)
        push(Element::Tr);
    push(tag.element, &tag);
}

/// Ends what a start tag ends without saying so. Returns the formatting that goes on behind it.
TagBalance::Carried TagBalance::endImplied(Element element)
{
    const int floor = std::max(nearestTable(), depthOf({Element::Td, Element::Th, Element::Caption}, -1));
    int depth = -1;
    if (element == Element::A || element == Element::Nobr) {
        depth = depthOf({element}, floor);
        const auto wall = [&](const Open &open) { return isWall(open.element); };
        if (depth >= 0 && std::any_of(m_open.begin() + depth, m_open.end(), wall))
            depth = -1;
    } else if (element == Element::Li) {
        depth = depthOf({Element::Li}, std::max(floor, depthOf({Element::Ul, Element::Ol, Element::Menu,
                                                                Element::Dir, Element::Blockquote},
                                                               floor)));
    } else if (element == Element::Dt || element == Element::Dd) {
        depth = depthOf({Element::Dt, Element::Dd}, std::max(floor, depthOf({Element::Dl}, floor)));
    } else if (rowOf(element).kind == ElementKind::Heading && !m_open.empty() &&
               rowOf(m_open.back().element).kind == ElementKind::Heading) {
        depth = int(m_open.size()) - 1;
    }
    if (depth < 0 && endsParagraph(element))
        depth = depthOf({Element::P}, floor);
    return depth < 0 ? Carried() : popTo(std::size_t(depth));
}

void TagBalance::end(Element element)
{
    if (int &skipped = m_skipped[std::size_t(element)]; skipped > 0) {
        --skipped;
        return;
    }
    const int table = nearestTable();
    int floor = -1; // end tags inside a cell do not reach out of it
    if (element == Element::Table)
        floor = table - 1;
    else if (rowOf(element).kind == ElementKind::TablePart)
        floor = table;
    else
        floor = std::max(table, depthOf({Element::Td, Element::Th, Element::Caption}, -1));
    const int depth = depthOf({element}, floor);
    if (depth < 0)
        return;
    const auto wall = [](const Open &open) { return isWall(open.element); };
    if (isText(element) && std::any_of(m_open.begin() + depth, m_open.end(), wall)) {
        m_open[std::size_t(depth)].ended = true;
        return;
    }
    const Carried carried = popTo(std::size_t(depth));
    if (rowOf(element).kind != ElementKind::TablePart && element != Element::Table)
        carryOn(carried);
    dropEnded();
}

/// Whether the place is between the cells of a table, where content has no place.
bool TagBalance::needsCell() const
{
    if (m_open.empty())
        return false;
    const Element top = m_open.back().element;
    return top == Element::Table || top == Element::Tr || isSection(top);
}

/// Browsers put such content before the table, a search for each piece; here it gets a cell of its own.
void TagBalance::makeCell()
{
    if (m_open.back().element != Element::Tr)
        push(Element::Tr);
    push(Element::Td);
}

void TagBalance::push(Element element, const Tag *tag)
{
    // inside a table there is always room left for a row and a cell
    const std::size_t spare = rowOf(element).kind == ElementKind::TablePart ? 0
                              : element == Element::Table                   ? 4
                                                                            : 2;
    if (m_open.size() + spare >= std::size_t(kDeepestElement)) {
        ++m_skipped[std::size_t(element)];
        m_anySkipped = true;
        return;
    }
    const qsizetype begin = m_out.size();
    writeTag(m_out, element, tag);
    m_open.push_back({element, false, begin, m_out.size() - begin});
    ++m_count[std::size_t(element)];
}

void TagBalance::writeTag(QByteArray &out, Element element, const Tag *tag)
{
    out += '<';
    out += rowOf(element).name;
    if (tag)
        for (const Tag::Given &given : tag->attributes)
            writeAttribute(out, given);
    out += '>';
}

void TagBalance::writeAttribute(QByteArray &out, const Tag::Given &given)
{
    const bool picture = isPicture(given);
    if (given.value.size() > kLongestValue && !picture)
        return;
    m_free += picture ? given.value.size() : 0;
    out += ' ';
    out += attributeName(given.attribute);
    out += "=\"";
    for (QByteArrayView rest = given.value; !rest.isEmpty();) {
        const qsizetype quote = rest.indexOf('"');
        out += rest.first(quote < 0 ? rest.size() : quote);
        out += quote < 0 ? "" : "&quot;";
        rest = rest.sliced(quote < 0 ? rest.size() : quote + 1);
    }
    out += '"';
}

/// Closes all but the outermost @p depth elements. Returns the start tags of those that only format text.
TagBalance::Carried TagBalance::popTo(std::size_t depth)
{
    Carried carried;
    while (m_open.size() > depth) {
        const Open &open = m_open.back();
        const bool isTarget = m_open.size() == depth + 1; // the one that was meant to end
        if (rowOf(open.element).kind == ElementKind::Formatting && !open.ended && !isTarget &&
            open.tagLength <= kLongestCarried && carried.size() < kMostCarried) {
            const std::pair tag(open.element, m_out.mid(open.tag, open.tagLength));
            if (std::find(carried.begin(), carried.end(), tag) == carried.end())
                carried.push_back(tag);
        }
        m_out += "</";
        m_out += rowOf(open.element).name;
        m_out += '>';
        --m_count[std::size_t(open.element)];
        m_open.pop_back();
    }
    if (m_anySkipped && depth < std::size_t(kDeepestElement) / 2) {
        m_skipped.fill(0); // their end tags will hardly come any more
        m_anySkipped = false;
    }
    std::reverse(carried.begin(), carried.end());
    return carried;
}

/// Closes text elements whose end tag came too early, now that nothing is open inside them.
void TagBalance::dropEnded()
{
    while (!m_open.empty() && m_open.back().ended)
        popTo(m_open.size() - 1);
}

void TagBalance::carryOn(const Carried &carried)
{
    for (const auto &[element, tag] : carried) {
        if (m_open.size() + 2 >= std::size_t(kDeepestElement) || m_carriedLeft-- <= 0)
            return;
        m_open.push_back({element, false, m_out.size(), tag.size()});
        ++m_count[std::size_t(element)];
        m_out += tag;
    }
}

/// Depth of the innermost table that is open; -1: none.
int TagBalance::nearestTable() const
{
    return depthOf({Element::Table}, -1);
}

/// Depth of the innermost of @p elements above @p floor; -1: none.
int TagBalance::depthOf(std::initializer_list<Element> elements, int floor) const
{
    if (std::none_of(elements.begin(), elements.end(),
                     [this](Element one) { return m_count[std::size_t(one)] > 0; }))
        return -1;
    for (int depth = int(m_open.size()) - 1; depth > floor; --depth)
        if (std::find(elements.begin(), elements.end(), m_open[std::size_t(depth)].element) != elements.end())
            return depth;
    return -1;
}
