#include "ui/tree/grouptree.h"

#include "config/settings.h"
#include "store/groupstore.h"
#include "ui/look/colours.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/storedcolours.h"
#include "ui/look/styleparts.h"
#include "ui/look/velmarstyle.h"
#include "ui/tree/groupmatch.h"
#include "ui/tree/groupseek.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>

#include <algorithm>
#include <limits>

using namespace Qt::StringLiterals;

// Drags and drops are in grouptreedrags.cpp.

namespace {

constexpr int kOpenAfter = 700;  ///< milliseconds over a folded group while dragging
constexpr int kScrollEvery = 40; ///< milliseconds at the edge while dragging

bool isOneLetterOnly(const QString &text)
{
    return std::all_of(text.begin(), text.end(), [&text](QChar c) { return c == text[0]; });
}

} // namespace

GroupTree::GroupTree(GroupStore &store, QWidget *parent)
    : QTreeView(parent)
    , m_model(store)
    , m_delegate(m_model)
    , m_seek(new GroupSeek(this))
{
    setObjectName(u"groupTree"_s);
    setAccessibleName(tr("Groups"));
    // Before the view connects itself, which forgets where its rows are.
    connect(&m_model, &QAbstractItemModel::modelAboutToBeReset, this, &GroupTree::holdStill);
    setModel(&m_model);
    setItemDelegate(&m_delegate);
    setSurface(this, Role::Sidebar);
    setRoundedRows(this);
    setHeaderHidden(true);
    setIndentation(0);
    setRootIsDecorated(false);
    setExpandsOnDoubleClick(false);
    setEditTriggers(NoEditTriggers);
    setFrameShape(QFrame::NoFrame);
    setMouseTracking(true);
    setSelectionMode(SingleSelection);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollMode(ScrollPerPixel);
    setDragEnabled(true);
    setAcceptDrops(true);
    setDropIndicatorShown(false);
    setTabKeyNavigation(false);
    m_openTimer.setSingleShot(true);
    m_openTimer.setInterval(kOpenAfter);
    m_scrollTimer.setInterval(kScrollEvery);
    m_stillTimer.setSingleShot(true);
    connect(&m_openTimer, &QTimer::timeout, this, &GroupTree::openUnderDrag);
    connect(&m_scrollTimer, &QTimer::timeout, this, &GroupTree::scrollUnderDrag);
    connect(&m_stillTimer, &QTimer::timeout, this, &GroupTree::standStill);
    connect(m_seek, &GroupSeek::sought, this, [this](const QString &text) { m_seek->setFound(seek(text)); });
    connect(&m_model, &QAbstractItemModel::rowsAboutToBeInserted, this, &GroupTree::holdStill);
    connect(&m_model, &QAbstractItemModel::modelReset, this, &GroupTree::restore);
    connect(&m_model, &QAbstractItemModel::rowsInserted, this, &GroupTree::rowsCame);
    connect(&m_model, &QAbstractItemModel::rowsRemoved, this, [this] {
        if (std::exchange(m_lost, false))
            emit currentGroupChanged(nullptr);
    });
    connect(&m_model, &GroupTreeModel::messagesDropped, this, &GroupTree::messagesDropped);
    connect(&m_model, &GroupTreeModel::groupDropped, this, &GroupTree::groupDropped);
    connect(&m_model, &GroupTreeModel::filesDropped, this, &GroupTree::filesDropped);
    connect(&m_model, &GroupTreeModel::flaggedCountChanged, this, &GroupTree::flaggedCountChanged);
    connect(this, &QTreeView::collapsed, this, [this](const QModelIndex &index) { remember(index, true); });
    connect(this, &QTreeView::expanded, this, [this](const QModelIndex &index) { remember(index, false); });
    restore();
}

int GroupTree::groupAtStart(const GroupStore &store, int last)
{
    const int chosen = intSetting(Setting::AutoOpenGroup);
    if (chosen > 0 && store.group(chosen))
        return chosen;
    const bool lastIsThere = last == kFlaggedList || store.group(last);
    if (!boolSetting(Setting::AutoDisplayInbox) && lastIsThere)
        return last;
    const Group *inbox = store.group(GroupRole::Inbox);
    return inbox ? inbox->number() : 0;
}

// --- What is current, and what is folded ------------------------------------------------------------------

void GroupTree::setCurrent(int number)
{
    if (number != kFlaggedList && !m_model.group(number))
        return;
    m_model.keep(number);
    const QModelIndex index = m_model.indexOf(number);
    for (QModelIndex above = index.parent(); above.isValid(); above = above.parent())
        setExpanded(above, true);
    setCurrentIndex(index);
    scrollTo(index);
}

void GroupTree::currentChanged(const QModelIndex &current, const QModelIndex &previous)
{
    QTreeView::currentChanged(current, previous);
    const GroupRow kind = m_model.kindOf(current);
    const int number = m_model.numberAt(current);
    const bool isPlace = current.isValid() && (kind == GroupRow::Group || kind == GroupRow::Flagged);
    if (m_restoring || !isPlace || number == m_current)
        return;
    m_current = number;
    m_model.keep(number);
    if (kind == GroupRow::Flagged)
        emit flaggedChosen();
    else
        emit currentGroupChanged(m_model.groupAt(current));
}

/// What cannot be chosen leaves chosen what is shown in the list.
QItemSelectionModel::SelectionFlags GroupTree::selectionCommand(const QModelIndex &index,
                                                                const QEvent *event) const
{
    if (!(index.flags() & Qt::ItemIsSelectable))
        return QItemSelectionModel::NoUpdate;
    return QTreeView::selectionCommand(index, event);
}

/// The view would choose a neighbour of the row that goes, and so open another group.
void GroupTree::rowsAboutToBeRemoved(const QModelIndex &parent, int first, int last)
{
    holdStill();
    QModelIndex at = currentIndex();
    while (at.isValid() && at.parent() != parent)
        at = at.parent();
    if (at.isValid() && at.row() >= first && at.row() <= last) {
        m_lost = m_model.numberAt(currentIndex()) == m_current;
        m_restoring = true;
        setCurrentIndex(m_lost ? QModelIndex() : m_model.indexOf(m_current));
        m_restoring = false;
        if (m_lost)
            m_current = 0;
    }
    QTreeView::rowsAboutToBeRemoved(parent, first, last);
}

void GroupTree::setCollapsed(const QList<int> &numbers)
{
    m_collapsed = numbers;
    restore();
}

void GroupTree::restore()
{
    m_restoring = true;
    expandAsRemembered({});
    const QModelIndex index = m_model.indexOf(m_current);
    if (index.isValid() && isSeen(index))
        setCurrentIndex(index);
    m_restoring = false;
    if (!index.isValid() && m_current != 0) {
        m_current = 0;
        emit currentGroupChanged(nullptr);
    }
}

void GroupTree::expandAsRemembered(const QModelIndex &parent)
{
    for (int row = 0; row < m_model.rowCount(parent); ++row) {
        const QModelIndex index = m_model.index(row, 0, parent);
        if (m_model.rowCount(index) == 0)
            continue;
        setExpanded(index, !m_collapsed.contains(m_model.numberAt(index)));
        expandAsRemembered(index);
    }
}

/// Whoever gets its first row below it is opened or not as it was.
void GroupTree::rowsCame(const QModelIndex &parent)
{
    if (!parent.isValid() || m_model.rowCount(parent) > 1) {
        if (!parent.isValid())
            expandAsRemembered(parent);
        return;
    }
    m_restoring = true;
    setExpanded(parent, !m_collapsed.contains(m_model.numberAt(parent)));
    m_restoring = false;
}

void GroupTree::remember(const QModelIndex &index, bool collapsed)
{
    const int number = m_model.numberAt(index);
    if (m_restoring || m_collapsed.contains(number) == collapsed)
        return;
    if (collapsed)
        m_collapsed.append(number);
    else
        m_collapsed.removeAll(number);
    emit collapsedChanged();
}

/// Rows that come and go above leave what the eye is on where it is.
void GroupTree::holdStill()
{
    if (m_stillTimer.isActive() || !isVisible())
        return;
    QModelIndex index = m_model.indexOf(m_current);
    if (!visualRect(index).intersects(viewport()->rect()))
        index = indexAt({space::dialog, 0});
    m_still = m_model.numberAt(index);
    m_stillAt = visualRect(index).top();
    m_stillTimer.start(0);
}

void GroupTree::standStill()
{
    const QModelIndex index = m_model.indexOf(m_still);
    if (isSeen(index))
        verticalScrollBar()->setValue(verticalScrollBar()->value() + visualRect(index).top() - m_stillAt);
}

bool GroupTree::isSeen(const QModelIndex &index) const
{
    for (QModelIndex above = index.parent(); above.isValid(); above = above.parent()) {
        if (!isExpanded(above))
            return false;
    }
    return index.isValid();
}

QModelIndex GroupTree::nearestSeen(QModelIndex index) const
{
    while (index.isValid() && !isSeen(index))
        index = index.parent();
    return index;
}

// --- Keys -------------------------------------------------------------------------------------------------

/// The keys that work here even where the window has another use for them.
bool GroupTree::takesKey(const QKeyEvent &event) const
{
    if (m_seek->wants(event))
        return true;
    const Qt::KeyboardModifiers modifiers = event.modifiers().setFlag(Qt::KeypadModifier, false);
    switch (event.key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter: return modifiers == Qt::NoModifier || modifiers == Qt::ControlModifier;
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_Left:
    case Qt::Key_Right:
    case Qt::Key_Home:
    case Qt::Key_End:
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
    case Qt::Key_Delete: return modifiers == Qt::NoModifier;
    case Qt::Key_Space:
        return modifiers == Qt::NoModifier && !(currentIndex().flags() & Qt::ItemIsSelectable);
    default: return false;
    }
}

bool GroupTree::event(QEvent *event)
{
    if (event->type() == QEvent::ShortcutOverride && takesKey(*static_cast<QKeyEvent *>(event))) {
        event->accept();
        return true;
    }
    return QTreeView::event(event);
}

void GroupTree::keyPressEvent(QKeyEvent *event)
{
    if (m_seek->wants(*event))
        return m_seek->take(*event);
    m_menuRow = QModelIndex();
    const QModelIndex at = currentIndex();
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (at.isValid())
            return activate(at, event->modifiers());
        break;
    case Qt::Key_Delete:
        if (event->modifiers() == Qt::NoModifier && current() && m_model.groupAt(at) == current()) {
            emit removeWanted(current());
            return;
        }
        break;
    case Qt::Key_Space:
        if (at.isValid() && !(at.flags() & Qt::ItemIsSelectable))
            return activate(at, Qt::NoModifier);
        return event->ignore(); // it reads on
    default: break;
    }
    QTreeView::keyPressEvent(event);
}

void GroupTree::activate(const QModelIndex &index, Qt::KeyboardModifiers modifiers)
{
    switch (m_model.kindOf(index)) {
    case GroupRow::Section: return setExpanded(index, !isExpanded(index));
    case GroupRow::HiddenLine: return m_model.setShowsAll(!m_model.showsAll());
    case GroupRow::Group:
    case GroupRow::Flagged: break;
    }
    if (modifiers & Qt::ControlModifier)
        emit newTabWanted(m_model.numberAt(index));
    else
        emit listWanted();
}

QModelIndex GroupTree::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers)
{
    const QModelIndex at = currentIndex();
    if (at.isValid() && !isSeen(at))
        return nearestSeen(at); // its group was folded away
    if (action != MoveHome && action != MoveEnd)
        return QTreeView::moveCursor(action, modifiers);
    QModelIndex index = QTreeView::moveCursor(action, modifiers);
    while (index.isValid() && !(index.flags() & Qt::ItemIsSelectable))
        index = action == MoveHome ? indexBelow(index) : indexAbove(index);
    return index;
}

bool GroupTree::seek(const QString &text)
{
    const std::vector<int> numbers = m_model.inOrder();
    const auto at = std::find(numbers.begin(), numbers.end(), m_current);
    // One letter again and again goes from one group to the next.
    const bool repeats = isOneLetterOnly(text);
    const std::size_t start = at == numbers.end() ? 0 : std::size_t(at - numbers.begin()) + (repeats ? 1 : 0);
    const auto best = [&](const QString &sought) {
        int found = 0;
        int least = std::numeric_limits<int>::max();
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            const int number = numbers[(start + i) % numbers.size()];
            const QString name = number == kFlaggedList ? fixedNameOf(number) : m_model.pathOf(number);
            const int distance = matchDistance(QStringView(sought), SearchName::of(name));
            if (distance < 0 || distance > kWorstWholeMatch)
                continue;
            const int weight = 2 * distance + (isSeen(m_model.indexOf(number)) ? 0 : 1);
            if (weight < least) {
                least = weight;
                found = number;
            }
        }
        return found;
    };
    const QString sought = foldedForSearch(text);
    int found = best(sought);
    if (found == 0 && repeats)
        found = best(sought.first(1));
    if (found != 0)
        setCurrent(found);
    return found != 0;
}

void GroupTree::focusOutEvent(QFocusEvent *event)
{
    m_seek->end();
    QTreeView::focusOutEvent(event);
}

// --- Mouse ------------------------------------------------------------------------------------------------

/// Folds what was pressed, when that is its heading or its chevron.
bool GroupTree::pressFold(const QModelIndex &index, const QPoint &position)
{
    switch (m_model.kindOf(index)) {
    case GroupRow::HiddenLine: activate(index, Qt::NoModifier); return true;
    case GroupRow::Section: setExpanded(index, !isExpanded(index)); return true;
    case GroupRow::Flagged: return false;
    case GroupRow::Group: break;
    }
    const QRect chevron =
        m_delegate.chevronRect(visualRect(index), m_model.depthOf(index), layoutDirection());
    if (m_model.rowCount(index) == 0 || !chevron.contains(position))
        return false;
    setExpanded(index, !isExpanded(index));
    return true;
}

/// The right button and the middle one leave the group that is shown alone.
void GroupTree::mousePressEvent(QMouseEvent *event)
{
    const QModelIndex index = indexAt(event->pos());
    m_seek->end();
    m_menuRow = event->button() == Qt::RightButton ? index : QModelIndex();
    m_pressed = event->button() == Qt::MiddleButton ? index : QModelIndex();
    viewport()->update();
    if (event->button() != Qt::LeftButton || !index.isValid() || pressFold(index, event->pos()))
        return;
    QTreeView::mousePressEvent(event);
}

void GroupTree::mouseMoveEvent(QMouseEvent *event)
{
    if (m_menuRow.isValid() && event->buttons() == Qt::NoButton) {
        m_menuRow = QModelIndex();
        viewport()->update();
    }
    QTreeView::mouseMoveEvent(event);
}

void GroupTree::mouseReleaseEvent(QMouseEvent *event)
{
    const QModelIndex index = indexAt(event->pos());
    if (event->button() == Qt::MiddleButton && m_pressed.isValid() && m_pressed == index &&
        index.flags() & Qt::ItemIsSelectable)
        emit newTabWanted(m_model.numberAt(index));
    m_pressed = QModelIndex();
    if (event->button() == Qt::LeftButton)
        QTreeView::mouseReleaseEvent(event);
}

void GroupTree::mouseDoubleClickEvent(QMouseEvent *event)
{
    const QModelIndex index = indexAt(event->pos());
    if (event->button() != Qt::LeftButton || !index.isValid() || pressFold(index, event->pos()))
        return;
    QTreeView::mouseDoubleClickEvent(event);
    emit listWanted();
}

void GroupTree::contextMenuEvent(QContextMenuEvent *event)
{
    const bool byKey = event->reason() == QContextMenuEvent::Keyboard;
    const QModelIndex index = byKey ? nearestSeen(currentIndex()) : indexAt(event->pos());
    if (byKey)
        scrollTo(index);
    const QRect row = visualRect(index);
    const QPoint below(isRightToLeft() ? row.right() - space::dialog : row.left() + space::dialog,
                       row.bottom());
    emit menuWanted(m_model.groupAt(index), byKey ? viewport()->mapToGlobal(below) : event->globalPos());
}

// --- Painting ---------------------------------------------------------------------------------------------

void GroupTree::paintRing(QPainter &painter, const QModelIndex &index) const
{
    const QRect row = index.isValid() ? visualRect(index) : viewport()->rect();
    paintFocusRing(&painter, row.adjusted(space::between, 0, -space::between, 0), radius::field);
}

void GroupTree::paintEvent(QPaintEvent *event)
{
    if (!isAutomaticColour(Setting::GListColourBG)) {
        QPainter ground(viewport());
        ground.fillRect(event->rect(), shownColour(Setting::GListColourBG));
    }
    QTreeView::paintEvent(event);
    QPainter painter(viewport());
    if (m_drag.isInside && m_drag.isAllowed)
        paintRing(painter, m_drag.over);
    else if (m_menuRow.isValid())
        paintRing(painter, m_menuRow);
}

/// A heading is no row of a list: it takes no tint under the mouse.
void GroupTree::drawRow(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    if (m_model.kindOf(index) != GroupRow::Section)
        return QTreeView::drawRow(painter, option, index);
    const bool isHovered =
        viewport()->underMouse() && option.rect.contains(viewport()->mapFromGlobal(QCursor::pos()));
    QStyleOptionViewItem head = option;
    head.state.setFlag(QStyle::State_Open, isExpanded(index));
    head.state.setFlag(QStyle::State_HasFocus, hasFocus() && index == currentIndex());
    head.state.setFlag(QStyle::State_MouseOver, isHovered);
    m_delegate.paint(painter, head, index);
}

void GroupTree::drawBranches(QPainter *, const QRect &, const QModelIndex &) const {}

void GroupTree::changeEvent(QEvent *event)
{
    QTreeView::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
        scheduleDelayedItemsLayout();
}
