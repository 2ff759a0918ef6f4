#include "config/settings.h"
#include "engine/engine.h"
#include "ui/actions/commandpalette.h"
#include "ui/actions/keyhelp.h"
#include "ui/list/messagelist.h"
#include "ui/look/looks.h"
#include "ui/main/accountcommands.h"
#include "ui/main/dialogs.h"
#include "ui/main/groupcommands.h"
#include "ui/main/listpane.h"
#include "ui/main/mainwindow.h"
#include "ui/main/messagecommands.h"
#include "ui/main/panes.h"
#include "ui/main/viewers.h"
#include "ui/tree/grouptree.h"

#include <QAction>
#include <QApplication>

#include <functional>

using namespace Qt::StringLiterals;

// What each action of the main window does.

void MainWindow::connectActions()
{
    connectMessageActions();
    connectGroupActions();
    connectViewActions();
    connectTabActions();
    const auto on = [this](Act act, auto handler) {
        connect(m_actions[act], &QAction::triggered, this, handler);
    };
    on(Act::ReadOn, [this] { readOn(); });
    on(Act::Next, [this] { viewer().list().step(MessageList::Step::Next); });
    on(Act::Previous, [this] { viewer().list().step(MessageList::Step::Previous); });
    on(Act::NextUnread, [this] { goToUnread(false); });
    on(Act::PreviousUnread, [this] { viewer().list().step(MessageList::Step::PreviousUnread); });
    on(Act::NextUnreadThread, [this] { goToUnread(true); });
    on(Act::GoToGroup, [this] { goToGroup(false); });
    on(Act::GroupInNewTab, [this] { goToGroup(true); });
    on(Act::NextPane, [this] { m_panes->focusNext(1); });
    on(Act::PreviousPane, [this] { m_panes->focusNext(-1); });
    on(Act::Palette, [this] { m_palette->open(); });
    on(Act::Keys, [this] { showKeyHelp(m_registry); });
    on(Act::About, [this] { showAbout(this); });
    on(Act::CloseWindow, [this] { close(); });
    on(Act::Quit, [this] { close(); }); // which asks, keeps what is being written, and takes the others along
}

void MainWindow::connectMessageActions()
{
    const auto on = [this](Act act, auto command) {
        connect(m_actions[act], &QAction::triggered, this, [this, command] { command(commands()); });
    };
    using Commands = MessageCommands &;
    on(Act::SaveAs, [](Commands its) { its.saveCurrent(); });
    on(Act::Undo, [](Commands its) { its.undo(); });
    on(Act::Redo, [](Commands its) { its.redo(); });
    on(Act::Delete, [](Commands its) { its.removeSelected(false); });
    on(Act::DeleteForGood, [](Commands its) { its.removeSelected(true); });
    on(Act::Archive, [](Commands its) { its.archiveSelected(); });
    on(Act::MarkUnread, [](Commands its) { its.toggleRead(); });
    on(Act::Flag, [](Commands its) { its.toggleFlag(); });
    on(Act::MarkThreadRead, [](Commands its) { its.markThreadRead(); });
    on(Act::MarkReadByDate, [](Commands its) { its.markOlderRead(); });
    on(Act::Junk, [](Commands its) { its.junkSelected(true); });
    on(Act::NotJunk, [](Commands its) { its.junkSelected(false); });
    on(Act::Watch, [](Commands its) { its.toggleThread(Mark::Watched, Mark::Ignored); });
    on(Act::Ignore, [](Commands its) { its.toggleThread(Mark::Ignored, Mark::Watched); });
    on(Act::IgnoreSubthread, [](Commands its) { its.toggleIgnoreSubthread(); });
    on(Act::MoveTo, [](Commands its) { its.moveSelected(); });
    on(Act::MoveAgain, [](Commands its) { its.moveSelectedAgain(); });
    on(Act::CopyTo, [](Commands its) { its.copySelected(); });
    on(Act::FetchRest, [](Commands its) { its.fetchRest(); });
    on(Act::DeleteOnServer, [](Commands its) { its.deleteOnServer(); });
    on(Act::MarkGroupRead, [this](Commands its) {
        if (group())
            its.markGroupRead(*group());
    });
    on(Act::Open, [this](Commands) { openInWindow(viewer().list().current()); });
    on(Act::SelectAllMessages, [this](Commands) { viewer().list().selectAll(); });
    on(Act::SelectThread, [this](Commands) { viewer().list().selectThread(); });
    for (int key = 1; key <= kTagKeys; ++key)
        connect(m_actions.tag(key - 1), &QAction::triggered, this,
                [this, key] { commands().tagSelected(key); });
    connect(m_actions.noTags(), &QAction::triggered, this, [this] { commands().tagSelected(0); });
}

void MainWindow::connectGroupActions()
{
    const auto on = [this](Act act, auto handler) {
        connect(m_actions[act], &QAction::triggered, this, handler);
    };
    const auto onGroup = [this, on](Act act, void (GroupCommands::*command)(Group &)) {
        on(act, [this, command] {
            if (Group *shown = group())
                std::invoke(command, m_groupCommands, *shown);
        });
    };
    on(Act::NewGroup, [this] { m_groupCommands->newGroup(group()); });
    onGroup(Act::RenameGroup, &GroupCommands::rename);
    onGroup(Act::MoveGroup, &GroupCommands::moveTo);
    onGroup(Act::RemoveGroup, &GroupCommands::remove);
    onGroup(Act::ImportFiles, &GroupCommands::importFiles);
    onGroup(Act::ImportFolder, &GroupCommands::importFolder);
    onGroup(Act::ExportGroup, &GroupCommands::exportGroup);
    onGroup(Act::CompactGroup, &GroupCommands::compact);
    onGroup(Act::RepairGroup, &GroupCommands::repair);
    const auto sendToo = [this] {
        if (isOnline())
            m_engine.outbox().sendWaiting(true);
    };
    on(Act::GetMail, [this, sendToo] {
        sendToo();
        getMail(m_accountCommands->getMail(viewer().place()));
    });
    on(Act::GetAllMail, [this, sendToo] {
        sendToo();
        getMail(m_accountCommands->getAllMail());
    });
    on(Act::StopTransfers, [this] { m_accountCommands->stopTransfers(); });
    on(Act::Online, [this] { setOnlineWish(!isOnline()); });
    on(Act::Errors, [this] { m_notices.showList(this); });
    on(Act::Transfers, [this] { m_accountCommands->showTransfers(); });
    on(Act::NewAccount, [this] { m_accountCommands->newAccount(); });
    on(Act::Accounts, [this] { m_accountCommands->manageAccounts(); });
    on(Act::AddBatchAccount, [this] { m_accountCommands->newAccount(AccountKind::BatchFile); });
    on(Act::EmptyWasteBasket, [this] { m_groupCommands->emptyWasteBasket(); });
    on(Act::EmptyJunk, [this] { m_groupCommands->emptyJunk(); });
}

void MainWindow::connectViewActions()
{
    const auto on = [this](Act act, auto handler) {
        connect(m_actions[act], &QAction::triggered, this, handler);
    };
    for (const auto &[act, layout] :
         {std::pair(Act::Classic, PaneLayout::Classic), std::pair(Act::Vertical, PaneLayout::Vertical),
          std::pair(Act::Wide, PaneLayout::Wide)})
        on(act, [this, layout = layout] { setArrangement(layout); });
    on(Act::ReaderPane, [this](bool shown) {
        setBoolSetting(Setting::DisableMessagePane, !shown);
        setReading(shown);
    });
    on(Act::GroupTreePane, [this](bool shown) { m_panes->setTreeShown(shown); });
    const auto sortAs = [this](auto change) {
        MessageSort sort = viewer().list().messages().sortOrder();
        change(sort);
        viewer().list().messages().setSortOrder(sort);
    };
    for (int i = 0; i < kMessageColumnCount; ++i) {
        const auto column = MessageColumn(i);
        connect(m_actions.sort(column), &QAction::triggered, this, [sortAs, column, i] {
            sortAs([column, i](MessageSort &sort) {
                sort.column = column;
                sort.order =
                    kMessageColumns[std::size_t(i)].descending ? Qt::DescendingOrder : Qt::AscendingOrder;
            });
        });
    }
    on(Act::SortDescending, [sortAs](bool descending) {
        sortAs([descending](MessageSort &sort) {
            sort.order = descending ? Qt::DescendingOrder : Qt::AscendingOrder;
        });
    });
    on(Act::Threads,
       [sortAs](bool threads) { sortAs([threads](MessageSort &sort) { sort.threads = threads; }); });
    on(Act::DateHeadings,
       [sortAs](bool headings) { sortAs([headings](MessageSort &sort) { sort.headings = headings; }); });
    on(Act::Columns, [this] { viewer().list().showColumnsMenu(); });
    on(Act::ExpandAll, [this] { viewer().list().messages().setAllExpanded(true); });
    on(Act::CollapseAll, [this] { viewer().list().messages().setAllExpanded(false); });
    on(Act::FilterText, [this] { viewer().pane()->openFilter(); });
    const auto onFilter = [this, on](Act act, bool ListFilter::*part) {
        on(act, [this, part](bool wanted) {
            ListFilter filter = viewer().filter();
            filter.*part = wanted;
            viewer().setFilter(filter);
        });
    };
    onFilter(Act::FilterUnread, &ListFilter::unread);
    onFilter(Act::FilterFlagged, &ListFilter::flagged);
    onFilter(Act::FilterAttachments, &ListFilter::attachments);
    on(Act::ClearFilter, [this] { viewer().setFilter({}); });
    on(Act::HideReadGroups, [this](bool hides) { m_tree->setHidesRead(hides); });
    on(Act::FullFolderNames, [this](bool full) { m_tree->setFullNames(full); });
    for (const auto &[act, look] :
         {std::pair(Act::LookDesktop, Look::Desktop), std::pair(Act::LookLight, Look::Light),
          std::pair(Act::LookDark, Look::Dark), std::pair(Act::LookHighContrast, Look::HighContrast)})
        on(act, [this, look = look] { m_looks.setLook(look); });
    on(Act::Compact,
       [this](bool compact) { m_looks.setDensity(compact ? Density::Compact : Density::Comfortable); });
    on(Act::SingleKeys, [this](bool act) {
        m_views.setSingleKeysAct(act);
        m_registry.setSingleKeys(act);
    });
    on(Act::SeparateWindows, [](bool separate) { setBoolSetting(Setting::SeparateWindows, separate); });
}

void MainWindow::connectTabActions()
{
    const auto on = [this](QAction *action, auto handler) {
        connect(action, &QAction::triggered, this, handler);
    };
    on(m_actions[Act::CloseTab], [this] { m_viewers->closeTab(m_viewers->tabs()->currentIndex()); });
    on(m_actions[Act::ReopenTab], [this] { m_viewers->reopenTab(); });
    on(m_actions[Act::NextTab], [this] { m_viewers->step(1); });
    on(m_actions[Act::PreviousTab], [this] { m_viewers->step(-1); });
    for (int i = 0; i < kTabKeys; ++i)
        on(m_actions.tab(i), [this, i] { m_viewers->select(i); });
}

void MainWindow::setArrangement(PaneLayout layout)
{
    m_views.setLayout(layout);
    m_panes->setArrangement(layout);
}

void MainWindow::goToGroup(bool inNewTab)
{
    const QString title = inNewTab ? tr("Open a group in a new tab") : tr("Go to group");
    askGroup(this, m_engine.groups(), {title, tr("Go there"), 0}, [this, inNewTab](int number) {
        if (inNewTab)
            m_viewers->openTab(number);
        else
            selectGroup(number);
        m_viewers->lists()->setFocus();
    });
}
