#pragma once

#include "store/messageref.h"
#include "ui/tree/groupnode.h"
#include "ui/tree/grouptexts.h"

#include <QAbstractItemModel>
#include <QHash>
#include <QSet>
#include <QTimer>

class GroupStore;

/// The groups as a tree in sections: those with a role, in the order of their use, under "All accounts", then
/// folders under "Mail" and newsgroups under "News", both by name. A section that shows nothing is not there.
///
/// With `HideReadGroups` only groups with unread messages are shown, and what is above one; besides, those
/// with a role, the one that is kept, those made in this run (nobody makes a folder to see it vanish) and
/// those that failed. A last row tells how many are hidden. A group that has nothing more to show vanishes a
/// moment later, never while a mouse button is down, so that no click hits another row than it was meant for.
///
/// With `FullFolderNames` nothing is nested: the groups stand in the same order with their full names.
class GroupTreeModel : public QAbstractItemModel
{
    Q_OBJECT

public:
    /// @p store must outlive this.
    explicit GroupTreeModel(GroupStore &store, QObject *parent = nullptr);
    ~GroupTreeModel() override;

    /// @name Rows
    /// @{
    GroupRow kindOf(const QModelIndex &index) const;

    /// The group at @p index; null for every other row.
    Group *groupAt(const QModelIndex &index) const;

    /// The number of the group, kFlaggedList, or that of a heading, which is below it; 0 for none.
    int numberAt(const QModelIndex &index) const;

    /// Invalid while it is not shown.
    QModelIndex indexOf(int number) const;
    bool contains(int number) const { return m_nodes.contains(number); }
    Group *group(int number) const;
    int depthOf(const QModelIndex &index) const; ///< 0 for a heading and for what lies right below one
    QString pathOf(int number) const;            ///< "Home/Sailing club"

    /// The numbers of all groups and of kFlaggedList, also of hidden ones, in the order of the tree.
    std::vector<int> inOrder() const;
    /// @}

    /// @name Counts
    /// @{
    /// What stands behind a group's name; empty for nothing.
    static QString countText(Group &group);

    /// Whether that count calls: unread messages, not the sum of what lies there.
    static bool countCalls(Group &group);
    static QString iconOf(const Group &group) { return iconNameOf(group); }

    /// What a row shows. @p folded: the groups below it are not seen, so it speaks for them.
    struct Look
    {
        QString icon;
        QString name;
        QString count;
        bool isBold = false; ///< there are unread messages
        bool calls = false;  ///< the count is one of unread messages
        bool hasFailed = false;
    };
    Look lookOf(const QModelIndex &index, bool folded) const;
    quint32 flaggedCount() const { return m_flagged; }

    /// The next group with unread messages in the order of the tree, round its end; @p from itself last. What
    /// is junk, thrown away or written here is passed over. Null: all is read.
    Group *nextUnread(int from) const;
    /// @}

    /// @name What is shown
    /// @{
    /// The setting `HideReadGroups`; the setter writes it.
    bool hidesRead() const { return m_hidesRead; }
    void setHidesRead(bool hides);

    /// Shows the hidden ones for the moment.
    bool showsAll() const { return m_showsAll; }
    void setShowsAll(bool shows);
    int hidableCount() const { return m_hidable; }

    /// The setting `FullFolderNames`; the setter writes it.
    bool hasFullNames() const { return m_fullNames; }
    void setFullNames(bool full);

    /// Keeps that group shown, be it read or not, in place of the one before.
    void keep(int number);

    /// Marks a group that cannot be brought up to date with a sign and @p text; empty: all is well again.
    void setFailing(int group, const QString &text);
    /// @}

    QModelIndex index(int row, int column, const QModelIndex &parent = {}) const override;
    QModelIndex parent(const QModelIndex &index) const override;
    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &) const override { return 1; }
    QVariant data(const QModelIndex &index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    QStringList mimeTypes() const override;
    QMimeData *mimeData(const QModelIndexList &indexes) const override;
    bool canDropMimeData(const QMimeData *mime, Qt::DropAction action, int row, int column,
                         const QModelIndex &parent) const override;
    bool dropMimeData(const QMimeData *mime, Qt::DropAction action, int row, int column,
                      const QModelIndex &parent) override;
    Qt::DropActions supportedDropActions() const override { return Qt::MoveAction | Qt::CopyAction; }
    Qt::DropActions supportedDragActions() const override { return Qt::MoveAction; }

signals:
    void messagesDropped(const MessageRefs &messages, Group *target, bool copy);
    void groupDropped(Group *moved, Group *target); ///< a null target: the top of the tree
    void filesDropped(const QStringList &paths, Group *target);
    void flaggedCountChanged(quint32 count);

private:
    void rebuild();
    void addFixed(GroupNode &root);
    GroupNode *enter(Group *group);
    GroupNode *placeFor(const Group &group);
    void setKey(GroupNode &node) const;
    void watch(Group *group);
    void groupAdded(Group *group);
    void groupRemoved(int number);
    void groupChanged(Group *group);
    void countsChanged(Group *group);
    void count(GroupNode &node);
    void takeCounts(GroupNode &node, const OverviewFile::Counts &now);
    void tellOf(const GroupNode &node);
    GroupNode *nodeOf(int number) const { return m_nodes.value(number); }
    QModelIndex indexOf(const GroupNode &node) const;

    bool isEssential(const GroupNode &node) const;
    bool isWanted(const GroupNode &node) const;
    void weigh(GroupNode &node);
    void settle(GroupNode &node);
    void settleOrWait(GroupNode &node);
    void settleWaiting();
    void show(GroupNode &node);
    void unshow(GroupNode &node);
    void fillShown(GroupNode &node) const;
    void updateHiddenLine();
    void replaceShown();

    QString nameOf(const GroupNode &node) const;
    QString hiddenInWords() const;
    QString spoken(const GroupNode &node) const;
    QString toolTip(const GroupNode &node) const;
    bool takesMessages(const Group &target, const MessageRefs &messages) const;

    GroupStore &m_store;
    std::unique_ptr<GroupNode> m_root;
    QHash<int, GroupNode *> m_nodes; ///< every row but the root by its number
    QHash<int, Group *> m_groups;    ///< what the store has, before it has a row
    QCollator m_collator;
    QHash<int, QString> m_failing;
    QSet<int> m_fresh;
    QSet<int> m_waiting; ///< groups that may have nothing more to show
    QTimer m_waitTimer;
    quint32 m_flagged = 0;
    int m_hidable = 0; ///< groups that are not essential
    int m_toldHidable = 0;
    int m_kept = 0;
    bool m_hidesRead;
    bool m_fullNames;
    bool m_showsAll = false;
};
