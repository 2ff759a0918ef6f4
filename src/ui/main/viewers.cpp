#include "ui/main/viewers.h"

#include "engine/engine.h"
#include "ui/list/messagelist.h"
#include "ui/main/listpane.h"
#include "ui/reader/messageview.h"
#include "ui/tree/grouptreemodel.h"

#include <QFocusEvent>
#include <QMenu>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {
constexpr int kMostClosed = 20; ///< tabs that can be opened again
}

PaneStack::PaneStack(const QString &name)
{
    setObjectName(name);
}

void PaneStack::bringUp(QWidget *widget)
{
    if (indexOf(widget) < 0)
        addWidget(widget);
    const bool hadFocus = hasFocus() || isAncestorOf(window()->focusWidget());
    setCurrentWidget(widget);
    if (hadFocus)
        widget->setFocus();
}

/// A focus proxy would do as well, but Tab goes to one past all that stands before it.
void PaneStack::focusInEvent(QFocusEvent *event)
{
    if (currentWidget())
        currentWidget()->setFocus(event->reason());
}

Viewers::Viewers(const ViewerSurroundings &surroundings, QObject *parent)
    : QObject(parent)
    , m_surroundings(surroundings)
    , m_tabs(new GroupTabs)
    , m_lists(new PaneStack(u"lists"_s))
    , m_readers(new PaneStack(u"readers"_s))
{
    connect(m_tabs, &QTabBar::currentChanged, this, &Viewers::bringUp);
    connect(m_tabs, &QTabBar::tabMoved, this, &Viewers::moved);
    connect(m_tabs, &QTabBar::tabCloseRequested, this, &Viewers::closeTab);
    connect(m_tabs, &GroupTabs::menuWanted, this, &Viewers::showMenu);
    const GroupStore &groups = surroundings.engine.groups();
    connect(&groups, &GroupStore::groupChanged, this, &Viewers::describeAll);
    restore({});
}

Viewers::~Viewers()
{
    m_tabs->disconnect(this);
}

GroupViewer &Viewers::add(int index, int place)
{
    const auto at =
        m_viewers.insert(m_viewers.begin() + index, std::make_unique<GroupViewer>(m_surroundings, nullptr));
    GroupViewer *viewer = at->get();
    viewer->setReading(m_reading);
    m_lists->addWidget(viewer->pane());
    m_readers->addWidget(viewer->reader());
    connect(viewer, &GroupViewer::changed, this, [this, viewer] {
        describe(*viewer);
        if (viewer == m_front)
            emit changed();
    });
    connect(viewer, &GroupViewer::placeChanged, this, [this, viewer] {
        describe(*viewer);
        if (viewer == m_front)
            emit currentChanged();
    });
    connect(viewer, &GroupViewer::openWanted, this, &Viewers::openWanted);
    connect(viewer, &GroupViewer::menuWanted, this, &Viewers::messageMenuWanted);
    connect(viewer, &GroupViewer::spacePressed, this, &Viewers::spacePressed);
    {
        const QSignalBlocker quiet(m_tabs); // the first tab becomes current at once
        m_tabs->insertTab(index, QString());
    }
    viewer->setPlace(place);
    emit added(viewer);
    return *viewer;
}

int Viewers::indexOf(const GroupViewer *viewer) const
{
    const auto found = std::find_if(m_viewers.begin(), m_viewers.end(),
                                    [viewer](const auto &each) { return each.get() == viewer; });
    return found == m_viewers.end() ? -1 : int(found - m_viewers.begin());
}

int Viewers::indexOfPlace(int place) const
{
    const auto found = std::find_if(m_viewers.begin(), m_viewers.end(),
                                    [place](const auto &each) { return each->place() == place; });
    return found == m_viewers.end() ? -1 : int(found - m_viewers.begin());
}

void Viewers::show(int place)
{
    const int there = indexOfPlace(place);
    if (there >= 0)
        m_tabs->setCurrentIndex(there);
    else
        current().setPlace(place);
}

void Viewers::openTab(int place)
{
    int there = indexOfPlace(place);
    if (there < 0) {
        there = m_tabs->currentIndex() + 1;
        add(there, place);
    }
    m_tabs->setCurrentIndex(there);
    bringUp();
}

void Viewers::closeTab(int index)
{
    if (count() < 2 || index < 0 || index >= count())
        return;
    m_closed.append(m_viewers[std::size_t(index)]->place());
    if (m_closed.size() > kMostClosed)
        m_closed.removeFirst();
    std::unique_ptr<GroupViewer> gone = std::move(m_viewers[std::size_t(index)]);
    gone->disconnect(this);
    const bool wasFront = gone.get() == m_front;
    m_viewers.erase(m_viewers.begin() + index);
    {
        const QSignalBlocker quiet(m_tabs); // the viewers and the tabs agree again first
        m_tabs->removeTab(index);
    }
    if (wasFront)
        m_front = nullptr;
    bringUp(); // before its widgets go: the focus goes on to the next one's
    gone->deleteLater();
    (void)gone.release();
}

void Viewers::closeOthers(int index)
{
    const GroupViewer *kept = m_viewers[std::size_t(index)].get();
    for (int i = count() - 1; i >= 0; --i) {
        if (m_viewers[std::size_t(i)].get() != kept)
            closeTab(i);
    }
}

void Viewers::reopenTab()
{
    while (!m_closed.isEmpty()) {
        const int place = m_closed.takeLast();
        if (place == kFlaggedList || m_surroundings.engine.groups().group(place))
            return openTab(place);
    }
    emit changed();
}

void Viewers::select(int index)
{
    if (index < count())
        m_tabs->setCurrentIndex(index);
}

void Viewers::step(int direction)
{
    m_tabs->setCurrentIndex((m_tabs->currentIndex() + direction + count()) % count());
}

void Viewers::moved(int from, int to)
{
    std::unique_ptr<GroupViewer> viewer = std::move(m_viewers[std::size_t(from)]);
    m_viewers.erase(m_viewers.begin() + from);
    m_viewers.insert(m_viewers.begin() + to, std::move(viewer));
}

/// The tab in front is the one that is seen and read.
void Viewers::bringUp()
{
    GroupViewer *front = &current();
    if (front == m_front)
        return;
    if (m_front)
        m_front->setActive(false);
    m_front = front;
    m_lists->bringUp(front->pane());
    m_readers->bringUp(front->reader());
    front->setActive(true);
    emit currentChanged();
}

void Viewers::restore(const TabsText &text)
{
    QList<int> places;
    for (const int place : text.places) {
        if (place == kFlaggedList || m_surroundings.engine.groups().group(place))
            places.append(place);
    }
    const int wanted = text.places.value(text.current);
    if (places.isEmpty())
        places.append(0);
    for (int i = 0; i < places.size(); ++i) {
        if (i < count())
            m_viewers[std::size_t(i)]->setPlace(places[i]);
        else
            add(i, places[i]);
    }
    {
        const QSignalBlocker quiet(m_tabs);
        m_tabs->setCurrentIndex(std::max(0, int(places.indexOf(wanted))));
    }
    bringUp();
}

TabsText Viewers::text() const
{
    TabsText text;
    for (const auto &viewer : m_viewers)
        text.places.append(viewer->place());
    text.current = m_tabs->currentIndex();
    return text;
}

void Viewers::forget(int place, int instead)
{
    m_closed.removeAll(place);
    const int index = indexOfPlace(place);
    if (index < 0)
        return;
    if (count() > 1) {
        closeTab(index);
        m_closed.removeAll(place);
    } else {
        current().setPlace(instead);
    }
}

void Viewers::setReading(bool reading)
{
    m_reading = reading;
    for (const auto &viewer : m_viewers)
        viewer->setReading(reading);
}

void Viewers::describe(GroupViewer &viewer)
{
    const int index = indexOf(&viewer);
    if (index < 0 || index >= m_tabs->count())
        return;
    Group *group = viewer.group();
    m_tabs->describe(index, viewer.iconName(), viewer.title(), group ? group->counts().unread : 0);
}

void Viewers::describeAll()
{
    for (const auto &viewer : m_viewers)
        describe(*viewer);
}

void Viewers::showMenu(int index, const QPoint &position)
{
    auto *menu = new QMenu(m_tabs);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    QAction *close = menu->addAction(tr("&Close tab"));
    QAction *others = menu->addAction(tr("Close &other tabs"));
    QAction *reopen = menu->addAction(tr("&Reopen closed tab"));
    close->setEnabled(count() > 1);
    others->setEnabled(count() > 1);
    reopen->setEnabled(canReopen());
    const QPointer<GroupViewer> viewer = m_viewers[std::size_t(index)].get();
    connect(close, &QAction::triggered, this, [this, viewer] { closeTab(indexOf(viewer)); });
    connect(others, &QAction::triggered, this, [this, viewer] {
        if (indexOf(viewer) >= 0)
            closeOthers(indexOf(viewer));
    });
    connect(reopen, &QAction::triggered, this, &Viewers::reopenTab);
    menu->popup(position);
}
