#include "ui/main/groupviewer.h"

#include "config/settings.h"
#include "engine/engine.h"
#include "engine/piecesearch.h"
#include "store/messagerows.h"
#include "ui/list/messagelist.h"
#include "ui/main/listpane.h"
#include "ui/main/mainactions.h"
#include "ui/main/messagecommands.h"
#include "ui/main/views.h"
#include "ui/reader/messageview.h"
#include "ui/reader/readeractions.h"
#include "ui/tree/grouptreemodel.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int kReadDelay = 800; ///< milliseconds that a message is looked at before it counts as read

} // namespace

ReaderMarks readerMarksOf(const Overview &overview)
{
    ReaderMarks marks;
    marks.flagged = overview.has(Mark::Flagged);
    marks.junk = overview.has(Mark::Junk);
    marks.replied = overview.has(Mark::Replied);
    marks.forwarded = overview.has(Mark::Forwarded);
    marks.onServer = overview.serverSize();
    return marks;
}

GroupViewer::GroupViewer(const ViewerSurroundings &surroundings, QObject *parent)
    : QObject(parent)
    , m_engine(surroundings.engine)
    , m_views(surroundings.views)
    , m_pane(new ListPane(surroundings.actions, surroundings.viewMenu))
    , m_list(&m_pane->list())
    , m_reader(new MessageView)
    , m_commands(std::make_unique<MessageCommands>(m_engine, *m_list, surroundings.boxes, m_pane->bar()))
{
    const MainActions &actions = surroundings.actions;
    m_reader->setObjectName(u"reader"_s);
    m_reader->setRemoteContent(&surroundings.remote);
    m_reader->setHeaderActions({actions[Act::Previous], actions[Act::PreviousUnread],
                                actions[Act::NextUnread], actions[Act::Next], nullptr, actions[Act::Reply],
                                actions[Act::Forward], nullptr, actions[Act::Archive], actions[Act::Junk]},
                               surroundings.readerActions.moreActions());
    m_reader->setPartFinder([this](const QByteArray &id, PieceSearch::Found found) {
        Group *home = m_engine.groups().group(m_shown.group);
        const std::optional<Overview> overview = home ? home->overview(m_shown.article) : std::nullopt;
        if (overview)
            m_pieces =
                std::make_unique<PieceSearch>(*home, id, home->texts(*overview).from, std::move(found));
    });
    m_readTimer.setParent(this);
    m_readTimer.setObjectName(u"readTimer"_s);
    m_readTimer.setSingleShot(true);
    m_readTimer.setInterval(kReadDelay);
    connect(&m_readTimer, &QTimer::timeout, this, &GroupViewer::markShownAsRead);
    m_commands->setActive(false);
    connectList();
    showTags();
}

GroupViewer::~GroupViewer()
{
    if (m_pane) // else the window has gone first
        m_list->disconnect(this);
    m_commands.reset();
    delete m_pane.data();
    delete m_reader.data();
}

ListPane *GroupViewer::pane() const
{
    return m_pane;
}

MessageView *GroupViewer::reader() const
{
    return m_reader;
}

void GroupViewer::connectList()
{
    connect(m_list, &MessageList::currentChangedTo, this, &GroupViewer::showCurrent);
    connect(m_list, &MessageList::selectionCountChanged, this, &GroupViewer::changed);
    connect(m_list, &MessageList::activatedMessage, this, &GroupViewer::openWanted);
    connect(m_list, &MessageList::spacePressed, this, &GroupViewer::spacePressed);
    connect(m_list, &MessageList::menuWanted, this, &GroupViewer::menuWanted);
    connect(m_list, &MessageList::flagClicked, this,
            [this](MessageRef message) { toggle(message, Mark::Flagged); });
    connect(m_list, &MessageList::stateClicked, this,
            [this](MessageRef message) { toggle(message, Mark::Read); });
    connect(m_list, &MessageList::viewChanged, this, [this] {
        if (m_isOpen)
            m_views.setGroup(m_place, m_list->view());
        emit changed();
    });
    const MessageListModel &model = m_list->messages();
    connect(&model, &QAbstractItemModel::dataChanged, this, [this] {
        showMarks();
        emit changed();
    });
    for (const auto signal : {&MessageListModel::filterChanged, &MessageListModel::filterEnded})
        connect(&model, signal, this, &GroupViewer::changed);
    connect(&model, &MessageListModel::relaid, this, [this] {
        if (m_list->current().isNull())
            showCurrent(); // the first mail has come, or the last has gone
        emit changed();
    });
}

void GroupViewer::setPlace(int place)
{
    if (m_place == place && m_isOpen)
        return;
    m_place = place;
    m_isOpen = false;
    emit placeChanged();
    if (m_isActive)
        open();
}

void GroupViewer::open()
{
    if (m_isOpen || m_place == 0)
        return;
    m_isOpen = true;
    Group *group = m_engine.groups().group(m_place);
    std::unique_ptr<MessageRows> rows;
    if (m_place == kFlaggedList)
        rows = std::make_unique<FlaggedRows>(m_engine.groups());
    else if (group)
        rows = std::make_unique<GroupRows>(*group);
    m_pane->setSource(std::move(rows), title(), m_views.group(m_place));
    if (group) {
        if (group->needsRepair() && boolSetting(Setting::AutoRepairs))
            m_engine.repair(*group); // its list comes when that is done
        connect(group, &Group::countsChanged, this, &GroupViewer::changed, Qt::UniqueConnection);
    }
    emit changed();
}

Group *GroupViewer::group() const
{
    return m_place > 0 ? m_engine.groups().group(m_place) : nullptr;
}

QString GroupViewer::title() const
{
    if (m_place == kFlaggedList)
        return tr("Flagged");
    const Group *shown = group();
    return shown ? shown->name() : tr("Nothing");
}

QString GroupViewer::iconName() const
{
    if (m_place == kFlaggedList)
        return u"flag"_s;
    const Group *shown = group();
    return shown ? GroupTreeModel::iconOf(*shown) : u"folder"_s;
}

void GroupViewer::setActive(bool active)
{
    if (m_isActive == active)
        return;
    m_isActive = active;
    m_commands->setActive(active);
    if (!active)
        return m_readTimer.stop();
    open();
    showCurrent();
}

void GroupViewer::setReading(bool reading)
{
    m_isReading = reading;
    showCurrent();
}

const ListFilter &GroupViewer::filter() const
{
    return m_list->messages().filter();
}

void GroupViewer::setFilter(const ListFilter &filter)
{
    m_list->messages().setFilter(filter);
    emit changed();
}

/// In the list and in the header card.
void GroupViewer::showTags()
{
    const Tags &tags = m_engine.tags();
    m_list->messages().setTags([&tags](quint32 bits) {
        QList<ShownTag> shown;
        for (const Tag &tag : tags.of(bits))
            shown.append({tag.name, tag.hue});
        return shown;
    });
    showMarks();
}

/// What the user did with the message that the reader shows.
void GroupViewer::showMarks()
{
    const std::optional<Overview> overview = currentOverview();
    if (!overview || m_shown != m_list->current())
        return;
    if (m_showsHeaderOnly && !overview->has(Mark::HeaderOnly)) { // the rest has come
        m_shown = {};
        return showCurrent();
    }
    ReaderMarks marks = readerMarksOf(*overview);
    marks.restIsComing = m_showsHeaderOnly && m_engine.serverWishes().isRestWanted(m_shown);
    m_reader->setMarks(marks);
    QList<HeaderTag> shown;
    for (const Tag &tag : m_engine.tags().of(overview->tags()))
        shown.append({tag.name, tag.hue});
    m_reader->setTags(shown);
}

bool GroupViewer::select(MessageRef message)
{
    return m_list->setCurrent(message);
}

std::optional<Overview> GroupViewer::currentOverview() const
{
    const MessageRef current = m_list->current();
    Group *home = m_engine.groups().group(current.group);
    return home ? home->overview(current.article) : std::nullopt;
}

bool GroupViewer::showsCurrent() const
{
    return m_isReading && !m_shown.isNull() && m_shown == m_list->current();
}

void GroupViewer::showCurrent()
{
    m_readTimer.stop();
    const MessageRef current = m_list->current();
    const std::optional<Overview> overview = currentOverview();
    if (!overview) {
        const bool empty = m_list->messages().rowCount() == 0; // the list says what there is to say
        if (boolSetting(Setting::ClearPanes) || m_shown.isNull() || empty) {
            m_shown = {};
            m_reader->clear(empty ? u" "_s : tr("No message chosen"),
                            empty ? u" "_s
                                  : tr("Choose one in the list, or press N for the next unread one."));
        }
    } else if (m_isActive && m_isReading) {
        Group *home = m_engine.groups().group(current.group);
        if (current != m_shown) {
            const QByteArray text = home->readMessage(*overview);
            m_shown = text.isNull() ? MessageRef() : current;
            m_showsHeaderOnly = overview->has(Mark::HeaderOnly);
            m_pieces.reset();
            if (text.isNull())
                m_reader->clear(tr("This message cannot be read"),
                                tr("Repair the group to find out what is left of it."));
            else
                m_reader->showMessage(Message(text), readerMarksOf(*overview));
            emit messageShown(m_shown);
        }
        showMarks();
        if (!m_shown.isNull() && !overview->has(Mark::Read) && !home->has(GroupKeepsUnread))
            m_readTimer.start();
    }
    emit changed();
}

void GroupViewer::markShownAsRead()
{
    m_commands->noteRead(m_shown);
}

void GroupViewer::toggle(MessageRef message, Mark mark)
{
    Group *home = m_engine.groups().group(message.group);
    const std::optional<Overview> overview = home ? home->overview(message.article) : std::nullopt;
    if (overview)
        m_commands->mark({message}, mark, !overview->has(mark));
}

bool GroupViewer::pageDown()
{
    return m_isReading && !m_reader->isEmpty() && m_reader->pageDown();
}

bool GroupViewer::goToUnread(bool inNewThread)
{
    if (m_readTimer.isActive()) {
        m_readTimer.stop();
        markShownAsRead();
    }
    return m_list->step(inNewThread ? MessageList::Step::NextUnreadThread : MessageList::Step::NextUnread);
}

void GroupViewer::goToFirstUnread()
{
    m_list->clearSelection();
    m_list->setCurrentIndex({});
    m_list->step(MessageList::Step::NextUnread);
}
