#include "ui/tree/groupnode.h"

#include "ui/tree/grouptexts.h"

#include <QCoreApplication>

#include <algorithm>

namespace {

struct FixedName
{
    int number;
    const char *name;
};
constexpr FixedName kFixedNames[] = {
    {kFlaggedList, QT_TRANSLATE_NOOP("GroupTree", "Flagged")},
    {kAllAccounts, QT_TRANSLATE_NOOP("GroupTree", "All accounts")},
    {kMail, QT_TRANSLATE_NOOP("GroupTree", "Mail")},
    {kNews, QT_TRANSLATE_NOOP("GroupTree", "News")},
};

} // namespace

QString fixedNameOf(int number)
{
    const auto *row = std::find_if(std::begin(kFixedNames), std::end(kFixedNames),
                                   [number](const FixedName &fixed) { return fixed.number == number; });
    return row == std::end(kFixedNames) ? QString() : QCoreApplication::translate("GroupTree", row->name);
}

bool standsUnderNews(const Group &group)
{
    return group.kind() == GroupKind::Newsgroup;
}

bool comesBefore(const GroupNode &a, const GroupNode &b)
{
    if (a.rank != b.rank)
        return a.rank < b.rank;
    for (std::size_t i = 0; i < std::min(a.key.size(), b.key.size()); ++i) {
        if (const int order = a.key[i].compare(b.key[i]); order != 0)
            return order < 0;
    }
    if (a.key.size() != b.key.size())
        return a.key.size() < b.key.size();
    return a.number < b.number;
}

GroupNode *adopt(GroupNode &parent, std::unique_ptr<GroupNode> node)
{
    GroupNode *adopted = node.get();
    adopted->parent = &parent;
    const auto place =
        std::upper_bound(parent.children.begin(), parent.children.end(), node,
                         [](const auto &one, const auto &other) { return comesBefore(*one, *other); });
    parent.children.insert(place, std::move(node));
    return adopted;
}
