#pragma once

#include "store/group.h"

#include <QObject>

class Engine;
class GroupStore;
class MessageBoxes;
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
    void remove(Group &group);
    void emptyWasteBasket();
    void compact(Group &group);
    void repair(Group &group);

    /// Ask what to bring into @p target, and where to write @p group to.
    void importFiles(Group &target);
    void importFolder(Group &target);
    void exportGroup(Group &group);

    void addMailboxFile();
    void removeMailboxFile();

    /// False: there is no account to fetch from.
    bool getMail();

    /// The entries that are about @p group, for its context menu.
    void fillMenu(QMenu *menu, Group &group);

signals:
    void groupMade(Group *group);

private:
    GroupStore &groups() const;
    void importPaths(const QStringList &paths, int target);
    QString problemWithName(const QString &name, int parent, int except) const;
    void addOption(QMenu *menu, Group &group, const QString &text, GroupOption option, bool inverse);

    Engine &m_engine;
    MessageBoxes &m_boxes;
    QWidget *m_window;
};
