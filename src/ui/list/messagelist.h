#pragma once

#include "ui/list/groupview.h"
#include "ui/list/messagedelegate.h"
#include "ui/list/messagelistmodel.h"

#include <QTreeView>

/// The list of a group's messages. The current message stays current whatever comes and goes; when it goes
/// itself, the next one takes its place.
class MessageList : public QTreeView
{
    Q_OBJECT

public:
    explicit MessageList(QWidget *parent = nullptr);

    /// Shows @p group, null for nothing, in the manner of @p view.
    void setGroup(Group *group, const GroupView &view);
    MessageListModel &messages() { return m_model; }

    /// How the user arranged the list: what "Views" remembers of this group.
    GroupView view() const;

    /// The current message; 0 without one.
    quint32 current() const;

    /// Makes a message current, alone selected and visible. False: it is not in this group.
    bool setCurrent(quint32 article);

    /// The selected messages in the order of the list; collapsed threads are whole.
    Articles selected() const;
    int selectedCount() const;

    enum class Step { Next, Previous, NextUnread, PreviousUnread, NextUnreadThread };

    /// Goes there; collapsed threads with unread messages open. False: there is none.
    bool step(Step step);

    /// Selects every message of the current one's thread that is shown.
    void selectThread();

    /// Makes current what follows the selection (else what precedes it), before that is taken away.
    void leaveSelection();

    /// A list narrower than 60 characters has two lines a message.
    void setTwoLines(bool twoLines);
    bool isTwoLines() const { return m_delegate.isTwoLines(); }

signals:
    /// The current message, or 0; after the selection has settled.
    void currentChangedTo(quint32 article);
    void selectionCountChanged();
    void activatedMessage(quint32 article); ///< Enter or a double click
    void flagClicked(quint32 article);
    void stateClicked(quint32 article);
    void spacePressed();
    void menuWanted(const QPoint &globalPosition);
    void viewChanged(); ///< columns, widths, order

protected:
    void currentChanged(const QModelIndex &current, const QModelIndex &previous) override;
    void selectionChanged(const QItemSelection &selected, const QItemSelection &deselected) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void startDrag(Qt::DropActions actions) override;
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;
    void drawBranches(QPainter *painter, const QRect &rect, const QModelIndex &index) const override;

private:
    void arrangeColumns();
    void showColumns();
    int defaultWidth(MessageColumn column) const;
    void headerMenu(const QPoint &position);
    void rememberTop();
    void restoreTop();
    void keepCurrent();
    bool clickedSign(const QModelIndex &index, const QPoint &position);
    bool fold(bool open);
    int nextUnread(int from, int direction) const;
    int unreadThread(int from) const;
    void goTo(int place);
    QModelIndex cell(int place) const;

    MessageListModel m_model;
    MessageDelegate m_delegate;
    GroupView m_view;
    bool m_arranging = false;
    quint32 m_current = 0;   ///< the article
    int m_currentPlace = -1; ///< where it was at the last look
    quint32 m_top = 0;       ///< the article on the first line
};
