#pragma once

#include <QSet>

#include <gumbo.h>

/// Which tables of a message are shown as tables. Laying out a document costs about 2.5 times as much for
/// each level of tables around a text, so the deeper ones, those beyond the bounds and those that only wrap
/// one cell give way to their content.
class TablePlan
{
public:
    TablePlan(const GumboNode *root, int mostTables, int mostCells);

    bool keeps(const GumboNode *table) const { return m_kept.contains(table); }
    bool holdsTable(const GumboNode *element) const { return m_holders.contains(element); }
    /// The colspan or rowspan of @p cell, within bounds.
    static int span(const GumboNode *cell, const char *name);
    /// How many tables may stand inside each other.
    int depth() const { return m_depth; }
    int tablesLeft() const { return m_tablesLeft; }

private:
    QSet<const GumboNode *> m_kept;
    QSet<const GumboNode *> m_holders; ///< elements with a kept table inside
    int m_depth;
    int m_tablesLeft;
};
