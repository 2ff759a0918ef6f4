#include "ui/main/mainwindow.h"

#include "config/settings.h"
#include "engine/engine.h"
#include "engine/storetasks.h"
#include "store/mailbox/messagefile.h"
#include "ui/actions/commandpalette.h"
#include "ui/list/messagelist.h"
#include "ui/list/quickfilterbar.h"
#include "ui/look/askingbar.h"
#include "ui/look/icons.h"
#include "ui/look/linedbar.h"
#include "ui/look/looks.h"
#include "ui/look/messageboxes.h"
#include "ui/look/toolbuttons.h"
#include "ui/main/accountcommands.h"
#include "ui/main/composecommands.h"
#include "ui/main/countdownbars.h"
#include "ui/main/groupcommands.h"
#include "ui/main/listpane.h"
#include "ui/main/messagecommands.h"
#include "ui/main/messagewindow.h"
#include "ui/main/outboxcommands.h"
#include "ui/main/panes.h"
#include "ui/main/statusline.h"
#include "ui/main/viewers.h"
#include "ui/main/webpictures.h"
#include "ui/main/welcome.h"
#include "ui/reader/messageview.h"
#include "ui/texts/messagetexts.h"
#include "ui/tree/grouptree.h"

#include <QGuiApplication>
#include <QLocale>
#include <QMenu>
#include <QScreen>
#include <QToolBar>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr QSize kMinimumSize(720, 480);
constexpr QSize kFirstSize(1280, 800);
constexpr int kNoBarTexts = 900; ///< pixels; a narrower window has icons only in its main bar

/// @p place as it was, but within @p room: the screen may have been greater then, or its dots smaller.
QRect fitted(const QRect &place, const QRect &room)
{
    const QSize size = place.size().boundedTo(room.size());
    const QPoint last = room.bottomRight() - QPoint(size.width() - 1, size.height() - 1);
    return {QPoint(std::clamp(place.x(), room.x(), last.x()), std::clamp(place.y(), room.y(), last.y())),
            size};
}

QString counted(qint64 count)
{
    return QLocale().toString(count);
}

} // namespace

MainWindow::MainWindow(Engine &engine, Looks &looks)
    : m_engine(engine)
    , m_looks(looks)
    , m_registry(this)
    , m_actions(m_registry)
    , m_readerActions(m_registry)
    , m_boxes(new MessageBoxes(this))
    , m_remote(std::make_unique<WebPictures>(engine))
    , m_viewMenu(new QMenu(this))
    , m_tagMenu(new QMenu(this))
{
    setObjectName(u"mainWindow"_s);
    setWindowTitle(u"Velmar"_s);
    setMinimumSize(kMinimumSize);
    setContextMenuPolicy(Qt::NoContextMenu);
    setAcceptDrops(true);
    m_views.load();
    m_outboxCommands = new OutboxCommands(engine, this);
    createPanes();
    m_groupCommands = new GroupCommands(engine, *m_boxes, this);
    m_accountCommands = new AccountCommands(engine, *m_boxes, this);
    m_composeCommands = new ComposeCommands(engine, *m_boxes, this);
    createMenus();
    createPalette();
    connectActions();
    connectPanes();
    connectEngine();
    restore();
}

/// Nothing that goes now may call back into what has gone already.
MainWindow::~MainWindow()
{
    m_readerActions.setReader(nullptr);
    m_engine.receipts().setAsk({});
    const std::initializer_list<QObject *> speakers = {
        &m_engine,
        &m_engine.tasks(),
        &m_engine.groups(),
        &m_engine.accounts(),
        &m_engine.serverWishes(),
        &m_engine.outbox(),
        &m_engine.journal(),
        &m_engine.tags(),
        m_composeCommands,
        m_outboxCommands,
        &m_looks,
        &m_readerActions,
        m_tree,
        m_viewers,
    };
    for (QObject *speaker : speakers)
        speaker->disconnect(this);
    delete m_viewers; // while the widgets it holds are there
}

void MainWindow::createPanes()
{
    createMainBar();
    m_tree = new GroupTree(m_engine.groups());
    m_viewers =
        new Viewers({m_engine, m_views, m_actions, m_readerActions, *m_boxes, *m_remote, m_viewMenu}, this);
    m_welcome = new Welcome;
    m_panes = new Panes(m_tree, m_viewers->tabs(), m_viewers->lists(), m_viewers->readers(), m_welcome);
    m_status = new StatusLine(m_engine.tasks(), m_notices);
    auto *page = new QWidget;
    auto *layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(new LinedBar(m_mainBar));
    layout->addWidget(m_panes, 1);
    auto *countdowns = new CountdownBars(*m_outboxCommands);
    connect(countdowns, &CountdownBars::outboxWanted, this,
            [this] { selectGroup(m_engine.groups().group(GroupRole::Outbox)->number()); });
    layout->addWidget(countdowns);
    layout->addWidget(m_status);
    setCentralWidget(page);
    for (const auto &each : m_viewers->all())
        addViewer(each.get());
}

/// What a new tab's widgets have to do with the rest of the window.
void MainWindow::addViewer(GroupViewer *viewer)
{
    for (const Act act : {Act::Delete, Act::DeleteForGood, Act::ReadOn}) {
        viewer->list().addAction(m_actions[act]);
        viewer->reader()->addTextAction(m_actions[act]);
    }
    connect(viewer, &GroupViewer::messageShown, this,
            [this, viewer](MessageRef message) { noteShown(message, *viewer->reader()); });
    connect(viewer->reader(), &MessageView::linkActivated, this, &MainWindow::followLink);
    connect(viewer->reader(), &MessageView::linkHovered, m_status, &StatusLine::setHint);
    connect(viewer->reader(), &MessageView::messageWanted, this, &MainWindow::openMessage);
    connect(viewer->reader(), &MessageView::composeWanted, this, &MainWindow::followLink);
    connect(viewer->reader(), &MessageView::findFromWanted, this, &MainWindow::findFrom);
    connect(viewer->reader(), &MessageView::restWanted, m_actions[Act::FetchRest], &QAction::trigger);
    connect(viewer->reader(), &MessageView::deleteOnServerWanted, m_actions[Act::DeleteOnServer],
            &QAction::trigger);
    const MessageListModel &model = viewer->list().messages();
    connect(&model, &MessageListModel::sortingProgressed, m_status, &StatusLine::showSorting);
    connect(&model, &MessageListModel::sortingEnded, m_status, &StatusLine::endSorting);
    connect(m_status, &StatusLine::sortingStopped, &viewer->list().messages(),
            &MessageListModel::stopSorting);
    connect(viewer->pane(), &ListPane::emptyButtonClicked, this, [this] {
        if (group())
            group()->needsRepair() ? m_groupCommands->repair(*group())
                                   : m_groupCommands->importFiles(*group());
    });
}

void MainWindow::connectPanes()
{
    connect(m_tree, &GroupTree::currentGroupChanged, this, [this](Group *chosen) {
        if (!m_updatingTree)
            m_viewers->show(chosen ? chosen->number() : m_engine.groups().group(GroupRole::Inbox)->number());
    });
    connect(m_tree, &GroupTree::flaggedChosen, this, [this] {
        if (!m_updatingTree)
            m_viewers->show(kFlaggedList);
    });
    connect(m_tree, &GroupTree::listWanted, m_viewers->lists(), qOverload<>(&QWidget::setFocus));
    connect(m_tree, &GroupTree::newTabWanted, m_viewers, &Viewers::openTab);
    connect(m_tree, &GroupTree::removeWanted, this,
            [this](Group *unwanted) { m_groupCommands->remove(*unwanted); });
    connect(m_tree, &GroupTree::groupDropped, this,
            [this](Group *moved, Group *target) { m_groupCommands->move(*moved, target); });
    connect(m_tree, &GroupTree::filesDropped, this,
            [this](const QStringList &paths, Group *target) { m_engine.importMail(paths, *target); });
    connect(m_tree, &GroupTree::menuWanted, this, &MainWindow::groupMenu);
    connect(m_tree, &GroupTree::messagesDropped, this, &MainWindow::dropped);
    connect(m_tree, &GroupTree::collapsedChanged, this,
            [this] { m_views.setCollapsed(m_tree->collapsed()); });
    connect(m_viewers, &Viewers::added, this, &MainWindow::addViewer);
    connect(m_viewers, &Viewers::currentChanged, this, &MainWindow::showPlace);
    connect(m_viewers, &Viewers::changed, this, [this] {
        updateStatus();
        updateActions();
    });
    connect(m_viewers, &Viewers::openWanted, this, [this](MessageRef message) {
        if (isDraft(message))
            editOwn(message);
        else
            openInWindow(message); // what waits in the outbox goes on waiting
    });
    connect(m_viewers, &Viewers::changed, this, &MainWindow::showWaiting);
    connect(m_viewers, &Viewers::spacePressed, this, &MainWindow::readOn);
    connect(m_viewers, &Viewers::messageMenuWanted, this, &MainWindow::messageMenu);
    connect(&m_readerActions, &ReaderActions::haveChanged, this, &MainWindow::updateActions);
    connect(m_panes, &Panes::treeShownChanged, this, &MainWindow::updateActions);
    connect(m_boxes, &MessageBoxes::told, &m_notices, &Notices::add);
    connect(m_status, &StatusLine::noticesClicked, m_actions[Act::Errors], &QAction::trigger);
    connect(m_status, &StatusLine::onlineClicked, m_actions[Act::Online], &QAction::trigger);
    connect(m_welcome, &Welcome::importWanted, this,
            [this] { m_groupCommands->importFiles(*m_engine.groups().group(GroupRole::Inbox)); });
    connect(m_welcome, &Welcome::batchAccountWanted, m_actions[Act::AddBatchAccount], &QAction::trigger);
    connect(m_welcome, &Welcome::accountWanted, m_actions[Act::NewAccount], &QAction::trigger);
    connect(m_welcome, &Welcome::lookAroundWanted, this, &MainWindow::demoWanted);
}

void MainWindow::connectEngine()
{
    connect(&m_engine, &Engine::refreshed, this, &MainWindow::refresh);
    connect(&m_engine, &Engine::errorsWaiting, m_boxes, &MessageBoxes::showTogether);
    connect(&m_engine.tasks(), &TaskRunner::ended, this, &MainWindow::taskEnded);
    connect(&m_engine.groups(), &GroupStore::groupRemoved, this, [this](int number) {
        m_views.forget(number);
        m_viewers->forget(number, m_engine.groups().group(GroupRole::Inbox)->number());
    });
    connect(m_groupCommands, &GroupCommands::newTabWanted, m_viewers, &Viewers::openTab);
    connect(m_groupCommands, &GroupCommands::groupMade, this,
            [this](Group *made) { selectGroup(made->number()); });
    connect(&m_engine.journal(), &UndoJournal::changed, this, &MainWindow::updateActions);
    connect(&m_engine.tags(), &Tags::changed, this, &MainWindow::updateTags);
    connect(&m_engine.accounts(), &AccountManager::accountAdded, this, &MainWindow::updateWelcome);
    connect(&m_looks, &Looks::lookChanged, this, &MainWindow::updateActions);
    connectTransfers();
    connectComposing();
}

// --- What is remembered ---------------------------------------------------------------------------------

void MainWindow::restore()
{
    const QRect stored = windowGeometry(Setting::WindowSizeMain);
    const QScreen *there = stored.isValid() ? QGuiApplication::screenAt(stored.center()) : nullptr;
    if (stored.isValid() && boolSetting(Setting::DontCorrectWindowPositions))
        setGeometry(stored);
    else if (there)
        setGeometry(fitted(stored, there->availableGeometry()));
    else
        resize(kFirstSize.boundedTo(screen()->availableSize()));
    m_registry.setSingleKeys(m_views.singleKeysAct());
    m_tree->setCollapsed(m_views.collapsed());
    m_panes->setArrangement(m_views.layout());
    m_panes->restoreSizes();
    setReading(!boolSetting(Setting::DisableMessagePane));
    m_viewers->restore(TabsText::fromText(stringSetting(Setting::GroupTabs)));
    selectGroup(GroupTree::groupAtStart(m_engine.groups(), viewer().place()));
    updateTags();
    updateWelcome();
    updateActions();
    refresh();
    focusFirst();
}

void MainWindow::remember()
{
    const QRect place = normalGeometry();
    if (isVisible() && place.isValid() && place != windowGeometry(Setting::WindowSizeMain))
        setWindowGeometry(Setting::WindowSizeMain, place);
    if (isVisible() && !m_panes->showsWelcome())
        m_panes->rememberSizes();
    const QString tabs = m_viewers->text().toText();
    if (tabs != stringSetting(Setting::GroupTabs))
        setStringSetting(Setting::GroupTabs, tabs);
    m_views.save();
}

void MainWindow::resizeEvent(QResizeEvent *event)
{
    QMainWindow::resizeEvent(event);
    setBarTextsShown(m_mainBar, width() >= kNoBarTexts);
}

void MainWindow::refresh()
{
    updateStatus();
    showOnline();
    remember();
    closeWhenIdle();
}

// --- Groups and messages --------------------------------------------------------------------------------

GroupViewer &MainWindow::viewer() const
{
    return m_viewers->current();
}

Group *MainWindow::group() const
{
    return viewer().group();
}

MessageCommands &MainWindow::commands() const
{
    return viewer().commands();
}

bool MainWindow::selectGroup(int number)
{
    if (number != kFlaggedList && !m_engine.groups().group(number))
        return false;
    m_viewers->show(number);
    return true;
}

bool MainWindow::selectMessage(quint32 article)
{
    return viewer().select({viewer().place(), article});
}

/// Another group stands in front: the rest of the window follows.
void MainWindow::showPlace()
{
    m_offeredNextGroup = false;
    m_readerActions.setReader(viewer().reader());
    m_updatingTree = true;
    m_tree->setCurrent(viewer().place());
    m_updatingTree = false;
    if (m_panes->showsWelcome() && group() && group()->role() != GroupRole::Inbox)
        m_lookedAround = true;
    updateWelcome();
    updateStatus();
    updateActions();
}

void MainWindow::setReading(bool shown)
{
    m_panes->setReaderShown(shown);
    m_viewers->setReading(shown);
}

/// Where messages are opened: always the same window, or, with `SeparateWindows`, one for each.
MessageWindow *MainWindow::windowFor()
{
    if (m_messageWindow && !boolSetting(Setting::SeparateWindows))
        return m_messageWindow;
    auto *window = new MessageWindow(*m_remote);
    connect(this, &QObject::destroyed, window, &QWidget::close);
    connect(window, &MessageWindow::linkActivated, this, &MainWindow::followLink);
    connect(window, &MessageWindow::messageWanted, this, &MainWindow::openMessage);
    connect(window, &MessageWindow::deedWanted, this,
            [this, window](const QString &action) { doFor(*window, action); });
    connect(window, &MessageWindow::findFromWanted, this, [this](const QString &address) {
        findFrom(address);
        comeForward();
    });
    m_messageWindow = window;
    return window;
}

void MainWindow::openMessage(const Message &message)
{
    MessageWindow *window = windowFor();
    window->showMessage(message, {}, {});
    window->comeForward();
}

/// False: it cannot be read.
bool MainWindow::showIn(MessageWindow &window, MessageRef message)
{
    Group *home = m_engine.groups().group(message.group);
    const std::optional<Overview> overview = home ? home->overview(message.article) : std::nullopt;
    const QByteArray text = overview ? home->readMessage(*overview) : QByteArray();
    if (text.isNull())
        return false;
    window.showMessage(Message(text), message, readerMarksOf(*overview));
    if (!home->has(GroupKeepsUnread))
        home->setMarks({message.article}, Mark::Read, {});
    noteShown(message, window.reader());
    return true;
}

void MainWindow::openInWindow(MessageRef message)
{
    MessageWindow *window = windowFor();
    if (showIn(*window, message))
        window->comeForward();
    else if (!window->isVisible())
        window->deleteLater();
}

/// What is asked for in a message's own window is done in the list that has the message; the window goes on
/// to what is current there then, and closes when nothing is.
void MainWindow::doFor(MessageWindow &window, const QString &action)
{
    const auto &viewers = m_viewers->all();
    const auto has = [&window](const auto &each) { return each->select(window.ref()); };
    const auto found = has(m_viewers->all()[std::size_t(m_viewers->tabs()->currentIndex())])
                           ? viewers.begin() + m_viewers->tabs()->currentIndex()
                           : std::find_if(viewers.begin(), viewers.end(), has);
    if (found == viewers.end())
        return (void)window.close(); // it went elsewhere
    m_viewers->select(int(found - viewers.begin()));
    QAction *deed = m_registry.find(action);
    if (!deed || !deed->isEnabled())
        return;
    m_actingWindow = &window;
    deed->trigger();
    m_actingWindow = nullptr;
    const MessageRef now = viewer().list().current();
    const std::optional<Overview> overview = viewer().currentOverview();
    if (!overview)
        window.close();
    else if (now != window.ref())
        showIn(window, now);
    else
        window.setMarks(readerMarksOf(*overview));
}

bool MainWindow::openMessageFile(const QString &path)
{
    const std::optional<QByteArray> text = readMessageFile(path); // no device: it may never end
    if (!text) {
        report(this, ReportLevel::Warning, "Unable to read file '%s'", qUtf8Printable(path));
        return false;
    }
    openMessage(Message(*text));
    return true;
}

void MainWindow::findFrom(const QString &address)
{
    ListFilter filter;
    filter.text = address;
    viewer().setFilter(filter);
}

void MainWindow::followLink(const QString &target)
{
    if (target.startsWith("mailto:"_L1, Qt::CaseInsensitive))
        return write(target);
    emit urlWanted(target);
}

/// A page further; at the end of the message, to the next that is unread.
void MainWindow::readOn()
{
    if (!viewer().pageDown())
        goToUnread(false);
}

void MainWindow::goToUnread(bool inNewThread)
{
    if (viewer().goToUnread(inNewThread)) {
        m_offeredNextGroup = false;
        return;
    }
    AskingBar &bar = viewer().pane()->bar();
    Group *next = m_tree->nextUnread(group());
    if (!next) {
        bar.tell(MessageBar::Kind::Information, tr("All read"));
        return;
    }
    const int number = next->number();
    if (m_offeredNextGroup)
        return goToFirstUnread(number);
    if (boolSetting(Setting::CloseAtGroupEnd) && m_viewers->count() > 1)
        m_viewers->closeTab(m_viewers->tabs()->currentIndex());
    const QString where = u"%1, %2"_s.arg(next->name(), counted(next->counts().unread));
    viewer().pane()->bar().ask(MessageBar::Kind::Information,
                               tr("Nothing unread below. Next unread: %1").arg(where),
                               {tr("Go there"), [this, number] { goToFirstUnread(number); }});
    m_offeredNextGroup = true;
}

void MainWindow::goToFirstUnread(int number)
{
    viewer().pane()->bar().hide();
    if (!selectGroup(number))
        return;
    viewer().goToFirstUnread();
    m_viewers->lists()->setFocus();
}

void MainWindow::dropped(const MessageRefs &messages, Group *target, bool copy)
{
    if (!target)
        return;
    copy ? commands().copyTo(messages, *target) : commands().moveTo(messages, *target);
}

// --- The edges ------------------------------------------------------------------------------------------

void MainWindow::updateStatus()
{
    const MessageList &list = viewer().list();
    const MessageListModel &model = viewer().list().messages();
    QStringList words;
    if (Group *shown = group()) {
        const OverviewFile::Counts counts = shown->counts();
        words.append(messagesInWords(counts.total));
        if (counts.unread > 0)
            words.append(tr("%1 unread").arg(counted(counts.unread)));
        const QString unread = counts.unread > 0 ? u" (%1)"_s.arg(counted(counts.unread)) : QString();
        setWindowTitle(shown->name() + unread + u" - Velmar"_s);
    } else {
        words.append(messagesInWords(model.totalCount()));
        setWindowTitle(viewer().title() + u" - Velmar"_s);
    }
    if (const QString filtered = viewer().pane()->filter().words(); !filtered.isEmpty())
        words = QStringList{filtered};
    if (list.selectedCount() > 1)
        words.append(tr("%1 selected").arg(counted(list.selectedCount())));
    m_status->setText(u"%1: %2"_s.arg(viewer().title(), words.join(u", "_s)));
}

/// The welcome stands where there is neither mail nor an account to bring any.
void MainWindow::updateWelcome()
{
    const std::vector<Group *> groups = m_engine.groups().groups();
    const bool anyMail =
        std::any_of(groups.begin(), groups.end(), [](Group *group) { return group->counts().total > 0; });
    const bool welcomes = !m_lookedAround && !anyMail && m_engine.accounts().accounts().empty();
    if (welcomes == m_panes->showsWelcome())
        return;
    m_panes->showWelcome(welcomes);
    focusFirst();
}

/// Where work begins: in the list, or with the first card of the welcome.
void MainWindow::focusFirst()
{
    (m_panes->showsWelcome() ? static_cast<QWidget *>(m_welcome) : m_viewers->lists())->setFocus();
}

void MainWindow::taskEnded(Task *task)
{
    updateWelcome();
    updateStatus();
    // Why one failed is said by the next tick, together with what else there is to say.
    if (task->state() == Task::State::Failed || qobject_cast<TransferTask *>(task) ||
        task->result().isEmpty())
        return;
    viewer().pane()->bar().tell(MessageBar::Kind::Good, task->result());
}

void MainWindow::showReport(const Report &report)
{
    m_boxes->show(report.level, report.text, report.parent);
}

void MainWindow::comeForward()
{
    setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    raise();
    activateWindow();
}
