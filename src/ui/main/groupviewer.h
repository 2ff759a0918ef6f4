#pragma once

#include "store/messageref.h"
#include "store/overview.h"
#include "ui/list/listfilter.h"

#include <QObject>
#include <QPointer>
#include <QTimer>

#include <memory>
#include <optional>

class Engine;
class Group;
class ListPane;
class MainActions;
class MessageBoxes;
class MessageCommands;
class MessageList;
class MessageView;
class PieceSearch;
class QMenu;
class ReaderActions;
class RemoteContent;
class Views;
struct ReaderMarks;

/// What all tabs of one window share.
struct ViewerSurroundings
{
    Engine &engine;
    Views &views;
    const MainActions &actions;
    const ReaderActions &readerActions;
    MessageBoxes &boxes;
    RemoteContent &remote;
    QMenu *viewMenu;
};

/// What the reader shows of a message's marks.
ReaderMarks readerMarksOf(const Overview &overview);

/// One tab: the messages of a group, or of a list over many groups, and the reader that shows the current
/// one. It reads and marks as read what somebody looks at.
class GroupViewer : public QObject
{
    Q_OBJECT

public:
    /// @p surroundings must outlive this.
    GroupViewer(const ViewerSurroundings &surroundings, QObject *parent);
    ~GroupViewer() override;

    ListPane *pane() const;
    MessageView *reader() const;
    MessageList &list() const { return *m_list; }
    MessageCommands &commands() const { return *m_commands; }

    /// The number of the group, or of a list over many groups (kFlaggedList); 0: nothing.
    int place() const { return m_place; }

    /// What to show from the next setActive() on; nothing is opened before.
    void setPlace(int place);

    /// The only group; null for several, and when it is gone.
    Group *group() const;
    QString title() const;
    QString iconName() const;

    /// Whether this tab is in front. Only then messages are read.
    void setActive(bool active);

    const ListFilter &filter() const;
    void setFilter(const ListFilter &filter);
    bool isFiltered() const { return !filter().isEmpty(); }

    /// The tags have other names or hues.
    void showTags();

    bool select(MessageRef message);
    std::optional<Overview> currentOverview() const;
    bool showsCurrent() const; ///< in the reader

    /// Whether the reader may show messages; F8 hides it.
    void setReading(bool reading);

    /// A page further. False: the end was reached, it is time for the next message.
    bool pageDown();

    /// What goes on has read what it leaves. False: there is nothing unread below.
    bool goToUnread(bool inNewThread);

    /// From the top, the current message does not count.
    void goToFirstUnread();

    /// Shows the current message, if the reader does not yet, and what to say where there is none.
    void showCurrent();

    /// What is to be said of the message that is shown has changed; or the rest of it has come.
    void showMarks();

signals:
    void changed();      ///< current message, selection, marks
    void placeChanged(); ///< another group, another name
    void openWanted(MessageRef message);
    void menuWanted(const QPoint &globalPosition);
    void spacePressed();
    void messageShown(MessageRef message); ///< in the reader, for somebody to read

private:
    void connectList();
    void open();
    void markShownAsRead();
    void toggle(MessageRef message, Mark mark);

    Engine &m_engine;
    Views &m_views;
    QPointer<ListPane> m_pane; ///< both are shown, and may be deleted, by the window
    MessageList *m_list;
    QPointer<MessageView> m_reader;
    std::unique_ptr<MessageCommands> m_commands;
    std::unique_ptr<PieceSearch> m_pieces; ///< those of the message that is shown
    QTimer m_readTimer;
    int m_place = 0;
    bool m_isOpen = false;
    bool m_isActive = false;
    bool m_isReading = true;
    MessageRef m_shown; ///< what the reader shows
    bool m_showsHeaderOnly = false;
};
