#include "ui/list/messagelist.h"

#include "config/settings.h"
#include "ui/look/colours.h"
#include "ui/look/metrics.h"
#include "ui/look/storedcolours.h"
#include "ui/texts/messagetexts.h"

#include <QContextMenuEvent>
#include <QDrag>
#include <QKeyEvent>
#include <QMimeData>
#include <QPainter>
#include <QScrollBar>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

QPixmap dragLabel(const QString &text, const QWidget *widget)
{
    const QFontMetrics metrics(widget->font());
    const QSize size(metrics.horizontalAdvance(text) + 2 * space::group, metrics.height() + space::between);
    QPixmap pixmap(size * widget->devicePixelRatioF());
    pixmap.setDevicePixelRatio(widget->devicePixelRatioF());
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour(Role::Accent));
    painter.drawRoundedRect(QRect(QPoint(), size), radius::field, radius::field);
    painter.setFont(widget->font());
    painter.setPen(colour(Role::OnAccent));
    painter.drawText(QRect(QPoint(), size), Qt::AlignCenter, text);
    return pixmap;
}

} // namespace

MessageList::MessageList(QWidget *parent)
    : QTreeView(parent)
    , m_delegate(m_model)
    , m_seek(m_model)
{
    setObjectName(u"messageList"_s);
    setAccessibleName(tr("Messages"));
    setModel(&m_model);
    setItemDelegate(&m_delegate);
    setRootIsDecorated(false);
    setItemsExpandable(false);
    setIndentation(0);
    setUniformRowHeights(true);
    setAllColumnsShowFocus(false);
    setSelectionMode(ExtendedSelection);
    setSelectionBehavior(SelectRows);
    setDragEnabled(true);
    setDragDropMode(DragOnly);
    setFrameShape(QFrame::NoFrame);
    setMouseTracking(true);
    setTabKeyNavigation(false);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollMode(ScrollPerPixel);
    connectHeader();
    connect(&m_seek, &ListSeek::found, this, &MessageList::goTo);
    connect(&m_model, &QAbstractItemModel::layoutAboutToBeChanged, this, &MessageList::rememberTop);
    connect(&m_model, &MessageListModel::relaid, this, &MessageList::keepCurrent);
    connect(&m_model, &MessageListModel::sortChanged, this, [this] {
        m_view.sort = m_model.sortOrder();
        showSortIndicator();
        emit viewChanged();
    });
}

void MessageList::setGroup(Group *group, const GroupView &view)
{
    setSource(group ? std::make_unique<GroupRows>(*group) : nullptr, view);
}

void MessageList::setSource(std::unique_ptr<MessageRows> rows, const GroupView &view)
{
    m_view = view;
    m_current = {};
    m_currentPlace = -1;
    m_top = {};
    m_currentWasVisible = false;
    showSortIndicator();
    m_model.setSource(std::move(rows), view.sort);
    orderColumns();
    showColumns();
    scrollToTop();
    emit currentChangedTo({});
}

GroupView MessageList::view() const
{
    return m_view;
}

QModelIndex MessageList::cell(int place) const
{
    return m_model.index(place, int(MessageColumn::Subject));
}

bool MessageList::setCurrent(MessageRef message)
{
    m_model.settle();
    const int place = m_model.reveal(message);
    if (place < 0)
        return false;
    goTo(place);
    return true;
}

void MessageList::goTo(int place)
{
    selectionModel()->setCurrentIndex(cell(place),
                                      QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    scrollTo(cell(place));
}

MessageRefs MessageList::selected() const
{
    std::vector<int> places;
    for (const QItemSelectionRange &range : selectionModel()->selection())
        for (int place = range.top(); place <= range.bottom(); ++place)
            places.push_back(place);
    std::sort(places.begin(), places.end());
    places.erase(std::unique(places.begin(), places.end()), places.end());
    return m_model.refsAt(places);
}

int MessageList::selectedCount() const
{
    int count = 0;
    for (const QItemSelectionRange &range : selectionModel()->selection())
        count += m_model.messagesBetween(range.top(), range.bottom());
    return count;
}

/// In one range, however many there are.
void MessageList::selectAll()
{
    if (m_model.rowCount() > 0)
        selectionModel()->select(QItemSelection(cell(0), cell(m_model.rowCount() - 1)),
                                 QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
}

/// The first place from @p place on in @p direction that is no heading; -1 when there is none.
int MessageList::nextMessage(int place, int direction) const
{
    while (place >= 0 && place < m_model.rowCount() && m_model.isHeading(place))
        place += direction;
    return place < m_model.rowCount() ? place : -1;
}

/// The unread message after (before) @p from; what is folded away counts where it is folded.
int MessageList::nextUnread(int from, int direction) const
{
    for (int place = from + direction; place >= 0 && place < m_model.rowCount(); place += direction) {
        if (m_model.isHeading(place)) {
            if (m_model.hidesUnread(place))
                return place;
            continue;
        }
        if (!m_model.overviewAt(place).has(Mark::Read))
            return place;
        if (m_model.hasAnswers(place) && !m_model.isExpanded(place) && m_model.threadCounts(place).unread > 0)
            return place;
    }
    return -1;
}

/// The first unread message outside the thread of @p from.
int MessageList::unreadThread(int from) const
{
    int place = from;
    do {
        ++place;
    } while (place < m_model.rowCount() && m_model.depthAt(place) > 0);
    return nextUnread(place - 1, 1);
}

/// Opens what hides unread messages at @p place until it is one itself: its place, -1 when there is none.
int MessageList::openTowardsUnread(int place, int from, bool backwards)
{
    while (place >= 0 && (m_model.isHeading(place) || m_model.overviewAt(place).has(Mark::Read))) {
        const int before = m_model.rowCount();
        m_model.setExpanded(place, true);
        const int last = from + m_model.rowCount() - before;
        const int inside = backwards ? nextUnread(place < from ? last : from, -1) : -1;
        place = inside > place ? inside : nextUnread(place, 1);
    }
    return place;
}

bool MessageList::step(Step step)
{
    int from = m_currentPlace >= 0 && !m_current.isNull() ? m_currentPlace : -1;
    const bool unreadWanted = step != Step::Next && step != Step::Previous;
    if (unreadWanted && from >= 0 && from < m_model.rowCount() && m_model.isHeading(from))
        --from; // the current one is folded away below it: what else is there may be unread
    const int folded = from >= 0 && m_model.hasAnswers(from) && !m_model.isExpanded(from) ? from : -1;
    int place = -1;
    switch (step) {
    case Step::Next: place = nextMessage(from + 1, 1); break;
    case Step::Previous: place = from < 0 ? -1 : nextMessage(from - 1, -1); break;
    case Step::NextUnread:
        if (folded >= 0 &&
            m_model.threadCounts(folded).unread > (m_model.overviewAt(folded).has(Mark::Read) ? 0 : 1))
            m_model.setExpanded(folded, true);
        place = openTowardsUnread(nextUnread(from, 1), from, false);
        break;
    case Step::PreviousUnread:
        place = from < 0 ? -1 : openTowardsUnread(nextUnread(from, -1), from, true);
        break;
    case Step::NextUnreadThread: place = openTowardsUnread(unreadThread(from), from, false); break;
    }
    if (place < 0)
        return false;
    goTo(place);
    return true;
}

void MessageList::selectThread()
{
    if (!currentIndex().isValid())
        return;
    int first = currentIndex().row();
    while (m_model.depthAt(first) > 0)
        --first;
    m_model.setExpanded(first, true);
    int last = first;
    while (last + 1 < m_model.rowCount() && m_model.depthAt(last + 1) > 0)
        ++last;
    selectionModel()->select(QItemSelection(cell(first), cell(last)),
                             QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
}

void MessageList::leaveSelection()
{
    const QItemSelection selection = selectionModel()->selection();
    if (selection.isEmpty())
        return;
    int last = -1;
    int first = m_model.rowCount();
    for (const QItemSelectionRange &range : selection) {
        last = std::max(last, range.bottom());
        first = std::min(first, range.top());
    }
    // A collapsed thread goes with all in it, an expanded one leaves its answers behind.
    const int next = nextMessage(last + 1, 1);
    const int target = next >= 0 ? next : nextMessage(first - 1, -1);
    if (target >= 0)
        goTo(target);
    else
        clearSelection();
}

// --- What changes under it ------------------------------------------------------------------------------

/// The first message in view, and where: what comes in above does not push away what the user looks at. At
/// the very top new mail is to be seen.
void MessageList::rememberTop()
{
    m_top = {};
    m_currentWasVisible =
        currentIndex().isValid() && viewport()->rect().intersects(visualRect(currentIndex()));
    if (verticalScrollBar()->value() == 0 && !m_currentWasVisible)
        return; // nobody reads here: new mail shows itself
    const QModelIndex top = indexAt(QPoint(1, 1));
    const int place = top.isValid() ? nextMessage(top.row(), 1) : -1;
    if (place < 0)
        return;
    m_top = m_model.refAt(place);
    m_topShift = isTwoLines() ? place - top.row() : visualRect(cell(place)).y();
}

void MessageList::restoreTop()
{
    const int place = m_top.isNull() ? -1 : m_model.placeOf(m_top);
    m_top = {};
    if (place >= 0 && isTwoLines()) {
        scrollTo(m_model.index(std::max(place - m_topShift, 0), int(MessageColumn::Subject)), PositionAtTop);
    } else if (place >= 0) {
        scrollTo(cell(place), PositionAtTop);
        verticalScrollBar()->setValue(verticalScrollBar()->value() + visualRect(cell(place)).y() -
                                      m_topShift);
    }
    if (m_currentWasVisible && currentIndex().isValid())
        scrollTo(currentIndex());
    m_currentWasVisible = false;
}

/// When the current message was taken away, the one that came to its place is current. One that a folded
/// heading hides stays current until the user goes on.
void MessageList::keepCurrent()
{
    if (!currentIndex().isValid() && m_model.placeOf(m_current) >= 0)
        selectionModel()->setCurrentIndex(cell(m_model.placeOf(m_current)),
                                          QItemSelectionModel::Select | QItemSelectionModel::Rows);
    restoreTop();
    if (currentIndex().isValid()) {
        m_currentPlace = currentIndex().row();
        return;
    }
    if (m_model.has(m_current) && m_model.headingAbove(m_current) >= 0) {
        m_currentPlace = m_model.headingAbove(m_current);
        return;
    }
    if (!m_current.isNull() && m_currentPlace >= 0 && m_model.rowCount() > 0) {
        const int place = m_model.messageNear(std::min(m_currentPlace, m_model.rowCount() - 1), 1);
        if (place >= 0)
            goTo(place);
    }
    if (!currentIndex().isValid() && !m_current.isNull()) {
        m_current = {};
        emit currentChangedTo({});
    }
}

void MessageList::currentChanged(const QModelIndex &current, const QModelIndex &previous)
{
    QTreeView::currentChanged(current, previous);
    if (!current.isValid() || m_model.isHeading(current.row()))
        return; // keepCurrent() says what comes of it
    m_currentPlace = current.row();
    const MessageRef message = MessageListModel::refOf(current);
    if (message == m_current)
        return;
    m_current = message;
    m_model.hold(message);
    emit currentChangedTo(message);
}

void MessageList::selectionChanged(const QItemSelection &selected, const QItemSelection &deselected)
{
    QTreeView::selectionChanged(selected, deselected);
    emit selectionCountChanged();
}

// --- Painting -------------------------------------------------------------------------------------------

void MessageList::paintEvent(QPaintEvent *event)
{
    if (!isAutomaticColour(Setting::GViewColourBG)) {
        QPainter painter(viewport());
        painter.fillRect(event->rect(), shownColour(Setting::GViewColourBG));
    }
    QTreeView::paintEvent(event);
}

void MessageList::drawRow(QPainter *painter, const QStyleOptionViewItem &option,
                          const QModelIndex &index) const
{
    if (m_model.isHeading(index.row()))
        return m_delegate.paintHeading(painter, option, index.row());
    m_delegate.beginRow(index.row());
    QTreeView::drawRow(painter, option, index);
    m_delegate.endRow();
}

/// The delegate draws the chevrons.
void MessageList::drawBranches(QPainter *, const QRect &, const QModelIndex &) const {}

/// No row gets another height by what is in it; to look at each of a hundred thousand would take long.
void MessageList::dataChanged(const QModelIndex &topLeft, const QModelIndex &bottomRight,
                              const QList<int> &roles)
{
    if (topLeft.row() == bottomRight.row())
        QTreeView::dataChanged(topLeft, bottomRight, roles);
    else
        viewport()->update();
}

void MessageList::setTwoLines(bool twoLines)
{
    if (twoLines == isTwoLines())
        return;
    m_delegate.setTwoLines(twoLines);
    // Headings are lower than two lines: then the heights of all rows are not asked for beforehand.
    setUniformRowHeights(!twoLines);
    setVerticalScrollMode(twoLines ? ScrollPerItem : ScrollPerPixel);
    showColumns();
    scheduleDelayedItemsLayout();
}

void MessageList::resizeEvent(QResizeEvent *event)
{
    QTreeView::resizeEvent(event);
    arrangeColumns();
}

void MessageList::changeEvent(QEvent *event)
{
    QTreeView::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
        scheduleDelayedItemsLayout();
        arrangeColumns();
    }
}

// --- Mouse and keys -------------------------------------------------------------------------------------

bool MessageList::clickedSign(const QModelIndex &index, const QPoint &position)
{
    if (!index.isValid())
        return false;
    const int place = index.row();
    const auto column = MessageColumn(index.column());
    if (column == MessageColumn::Subject && m_model.hasAnswers(place) &&
        m_delegate.chevronRect(visualRect(index), m_model.depthAt(place), layoutDirection())
            .contains(position)) {
        m_model.setExpanded(place, !m_model.isExpanded(place));
        return true;
    }
    if (isTwoLines())
        return false;
    if (column == MessageColumn::Flag)
        emit flagClicked(m_model.refAt(place));
    if (column == MessageColumn::State)
        emit stateClicked(m_model.refAt(place));
    return column == MessageColumn::Flag || column == MessageColumn::State;
}

/// A click on a heading folds it, whatever else is held down.
bool MessageList::clickedHeading(const QMouseEvent &event)
{
    const QModelIndex index = indexAt(event.pos());
    if (!index.isValid() || !m_model.isHeading(index.row()))
        return false;
    if (event.button() == Qt::LeftButton)
        m_model.setFolded(index.row(), !m_model.heading(index.row()).isFolded);
    return true;
}

void MessageList::mousePressEvent(QMouseEvent *event)
{
    if (clickedHeading(*event))
        return;
    if (event->button() == Qt::LeftButton && event->modifiers() == Qt::NoModifier &&
        clickedSign(indexAt(event->pos()), event->pos()))
        return;
    QTreeView::mousePressEvent(event);
}

void MessageList::mouseDoubleClickEvent(QMouseEvent *event)
{
    if (clickedHeading(*event))
        return;
    const QModelIndex index = indexAt(event->pos());
    if (event->button() != Qt::LeftButton || !index.isValid() || clickedSign(index, event->pos()) ||
        boolSetting(Setting::IgnoreDoubleClicks))
        return;
    emit activatedMessage(m_model.refAt(index.row()));
}

/// Right opens a thread and then goes into it, left closes it, goes up, and folds the heading above.
bool MessageList::fold(bool open)
{
    const int place = currentIndex().isValid() ? currentIndex().row() : -1;
    if (place < 0)
        return foldHidden(open);
    if (m_model.hasAnswers(place) && m_model.isExpanded(place) != open) {
        m_model.setExpanded(place, open);
        return true;
    }
    if (open) {
        if (!m_model.hasAnswers(place))
            return false;
        goTo(place + 1);
        return true;
    }
    const int depth = m_model.depthAt(place);
    int above = place;
    while (depth > 0 && above > 0 && (m_model.isHeading(above) || m_model.depthAt(above) >= depth))
        --above;
    if (depth > 0 && m_model.depthAt(above) < depth) {
        goTo(above);
        return true;
    }
    const int heading = m_model.headingAbove(m_current);
    if (heading >= 0)
        m_model.setFolded(heading, true);
    return heading >= 0;
}

/// The current message is under a folded heading: right brings it back.
bool MessageList::foldHidden(bool open)
{
    const int heading = m_current.isNull() ? -1 : m_model.headingAbove(m_current);
    if (!open || heading < 0)
        return false;
    m_model.setFolded(heading, false);
    return true;
}

void MessageList::keyPressEvent(QKeyEvent *event)
{
    const bool isPlain = (event->modifiers() & ~(Qt::KeypadModifier | Qt::ShiftModifier)) == 0;
    const bool isShifted = event->modifiers() & Qt::ShiftModifier;
    const bool rightIsOpen = layoutDirection() == Qt::LeftToRight;
    switch (isPlain ? event->key() : 0) {
    case Qt::Key_Asterisk: m_model.setAllExpanded(true); return;
    case Qt::Key_Backslash: m_model.setAllExpanded(false); return;
    default: break;
    }
    switch (isPlain && !isShifted ? event->key() : 0) {
    case Qt::Key_Space: emit spacePressed(); return;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (!current().isNull())
            emit activatedMessage(current());
        return;
    case Qt::Key_Right:
    case Qt::Key_Left: fold((event->key() == Qt::Key_Right) == rightIsOpen); return;
    case Qt::Key_Down:
    case Qt::Key_Up:
        if (!currentIndex().isValid() && !m_current.isNull()) { // under a folded heading
            step(event->key() == Qt::Key_Down ? Step::Next : Step::Previous);
            return;
        }
        break;
    default: break;
    }
    QTreeView::keyPressEvent(event);
}

/// Headings are passed over, in the direction of the move as long as there is something.
QModelIndex MessageList::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers)
{
    const QModelIndex index = QTreeView::moveCursor(action, modifiers);
    if (!index.isValid() || !m_model.isHeading(index.row()))
        return index;
    const bool up = action == MoveUp || action == MovePrevious || action == MovePageUp || action == MoveEnd;
    const int place = m_model.messageNear(index.row(), up ? -1 : 1);
    return place < 0 ? currentIndex() : m_model.index(place, index.column());
}

void MessageList::keyboardSearch(const QString &letters)
{
    m_seek.type(letters, m_currentPlace);
}

/// The focus alone makes no message current: it would be shown and count as read.
void MessageList::focusInEvent(QFocusEvent *event)
{
    if (currentIndex().isValid())
        return QTreeView::focusInEvent(event);
    QAbstractScrollArea::focusInEvent(event);
    viewport()->update();
}

void MessageList::contextMenuEvent(QContextMenuEvent *event)
{
    QPoint position = event->globalPos();
    if (event->reason() == QContextMenuEvent::Keyboard && currentIndex().isValid())
        position = viewport()->mapToGlobal(visualRect(currentIndex()).center());
    emit menuWanted(position);
}

void MessageList::startDrag(Qt::DropActions actions)
{
    const MessageRefs messages = selected();
    if (messages.empty())
        return;
    auto *drag = new QDrag(this);
    auto *mime = new QMimeData;
    mime->setData(QLatin1StringView(kMessagesMimeType), encodeDragged(messages));
    drag->setMimeData(mime);
    drag->setPixmap(dragLabel(messagesInWords(qint64(messages.size())), this));
    drag->setHotSpot({-space::group, -space::group});
    drag->exec(actions, Qt::MoveAction);
}
