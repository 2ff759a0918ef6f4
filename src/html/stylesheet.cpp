#include "html/stylesheet.h"

#include <algorithm>

namespace {

constexpr qsizetype kMostRules = 1000;
constexpr qsizetype kMostCompounds = 4;
constexpr int kMostSteps = 300'000; // of matching, for a whole message

QByteArray withoutComments(QByteArrayView css)
{
    QByteArray out;
    qsizetype begin = 0;
    for (qsizetype open; (open = css.indexOf("/*", begin)) >= 0;) {
        out += css.sliced(begin, open - begin);
        out += ' ';
        const qsizetype close = css.indexOf("*/", open + 2);
        begin = close < 0 ? css.size() : close + 2;
    }
    out += css.sliced(begin);
    out.replace("<!--", " ").replace("-->", " ");
    return out;
}

/// Where the block that opens at @p open closes.
qsizetype endOfBlock(QByteArrayView css, qsizetype open)
{
    int depth = 0;
    for (qsizetype i = open; i < css.size(); ++i) {
        depth += css[i] == '{' ? 1 : css[i] == '}' ? -1 : 0;
        if (depth == 0)
            return i;
    }
    return css.size();
}

bool isForScreens(QByteArrayView prelude)
{
    const QByteArrayView medium = prelude.sliced(qstrlen("@media")).trimmed();
    return medium == "screen" || medium == "all" || medium.isEmpty();
}

bool hasClass(const GumboNode *element, const QByteArray &name)
{
    const GumboAttribute *attribute = gumbo_get_attribute(&element->v.element.attributes, "class");
    const QByteArrayView value(attribute ? attribute->value : "");
    const auto isBlank = [&](qsizetype at) { return at < 0 || at >= value.size() || value[at] <= ' '; };
    for (qsizetype at = value.indexOf(name); at >= 0; at = value.indexOf(name, at + 1))
        if (isBlank(at - 1) && isBlank(at + name.size()))
            return true;
    return false;
}

QByteArray elementName(const GumboNode *element)
{
    return gumbo_normalized_tagname(element->v.element.tag);
}

} // namespace

StyleSheet::StyleSheet(const QByteArray &css)
    : m_stepsLeft(kMostSteps)
{
    if (!css.isEmpty())
        readRules(withoutComments(css));
}

void StyleSheet::readRules(QByteArrayView css)
{
    for (qsizetype begin = 0; begin < css.size() && m_rules.size() < kMostRules;) {
        const qsizetype open = css.indexOf('{', begin);
        if (open < 0)
            return;
        QByteArrayView prelude = css.sliced(begin, open - begin).trimmed();
        if (const qsizetype statement = prelude.lastIndexOf(';'); statement >= 0)
            prelude = prelude.sliced(statement + 1).trimmed(); // "@import ...;" before the first rule
        const qsizetype close = endOfBlock(css, open);
        const QByteArrayView block = css.sliced(open + 1, close - open - 1);
        begin = std::min(close + 1, css.size());
        if (!prelude.startsWith('@'))
            addRule(prelude, block);
        else if (prelude.startsWith("@media") && isForScreens(prelude) && !block.contains('@'))
            readRules(block);
    }
}

void StyleSheet::addRule(QByteArrayView selectors, QByteArrayView declarations)
{
    m_declarations.append(QString::fromUtf8(declarations));
    for (const QByteArray &selector : selectors.toByteArray().split(',')) {
        Rule rule;
        rule.declarations = m_declarations.size() - 1;
        bool known = true;
        for (const QByteArray &part : selector.simplified().split(' ')) {
            rule.selector.append(Compound());
            known = known && readCompound(part, rule.selector.last());
        }
        const Compound &own = rule.selector.last();
        if (!known || rule.selector.size() > kMostCompounds || m_rules.size() >= kMostRules)
            continue;
        for (const Compound &one : rule.selector)
            rule.specificity +=
                (one.id.isEmpty() ? 0 : 100) + int(one.classes.size()) * 10 + !one.element.isEmpty();
        m_rules.append(rule);
        const QByteArray key = !own.id.isEmpty()        ? '#' + own.id
                               : !own.classes.isEmpty() ? '.' + own.classes.first()
                                                        : own.element;
        m_byKey[key].append(m_rules.size() - 1);
    }
}

/// Reads "td.head#first"; false: something else stands in it.
bool StyleSheet::readCompound(QByteArrayView text, Compound &compound)
{
    const auto isName = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
               c == '_';
    };
    for (qsizetype at = 0; at < text.size();) {
        const char mark = text[at];
        const bool marked = mark == '.' || mark == '#';
        const auto begin = text.begin() + at + marked;
        const auto end = std::find_if_not(begin, text.end(), isName);
        const QByteArray name(begin, end - begin);
        if (name.isEmpty()) // "*" alone means any element
            return mark == '*' && text.size() == 1;
        if (mark == '.')
            compound.classes.append(name);
        else if (mark == '#')
            compound.id = name;
        else
            compound.element = name.toLower();
        at = end - text.begin();
    }
    return !text.isEmpty();
}

void StyleSheet::apply(const GumboNode *element, double parentFontSize, Style &style)
{
    if (m_rules.isEmpty())
        return;
    QList<qsizetype> found;
    collect({}, element, found);
    collect(elementName(element), element, found);
    if (const GumboAttribute *id = gumbo_get_attribute(&element->v.element.attributes, "id"))
        collect('#' + QByteArray(id->value), element, found);
    if (const GumboAttribute *names = gumbo_get_attribute(&element->v.element.attributes, "class"))
        for (const QByteArray &name : QByteArray(names->value).simplified().split(' '))
            collect('.' + name, element, found);
    std::stable_sort(found.begin(), found.end(), [this](qsizetype a, qsizetype b) {
        return std::pair(m_rules[a].specificity, a) < std::pair(m_rules[b].specificity, b);
    });
    for (const qsizetype index : found) {
        const QString &declarations = m_declarations[m_rules[index].declarations];
        applyDeclarations(declarations, parentFontSize, style);
        m_stepsLeft -= int(std::min(declarations.size(), qsizetype(kMostSteps))) / 8;
    }
}

void StyleSheet::collect(const QByteArray &key, const GumboNode *element, QList<qsizetype> &found)
{
    const auto rules = m_byKey.constFind(key);
    if (rules == m_byKey.cend())
        return;
    for (const qsizetype index : *rules)
        if (matches(m_rules[index], element))
            found.append(index);
}

bool StyleSheet::matches(const Rule &rule, const GumboNode *element)
{
    if (--m_stepsLeft < 0 || !fits(rule.selector.last(), element))
        return false;
    qsizetype left = rule.selector.size() - 1;
    for (const GumboNode *node = element->parent; left > 0 && node && --m_stepsLeft >= 0; node = node->parent)
        if (node->type == GUMBO_NODE_ELEMENT && fits(rule.selector[left - 1], node))
            --left;
    return left == 0;
}

bool StyleSheet::fits(const Compound &compound, const GumboNode *element)
{
    if (!compound.element.isEmpty() && compound.element != elementName(element))
        return false;
    if (!compound.id.isEmpty()) {
        const GumboAttribute *id = gumbo_get_attribute(&element->v.element.attributes, "id");
        if (!id || compound.id != id->value)
            return false;
    }
    return std::all_of(compound.classes.cbegin(), compound.classes.cend(),
                       [&](const QByteArray &name) { return hasClass(element, name); });
}
