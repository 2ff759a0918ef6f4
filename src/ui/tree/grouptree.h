#pragma once

#include "ui/tree/grouptreemodel.h"

#include <QStyledItemDelegate>
#include <QTreeView>

/// Draws sections and groups: icon, name, and behind it how many messages wait.
class GroupDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    explicit GroupDelegate(const GroupTreeModel &model, QObject *parent = nullptr);

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;

    /// Where the chevron of a group with others below it is, in the row @p rect.
    QRect chevronRect(const QRect &rect, int depth, Qt::LayoutDirection direction) const;

private:
    void paintSection(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const;
    void paintGroup(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const;

    const GroupTreeModel &m_model;
};

/// The tree of groups. Which ones are folded, and which is current, stays over every change of the tree.
class GroupTree : public QTreeView
{
    Q_OBJECT

public:
    explicit GroupTree(GroupStore &store, QWidget *parent = nullptr);

    /// Null while none is current.
    Group *current() const;
    void setCurrent(int group);

    const QList<int> &collapsed() const { return m_collapsed; }
    void setCollapsed(const QList<int> &groups);

signals:
    void currentGroupChanged(Group *group); ///< null: there is none any more
    void menuWanted(Group *group, const QPoint &globalPosition);
    void messagesDropped(const MessageRefs &messages, Group *target, bool copy);
    void collapsedChanged();

protected:
    void currentChanged(const QModelIndex &current, const QModelIndex &previous) override;
    void mousePressEvent(QMouseEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void drawBranches(QPainter *painter, const QRect &rect, const QModelIndex &index) const override;
    void changeEvent(QEvent *event) override;

private:
    void restore();
    void expandAsRemembered(const QModelIndex &parent);
    void remember(const QModelIndex &index, bool collapsed);

    GroupTreeModel m_model;
    GroupDelegate m_delegate;
    QList<int> m_collapsed;
    int m_current = 0;
    bool m_restoring = false;
};
