#include "ui/main/groupcommands.h"

#include "engine/engine.h"
#include "message/safename.h"
#include "ui/look/icons.h"
#include "ui/look/messageboxes.h"
#include "ui/main/dialogs.h"
#include "ui/texts/messagetexts.h"
#include "ui/tree/groupplaces.h"
#include "ui/tree/grouptexts.h"

#include <QFileDialog>
#include <QMenu>
#include <QMetaMethod>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// What goes with a group: it and those below it, and the messages in all of them.
struct Extent
{
    int groups = 0;
    qint64 messages = 0;
};

Extent extentOf(const GroupStore &store, Group &group)
{
    Extent extent = {1, group.counts().total};
    for (Group *child : store.children(group.number())) {
        const Extent below = extentOf(store, *child);
        extent.groups += below.groups;
        extent.messages += below.messages;
    }
    return extent;
}

bool hasRoleBelow(const GroupStore &store, const Group &group)
{
    const std::vector<Group *> children = store.children(group.number());
    return group.role() != GroupRole::None ||
           std::any_of(children.begin(), children.end(),
                       [&store](const Group *child) { return hasRoleBelow(store, *child); });
}

QFileDialog *newFileDialog(QWidget *window, const QString &title)
{
    auto *dialog = new QFileDialog(window, title);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    return dialog;
}

} // namespace

GroupCommands::GroupCommands(Engine &engine, MessageBoxes &boxes, QWidget *window)
    : QObject(window)
    , m_engine(engine)
    , m_boxes(boxes)
    , m_window(window)
{}

GroupStore &GroupCommands::groups() const
{
    return m_engine.groups();
}

QString GroupCommands::problemWithName(const QString &name, int parent, int except) const
{
    if (name.contains(u'/'))
        return tr("A name cannot hold “/”.");
    const bool hasControl =
        std::any_of(name.begin(), name.end(), [](QChar c) { return c.category() == QChar::Other_Control; });
    if (hasControl)
        return tr("A name cannot hold control characters.");
    for (const Group *sibling : groups().children(parent)) {
        if (sibling->number() != except && sibling->name() == name)
            return tr("There is a group of that name already.");
    }
    return {};
}

void GroupCommands::newGroup(Group *parent)
{
    const bool below = parent && parent->role() == GroupRole::None;
    const int number = below ? parent->number() : 0;
    const QString path = below ? groups().pathOf(*parent) + u'/' : QString();
    const QString title = below ? tr("New group in %1").arg(shownNameOf(*parent)) : tr("New group");
    askName(m_window,
            {title,
             tr("&Name"),
             {},
             tr("Create"),
             [this, number](const QString &name) { return problemWithName(name, number, 0); }},
            [this, path](const QString &name) {
                if (Group *made = groups().make(path + name))
                    emit groupMade(made);
            });
}

void GroupCommands::rename(Group &group)
{
    const int number = group.number();
    const int parent = group.record().parent;
    askName(m_window,
            {tr("Rename %1").arg(shownNameOf(group)), tr("&Name"), group.name(), tr("Rename"),
             [this, number, parent](const QString &name) { return problemWithName(name, parent, number); }},
            [this, number](const QString &name) {
                if (Group *group = groups().group(number))
                    groups().rename(*group, name);
            });
}

void GroupCommands::moveTo(Group &group)
{
    const int number = group.number();
    const GroupPlaces places(groups(), group);
    GroupRequest request;
    request.title = tr("Move %1 to").arg(shownNameOf(group));
    request.verb = tr("Move");
    request.recent = m_recent.numbers();
    request.offers = [&places](const Group &target) { return places.take(&target); };
    if (places.take(nullptr))
        request.top = tr("The top of the tree");
    askGroup(m_window, groups(), request, [this, number](int target) {
        if (Group *group = groups().group(number))
            move(*group, groups().group(target));
    });
}

void GroupCommands::move(Group &group, Group *target)
{
    if (groups().reparent(group, target ? target->number() : 0)) {
        if (target)
            m_recent.note(target->number());
        return;
    }
    const QString into = target ? tr("into “%1”").arg(shownNameOf(*target)) : tr("to the top of the tree");
    m_boxes.show(ReportLevel::Information, tr("“%1” cannot be moved %2.").arg(shownNameOf(group), into));
}

void GroupCommands::remove(Group &group)
{
    const int number = group.number();
    const QString name = shownNameOf(group);
    if (hasRoleBelow(groups(), group))
        return m_boxes.show(ReportLevel::Information,
                            tr("“%1” has a use of its own in Velmar and cannot be removed.").arg(name));
    const Extent extent = extentOf(groups(), group);
    const QString words = messagesInWords(extent.messages);
    QString detail = extent.messages > 0
                         ? tr("%1 in it will be deleted for good. This cannot be undone.").arg(words)
                         : tr("It holds no messages.");
    if (extent.groups > 1) {
        const QString below = extent.groups == 2
                                  ? tr("The group below it goes too.")
                                  : tr("The %1 groups below it go too.").arg(extent.groups - 1);
        detail = below + u' ' +
                 (extent.messages > 0
                      ? tr("%1 in them will be deleted for good. This cannot be undone.").arg(words)
                      : tr("They hold no messages."));
    }
    m_boxes.ask({tr("Remove the group “%1”?").arg(name),
                 detail,
                 {tr("Remove group"), tr("Cancel")},
                 extent.messages > 0,
                 extent.messages > 0 ? ReportLevel::Warning : ReportLevel::Information},
                this, [this, number](int button) {
                    Group *group = groups().group(number);
                    if (button == 0 && group)
                        groups().remove(*group);
                });
}

void GroupCommands::markAllRead(Group &group)
{
    m_engine.operations().markGroupRead(group);
}

void GroupCommands::empty(GroupRole role)
{
    Group &group = *groups().group(role);
    const bool isJunk = role == GroupRole::Junk;
    const qint64 count = group.counts().total;
    if (count == 0)
        return m_boxes.show(ReportLevel::Information,
                            isJunk ? tr("There is no junk.") : tr("The waste basket is empty."));
    const QString words = messagesInWords(count);
    m_boxes.ask({(isJunk ? tr("Delete %1 of junk for good?") : tr("Delete %1 in the waste basket for good?"))
                     .arg(words),
                 tr("This cannot be undone."),
                 {tr("Delete %1").arg(words), tr("Cancel")},
                 true,
                 ReportLevel::Warning},
                this, [this, role](int button) {
                    if (button != 0)
                        return;
                    Group &group = *groups().group(role);
                    Articles all;
                    for (int row = 0; row < group.rowCount(); ++row) {
                        if (!group.row(row).isDead())
                            all.push_back(group.row(row).article());
                    }
                    m_engine.deleteMessages(group, all, true);
                });
}

void GroupCommands::compact(Group &group)
{
    m_engine.compact(group);
}

void GroupCommands::repair(Group &group)
{
    m_engine.repair(group);
}

void GroupCommands::importFiles(Group &target)
{
    const int number = target.number();
    QFileDialog *dialog = newFileDialog(m_window, tr("Import into %1").arg(shownNameOf(target)));
    dialog->setFileMode(QFileDialog::ExistingFiles);
    connect(dialog, &QFileDialog::filesSelected, this, [this, number](const QStringList &paths) {
        if (Group *group = groups().group(number))
            importPaths(paths, *group);
    });
    dialog->open();
}

void GroupCommands::importFolder(Group &target)
{
    const int number = target.number();
    QFileDialog *dialog = newFileDialog(m_window, tr("Import a Maildir into %1").arg(shownNameOf(target)));
    dialog->setFileMode(QFileDialog::Directory);
    connect(dialog, &QFileDialog::filesSelected, this, [this, number](const QStringList &paths) {
        if (Group *group = groups().group(number))
            importPaths(paths, *group);
    });
    dialog->open();
}

void GroupCommands::importPaths(const QStringList &paths, Group &target)
{
    m_engine.importMail(paths, target);
}

void GroupCommands::exportGroup(Group &group)
{
    const int number = group.number();
    QFileDialog *dialog = newFileDialog(m_window, tr("Export %1").arg(shownNameOf(group)));
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setNameFilter(tr("Mailbox (*.mbox)"));
    dialog->selectFile(safeFileName(group.name()) + u".mbox"_s);
    connect(dialog, &QFileDialog::fileSelected, this, [this, number](const QString &path) {
        if (Group *group = groups().group(number))
            m_engine.exportGroup(*group, path);
    });
    dialog->open();
}

QAction *GroupCommands::add(QMenu *menu, Group &group, const QString &text, Command command,
                            const QString &iconName)
{
    QAction *action = menu->addAction(text);
    if (!iconName.isEmpty())
        action->setIcon(icon(iconName));
    connect(action, &QAction::triggered, this, [this, number = group.number(), command] {
        if (Group *group = groups().group(number))
            (this->*command)(*group);
    });
    return action;
}

void GroupCommands::fillMenu(QMenu *menu, Group &group)
{
    const int number = group.number();
    if (isSignalConnected(QMetaMethod::fromSignal(&GroupCommands::newTabWanted)))
        connect(menu->addAction(tr("Open in a new &tab")), &QAction::triggered, this,
                [this, number] { emit newTabWanted(number); });
    add(menu, group, tr("Mark &all as read"), &GroupCommands::markAllRead, u"catch-up"_s)
        ->setEnabled(group.counts().unread > 0);
    menu->addSeparator();
    fillWithPlaces(menu, group);
    menu->addSeparator();
    fillWithFiles(menu, group);
    menu->addSeparator();
    add(menu, group, tr("&Compact"), &GroupCommands::compact);
    add(menu, group, tr("Re&pair"), &GroupCommands::repair);
    menu->addSeparator();
    addOption(menu, group, tr("&Showing a message marks it as read"), GroupKeepsUnread, true);
    addOption(menu, group, tr("Store messages compresse&d"), GroupUncompressed, true);
}

void GroupCommands::fillWithPlaces(QMenu *menu, Group &group)
{
    const int number = group.number();
    connect(menu->addAction(icon(u"folder"_s), tr("&New group…")), &QAction::triggered, this,
            [this, number] { newGroup(groups().group(number)); });
    add(menu, group, tr("&Rename…"), &GroupCommands::rename);
    const bool isFree = !hasRoleBelow(groups(), group);
    add(menu, group, tr("&Move to…"), &GroupCommands::moveTo)->setEnabled(group.role() == GroupRole::None);
    add(menu, group, tr("Remo&ve…"), &GroupCommands::remove)->setEnabled(isFree);
    if (group.role() != GroupRole::WasteBasket && group.role() != GroupRole::Junk)
        return;
    const bool isJunk = group.role() == GroupRole::Junk;
    QAction *emptying =
        menu->addAction(icon(u"waste"_s), isJunk ? tr("Empt&y junk…") : tr("Empt&y waste basket…"));
    emptying->setEnabled(group.counts().total > 0);
    connect(emptying, &QAction::triggered, this, [this, role = group.role()] { empty(role); });
}

void GroupCommands::fillWithFiles(QMenu *menu, Group &group)
{
    add(menu, group, tr("&Import files…"), &GroupCommands::importFiles, u"import"_s);
    add(menu, group, tr("Import &folder…"), &GroupCommands::importFolder);
    add(menu, group, tr("&Export…"), &GroupCommands::exportGroup)->setEnabled(group.counts().total > 0);
}

/// @p inverse: the entry is checked while the option is off.
void GroupCommands::addOption(QMenu *menu, Group &group, const QString &text, GroupOption option,
                              bool inverse)
{
    QAction *action = menu->addAction(text);
    action->setCheckable(true);
    action->setChecked(group.has(option) != inverse);
    const int number = group.number();
    connect(action, &QAction::toggled, this, [this, number, option, inverse](bool checked) {
        Group *group = groups().group(number);
        if (!group)
            return;
        const quint32 others = group->record().options & ~quint32(option);
        groups().setOptions(*group, checked != inverse ? others | option : others);
    });
}
