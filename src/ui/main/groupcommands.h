#pragma once

#include "store/group.h"
#include "ui/main/groupchoices.h"

#include <QObject>

class Engine;
class GroupStore;
class MessageBoxes;
class QAction;
class QMenu;
class QWidget;

/// What the user does with groups, mailboxes on disk and accounts. Asks before anything is lost.
class GroupCommands : public QObject
{
    Q_OBJECT

public:
    /// Everything must outlive this; dialogs belong to @p window.
    GroupCommands(Engine &engine, MessageBoxes &boxes, QWidget *window);

    /// Asks for the name of a new folder in @p parent, or at the top when that is null or has a role.
    void newGroup(Group *parent);
    void rename(Group &group);

    /// Asks where to, and moves it there with all that lies below it.
    void moveTo(Group &group);

    /// Moves it into @p target, null for the top of the tree; says so when that cannot be.
    void move(Group &group, Group *target);
    void remove(Group &group);
    void markAllRead(Group &group);

    /// Asks, and deletes for good what lies there.
    void emptyWasteBasket() { empty(GroupRole::WasteBasket); }
    void emptyJunk() { empty(GroupRole::Junk); }
    void compact(Group &group);
    void repair(Group &group);

    /// Ask what to bring into @p target, and where to write @p group to.
    void importFiles(Group &target);
    void importFolder(Group &target);
    void exportGroup(Group &group);

    /// Brings the mail of these files and directories into @p target.
    void importPaths(const QStringList &paths, Group &target);

    /// The entries that are about @p group, for its context menu.
    void fillMenu(QMenu *menu, Group &group);

signals:
    void groupMade(Group *group);

    /// From the menu; its entry is there when somebody listens.
    void newTabWanted(int group);

private:
    GroupStore &groups() const;
    void empty(GroupRole role);
    QString problemWithName(const QString &name, int parent, int except) const;
    using Command = void (GroupCommands::*)(Group &);
    QAction *add(QMenu *menu, Group &group, const QString &text, Command command,
                 const QString &iconName = {});
    void fillWithPlaces(QMenu *menu, Group &group);
    void fillWithFiles(QMenu *menu, Group &group);
    void addOption(QMenu *menu, Group &group, const QString &text, GroupOption option, bool inverse);

    Engine &m_engine;
    MessageBoxes &m_boxes;
    QWidget *m_window;
    RecentGroups m_recent; ///< what groups were moved into
};
