#pragma once

#include <QByteArray>
#include <QString>
#include <QStringView>

#include <gumbo.h>

#include <memory>
#include <vector>

/// The tree of an HTML text that prescan() has left, for the library's own use.
class ParsedHtml
{
public:
    explicit ParsedHtml(const QByteArray &html)
        : m_html(html)
    {
        m_options.max_errors = 0; // each error would keep a copy of the stack of open elements
        m_output.reset(gumbo_parse_with_options(&m_options, m_html.constData(), std::size_t(m_html.size())));
    }
    const GumboNode *root() const { return m_output ? m_output->root : nullptr; }

private:
    struct Destroy
    {
        const GumboOptions *options;
        void operator()(GumboOutput *output) const { gumbo_destroy_output(options, output); }
    };

    QByteArray m_html; // the tree points into it
    GumboOptions m_options = kGumboDefaultOptions;
    std::unique_ptr<GumboOutput, Destroy> m_output{nullptr, Destroy{&m_options}};
};

inline bool isElement(const GumboNode *node)
{
    return node->type == GUMBO_NODE_ELEMENT;
}
inline bool isText(const GumboNode *node)
{
    return node->type == GUMBO_NODE_TEXT || node->type == GUMBO_NODE_WHITESPACE ||
           node->type == GUMBO_NODE_CDATA;
}
inline GumboTag tagOf(const GumboNode *node)
{
    return isElement(node) ? node->v.element.tag : GUMBO_TAG_UNKNOWN;
}

/// The value of an attribute; null when it is not there.
inline QString attributeOf(const GumboNode *node, const char *name)
{
    const GumboAttribute *attribute = gumbo_get_attribute(&node->v.element.attributes, name);
    return attribute ? QString::fromUtf8(attribute->value) : QString();
}

inline bool hasAttribute(const GumboNode *node, const char *name)
{
    return gumbo_get_attribute(&node->v.element.attributes, name) != nullptr;
}

/// Walks the tree below @p root in the order of the text, without recursion. @p enter is called for each node
/// and says whether to go into an element; leave(element) follows for each that was gone into.
template <typename Enter, typename Leave>
void walk(const GumboNode *root, Enter enter, Leave leave)
{
    struct Step
    {
        const GumboNode *node;
        unsigned next;
    };
    std::vector<Step> path;
    if (root && enter(root) && isElement(root))
        path.push_back({root, 0});
    while (!path.empty()) {
        Step &step = path.back();
        const GumboVector &children = step.node->v.element.children;
        if (step.next == children.length) {
            leave(step.node);
            path.pop_back();
            continue;
        }
        const auto *child = static_cast<const GumboNode *>(children.data[step.next++]);
        if (enter(child) && isElement(child))
            path.push_back({child, 0});
    }
}
