#include "config/settings.h"
#include "engine/engine.h"
#include "message/useragent.h"
#include "ui/list/messagelist.h"
#include "ui/look/looks.h"
#include "ui/look/recolour.h"
#include "ui/look/toolbuttons.h"
#include "ui/main/dialogs.h"
#include "ui/main/groupcommands.h"
#include "ui/main/lettersbar.h"
#include "ui/main/listpane.h"
#include "ui/main/mainactions.h"
#include "ui/main/mainwindow.h"
#include "ui/main/messageboxes.h"
#include "ui/main/messagecommands.h"
#include "ui/main/panes.h"
#include "ui/reader/messageview.h"
#include "ui/reader/readeractions.h"
#include "ui/tree/grouptree.h"

#include <QApplication>
#include <QMenu>
#include <QMenuBar>
#include <QToolBar>

#include <functional>

using namespace Qt::StringLiterals;

// The menus, bars and keys of the main window, and what each of them does.

void MainWindow::createMainBar()
{
    m_mainBar = newToolBar(this);
    m_mainBar->setObjectName(u"mainBar"_s);
    fillFromLetters(m_mainBar, toolBarLayout(ToolBarWindow::Main, ToolBarKind::Main),
                    [this](char16_t letter) {
                        QAction *action = m_actions->forLetter(letter, true);
                        if (action)
                            addToToolBar(m_mainBar, action, letter == u'M');
                        return action != nullptr;
                    });
}

void MainWindow::createMenus()
{
    createFileMenu();
    QMenu *edit = menuBar()->addMenu(u"&Edit"_s);
    m_actions->addTo(edit, Act::Undo, Act::DeleteForGood);
    edit->addSeparator();
    edit->addAction((*m_readerActions)[ReaderAction::Copy]);
    m_actions->addTo(edit, Act::SelectAllMessages, Act::SelectThread);
    edit->addSeparator();
    for (const ReaderAction action : {ReaderAction::Find, ReaderAction::FindNext, ReaderAction::FindPrevious})
        edit->addAction((*m_readerActions)[action]);
    createViewMenu();
    QMenu *go = menuBar()->addMenu(u"&Go"_s);
    m_actions->addTo(go, Act::Next, Act::PreviousPane);
    createMessageMenu();
    createToolsMenu();
    QMenu *help = menuBar()->addMenu(u"&Help"_s);
    m_actions->addTo(help, Act::Keys, Act::About);
}

void MainWindow::createFileMenu()
{
    QMenu *file = menuBar()->addMenu(u"&File"_s);
    m_actions->addTo(file, Act::NewGroup, Act::SaveAs);
    file->addAction((*m_readerActions)[ReaderAction::SaveAttachments]);
    m_actions->addTo(file, Act::Quit, Act::Quit);
}

void MainWindow::createViewMenu()
{
    m_viewMenu->setTitle(u"&View"_s);
    menuBar()->addMenu(m_viewMenu);
    m_actions->addTo(m_viewMenu, Act::Classic, Act::CollapseAll);
    m_viewMenu->addSeparator();
    for (const ReaderAction action : {ReaderAction::AllHeaders, ReaderAction::PlainText,
                                      ReaderAction::CharacterSet, ReaderAction::Source})
        m_viewMenu->addAction((*m_readerActions)[action]);
    m_viewMenu->addSeparator();
    QMenu *zoom = m_viewMenu->addMenu(u"&Zoom"_s);
    for (const ReaderAction action : {ReaderAction::ZoomIn, ReaderAction::ZoomOut, ReaderAction::ZoomReset})
        zoom->addAction((*m_readerActions)[action]);
    QMenu *look = m_viewMenu->addMenu(u"Loo&k"_s);
    m_actions->addTo(look, Act::LookDesktop, Act::Compact);
}

void MainWindow::createMessageMenu()
{
    QMenu *message = menuBar()->addMenu(u"&Message"_s);
    message->setObjectName(u"messageMenu"_s);
    m_actions->addTo(message, Act::Open, Act::CopyTo);
    message->addSeparator();
    message->addAction((*m_actions)[Act::Delete]);
}

void MainWindow::createToolsMenu()
{
    QMenu *tools = menuBar()->addMenu(u"&Tools"_s);
    m_actions->addTo(tools, Act::GetMail, Act::RepairGroup);
}

void MainWindow::connectActions()
{
    const auto on = [this](Act act, auto handler) {
        connect((*m_actions)[act], &QAction::triggered, this, handler);
    };
    MessageCommands *commands = m_messageCommands.get();
    on(Act::SaveAs, [commands] { commands->saveCurrent(); });
    on(Act::Quit, [] { QApplication::closeAllWindows(); });
    on(Act::Undo, [commands] { commands->undo(); });
    on(Act::Delete, [commands] { commands->removeSelected(false); });
    on(Act::DeleteForGood, [commands] { commands->removeSelected(true); });
    on(Act::SelectAllMessages, [this] { m_list->selectAll(); });
    on(Act::SelectThread, [this] { m_list->selectThread(); });
    on(Act::Next, [this] { m_list->step(MessageList::Step::Next); });
    on(Act::Previous, [this] { m_list->step(MessageList::Step::Previous); });
    on(Act::NextUnread, [this] { goToUnread(false); });
    on(Act::PreviousUnread, [this] { m_list->step(MessageList::Step::PreviousUnread); });
    on(Act::NextUnreadThread, [this] { goToUnread(true); });
    on(Act::GoToGroup, [this] { goToGroup(); });
    on(Act::NextPane, [this] { m_panes->focusNext(1); });
    on(Act::PreviousPane, [this] { m_panes->focusNext(-1); });
    on(Act::Open, [this] { openInWindow(m_list->current()); });
    on(Act::MarkUnread, [commands] { commands->toggleRead(); });
    on(Act::Flag, [commands] { commands->toggleFlag(); });
    on(Act::MarkThreadRead, [commands] { commands->markThreadRead(); });
    on(Act::MarkGroupRead, [this, commands] {
        if (group())
            commands->markGroupRead(*group());
    });
    on(Act::Junk, [commands] { commands->junkSelected(true); });
    on(Act::NotJunk, [commands] { commands->junkSelected(false); });
    on(Act::Watch, [commands] { commands->toggleThread(Mark::Watched, Mark::Ignored); });
    on(Act::Ignore, [commands] { commands->toggleThread(Mark::Ignored, Mark::Watched); });
    on(Act::MoveTo, [commands] { commands->moveSelected(); });
    on(Act::CopyTo, [commands] { commands->copySelected(); });
}

void MainWindow::connectGroupActions()
{
    const auto on = [this](Act act, auto handler) {
        connect((*m_actions)[act], &QAction::triggered, this, handler);
    };
    const auto onGroup = [this, on](Act act, void (GroupCommands::*command)(Group &)) {
        on(act, [this, command] {
            if (Group *shown = group())
                std::invoke(command, m_groupCommands, *shown);
        });
    };
    on(Act::NewGroup, [this] { m_groupCommands->newGroup(group()); });
    onGroup(Act::RenameGroup, &GroupCommands::rename);
    onGroup(Act::RemoveGroup, &GroupCommands::remove);
    onGroup(Act::ImportFiles, &GroupCommands::importFiles);
    onGroup(Act::ImportFolder, &GroupCommands::importFolder);
    onGroup(Act::ExportGroup, &GroupCommands::exportGroup);
    onGroup(Act::CompactGroup, &GroupCommands::compact);
    onGroup(Act::RepairGroup, &GroupCommands::repair);
    on(Act::GetMail, [this] { getMail(); });
    on(Act::Online, [this] { setOnlineWish(!isOnline()); });
    on(Act::AddBatchAccount, [this] { m_groupCommands->addMailboxFile(); });
    on(Act::RemoveAccount, [this] { m_groupCommands->removeMailboxFile(); });
    on(Act::EmptyWasteBasket, [this] { m_groupCommands->emptyWasteBasket(); });
}

void MainWindow::connectViewActions()
{
    const auto on = [this](Act act, auto handler) {
        connect((*m_actions)[act], &QAction::triggered, this, handler);
    };
    for (const auto &[act, layout] :
         {std::pair(Act::Classic, PaneLayout::Classic), std::pair(Act::Vertical, PaneLayout::Vertical),
          std::pair(Act::Wide, PaneLayout::Wide)})
        on(act, [this, layout = layout] { setArrangement(layout); });
    on(Act::ReaderPane, [this](bool shown) {
        m_views.setShowsReader(shown);
        m_panes->setReaderShown(shown);
        showCurrent(m_list->current());
    });
    on(Act::Threads, [this](bool threads) {
        MessageSort sort = m_list->messages().sortOrder();
        sort.threads = threads;
        m_list->messages().setSortOrder(sort);
    });
    on(Act::ExpandAll, [this] { m_list->messages().setAllExpanded(true); });
    on(Act::CollapseAll, [this] { m_list->messages().setAllExpanded(false); });
    for (const auto &[act, look] :
         {std::pair(Act::LookDesktop, Look::Desktop), std::pair(Act::LookLight, Look::Light),
          std::pair(Act::LookDark, Look::Dark), std::pair(Act::LookHighContrast, Look::HighContrast)})
        on(act, [this, look = look] { m_looks.setLook(look); });
    on(Act::Compact,
       [this](bool compact) { m_looks.setDensity(compact ? Density::Compact : Density::Comfortable); });
    on(Act::Keys, [this] {
        QList<std::pair<QString, QString>> keys = m_actions->keys();
        keys.append({u"A page further, then the next unread message"_s, u"Space"_s});
        showKeys(this, keys);
    });
    on(Act::About, [this] { showAbout(); });
}

void MainWindow::setArrangement(PaneLayout layout)
{
    m_views.setLayout(layout);
    m_panes->setArrangement(layout);
    updateWelcome();
}

/// Names, checks and whether there is anything to act on.
void MainWindow::updateActions()
{
    const MainActions &actions = *m_actions;
    const bool any = group() && m_list->selectedCount() > 0;
    const bool current = !m_list->current().isNull();
    for (const Act act : {Act::Delete, Act::DeleteForGood, Act::MarkUnread, Act::Flag, Act::Junk,
                          Act::NotJunk, Act::MoveTo, Act::CopyTo})
        actions[act]->setEnabled(any);
    for (const Act act :
         {Act::SaveAs, Act::Open, Act::SelectThread, Act::MarkThreadRead, Act::Watch, Act::Ignore})
        actions[act]->setEnabled(current);
    for (const Act act : {Act::ImportFiles, Act::ImportFolder, Act::CompactGroup, Act::RepairGroup})
        actions[act]->setEnabled(group());
    const bool isOwn = group() && group()->role() == GroupRole::None;
    actions[Act::RemoveGroup]->setEnabled(isOwn);
    actions[Act::RenameGroup]->setEnabled(group());
    actions[Act::ExportGroup]->setEnabled(group() && group()->counts().total > 0);
    actions[Act::MarkGroupRead]->setEnabled(group() && group()->counts().unread > 0);
    actions[Act::Undo]->setEnabled(m_messageCommands && m_messageCommands->canUndo());
    const std::optional<Overview> overview = overviewOf(m_list->current());
    const Marks marks = overview ? overview->marks() : Marks();
    actions[Act::Flag]->setChecked(marks.testFlag(Mark::Flagged));
    actions[Act::MarkUnread]->setText(marks.testFlag(Mark::Read) ? u"Mark as &unread"_s : u"Mark as &read"_s);
    actions[Act::Watch]->setChecked(marks.testFlag(Mark::Watched));
    actions[Act::Ignore]->setChecked(marks.testFlag(Mark::Ignored));
    if (overview && !m_reader->isEmpty())
        m_reader->setMarks({marks.testFlag(Mark::Flagged), marks.testFlag(Mark::Junk),
                            marks.testFlag(Mark::Replied), marks.testFlag(Mark::Forwarded)});
    actions[Act::Threads]->setChecked(m_list->messages().sortOrder().threads);
    actions[Act::ReaderPane]->setChecked(m_views.showsReader());
    actions[Act(int(Act::Classic) + int(m_views.layout()))]->setChecked(true);
    actions[Act(int(Act::LookDesktop) + int(m_looks.look()))]->setChecked(true);
    actions[Act::Compact]->setChecked(m_looks.density() == Density::Compact);
}

void MainWindow::groupMenu(Group *group, const QPoint &position)
{
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    if (!group) {
        connect(menu->addAction(u"&New group…"_s), &QAction::triggered, this,
                [this] { m_groupCommands->newGroup(nullptr); });
        return menu->popup(position);
    }
    const int number = group->number();
    QAction *read = menu->addAction((*m_actions)[Act::MarkGroupRead]->icon(), u"Mark &all as read"_s);
    read->setEnabled(group->counts().unread > 0);
    connect(read, &QAction::triggered, this, [this, number] {
        if (Group *group = m_engine.groups().group(number))
            m_messageCommands->markGroupRead(*group);
    });
    if (group->role() == GroupRole::WasteBasket)
        menu->addAction((*m_actions)[Act::EmptyWasteBasket]);
    menu->addSeparator();
    m_groupCommands->fillMenu(menu, *group);
    menu->popup(position);
}

void MainWindow::messageMenu(const QPoint &position)
{
    if (m_list->selectedCount() == 0)
        return;
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    m_actions->addTo(menu, Act::Open, Act::MarkThreadRead);
    m_actions->addTo(menu, Act::Junk, Act::CopyTo);
    menu->addSeparator();
    menu->addAction((*m_actions)[Act::SaveAs]);
    menu->addAction((*m_readerActions)[ReaderAction::Source]);
    menu->addSeparator();
    menu->addAction((*m_actions)[Act::Delete]);
    menu->popup(position);
}

void MainWindow::goToGroup()
{
    askGroup(this, m_engine.groups(), {u"Go to group"_s, u"Go there"_s, 0}, [this](int number) {
        selectGroup(number);
        m_list->setFocus();
    });
}

void MainWindow::showAbout()
{
    m_boxes->ask(
        {u"Velmar "_s + QString::fromLatin1(versionText()),
         u"Mail, news and feeds in plain files on this computer.\n%1"_s.arg(QString::fromLatin1(userAgent())),
         {u"OK"_s},
         false,
         ReportLevel::Information},
        this, [](int) {});
}
