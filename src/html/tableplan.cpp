#include "html/tableplan.h"

#include "html/parsedhtml.h"

#include <QHash>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <vector>

namespace {

constexpr int kDeepestTable = 8;
constexpr int kMostSpan = 30;
constexpr double kCostPerLevel = 2.5;
constexpr double kMostCost = 1.6e6; // characters laid out; about a twentieth of a second, and a reader
                                    // lays its text out two or three times
constexpr double kCostOfText = 30;  // of a piece of text besides its characters

struct Content
{
    int cells = 0;
    int places = 0; ///< rows times columns, which is what a text document makes room for
    bool decorated = false;
};

bool isDecorated(const GumboNode *element)
{
    static constexpr const char *kAttributes[] = {"style",  "class", "id",         "bgcolor",
                                                  "border", "width", "cellpadding"};
    return std::any_of(std::begin(kAttributes), std::end(kAttributes), [element](const char *name) {
        const QString value = attributeOf(element, name);
        return !value.isEmpty() && value != u"0" && value != u"100%";
    });
}

/// Counts the rows and columns of a table, spans included.
class Grid
{
public:
    void row() { ++m_row; }
    void cell(const GumboNode *cell)
    {
        const int columns = TablePlan::span(cell, "colspan");
        const auto rows = std::size_t(m_row + TablePlan::span(cell, "rowspan"));
        if (m_used.size() < rows)
            m_used.resize(rows);
        for (auto row = std::size_t(m_row); row < rows; ++row)
            m_columns = std::max(m_columns, m_used[row] += columns);
    }
    int places() const { return int(m_used.size()) * m_columns; }

private:
    int m_row = 0;
    int m_columns = 0;
    std::vector<int> m_used; ///< columns taken, by row
};

/// The cells of @p table itself and whether one of its parts looks like anything.
Content contentOf(const GumboNode *table)
{
    Content content{0, 0, isDecorated(table)};
    Grid grid;
    const auto enter = [&](const GumboNode *node) {
        const GumboTag tag = tagOf(node);
        const bool cell = tag == GUMBO_TAG_TD || tag == GUMBO_TAG_TH || tag == GUMBO_TAG_CAPTION;
        if (tag == GUMBO_TAG_TR)
            grid.row();
        if (cell)
            grid.cell(node);
        content.cells += cell;
        content.decorated = content.decorated || (isElement(node) && node != table && isDecorated(node));
        return isElement(node) && !cell;
    };
    walk(table, enter, [](const GumboNode *) {});
    content.places = grid.places();
    return content;
}

/// The greatest depth at which the text, so much of it inside so many tables, can be laid out in time.
int affordableDepth(const std::array<double, kDeepestTable + 1> &costs)
{
    for (int depth = kDeepestTable; depth > 1; --depth) {
        double sum = 0;
        for (int level = 0; level <= kDeepestTable; ++level)
            sum += costs[std::size_t(level)] * std::pow(kCostPerLevel, std::min(level, depth));
        if (sum <= kMostCost)
            return depth;
    }
    return 1;
}

} // namespace

int TablePlan::span(const GumboNode *cell, const char *name)
{
    return std::clamp(attributeOf(cell, name).toInt(), 1, kMostSpan);
}

TablePlan::TablePlan(const GumboNode *root, int mostTables, int mostCells)
    : m_tablesLeft(mostTables)
{
    std::array<double, kDeepestTable + 1> costs = {};
    QHash<const GumboNode *, int> depths;
    int depth = 0;
    const auto enter = [&](const GumboNode *node) {
        if (isText(node))
            costs[std::size_t(std::min(depth, kDeepestTable))] +=
                double(std::strlen(node->v.text.text)) + kCostOfText;
        if (tagOf(node) != GUMBO_TAG_TABLE || m_tablesLeft == 0 || depth == kDeepestTable)
            return true;
        const Content content = contentOf(node);
        if (content.places > mostCells || content.cells == 0 || (content.cells == 1 && !content.decorated))
            return true;
        mostCells -= content.places;
        --m_tablesLeft;
        depths.insert(node, ++depth);
        return true;
    };
    walk(root, enter, [&](const GumboNode *node) { depth -= depths.contains(node); });

    m_depth = affordableDepth(costs);
    for (auto table = depths.cbegin(); table != depths.cend(); ++table) {
        if (*table > m_depth)
            continue;
        m_kept.insert(table.key());
        for (const GumboNode *node = table.key()->parent; node && !m_holders.contains(node);
             node = node->parent)
            m_holders.insert(node);
    }
}
