#pragma once

#include "store/group.h"

#include <QCollator>

#include <memory>
#include <vector>

/// What the rows of the tree are.
enum class GroupRow {
    Section,   ///< a heading, never selected
    Group,     //
    Flagged,   ///< the list of flagged messages in all groups
    HiddenLine ///< tells how many read groups are not shown
};

/// The numbers of the rows that are no groups. They are kept with what is folded: one once used keeps its
/// meaning. -5 and -6 are for the headings "Feeds" and "Saved searches".
constexpr int kAllAccounts = -2;
constexpr int kMail = -3;
constexpr int kNews = -4;
constexpr int kHiddenLine = -7;

/// The name of a heading and of the list of what is flagged.
QString fixedNameOf(int number);

/// A row of the tree, shown or not, with all that lies below it. For the model alone.
struct GroupNode
{
    GroupRow kind = GroupRow::Group;
    int number = 0; ///< of the group; negative for all others
    Group *group = nullptr;
    GroupRecord placed; ///< what its place was chosen by
    GroupNode *parent = nullptr;

    std::size_t rank = 0;              ///< comes before the name
    std::vector<QCollatorSortKey> key; ///< of the name, or of each level of the path

    std::vector<std::unique_ptr<GroupNode>> children; ///< all of them, in order
    std::vector<GroupNode *> shown;                   ///< of them, in the same order
    int row = -1;                                     ///< among the shown ones; -1: it is not

    OverviewFile::Counts counts; ///< as they are counted in the sums
    quint32 below = 0;           ///< unread messages that call in the groups below it
    bool essential = true;       ///< shown however much is read
    int essentialChildren = 0;

    bool isGroup() const { return kind == GroupRow::Group; }
    bool isHidable() const { return isGroup() && placed.role == GroupRole::None; }
};

/// The order of the tree.
bool comesBefore(const GroupNode &a, const GroupNode &b);

/// Whether a group at the top of the tree stands under "News".
bool standsUnderNews(const Group &group);

/// Puts @p node into its place among the children of @p parent.
GroupNode *adopt(GroupNode &parent, std::unique_ptr<GroupNode> node);

/// Calls @p visit with every node below @p from, in the order of the tree.
template <typename Visit>
void forEachBelow(const GroupNode &from, Visit visit)
{
    for (const auto &child : from.children) {
        visit(*child);
        forEachBelow(*child, visit);
    }
}
