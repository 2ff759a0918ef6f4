#pragma once

#include "store/group.h"
#include "store/messageref.h"

#include <QAbstractItemModel>

#include <memory>
#include <vector>

class GroupStore;

/// The groups as a tree in sections: those with a role, in the order of their use, under "All accounts", then
/// folders under "Mail" and newsgroups under "News". A section that holds nothing is not there.
class GroupTreeModel : public QAbstractItemModel
{
    Q_OBJECT

public:
    /// @p store must outlive this.
    explicit GroupTreeModel(GroupStore &store, QObject *parent = nullptr);
    ~GroupTreeModel() override;

    /// The group at @p index; null for a section.
    Group *groupAt(const QModelIndex &index) const;
    QModelIndex indexOf(int group) const;
    int depthOf(const QModelIndex &index) const; ///< 0 for a section and for what lies right below one

    /// What stands behind a group's name; empty for nothing.
    static QString countText(Group &group);

    /// Whether that count calls: unread messages, not the sum of what lies there.
    static bool countCalls(Group &group);
    static QString iconOf(const Group &group);

    QModelIndex index(int row, int column, const QModelIndex &parent = {}) const override;
    QModelIndex parent(const QModelIndex &index) const override;
    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &) const override { return 1; }
    QVariant data(const QModelIndex &index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    QStringList mimeTypes() const override;
    bool canDropMimeData(const QMimeData *mime, Qt::DropAction action, int row, int column,
                         const QModelIndex &parent) const override;
    bool dropMimeData(const QMimeData *mime, Qt::DropAction action, int row, int column,
                      const QModelIndex &parent) override;
    Qt::DropActions supportedDropActions() const override { return Qt::MoveAction | Qt::CopyAction; }

signals:
    void messagesDropped(const MessageRefs &messages, Group *target, bool copy);

private:
    struct Node;

    void rebuild();
    void watch(Group *group);
    void countsChanged(Group *group);
    void addSection(const QString &title, const std::vector<Group *> &groups);
    void addBelow(Node &parent, const std::vector<Group *> &groups);
    std::vector<Group *> topGroups(bool news) const;
    static Node *nodeOf(const QModelIndex &index);
    const Node *find(const Node &from, int group) const;

    GroupStore &m_store;
    std::unique_ptr<Node> m_root;
};
