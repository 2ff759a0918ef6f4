#pragma once

#include "ui/list/groupview.h"
#include "ui/list/listseek.h"
#include "ui/list/messagedelegate.h"
#include "ui/list/messagelistmodel.h"

#include <QTreeView>

/// The list of messages, of one group or of many. The current message stays current whatever comes and goes;
/// when it goes itself, the next one takes its place.
class MessageList : public QTreeView
{
    Q_OBJECT

public:
    explicit MessageList(QWidget *parent = nullptr);

    /// Shows @p rows, null for nothing, in the manner of @p view.
    void setSource(std::unique_ptr<MessageRows> rows, const GroupView &view);

    /// The same for one group, null for nothing.
    void setGroup(Group *group, const GroupView &view);
    MessageListModel &messages() { return m_model; }

    /// How the user arranged the list: what "Views" remembers of this group.
    GroupView view() const;

    /// The current message, even if a folded heading hides it; null without one.
    MessageRef current() const { return m_current; }

    /// Makes a message current, alone selected and visible. False: it is not in this list.
    bool setCurrent(MessageRef message);

    /// The selected messages in the order of the list; collapsed threads are whole.
    MessageRefs selected() const;
    int selectedCount() const;
    void selectAll() override;

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

    /// The menu of the columns, which the header has for the mouse: which are shown, what is sorted by.
    void showColumnsMenu();
    void resetColumns();

    void keyboardSearch(const QString &letters) override;

signals:
    /// The current message, or a null one; after the selection has settled.
    void currentChangedTo(MessageRef message);
    void selectionCountChanged();
    void activatedMessage(MessageRef message); ///< Enter or a double click
    void flagClicked(MessageRef message);
    void stateClicked(MessageRef message);
    void spacePressed();
    void menuWanted(const QPoint &globalPosition);
    void viewChanged(); ///< columns, widths, order

public slots:
    void dataChanged(const QModelIndex &topLeft, const QModelIndex &bottomRight,
                     const QList<int> &roles = {}) override;

protected:
    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
    void paintEvent(QPaintEvent *event) override;
    void drawRow(QPainter *painter, const QStyleOptionViewItem &option,
                 const QModelIndex &index) const override;
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
    void connectHeader();
    void arrangeColumns();
    void showColumns();
    void orderColumns();
    void rememberOrder();
    int defaultWidth(MessageColumn column) const;
    void columnsMenu(const QPoint &position);
    QMenu *moveMenu(const QString &title, int by, QWidget *parent);
    Qt::SortOrder orderOfClick(int column) const;
    void showSortIndicator();
    void rememberTop();
    void restoreTop();
    void keepCurrent();
    bool clickedHeading(const QMouseEvent &event);
    bool clickedSign(const QModelIndex &index, const QPoint &position);
    bool fold(bool open);
    bool foldHidden(bool open);
    int nextMessage(int place, int direction) const;
    int nextUnread(int from, int direction) const;
    int unreadThread(int from) const;
    int openTowardsUnread(int place, int from, bool backwards);
    void goTo(int place);
    QModelIndex cell(int place) const;

    MessageListModel m_model;
    MessageDelegate m_delegate;
    ListSeek m_seek;
    GroupView m_view;
    bool m_arranging = false;
    MessageRef m_current;
    int m_currentPlace = -1; ///< where it was at the last look
    MessageRef m_top;        ///< the message on the first line
    int m_topShift = 0;      ///< how far it is from the upper edge: pixels, with two lines rows
    bool m_currentWasVisible = false;
};
