#pragma once

#include "compose/replies.h"
#include "config/reporter.h"
#include "store/group.h"
#include "store/messageref.h"
#include "ui/actions/actionregistry.h"
#include "ui/main/mainactions.h"
#include "ui/main/notices.h"
#include "ui/main/views.h"
#include "ui/reader/readeractions.h"

#include <QMainWindow>
#include <QPointer>

#include <functional>
#include <memory>

class AccountCommands;
class AskingBar;
class CommandPalette;
class ComposeCommands;
class CountdownBars;
class Engine;
class GroupCommands;
class GroupTree;
class GroupViewer;
class Looks;
class MessageBoxes;
class Message;
class MessageCommands;
class MessageView;
class MessageWindow;
class OutboxCommands;
class Panes;
class ReaderActions;
class QMenu;
class QToolBar;
class WebPictures;
class StatusLine;
class Task;
class Viewers;
class Welcome;
struct ReceiptQuestion;
enum class ReceiptAnswer;

/// The window of the program: the tree of groups, tabs of groups, the list of one group's messages, the
/// reader. It asks the engine for everything and listens; while it lives, reports are shown in its boxes.
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

    /// Asks whether to set an account up, where there is none that mail comes from.
    void offerFirstAccount();

    /// Shows a group, or a list over many (grouptreemodel.h); false: there is none of that number.
    bool selectGroup(int number);

    /// Shows a message of the current group; false: it is not there.
    bool selectMessage(quint32 article);

    /// Opens a message in a window of its own; false, after a report, when the file cannot be read.
    bool openMessageFile(const QString &path);

    /// Begins a message: to whom a mailto: URL says, or empty; @p attachments are files that the user named.
    void write(const QString &mailto = {}, const QStringList &attachments = {});

    /// Opens what was being written when the program ended; keepWriting() keeps it at the end of a run.
    void reopenWriting();
    void keepWriting();

    /// Brings the window to the front, from the task bar too.
    void comeForward();

    /// Status line, state of the network, what is to be remembered. The engine's tick calls it.
    void refresh();

    const ActionRegistry &actions() const { return m_registry; }

signals:
    /// A link that was followed in a message and is not for this window.
    void urlWanted(const QString &url);

    /// Somebody wants to see the program with the invented mailbox.
    void demoWanted();

protected:
    void closeEvent(QCloseEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    void createPanes();
    void createMainBar();
    void createPalette();
    void createMenus();
    void createFileMenu();
    void createEditMenu();
    void createViewMenu();
    void createMessageMenu();
    void createTagMenu();
    void createToolsMenu();
    void connectActions();
    void connectMessageActions();
    void connectGroupActions();
    void connectViewActions();
    void connectTabActions();
    void connectPanes();
    void connectEngine();
    void connectTransfers();
    void connectComposing();
    void connectWriting();
    void reply(ReplyKind kind);
    void forward(ForwardKind kind, ForwardMark mark);
    QString selectedText() const;
    bool isDraft(MessageRef message) const;
    void editOwn(MessageRef message);
    void showWaiting();
    void askBeforeLosingText();
    void noteShown(MessageRef message, MessageView &reader);
    void askForReceipt(MessageView &reader, const ReceiptQuestion &question,
                       const std::function<void(ReceiptAnswer)> &answer);
    void addViewer(GroupViewer *viewer);
    void askBeforeClosing();
    void askAboutCountdowns();
    void closeWhenIdle();
    void restore();
    void remember();

    GroupViewer &viewer() const;
    Group *group() const;
    MessageCommands &commands() const;
    void showPlace();
    void updateActions();
    void updateChecks();
    unsigned have() const;
    void updateStatus();
    void updateTags();
    void updateWelcome();
    void focusFirst();
    void readOn();
    void goToUnread(bool inNewThread);
    void goToFirstUnread(int group);
    void goToGroup(bool inNewTab);
    void openMessage(const Message &message);
    bool showIn(MessageWindow &window, MessageRef message);
    void doFor(MessageWindow &window, const QString &action);
    void openInWindow(MessageRef message);
    MessageWindow *windowFor();
    void findFrom(const QString &address);
    void followLink(const QString &target);
    void groupMenu(Group *group, const QPoint &position);
    void messageMenu(const QPoint &position);
    void fillOwnMenu(QMenu *menu);
    void fillMessageMenu(QMenu *menu);
    void dropped(const MessageRefs &messages, Group *target, bool copy);
    void taskEnded(Task *task);
    void getMail(bool thereIsAnAccount);
    void setOnlineWish(bool online);
    void showOnline();
    void setArrangement(PaneLayout layout);
    void setReading(bool shown);

    Engine &m_engine;
    Looks &m_looks;
    Views m_views;
    ActionRegistry m_registry;
    MainActions m_actions;
    ReaderActions m_readerActions;
    Notices m_notices;
    MessageBoxes *m_boxes;
    std::unique_ptr<WebPictures> m_remote;
    QMenu *m_viewMenu;
    QMenu *m_tagMenu;
    QToolBar *m_mainBar;
    GroupTree *m_tree;
    Viewers *m_viewers;
    Welcome *m_welcome;
    Panes *m_panes;
    StatusLine *m_status;
    GroupCommands *m_groupCommands;
    AccountCommands *m_accountCommands;
    ComposeCommands *m_composeCommands;
    OutboxCommands *m_outboxCommands;
    CommandPalette *m_palette;
    QPointer<AskingBar> m_failureBar;        ///< where a failed transfer was told of
    QPointer<AskingBar> m_waitingBar;        ///< where the state of a waiting message is shown
    QString m_waitingText;                   ///< what it says
    MessageRef m_waiting;                    ///< of which
    int m_waitingPhase = 0;                  ///< OutboxCommands::State
    QPointer<MessageWindow> m_actingWindow;  ///< whose deed is being done
    bool m_leavesWaiting = false;            ///< what counts down may go the next time
    bool m_isEnding = false;                 ///< the program ends: nothing is asked any more
    bool m_losesText = false;                ///< the user closes the window although a draft cannot be kept
    QPointer<MessageView> m_lastReader;      ///< which has shown a message last
    QPointer<MessageWindow> m_messageWindow; ///< the one that shows whatever is opened
    bool m_lookedAround = false;             ///< the user sent the welcome away
    bool m_offeredNextGroup = false;
    bool m_updatingTree = false;
    bool m_closesWhenIdle = false; ///< the user wants it closed as soon as nothing is transferred
};
