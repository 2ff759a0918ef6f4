#include "ui/main/groupcommands.h"

#include "engine/engine.h"
#include "message/safename.h"
#include "ui/look/icons.h"
#include "ui/main/dialogs.h"
#include "ui/main/messageboxes.h"
#include "ui/texts/messagetexts.h"

#include <QFileDialog>
#include <QMenu>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// How many messages go with the group, those in the groups below it included.
qint64 messagesBelow(const GroupStore &store, Group &group)
{
    qint64 count = group.counts().total;
    for (Group *child : store.children(group.number()))
        count += messagesBelow(store, *child);
    return count;
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
        return u"A name cannot hold “/”."_s;
    const bool hasControl =
        std::any_of(name.begin(), name.end(), [](QChar c) { return c.category() == QChar::Other_Control; });
    if (hasControl)
        return u"A name cannot hold control characters."_s;
    for (const Group *sibling : groups().children(parent)) {
        if (sibling->number() != except && sibling->name() == name)
            return u"There is a group of that name already."_s;
    }
    return {};
}

void GroupCommands::newGroup(Group *parent)
{
    const bool below = parent && parent->role() == GroupRole::None;
    const int number = below ? parent->number() : 0;
    const QString path = below ? groups().pathOf(*parent) + u'/' : QString();
    const QString title = below ? u"New group in %1"_s.arg(parent->name()) : u"New group"_s;
    askName(m_window,
            {title,
             u"&Name"_s,
             {},
             u"Create"_s,
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
            {u"Rename %1"_s.arg(group.name()), u"&Name"_s, group.name(), u"Rename"_s,
             [this, number, parent](const QString &name) { return problemWithName(name, parent, number); }},
            [this, number](const QString &name) {
                if (Group *group = groups().group(number))
                    groups().rename(*group, name);
            });
}

void GroupCommands::remove(Group &group)
{
    const int number = group.number();
    if (hasRoleBelow(groups(), group))
        return m_boxes.show(
            ReportLevel::Information,
            u"“%1” has a use of its own in Velmar and cannot be removed."_s.arg(group.name()));
    const qint64 count = messagesBelow(groups(), group);
    const QString detail =
        count > 0 ? u"%1 in it will be deleted for good. This cannot be undone."_s.arg(messagesInWords(count))
                  : u"It holds no messages."_s;
    m_boxes.ask({u"Remove the group “%1”?"_s.arg(group.name()),
                 detail,
                 {u"Remove group"_s, u"Cancel"_s},
                 count > 0,
                 count > 0 ? ReportLevel::Warning : ReportLevel::Information},
                this, [this, number](int button) {
                    Group *group = groups().group(number);
                    if (button == 0 && group)
                        groups().remove(*group);
                });
}

void GroupCommands::emptyWasteBasket()
{
    Group &basket = *groups().group(GroupRole::WasteBasket);
    const qint64 count = basket.counts().total;
    if (count == 0)
        return m_boxes.show(ReportLevel::Information, u"The waste basket is empty."_s);
    const QString words = messagesInWords(count);
    m_boxes.ask({u"Delete %1 in the waste basket for good?"_s.arg(words),
                 u"This cannot be undone."_s,
                 {u"Delete %1"_s.arg(words), u"Cancel"_s},
                 true,
                 ReportLevel::Warning},
                this, [this](int button) {
                    if (button != 0)
                        return;
                    Group &basket = *groups().group(GroupRole::WasteBasket);
                    Articles all;
                    for (int row = 0; row < basket.rowCount(); ++row) {
                        if (!basket.row(row).isDead())
                            all.push_back(basket.row(row).article());
                    }
                    m_engine.deleteMessages(basket, all, true);
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
    QFileDialog *dialog = newFileDialog(m_window, u"Import into %1"_s.arg(target.name()));
    dialog->setFileMode(QFileDialog::ExistingFiles);
    connect(dialog, &QFileDialog::filesSelected, this,
            [this, number](const QStringList &paths) { importPaths(paths, number); });
    dialog->open();
}

void GroupCommands::importFolder(Group &target)
{
    const int number = target.number();
    QFileDialog *dialog = newFileDialog(m_window, u"Import a Maildir into %1"_s.arg(target.name()));
    dialog->setFileMode(QFileDialog::Directory);
    connect(dialog, &QFileDialog::filesSelected, this,
            [this, number](const QStringList &paths) { importPaths(paths, number); });
    dialog->open();
}

void GroupCommands::importPaths(const QStringList &paths, int target)
{
    if (Group *group = groups().group(target))
        m_engine.importMail(paths, *group);
}

void GroupCommands::exportGroup(Group &group)
{
    const int number = group.number();
    QFileDialog *dialog = newFileDialog(m_window, u"Export %1"_s.arg(group.name()));
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setNameFilter(u"Mailbox (*.mbox)"_s);
    dialog->selectFile(safeFileName(group.name()) + u".mbox"_s);
    connect(dialog, &QFileDialog::fileSelected, this, [this, number](const QString &path) {
        if (Group *group = groups().group(number))
            m_engine.exportGroup(*group, path);
    });
    dialog->open();
}

void GroupCommands::addMailboxFile()
{
    askMailboxFile(
        m_window,
        [this](const QString &name) {
            return m_engine.accounts().find(name) ? u"There is an account of that name already."_s
                                                  : QString();
        },
        [this](const QString &name, const QString &path) {
            Account account;
            account.name = name;
            account.host = path;
            account.kind = AccountKind::BatchFile;
            if (const int number = m_engine.accounts().add(account))
                m_engine.fetch(number);
        });
}

void GroupCommands::removeMailboxFile()
{
    QStringList names;
    QList<int> numbers;
    for (const Account &account : m_engine.accounts().accounts()) {
        if (account.kind == AccountKind::BatchFile) {
            names.append(u"%1 (%2)"_s.arg(account.name, account.host));
            numbers.append(account.number);
        }
    }
    if (names.isEmpty())
        return m_boxes.show(ReportLevel::Information, u"There is no mailbox file to remove."_s);
    askChoice(m_window, u"Remove a mailbox file"_s, u"Remove"_s, names, [this, numbers](int row) {
        if (row >= 0 && row < numbers.size())
            m_engine.accounts().remove(numbers[row]);
    });
}

bool GroupCommands::getMail()
{
    const std::vector<Account> &accounts = m_engine.accounts().accounts();
    if (std::none_of(accounts.begin(), accounts.end(),
                     [](const Account &account) { return account.isIncoming(); }))
        return false;
    m_engine.fetchAll();
    return true;
}

void GroupCommands::fillMenu(QMenu *menu, Group &group)
{
    const int number = group.number();
    const auto add = [&](const QString &text, auto method, const QString &iconName = {}) {
        QAction *action = menu->addAction(text);
        if (!iconName.isEmpty())
            action->setIcon(icon(iconName));
        connect(action, &QAction::triggered, this, [this, number, method] {
            if (Group *group = groups().group(number))
                (this->*method)(*group);
        });
        return action;
    };
    connect(menu->addAction(icon(u"folder"_s), u"&New group…"_s), &QAction::triggered, this,
            [this, number] { newGroup(groups().group(number)); });
    add(u"&Rename…"_s, &GroupCommands::rename);
    add(u"Remo&ve…"_s, &GroupCommands::remove)->setEnabled(!hasRoleBelow(groups(), group));
    menu->addSeparator();
    add(u"&Import files…"_s, &GroupCommands::importFiles, u"import"_s);
    add(u"Import &folder…"_s, &GroupCommands::importFolder);
    add(u"&Export…"_s, &GroupCommands::exportGroup)->setEnabled(group.counts().total > 0);
    menu->addSeparator();
    add(u"&Compact"_s, &GroupCommands::compact);
    add(u"Re&pair"_s, &GroupCommands::repair);
    menu->addSeparator();
    addOption(menu, group, u"&Showing a message marks it as read"_s, GroupKeepsUnread, true);
    addOption(menu, group, u"Store messages compresse&d"_s, GroupUncompressed, true);
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
