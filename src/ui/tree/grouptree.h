#pragma once

#include "ui/tree/groupdelegate.h"
#include "ui/tree/grouptreemodel.h"

#include <QPersistentModelIndex>
#include <QTreeView>

class GroupSeek;

/// The tree of groups. Which ones are folded, and which is current, stays over every change of the tree.
///
/// Headings and the last line are never selected; the keyboard passes over them with a dotted frame, Enter
/// or Space folds and unfolds them. Letters and digits always seek here, whatever they do elsewhere in the
/// window.
class GroupTree : public QTreeView
{
    Q_OBJECT

public:
    explicit GroupTree(GroupStore &store, QWidget *parent = nullptr);

    /// Null while none is current, and for the list of what is flagged.
    Group *current() const { return m_model.group(m_current); }

    /// The number of the current group, kFlaggedList, or 0.
    int currentNumber() const { return m_current; }

    /// Makes a group, or with kFlaggedList the list of what is flagged, current and visible.
    void setCurrent(int number);

    /// Numbers of groups, and of headings, which are negative.
    const QList<int> &collapsed() const { return m_collapsed; }
    void setCollapsed(const QList<int> &numbers);

    GroupTreeModel &groups() { return m_model; }

    /// Goes to the group whose name fits @p text best, of equal ones to a visible one. False: there is none.
    bool seek(const QString &text);

    /// The setting `HideReadGroups`, read and written.
    bool hidesRead() const { return m_model.hidesRead(); }
    void setHidesRead(bool hides) { m_model.setHidesRead(hides); }

    /// The setting `FullFolderNames`, read and written.
    bool hasFullNames() const { return m_model.hasFullNames(); }
    void setFullNames(bool full) { m_model.setFullNames(full); }

    void setFailing(int group, const QString &text) { m_model.setFailing(group, text); }

    /// The next group with unread messages after @p from (null: after the start), round the end of the tree.
    Group *nextUnread(const Group *from) const { return m_model.nextUnread(from ? from->number() : 0); }

    /// The group to open at a start: that of `AutoOpenGroup` when there is one of that number, else the inbox
    /// where `AutoDisplayInbox` is on, else the @p last one, and the inbox when that has gone.
    static int groupAtStart(const GroupStore &store, int last);

signals:
    void currentGroupChanged(Group *group); ///< null: there is none any more
    void flaggedChosen();
    void listWanted();               ///< Enter or a double click: the keyboard belongs into the list
    void newTabWanted(int number);   ///< Ctrl+Enter or the middle button: a group or kFlaggedList
    void removeWanted(Group *group); ///< Del
    void menuWanted(Group *group, const QPoint &globalPosition); ///< null: not on a group
    void messagesDropped(const MessageRefs &messages, Group *target, bool copy);
    void groupDropped(Group *moved, Group *target); ///< a null target: the top of the tree
    void filesDropped(const QStringList &paths, Group *target);
    void collapsedChanged();
    void flaggedCountChanged(quint32 count);

protected:
    bool event(QEvent *event) override;
    void currentChanged(const QModelIndex &current, const QModelIndex &previous) override;
    QItemSelectionModel::SelectionFlags selectionCommand(const QModelIndex &index,
                                                         const QEvent *event) const override;
    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
    void rowsAboutToBeRemoved(const QModelIndex &parent, int first, int last) override;
    void keyPressEvent(QKeyEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void startDrag(Qt::DropActions actions) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dragLeaveEvent(QDragLeaveEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void drawRow(QPainter *painter, const QStyleOptionViewItem &option,
                 const QModelIndex &index) const override;
    void drawBranches(QPainter *painter, const QRect &rect, const QModelIndex &index) const override;
    void changeEvent(QEvent *event) override;

private:
    void restore();
    void expandAsRemembered(const QModelIndex &parent);
    void rowsCame(const QModelIndex &parent);
    void remember(const QModelIndex &index, bool collapsed);
    void holdStill();
    void standStill();
    bool takesKey(const QKeyEvent &event) const;
    void activate(const QModelIndex &index, Qt::KeyboardModifiers modifiers);
    bool pressFold(const QModelIndex &index, const QPoint &position);
    QModelIndex nearestSeen(QModelIndex index) const;
    bool isSeen(const QModelIndex &index) const;
    void followDrag(QDropEvent *event);
    void endDrag();
    void openUnderDrag();
    void scrollUnderDrag();
    void paintRing(QPainter &painter, const QModelIndex &index) const;

    GroupTreeModel m_model;
    GroupDelegate m_delegate;
    GroupSeek *m_seek;
    QList<int> m_collapsed;
    int m_current = 0;
    bool m_restoring = false;
    bool m_lost = false; ///< the current group is just being removed

    int m_still = 0; ///< the number of the row that stays where it is while others come and go
    int m_stillAt = 0;
    QTimer m_stillTimer;

    QPersistentModelIndex m_menuRow; ///< what an open context menu is about
    QPersistentModelIndex m_pressed; ///< by the middle button

    struct Drag
    {
        QPersistentModelIndex over;
        QPoint at;
        Qt::DropAction action = Qt::IgnoreAction;
        bool isInside = false;
        bool isAllowed = false;
    };
    Drag m_drag;
    QTimer m_openTimer;
    QTimer m_scrollTimer;
};
