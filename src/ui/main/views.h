#pragma once

#include "config/listfile.h"
#include "ui/list/groupview.h"

#include <QHash>
#include <QList>

#include <array>
#include <optional>

/// Where the reader is.
enum class PaneLayout { Classic, Vertical, Wide };
constexpr std::array kPaneLayoutNames = {"classic", "vertical", "wide"};
static_assert(kPaneLayoutNames.size() == std::size_t(PaneLayout::Wide) + 1);

/// What the main window remembers besides the settings: the file "Views" with a record for the window and one
/// for each group whose list the user arranged.
class Views
{
public:
    Views();

    void load();

    /// Writes the file if something changed. False after a report.
    bool save();

    GroupView group(int number) const;
    void setGroup(int number, const GroupView &view);
    void forget(int number);

    PaneLayout layout() const { return m_layout; }
    void setLayout(PaneLayout layout);
    bool singleKeysAct() const { return m_singleKeysAct; }
    void setSingleKeysAct(bool act);
    const QList<int> &collapsed() const { return m_collapsed; } ///< groups folded in the tree
    void setCollapsed(const QList<int> &groups);

private:
    void readLine(const QString &line, std::optional<int> &group);
    void readWindowLine(QStringView key, QStringView value);
    static void readGroupLine(GroupView &view, QStringView key, QStringView value);
    QStringList lines() const;

    ListFile m_file;
    QHash<int, GroupView> m_groups;
    PaneLayout m_layout = PaneLayout::Classic;
    bool m_singleKeysAct = true;
    QList<int> m_collapsed;
    bool m_changed = false;
};
