#include "ui/main/groupchoices.h"

#include "store/groupstore.h"
#include "ui/look/colours.h"
#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/rows.h"
#include "ui/texts/harmless.h"
#include "ui/tree/grouptexts.h"

#include <QCollator>
#include <QPainter>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int kMostRecent = 8;
constexpr int kNoMatch = -1;

/// The full names of all groups, each level above looked at once.
class Paths
{
public:
    explicit Paths(const std::vector<Group *> &groups)
    {
        for (const Group *group : groups)
            m_groups.insert(group->number(), group);
    }

    const QString &of(const Group &group)
    {
        QString &path = m_paths[group.number()];
        if (!path.isEmpty())
            return path;
        QString name = harmlessLine(shownNameOf(group));
        const Group *above = m_groups.value(group.record().parent);
        if (above && group.role() == GroupRole::None)
            name = of(*above) + u'/' + name;
        return m_paths[group.number()] = name; // the hash may have moved meanwhile
    }

private:
    QHash<int, const Group *> m_groups;
    QHash<int, QString> m_paths;
};

} // namespace

void RecentGroups::note(int number)
{
    m_numbers.removeAll(number);
    m_numbers.prepend(number);
    if (m_numbers.size() > kMostRecent)
        m_numbers.removeLast();
}

GroupChoices::GroupChoices(const GroupStore &store, const std::function<bool(const Group &)> &offers,
                           const QList<int> &recent, const QString &top, QObject *parent)
    : QAbstractListModel(parent)
{
    struct Place
    {
        std::size_t role;
        QCollatorSortKey key;
        Entry entry;
    };
    const std::vector<Group *> groups = store.groups();
    Paths paths(groups);
    QCollator collator(QLocale().language() == QLocale::C ? QLocale(QLocale::English) : QLocale());
    collator.setNumericMode(true);
    std::vector<Place> places;
    for (const Group *group : groups) {
        if (!offers(*group))
            continue;
        Entry entry;
        entry.number = group->number();
        entry.icon = iconNameOf(*group);
        entry.path = paths.of(*group);
        entry.name = SearchName::of(entry.path);
        entry.recency = int(recent.indexOf(entry.number));
        entry.isRecent = entry.recency >= 0;
        places.push_back({placeOfRole(group->role()), collator.sortKey(entry.path), std::move(entry)});
    }
    std::sort(places.begin(), places.end(), [](const Place &a, const Place &b) {
        return a.role != b.role ? a.role < b.role : a.key.compare(b.key) < 0;
    });
    if (!top.isEmpty()) {
        Entry entry;
        entry.path = top;
        entry.name = SearchName::of(top);
        m_entries.push_back(std::move(entry));
    }
    for (Place &place : places)
        m_entries.push_back(std::move(place.entry));
    narrow({});
}

/// Less is better; of equal ones the recent come first.
int GroupChoices::weightOf(const Entry &entry, const QStringList &words) const
{
    if (words.isEmpty())
        return entry.isRecent ? entry.recency : kMostRecent;
    const int distance = matchDistance(words, entry.name);
    return distance < 0 ? kNoMatch : 2 * distance + (entry.isRecent ? 0 : 1);
}

void GroupChoices::narrow(const QString &typed)
{
    const QStringList words = foldedForSearch(typed).split(u' ', Qt::SkipEmptyParts);
    struct Fit
    {
        int weight;
        qsizetype length; ///< of two that fit alike the shorter one is meant
        int entry;
        auto operator<=>(const Fit &) const = default;
    };
    std::vector<Fit> fitting;
    for (std::size_t i = 0; i < m_entries.size(); ++i) {
        if (const int weight = weightOf(m_entries[i], words); weight != kNoMatch)
            fitting.push_back({weight, words.isEmpty() ? 0 : m_entries[i].path.size(), int(i)});
    }
    std::sort(fitting.begin(), fitting.end());
    beginResetModel();
    m_shown.clear();
    for (const Fit &fit : fitting)
        m_shown.push_back(fit.entry);
    endResetModel();
}

const GroupChoices::Choice &GroupChoices::at(int row) const
{
    return m_entries[std::size_t(m_shown[std::size_t(row)])];
}

int GroupChoices::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_shown.size());
}

QVariant GroupChoices::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return {};
    const Choice &choice = at(index.row());
    switch (role) {
    case Qt::DisplayRole: return choice.path;
    case Qt::DecorationRole: return choice.icon;
    case Qt::UserRole: return choice.isRecent;
    case Qt::AccessibleTextRole:
        return choice.isRecent ? tr("%1, chosen lately").arg(choice.path) : choice.path;
    default: return {};
    }
}

QSize GroupChoiceDelegate::sizeHint(const QStyleOptionViewItem &, const QModelIndex &) const
{
    return {0, rowHeight(RowKind::List)};
}

void GroupChoiceDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                                const QModelIndex &index) const
{
    painter->save();
    paintRowState(painter, option, option.widget);
    const auto visual = [&option](const QRect &rect) {
        return QStyle::visualRect(option.direction, option.rect, rect);
    };
    const int flags = int(QStyle::visualAlignment(option.direction, Qt::AlignLeading)) | Qt::AlignVCenter |
                      Qt::TextSingleLine;
    QRect rest = option.rect.adjusted(space::group, 0, -space::group, 0);
    const int size = iconSize(IconUse::Row);
    paintIcon(painter, visual(QRect(rest.x(), rest.y(), size, rest.height())),
              index.data(Qt::DecorationRole).toString(), colour(Role::Text2), option.direction);
    rest.setLeft(rest.x() + size + space::between);
    if (index.data(Qt::UserRole).toBool()) {
        const QFont font = fontScaled(option.font, scale::small);
        const QString recent = tr("recent");
        const int width = QFontMetrics(font).horizontalAdvance(recent) + 1;
        painter->setFont(font);
        painter->setPen(colour(option.state & QStyle::State_Selected ? Role::Text2 : Role::Text3));
        painter->drawText(visual(QRect(rest.right() - width + 1, rest.y(), width, rest.height())), flags,
                          recent);
        rest.setRight(rest.right() - width - space::between);
    }
    const QString path = index.data().toString();
    const qsizetype slash = path.lastIndexOf(u'/') + 1;
    const QFontMetrics metrics(option.font);
    const QString name = metrics.elidedText(path.sliced(slash), Qt::ElideRight, rest.width());
    const int room = rest.width() - metrics.horizontalAdvance(name);
    const QString above = metrics.elidedText(path.first(slash), Qt::ElideMiddle, room);
    painter->setFont(option.font);
    painter->setPen(colour(Role::Text2));
    painter->drawText(visual(rest), flags, above);
    rest.setLeft(rest.x() + metrics.horizontalAdvance(above));
    painter->setPen(colour(Role::Text));
    painter->drawText(visual(rest), flags, name);
    painter->restore();
}
