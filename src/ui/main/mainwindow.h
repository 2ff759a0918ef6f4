#pragma once

#include "config/reporter.h"
#include "store/group.h"
#include "store/messageref.h"
#include "ui/main/views.h"

#include <QMainWindow>
#include <QPointer>
#include <QTimer>

#include <memory>

class Engine;
class GroupCommands;
class GroupTree;
class ListPane;
class Looks;
class MainActions;
class MessageBoxes;
class MessageCommands;
class MessageList;
class MessageView;
class Panes;
class ReaderActions;
class QMenu;
class QToolBar;
class StatusLine;
class Task;
enum class Act;

/// The window of the program: the tree of groups, the list of one group's messages, the reader. It asks the
/// engine for everything and listens; while it lives, reports are shown in its boxes.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    /// Both must outlive this.
    MainWindow(Engine &engine, Looks &looks);
    ~MainWindow() override;

    /// The modal boxes, for the questions that the start asks.
    MessageBoxes &boxes() const { return *m_boxes; }
    void showReport(const Report &report);

    /// Shows a group; false: there is none of that number.
    bool selectGroup(int number);

    /// Shows a message of the current group; false: it is not there.
    bool selectMessage(quint32 article);

    /// Opens a message in a window of its own; false, after a report, when the file cannot be read.
    bool openMessageFile(const QString &path);

    /// Brings the window to the front, from the task bar too.
    void comeForward();

    /// Status line, state of the network, what is to be remembered. The engine's tick calls it.
    void refresh();

signals:
    /// A link that was followed in a message and is not for this window.
    void urlWanted(const QString &url);

    /// Somebody wants to see the program with the invented mailbox.
    void demoWanted();

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void createPanes();
    void createMainBar();
    void createMenus();
    void createFileMenu();
    void createViewMenu();
    void createMessageMenu();
    void createToolsMenu();
    void connectActions();
    void connectGroupActions();
    void connectViewActions();
    void connectPanes();
    void connectEngine();
    void restore();
    void remember();

    Group *group() const;
    void showGroup(Group *group);
    void showCurrent(MessageRef message);
    void showSelection();
    void markShownAsRead();
    void updateActions();
    void updateStatus();
    void updateWelcome();
    void readOn();
    void goToUnread(bool inNewThread);
    void goToFirstUnread(int group);
    Group *nextUnreadGroup() const;
    void goToGroup();
    void openInWindow(MessageRef message);
    void followLink(const QString &target);
    void groupMenu(Group *group, const QPoint &position);
    void messageMenu(const QPoint &position);
    std::optional<Overview> overviewOf(MessageRef message) const;
    void dropped(const MessageRefs &messages, Group *target, bool copy);
    void taskEnded(Task *task);
    void getMail();
    void setOnlineWish(bool online);
    void showOnline();
    void setArrangement(PaneLayout layout);
    void showAbout();

    Engine &m_engine;
    Looks &m_looks;
    Views m_views;
    MainActions *m_actions;
    ReaderActions *m_readerActions;
    MessageBoxes *m_boxes;
    QMenu *m_viewMenu;
    QToolBar *m_mainBar;
    GroupTree *m_tree;
    ListPane *m_listPane;
    MessageList *m_list;
    MessageView *m_reader;
    Panes *m_panes;
    StatusLine *m_status;
    std::unique_ptr<MessageCommands> m_messageCommands;
    GroupCommands *m_groupCommands;
    QTimer m_readTimer;
    int m_shownGroup = 0;
    bool m_lookedAround = false; ///< the user sent the welcome away
    bool m_offeredNextGroup = false;
};
