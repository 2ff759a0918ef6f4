#include "ui/tree/groupbox.h"

#include "store/groupstore.h"
#include "ui/look/icons.h"
#include "ui/texts/harmless.h"
#include "ui/tree/grouptexts.h"

#include <QCollator>
#include <QComboBox>
#include <QHash>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

using Children = QHash<int, std::vector<const Group *>>; ///< by the group above; 0: the top

/// Those with a role first, as the tree has them.
Children childrenOf(const GroupStore &store)
{
    QCollator collator(QLocale().language() == QLocale::C ? QLocale(QLocale::English) : QLocale());
    collator.setNumericMode(true);
    Children children;
    for (const Group *group : store.groups())
        children[group->record().parent].push_back(group);
    for (std::vector<const Group *> &level : children) {
        std::sort(level.begin(), level.end(), [&collator](const Group *one, const Group *other) {
            const std::size_t place = placeOfRole(one->role()), otherPlace = placeOfRole(other->role());
            return place != otherPlace ? place < otherPlace
                                       : collator.compare(shownNameOf(*one), shownNameOf(*other)) < 0;
        });
    }
    return children;
}

} // namespace

void addGroups(QComboBox &box, const GroupStore &store, const std::function<bool(const Group &)> &offers)
{
    const Children children = childrenOf(store);
    const std::function<void(int, const QString &)> addBelow = [&](int parent, const QString &path) {
        for (const Group *group : children.value(parent)) {
            const QString name = path + harmlessLine(shownNameOf(*group));
            if (offers(*group))
                box.addItem(icon(iconNameOf(*group)), name, group->number());
            addBelow(group->number(), name + u'/');
        }
    };
    addBelow(0, {});
}
