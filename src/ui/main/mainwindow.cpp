#include "ui/main/mainwindow.h"

#include "config/settings.h"
#include "engine/engine.h"
#include "engine/storetasks.h"
#include "store/mailbox/messagefile.h"
#include "ui/list/messagelist.h"
#include "ui/look/askingbar.h"
#include "ui/look/icons.h"
#include "ui/look/looks.h"
#include "ui/main/groupcommands.h"
#include "ui/main/linedbar.h"
#include "ui/main/listpane.h"
#include "ui/main/mainactions.h"
#include "ui/main/messageboxes.h"
#include "ui/main/messagecommands.h"
#include "ui/main/messagewindow.h"
#include "ui/main/panes.h"
#include "ui/main/statusline.h"
#include "ui/main/welcome.h"
#include "ui/reader/messageview.h"
#include "ui/reader/readeractions.h"
#include "ui/texts/messagetexts.h"
#include "ui/tree/grouptree.h"

#include <QCloseEvent>
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
constexpr int kReadDelay = 800; ///< milliseconds that a message is looked at before it counts as read

ReaderMarks marksOf(const Overview &overview)
{
    ReaderMarks marks;
    marks.flagged = overview.has(Mark::Flagged);
    marks.junk = overview.has(Mark::Junk);
    marks.replied = overview.has(Mark::Replied);
    marks.forwarded = overview.has(Mark::Forwarded);
    return marks;
}

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
    return QLocale(QLocale::English).toString(count);
}

} // namespace

MainWindow::MainWindow(Engine &engine, Looks &looks)
    : m_engine(engine)
    , m_looks(looks)
    , m_actions(new MainActions(this))
    , m_readerActions(new ReaderActions(*new ActionRegistry(this)))
    , m_boxes(new MessageBoxes(this))
    , m_viewMenu(new QMenu(this))
{
    setObjectName(u"mainWindow"_s);
    setWindowTitle(u"Velmar"_s);
    setMinimumSize(kMinimumSize);
    setContextMenuPolicy(Qt::NoContextMenu);
    m_views.load();
    m_readTimer.setParent(this);
    m_readTimer.setObjectName(u"readTimer"_s);
    m_readTimer.setSingleShot(true);
    m_readTimer.setInterval(kReadDelay);
    createPanes();
    m_messageCommands = std::make_unique<MessageCommands>(engine, *m_list, *m_boxes, m_listPane->bar());
    m_groupCommands = new GroupCommands(engine, *m_boxes, this);
    createMenus();
    connectActions();
    connectGroupActions();
    connectViewActions();
    connectPanes();
    connectEngine();
    restore();
}

MainWindow::~MainWindow()
{
    m_engine.disconnect(this);
    m_tree->disconnect(this);
    m_list->disconnect(this);
}

void MainWindow::createPanes()
{
    createMainBar();
    m_tree = new GroupTree(m_engine.groups());
    m_listPane = new ListPane(*m_actions, m_viewMenu);
    m_list = &m_listPane->list();
    m_reader = new MessageView;
    m_reader->setObjectName(u"reader"_s);
    m_reader->setHeaderActions({(*m_actions)[Act::Previous], (*m_actions)[Act::PreviousUnread],
                                (*m_actions)[Act::NextUnread], (*m_actions)[Act::Next], nullptr,
                                (*m_actions)[Act::Junk]},
                               m_readerActions->moreActions());
    m_readerActions->setReader(m_reader);
    m_panes = new Panes(m_tree, m_listPane, m_reader);
    m_status = new StatusLine(m_engine.tasks());
    auto *page = new QWidget;
    auto *layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(new LinedBar(m_mainBar));
    layout->addWidget(m_panes, 1);
    layout->addWidget(m_status);
    setCentralWidget(page);
}

void MainWindow::connectPanes()
{
    connect(m_tree, &GroupTree::currentGroupChanged, this, &MainWindow::showGroup);
    connect(m_tree, &GroupTree::menuWanted, this, &MainWindow::groupMenu);
    connect(m_tree, &GroupTree::messagesDropped, this, &MainWindow::dropped);
    connect(m_tree, &GroupTree::collapsedChanged, this,
            [this] { m_views.setCollapsed(m_tree->collapsed()); });
    connect(m_list, &MessageList::currentChangedTo, this, &MainWindow::showCurrent);
    connect(m_list, &MessageList::selectionCountChanged, this, &MainWindow::showSelection);
    connect(m_list, &MessageList::activatedMessage, this, &MainWindow::openInWindow);
    connect(m_list, &MessageList::spacePressed, this, &MainWindow::readOn);
    connect(m_list, &MessageList::menuWanted, this, &MainWindow::messageMenu);
    connect(m_list, &MessageList::flagClicked, this, [this](MessageRef message) {
        if (const auto overview = overviewOf(message))
            m_messageCommands->mark({message}, Mark::Flagged, !overview->has(Mark::Flagged));
    });
    connect(m_list, &MessageList::stateClicked, this, [this](MessageRef message) {
        if (const auto overview = overviewOf(message))
            m_messageCommands->mark({message}, Mark::Read, !overview->has(Mark::Read));
    });
    connect(m_list, &MessageList::viewChanged, this, [this] {
        if (group())
            m_views.setGroup(group()->number(), m_list->view());
        updateActions();
    });
    const MessageListModel &model = m_list->messages();
    connect(&model, &MessageListModel::sortingProgressed, m_status, &StatusLine::showSorting);
    connect(&model, &MessageListModel::sortingEnded, m_status, &StatusLine::endSorting);
    connect(m_status, &StatusLine::sortingStopped, &m_list->messages(), &MessageListModel::stopSorting);
    connect(m_status, &StatusLine::onlineClicked, (*m_actions)[Act::Online], &QAction::trigger);
    connect(&model, &QAbstractItemModel::dataChanged, this, &MainWindow::updateActions);
    connect(&model, &MessageListModel::relaid, this, [this] {
        if (m_list->current().isNull())
            showCurrent({}); // the first mail has come, or the last has gone
    });
    connect(m_reader, &MessageView::linkActivated, this, &MainWindow::followLink);
    connect(m_reader, &MessageView::linkHovered, m_status, &StatusLine::setHint);
    connect(&m_readTimer, &QTimer::timeout, this, &MainWindow::markShownAsRead);
    connect(m_listPane, &ListPane::emptyButtonClicked, this, [this] {
        if (group())
            group()->needsRepair() ? m_groupCommands->repair(*group())
                                   : m_groupCommands->importFiles(*group());
    });
    Welcome &welcome = m_listPane->welcome();
    connect(&welcome, &Welcome::importWanted, this,
            [this] { m_groupCommands->importFiles(*m_engine.groups().group(GroupRole::Inbox)); });
    connect(&welcome, &Welcome::batchAccountWanted, m_groupCommands, &GroupCommands::addMailboxFile);
    connect(&welcome, &Welcome::lookAroundWanted, this, &MainWindow::demoWanted);
}

void MainWindow::connectEngine()
{
    connect(&m_engine, &Engine::refreshed, this, &MainWindow::refresh);
    connect(&m_engine, &Engine::errorsWaiting, m_boxes, &MessageBoxes::showTogether);
    connect(&m_engine.tasks(), &TaskRunner::ended, this, &MainWindow::taskEnded);
    connect(&m_engine.groups(), &GroupStore::groupRemoved, this,
            [this](int number) { m_views.forget(number); });
    connect(m_groupCommands, &GroupCommands::groupMade, this,
            [this](Group *made) { selectGroup(made->number()); });
    connect(m_messageCommands.get(), &MessageCommands::undoChanged, this, &MainWindow::updateActions);
    connect(&m_engine.accounts(), &AccountManager::accountAdded, this, &MainWindow::updateWelcome);
    connect(&m_looks, &Looks::lookChanged, this, &MainWindow::updateActions);
}

// --- What is remembered ---------------------------------------------------------------------------------

void MainWindow::restore()
{
    const QRect stored = windowGeometry(Setting::WindowSizeMain);
    const QScreen *there = stored.isValid() ? QGuiApplication::screenAt(stored.center()) : nullptr;
    if (there)
        setGeometry(fitted(stored, there->availableGeometry()));
    else
        resize(kFirstSize.boundedTo(screen()->availableSize()));
    m_tree->setCollapsed(m_views.collapsed());
    m_panes->setArrangement(m_views.layout());
    m_panes->restoreSizes();
    m_panes->setReaderShown(m_views.showsReader());
    if (!selectGroup(m_views.lastGroup()))
        selectGroup(m_engine.groups().group(GroupRole::Inbox)->number());
    updateWelcome();
    updateActions();
    refresh();
    m_listPane->setFocus();
}

void MainWindow::remember()
{
    const QRect place = normalGeometry();
    if (isVisible() && place.isValid() && place != windowGeometry(Setting::WindowSizeMain))
        setWindowGeometry(Setting::WindowSizeMain, place);
    if (isVisible() && !m_listPane->showsWelcome())
        m_panes->rememberSizes();
    m_views.save();
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    remember();
    QMainWindow::closeEvent(event);
}

void MainWindow::refresh()
{
    updateStatus();
    showOnline();
    remember();
}

// --- Groups and messages --------------------------------------------------------------------------------

Group *MainWindow::group() const
{
    return m_list->messages().group();
}

bool MainWindow::selectGroup(int number)
{
    if (!m_engine.groups().group(number))
        return false;
    m_tree->setCurrent(number);
    return true;
}

bool MainWindow::selectMessage(quint32 article)
{
    return m_list->setCurrent({m_shownGroup, article});
}

/// Empty when it is gone.
std::optional<Overview> MainWindow::overviewOf(MessageRef message) const
{
    Group *group = m_engine.groups().group(message.group);
    return group ? group->overview(message.article) : std::nullopt;
}

void MainWindow::showGroup(Group *group)
{
    m_shownGroup = group ? group->number() : 0;
    m_offeredNextGroup = false;
    m_listPane->setGroup(group, m_views.group(m_shownGroup));
    if (group) {
        if (group->needsRepair() && boolSetting(Setting::AutoRepairs))
            m_engine.repair(*group); // its list comes when that is done
        m_views.setLastGroup(group->number());
        connect(group, &Group::countsChanged, this, &MainWindow::updateStatus, Qt::UniqueConnection);
        if (m_listPane->showsWelcome() && group->role() != GroupRole::Inbox)
            m_lookedAround = true;
    } else {
        selectGroup(m_engine.groups().group(GroupRole::Inbox)->number());
    }
    updateWelcome();
    updateStatus();
    updateActions();
}

void MainWindow::showCurrent(MessageRef message)
{
    m_readTimer.stop();
    m_offeredNextGroup = false;
    Group *home = m_engine.groups().group(message.group);
    const std::optional<Overview> overview = overviewOf(message);
    if (!overview) {
        const bool empty = m_list->messages().rowCount() == 0;
        m_reader->clear(empty ? u" "_s : u"No message chosen"_s, // the list says what there is to say
                        empty ? u" "_s : u"Choose one in the list, or press N for the next unread one."_s);
    } else if (m_reader->isVisibleTo(this)) {
        const QByteArray text = home->readMessage(*overview);
        if (text.isNull())
            m_reader->clear(u"This message cannot be read"_s,
                            u"Repair the group to find out what is left of it."_s);
        else
            m_reader->showMessage(Message(text), marksOf(*overview));
        if (!text.isNull() && !overview->has(Mark::Read) && !home->has(GroupKeepsUnread))
            m_readTimer.start();
    }
    updateActions();
}

/// Several messages are told by their number; the reader goes on showing the current one.
void MainWindow::showSelection()
{
    updateStatus();
    updateActions();
}

void MainWindow::markShownAsRead()
{
    m_messageCommands->noteRead(m_list->current());
}

void MainWindow::openInWindow(MessageRef message)
{
    Group *home = m_engine.groups().group(message.group);
    const std::optional<Overview> overview = overviewOf(message);
    if (!overview)
        return;
    const QByteArray text = home->readMessage(*overview);
    if (text.isNull())
        return;
    auto *window = new MessageWindow(Message(text), nullptr);
    connect(this, &QObject::destroyed, window, &QWidget::close);
    connect(window, &MessageWindow::linkActivated, this, &MainWindow::followLink);
    window->show();
    if (!home->has(GroupKeepsUnread))
        m_messageCommands->noteRead(message);
}

bool MainWindow::openMessageFile(const QString &path)
{
    const std::optional<QByteArray> text = readMessageFile(path); // no device: it may never end
    if (!text) {
        report(this, ReportLevel::Warning, "Unable to read file '%s'", qUtf8Printable(path));
        return false;
    }
    auto *window = new MessageWindow(Message(*text), nullptr);
    connect(this, &QObject::destroyed, window, &QWidget::close);
    connect(window, &MessageWindow::linkActivated, this, &MainWindow::followLink);
    window->show();
    return true;
}

void MainWindow::followLink(const QString &target)
{
    emit urlWanted(target);
}

/// A page further; at the end of the message, to the next that is unread.
void MainWindow::readOn()
{
    if (m_reader->isVisibleTo(this) && !m_reader->isEmpty() && m_reader->pageDown())
        return;
    goToUnread(false);
}

void MainWindow::goToUnread(bool inNewThread)
{
    if (m_readTimer.isActive()) { // who goes on has read it
        m_readTimer.stop();
        markShownAsRead();
    }
    if (m_list->step(inNewThread ? MessageList::Step::NextUnreadThread : MessageList::Step::NextUnread))
        return;
    Group *next = nextUnreadGroup();
    if (!next) {
        m_listPane->bar().tell(MessageBar::Kind::Information, u"All read"_s);
        return;
    }
    const int number = next->number();
    if (m_offeredNextGroup)
        return goToFirstUnread(number);
    const QString where = u"%1, %2"_s.arg(next->name(), counted(next->counts().unread));
    m_listPane->bar().ask(MessageBar::Kind::Information,
                          u"Nothing unread below. Next unread: %1"_s.arg(where),
                          {u"Go there"_s, [this, number] { goToFirstUnread(number); }});
    m_offeredNextGroup = true;
}

void MainWindow::goToFirstUnread(int number)
{
    m_listPane->bar().hide();
    selectGroup(number);
    m_list->clearSelection();
    m_list->setCurrentIndex({});
    m_list->step(MessageList::Step::NextUnread);
    m_list->setFocus();
}

/// The next group with unread messages, the current one last; what is junk or thrown away calls nobody.
Group *MainWindow::nextUnreadGroup() const
{
    const std::vector<Group *> groups = m_engine.groups().groups();
    const auto at = std::find_if(groups.begin(), groups.end(),
                                 [this](const Group *group) { return group->number() == m_shownGroup; });
    const std::size_t start = at == groups.end() ? 0 : std::size_t(at - groups.begin());
    for (std::size_t i = 1; i <= groups.size(); ++i) {
        Group *group = groups[(start + i) % groups.size()];
        const bool calls = group->role() != GroupRole::Junk && group->role() != GroupRole::WasteBasket &&
                           group->role() != GroupRole::Drafts;
        if (calls && group->counts().unread > 0)
            return group;
    }
    return nullptr;
}

void MainWindow::dropped(const MessageRefs &messages, Group *target, bool copy)
{
    if (target && copy)
        m_messageCommands->copyTo(messages, *target);
    else if (target)
        m_messageCommands->moveTo(messages, *target);
}

// --- The edges ------------------------------------------------------------------------------------------

void MainWindow::updateStatus()
{
    if (!group()) {
        m_status->setText({});
        return;
    }
    const OverviewFile::Counts counts = group()->counts();
    QString text = u"%1: %2"_s.arg(group()->name(), messagesInWords(counts.total));
    if (counts.unread > 0)
        text += u", %1 unread"_s.arg(counted(counts.unread));
    if (m_list->selectedCount() > 1)
        text += u", %1 selected"_s.arg(counted(m_list->selectedCount()));
    m_status->setText(text);
    const QString unread = counts.unread > 0 ? u" (%1)"_s.arg(counted(counts.unread)) : QString();
    setWindowTitle(group()->name() + unread + u" - Velmar"_s);
}

/// The welcome stands where there is neither mail nor an account to bring any.
void MainWindow::updateWelcome()
{
    const std::vector<Group *> groups = m_engine.groups().groups();
    const bool anyMail =
        std::any_of(groups.begin(), groups.end(), [](Group *group) { return group->counts().total > 0; });
    const bool welcomes = !m_lookedAround && !anyMail && m_engine.accounts().accounts().empty();
    m_listPane->showWelcome(welcomes);
    m_panes->setReaderShown(!welcomes && m_views.showsReader());
}

void MainWindow::taskEnded(Task *task)
{
    updateWelcome();
    updateStatus();
    // Why one failed is said by the next tick, together with what else there is to say.
    if (task->state() == Task::State::Failed || qobject_cast<TransferTask *>(task) ||
        task->result().isEmpty())
        return;
    m_listPane->bar().tell(MessageBar::Kind::Good, task->result());
}

void MainWindow::getMail()
{
    if (m_groupCommands->getMail())
        return;
    m_listPane->bar().ask(MessageBar::Kind::Information, u"There is no account yet to get mail from."_s,
                          {u"Add a mailbox file…"_s, [this] { m_groupCommands->addMailboxFile(); }});
}

void MainWindow::setOnlineWish(bool online)
{
    setOnline(online);
    showOnline();
}

void MainWindow::showOnline()
{
    const bool online = isOnline();
    m_status->setOnline(online);
    QAction *action = (*m_actions)[Act::Online];
    action->setText(online ? u"Work &offline"_s : u"Go &online"_s);
    action->setIcon(icon(online ? u"online"_s : u"offline"_s));
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
