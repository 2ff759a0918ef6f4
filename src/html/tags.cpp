#include "html/tags.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <string_view>

namespace {

constexpr std::array kAttributeNames = { // sorted, indexed by attribute
    "align", "alt",     "background", "bgcolor", "border",  "cellpadding", "cellspacing", "checked", "class",
    "color", "colspan", "data",       "dir",     "face",    "height",      "hidden",      "href",    "id",
    "name",  "noshade", "nowrap",     "poster",  "rowspan", "size",        "src",         "srcset",  "start",
    "style", "text",    "title",      "type",    "valign",  "value",       "width"};
static_assert(kAttributeNames.size() == std::size_t(Attribute::Width) + 1);
static_assert(std::is_sorted(kAttributeNames.begin(), kAttributeNames.end(),
                             [](std::string_view a, std::string_view b) { return a < b; }));

constexpr qsizetype kLongestName = 16; // of elements and attributes that are known

constexpr bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f';
}
constexpr bool isLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
constexpr bool endsName(char c)
{
    return isBlank(c) || c == '>' || c == '/';
}

QVarLengthArray<char, kLongestName> lowered(QByteArrayView name)
{
    QVarLengthArray<char, kLongestName> out;
    for (const char c : name.first(std::min(name.size(), kLongestName)))
        out.append(c >= 'A' && c <= 'Z' ? char(c + 32) : c);
    return out;
}

std::optional<Attribute> attributeNamed(QByteArrayView written)
{
    const auto name = lowered(written);
    const std::string_view wanted(name.data(), std::size_t(name.size()));
    const auto found = std::lower_bound(kAttributeNames.begin(), kAttributeNames.end(), wanted,
                                        [](std::string_view a, std::string_view b) { return a < b; });
    if (found == kAttributeNames.end() || *found != wanted || written.size() > kLongestName)
        return {};
    return Attribute(found - kAttributeNames.begin());
}

} // namespace

const char *attributeName(Attribute attribute)
{
    return kAttributeNames[std::size_t(attribute)];
}

bool TagReader::beginsAt(qsizetype position) const
{
    const qsizetype name =
        position + 1 < m_text.size() && m_text[position + 1] == '/' ? position + 2 : position + 1;
    return name < m_text.size() && isLetter(m_text[name]);
}

qsizetype TagReader::read(qsizetype position, Tag &tag)
{
    tag.attributes.clear();
    tag.end = m_text[++position] == '/';
    position += tag.end;
    const qsizetype begin = position;
    while (position < m_text.size() && !endsName(m_text[position]))
        ++position;
    const QByteArrayView written = m_text.sliced(begin, position - begin);
    const auto name = lowered(written);
    tag.element = written.size() > kLongestName ? Element::None : elementNamed(name);

    while (position < m_text.size() && m_text[position] != '>') {
        if (isBlank(m_text[position]) || m_text[position] == '/')
            ++position;
        else
            position = readAttribute(position, tag);
    }
    return std::min(position + 1, m_text.size());
}

qsizetype TagReader::readAttribute(qsizetype position, Tag &tag)
{
    const qsizetype begin = position++; // a "=" in the first place belongs to the name
    while (position < m_text.size() && !endsName(m_text[position]) && m_text[position] != '=')
        ++position;
    const QByteArrayView name = m_text.sliced(begin, position - begin);
    while (position < m_text.size() && isBlank(m_text[position]))
        ++position;
    QByteArrayView value;
    if (position < m_text.size() && m_text[position] == '=')
        position = readValue(position + 1, value);

    const auto attribute = attributeNamed(name);
    const auto same = [&](const Tag::Given &given) { return given.attribute == *attribute; };
    if (attribute && std::none_of(tag.attributes.cbegin(), tag.attributes.cend(), same))
        tag.attributes.append({*attribute, value});
    return position;
}

qsizetype TagReader::readValue(qsizetype position, QByteArrayView &value)
{
    while (position < m_text.size() && isBlank(m_text[position]))
        ++position;
    if (position >= m_text.size())
        return position;
    const char quote = m_text[position];
    if (quote == '"' || quote == '\'') {
        qsizetype &none = m_noQuoteFrom[quote == '"'];
        const qsizetype close = none >= 0 && position >= none ? -1 : m_text.indexOf(quote, position + 1);
        if (close >= 0) {
            value = m_text.sliced(position + 1, close - position - 1);
            return close + 1;
        }
        none = none < 0 ? position : none;
        ++position;
    }
    const qsizetype begin = position;
    while (position < m_text.size() && !isBlank(m_text[position]) && m_text[position] != '>')
        ++position;
    value = m_text.sliced(begin, position - begin);
    return position;
}
