#include "config/settings.h"
#include "engine/engine.h"
#include "ui/actions/commandpalette.h"
#include "ui/list/messagelist.h"
#include "ui/look/icons.h"
#include "ui/look/lettersbar.h"
#include "ui/look/looks.h"
#include "ui/look/messageboxes.h"
#include "ui/look/toolbuttons.h"
#include "ui/look/velmarstyle.h"
#include "ui/main/accountcommands.h"
#include "ui/main/groupcommands.h"
#include "ui/main/mainwindow.h"
#include "ui/main/messagecommands.h"
#include "ui/main/outboxcommands.h"
#include "ui/main/panes.h"
#include "ui/main/viewers.h"
#include "ui/tree/grouptreemodel.h"

#include <QMenu>
#include <QMenuBar>
#include <QToolBar>
#include <QToolButton>

#include <algorithm>

using namespace Qt::StringLiterals;

// The menus and bars of the main window, and when their actions make sense.

void MainWindow::createMainBar()
{
    m_mainBar = newToolBar(this);
    m_mainBar->setObjectName(u"mainBar"_s);
    fillFromLetters(m_mainBar, toolBarLayout(ToolBarWindow::Main, ToolBarKind::Main),
                    [this](char16_t letter) {
                        QAction *action = m_actions.forLetter(letter, true);
                        if (!action)
                            return false;
                        QToolButton *button = addToToolBar(m_mainBar, action, letter == u'M');
                        if (letter == u'N')
                            setButtonKind(button, ButtonKind::Accent);
                        return true;
                    });
}

void MainWindow::createPalette()
{
    m_palette = new CommandPalette(m_registry);
    m_palette->addSource({u'#', tr("groups"), [this] {
                              QList<PaletteItem> items;
                              for (const Group *each : m_engine.groups().groups()) {
                                  const int number = each->number();
                                  items.append({m_engine.groups().pathOf(*each),
                                                {},
                                                icon(GroupTreeModel::iconOf(*each)),
                                                {},
                                                true,
                                                [this, number] { selectGroup(number); }});
                              }
                              return items;
                          }});
}

void MainWindow::createMenus()
{
    createFileMenu();
    createEditMenu();
    createViewMenu();
    QMenu *go = menuBar()->addMenu(tr("&Go"));
    m_actions.addTo(go, Act::ReadOn, Act::PreviousPane);
    createMessageMenu();
    QMenu *write = menuBar()->addMenu(tr("&Write"));
    write->setObjectName(u"writeMenu"_s);
    m_actions.addTo(write, Act::Compose, Act::TakeLastBack);
    createToolsMenu();
    QMenu *help = menuBar()->addMenu(tr("&Help"));
    m_actions.addTo(help, Act::Palette, Act::About);
}

void MainWindow::createFileMenu()
{
    QMenu *file = menuBar()->addMenu(tr("&File"));
    m_actions.addTo(file, Act::NewGroup, Act::SaveAs);
    file->addAction(m_readerActions[ReaderAction::SaveAttachments]);
    m_actions.addTo(file, Act::CloseTab, Act::Quit);
}

void MainWindow::createEditMenu()
{
    QMenu *edit = menuBar()->addMenu(tr("&Edit"));
    m_actions.addTo(edit, Act::Undo, Act::DeleteForGood);
    edit->addSeparator();
    edit->addAction(m_readerActions[ReaderAction::Copy]);
    edit->addAction(m_readerActions[ReaderAction::SelectAll]);
    m_actions.addTo(edit, Act::SelectAllMessages, Act::FilterText);
    edit->addSeparator();
    for (const ReaderAction action : {ReaderAction::Find, ReaderAction::FindNext, ReaderAction::FindPrevious})
        edit->addAction(m_readerActions[action]);
}

void MainWindow::createViewMenu()
{
    m_viewMenu->setTitle(tr("&View"));
    menuBar()->addMenu(m_viewMenu);
    m_actions.addTo(m_viewMenu, Act::Classic, Act::GroupTreePane);
    m_viewMenu->addSeparator();
    QMenu *sort = m_viewMenu->addMenu(tr("&Sort by"));
    for (int column = 0; column < kMessageColumnCount; ++column)
        sort->addAction(m_actions.sort(MessageColumn(column)));
    sort->addSeparator();
    sort->addAction(m_actions[Act::SortDescending]);
    m_actions.addTo(m_viewMenu, Act::Threads, Act::Columns);
    m_actions.addTo(m_viewMenu, Act::ExpandAll, Act::FullFolderNames);
    m_viewMenu->addSeparator();
    QMenu *reader = m_viewMenu->addMenu(tr("Message te&xt"));
    for (const ReaderAction action :
         {ReaderAction::AllHeaders, ReaderAction::PlainText, ReaderAction::CharacterSet,
          ReaderAction::ShowRemote, ReaderAction::TrustSender, ReaderAction::PartsTree, ReaderAction::Source})
        reader->addAction(m_readerActions[action]);
    QMenu *zoom = m_viewMenu->addMenu(tr("&Zoom"));
    for (const ReaderAction action : {ReaderAction::ZoomIn, ReaderAction::ZoomOut, ReaderAction::ZoomReset})
        zoom->addAction(m_readerActions[action]);
    QMenu *look = m_viewMenu->addMenu(tr("Loo&k"));
    m_actions.addTo(look, Act::LookDesktop, Act::Compact);
    m_actions.addTo(m_viewMenu, Act::SingleKeys, Act::SeparateWindows);
}

void MainWindow::createMessageMenu()
{
    QMenu *message = menuBar()->addMenu(tr("&Message"));
    message->setObjectName(u"messageMenu"_s);
    createTagMenu();
    m_actions.addTo(message, Act::Open, Act::Flag);
    message->addMenu(m_tagMenu);
    m_actions.addTo(message, Act::MarkThreadRead, Act::DeleteOnServer);
    message->addSeparator();
    message->addAction(m_actions[Act::Delete]);
}

void MainWindow::createTagMenu()
{
    m_tagMenu->setTitle(tr("Ta&gs"));
    m_tagMenu->setIcon(icon(u"tag"_s));
    for (int i = 0; i < kTagKeys; ++i)
        m_tagMenu->addAction(m_actions.tag(i));
    m_tagMenu->addSeparator();
    m_tagMenu->addAction(m_actions.noTags());
}

void MainWindow::createToolsMenu()
{
    QMenu *tools = menuBar()->addMenu(tr("&Tools"));
    m_actions.addTo(tools, Act::GetMail, Act::GetAllMail);
    QMenu *from = tools->addMenu(icon(u"get-mail"_s), tr("Get mail &from"));
    m_accountCommands->keepGetMailMenu(from);
    m_actions.addTo(tools, Act::SendWaiting, Act::RepairGroup);
}

/// The tags have other names, or there are others.
void MainWindow::updateTags()
{
    const std::vector<Tag> &tags = m_engine.tags().all();
    for (int i = 0; i < kTagKeys; ++i) {
        QAction *action = m_actions.tag(i);
        const bool exists = i < int(tags.size());
        action->setVisible(exists);
        if (!exists)
            continue;
        QString name = tags[std::size_t(i)].name;
        action->setText(name.replace(u'&', u"&&"_s));
    }
    for (const auto &each : m_viewers->all())
        each->showTags();
}

// --- What there is to act on ----------------------------------------------------------------------------

unsigned MainWindow::have() const
{
    Group *shown = group();
    const MessageList &list = viewer().list();
    const OverviewFile::Counts counts = shown ? shown->counts() : OverviewFile::Counts();
    const std::optional<Overview> current = viewer().currentOverview();
    Group *waste = m_engine.groups().group(GroupRole::WasteBasket);
    Group *junk = m_engine.groups().group(GroupRole::Junk);
    const struct
    {
        Need need;
        bool there;
    } needs[] = {
        {NeedsGroup, shown != nullptr},
        {NeedsOwnGroup, shown && shown->role() == GroupRole::None},
        {NeedsMail, viewer().list().messages().rowCount() > 0},
        {NeedsUnread, counts.unread > 0},
        {NeedsSelection, list.selectedCount() > 0},
        {NeedsCurrent, !list.current().isNull()},
        {NeedsUndo, commands().canUndo()},
        {NeedsRedo, commands().canRedo()},
        {NeedsClosedTab, m_viewers->canReopen()},
        {NeedsTabs, m_viewers->count() > 1},
        {NeedsTarget, commands().canMoveAgain()},
        {NeedsFilter, viewer().isFiltered()},
        {NeedsWaste, waste && waste->counts().total > 0},
        {NeedsJunk, junk && junk->counts().total > 0},
        {NeedsTransfers, m_accountCommands->isTransferring()},
        {NeedsHeaderOnly, current && current->has(Mark::HeaderOnly)},
        {NeedsServer, current && m_accountCommands->canDeleteOnServer(*current)},
        {NeedsWaiting, m_outboxCommands->anythingWaits()},
        {NeedsOwnMessage, isDraft(list.current()) || m_outboxCommands->isWaiting(list.current())},
        {NeedsWaitingOne, m_outboxCommands->canSendNow(list.current())},
        {NeedsCountdown, !m_outboxCommands->countingDown().empty()},
    };
    unsigned have = m_readerActions.have();
    for (const auto &each : needs)
        have |= each.there ? unsigned(each.need) : 0U;
    return have;
}

/// Names, checks and whether there is anything to act on.
void MainWindow::updateActions()
{
    m_registry.setHave(have());
    const QString undo = commands().undoText();
    const QString redo = commands().redoText();
    m_actions[Act::Undo]->setText(undo.isEmpty() ? tr("&Undo") : undo);
    m_actions[Act::Redo]->setText(redo.isEmpty() ? tr("&Redo") : redo);
    const QString target = commands().lastTargetName();
    m_actions[Act::MoveAgain]->setText(target.isEmpty() ? tr("Mov&e again")
                                                        : tr("Mov&e again to %1").arg(target));
    updateChecks();
}

void MainWindow::updateChecks()
{
    const std::optional<Overview> overview = viewer().currentOverview();
    const Marks marks = overview ? overview->marks() : Marks();
    const std::vector<Tag> &tags = m_engine.tags().all();
    for (int i = 0; i < kTagKeys && i < int(tags.size()); ++i)
        m_actions.tag(i)->setChecked(overview && (overview->tags() >> tags[std::size_t(i)].bit & 1) != 0);
    m_actions[Act::MarkUnread]->setText(marks.testFlag(Mark::Read) ? tr("Mark as &unread")
                                                                   : tr("Mark as &read"));
    const ListFilter &filter = viewer().filter();
    const MessageSort sort = viewer().list().view().sort;
    m_actions.sort(sort.column)->setChecked(true);
    const struct
    {
        Act act;
        bool on;
    } checks[] = {
        {Act::Flag, marks.testFlag(Mark::Flagged)},
        {Act::Watch, marks.testFlag(Mark::Watched)},
        {Act::Ignore, marks.testFlag(Mark::Ignored)},
        {Act::Threads, sort.threads},
        {Act::SortDescending, sort.order == Qt::DescendingOrder},
        {Act::DateHeadings, sort.headings},
        {Act::FilterUnread, filter.unread},
        {Act::FilterFlagged, filter.flagged},
        {Act::FilterAttachments, filter.attachments},
        {Act::ReaderPane, !boolSetting(Setting::DisableMessagePane)},
        {Act::GroupTreePane, m_panes->treeIsShown()},
        {Act(int(Act::Classic) + int(m_views.layout())), true},
        {Act(int(Act::LookDesktop) + int(m_looks.look())), true},
        {Act::Compact, m_looks.density() == Density::Compact},
        {Act::HideReadGroups, boolSetting(Setting::HideReadGroups)},
        {Act::FullFolderNames, boolSetting(Setting::FullFolderNames)},
        {Act::SingleKeys, m_registry.singleKeysAct()},
        {Act::SeparateWindows, boolSetting(Setting::SeparateWindows)},
    };
    for (const auto &check : checks)
        m_actions[check.act]->setChecked(check.on);
}

// --- Menus for the moment -------------------------------------------------------------------------------

void MainWindow::groupMenu(Group *group, const QPoint &position)
{
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    if (!group) {
        connect(menu->addAction(tr("&New group…")), &QAction::triggered, this,
                [this] { m_groupCommands->newGroup(nullptr); });
        return menu->popup(position);
    }
    m_groupCommands->fillMenu(menu, *group);
    menu->popup(position);
}

void MainWindow::messageMenu(const QPoint &position)
{
    if (viewer().list().selectedCount() == 0)
        return;
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const MessageRef current = viewer().list().current();
    if (isDraft(current) || m_outboxCommands->isWaiting(current))
        fillOwnMenu(menu);
    else
        fillMessageMenu(menu);
    menu->addSeparator();
    menu->addAction(m_actions[Act::SaveAs]);
    menu->addAction(m_readerActions[ReaderAction::Source]);
    menu->addSeparator();
    menu->addAction(m_actions[Act::Delete]);
    menu->popup(position);
}

/// Of a message that is written here and has not gone yet.
void MainWindow::fillOwnMenu(QMenu *menu)
{
    menu->addAction(m_actions[Act::EditOwn]);
    if (m_outboxCommands->isWaiting(viewer().list().current()))
        m_actions.addTo(menu, Act::SendNow, Act::ChangeTime);
    menu->addSeparator();
    menu->addAction(m_actions[Act::Open]);
}

void MainWindow::fillMessageMenu(QMenu *menu)
{
    QMenu *answer = menu->addMenu(icon(u"reply"_s), tr("Ans&wer or forward"));
    m_actions.addTo(answer, Act::Reply, Act::Resend);
    m_actions.addTo(menu, Act::Open, Act::Flag);
    menu->addMenu(m_tagMenu);
    m_actions.addTo(menu, Act::MarkThreadRead, Act::MarkThreadRead);
    m_actions.addTo(menu, Act::Junk, Act::DeleteOnServer);
}
