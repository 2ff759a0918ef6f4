#include "ui/list/messagelist.h"

#include "ui/look/colours.h"
#include "ui/look/metrics.h"
#include "ui/texts/messagetexts.h"

#include <QContextMenuEvent>
#include <QDrag>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>
#include <QMimeData>
#include <QPainter>
#include <QScrollBar>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int kIconColumnWidth = 14; ///< beside the icon
constexpr int kAllColumns = 100;     ///< characters; score and clip need so much beside the rest
constexpr int kNarrowest = 24;       ///< a column cannot be made narrower

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
{
    setObjectName(u"messageList"_s);
    setAccessibleName(u"Messages"_s);
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
    header()->setSectionsMovable(false);
    header()->setStretchLastSection(false);
    header()->setMinimumSectionSize(kNarrowest);
    header()->setContextMenuPolicy(Qt::CustomContextMenu);
    header()->setSectionsClickable(true);
    header()->setSortIndicatorShown(true);
    setSortingEnabled(true);
    connect(header(), &QWidget::customContextMenuRequested, this, &MessageList::headerMenu);
    connect(header(), &QHeaderView::sectionResized, this, [this](int column, int, int width) {
        if (m_arranging || MessageColumn(column) == MessageColumn::Subject)
            return;
        m_view.widths[std::size_t(column)] = width;
        arrangeColumns();
        emit viewChanged();
    });
    connect(&m_model, &QAbstractItemModel::layoutAboutToBeChanged, this, &MessageList::rememberTop);
    connect(&m_model, &MessageListModel::relaid, this, &MessageList::keepCurrent);
    connect(&m_model, &MessageListModel::sortChanged, this, [this] {
        m_view.sort = m_model.sortOrder();
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
    header()->blockSignals(true); // the order comes with the group, it is no click
    header()->setSortIndicator(int(view.sort.column), view.sort.order);
    header()->blockSignals(false);
    m_model.setSource(std::move(rows), view.sort);
    showColumns();
    scrollToTop();
    emit currentChangedTo({});
}

GroupView MessageList::view() const
{
    return m_view;
}

MessageRef MessageList::current() const
{
    return MessageListModel::refOf(currentIndex());
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
        count += range.height();
    return count;
}

/// The unread message after (before) @p from; what a collapsed thread hides counts where it is collapsed.
int MessageList::nextUnread(int from, int direction) const
{
    for (int place = from + direction; place >= 0 && place < m_model.rowCount(); place += direction) {
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

bool MessageList::step(Step step)
{
    const int from = currentIndex().isValid() ? currentIndex().row() : -1;
    int place = -1;
    switch (step) {
    case Step::Next: place = from + 1 < m_model.rowCount() ? from + 1 : -1; break;
    case Step::Previous: place = from - 1; break;
    case Step::NextUnread:
        if (from >= 0 && m_model.hasAnswers(from) && !m_model.isExpanded(from) &&
            m_model.threadCounts(from).unread > (m_model.overviewAt(from).has(Mark::Read) ? 0 : 1))
            m_model.setExpanded(from, true);
        place = nextUnread(from, 1);
        break;
    case Step::PreviousUnread: place = from < 0 ? -1 : nextUnread(from, -1); break;
    case Step::NextUnreadThread: place = unreadThread(from); break;
    }
    if (place < 0 || place >= m_model.rowCount())
        return false;
    const bool unreadWanted = step != Step::Next && step != Step::Previous;
    while (unreadWanted && m_model.overviewAt(place).has(Mark::Read)) {
        m_model.setExpanded(place, true);
        const int below = step == Step::PreviousUnread ? nextUnread(from, -1) : nextUnread(place, 1);
        place = below > place ? below : nextUnread(place, 1);
        if (place < 0)
            return false;
    }
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
    const int target = last + 1 < m_model.rowCount() ? last + 1 : first - 1;
    if (target >= 0)
        goTo(target);
    else
        clearSelection();
}

// --- What changes under it ------------------------------------------------------------------------------

void MessageList::rememberTop()
{
    const QModelIndex top = indexAt(QPoint(1, 1));
    m_top = verticalScrollBar()->value() > 0 ? MessageListModel::refOf(top) : MessageRef();
}

/// What came in above does not push away what the user looks at.
void MessageList::restoreTop()
{
    const int place = m_top.isNull() ? -1 : m_model.placeOf(m_top);
    if (place >= 0)
        scrollTo(cell(place), PositionAtTop);
    m_top = {};
}

/// When the current message was taken away, the one that came to its place is current.
void MessageList::keepCurrent()
{
    restoreTop();
    if (currentIndex().isValid()) {
        m_currentPlace = currentIndex().row();
    } else if (!m_current.isNull() && m_currentPlace >= 0 && m_model.rowCount() > 0) {
        goTo(std::min(m_currentPlace, m_model.rowCount() - 1));
    }
    if (!currentIndex().isValid() && !m_current.isNull()) {
        m_current = {};
        emit currentChangedTo({});
    }
}

void MessageList::currentChanged(const QModelIndex &current, const QModelIndex &previous)
{
    QTreeView::currentChanged(current, previous);
    if (!current.isValid())
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

// --- Columns --------------------------------------------------------------------------------------------

int MessageList::defaultWidth(MessageColumn column) const
{
    const int characters = kMessageColumns[std::size_t(column)].characters;
    return characters > 0 ? ::columnWidth(characters) : ::iconSize(IconUse::Row) + kIconColumnWidth;
}

void MessageList::showColumns()
{
    m_arranging = true; // hiding a column is no wish for its width
    for (int i = 0; i < kMessageColumnCount; ++i) {
        const bool isSubject = MessageColumn(i) == MessageColumn::Subject;
        setColumnHidden(i, isTwoLines() ? !isSubject : !m_view.shown[std::size_t(i)]);
        const bool isFixed = isSubject || kMessageColumns[std::size_t(i)].characters == 0;
        header()->setSectionResizeMode(i, isFixed ? QHeaderView::Fixed : QHeaderView::Interactive);
    }
    header()->setVisible(!isTwoLines());
    arrangeColumns();
}

/// The subject has what the others leave. Score and the clip go first when that is little.
void MessageList::arrangeColumns()
{
    m_arranging = true;
    const bool isNarrow = viewport()->width() < ::columnWidth(kAllColumns);
    int rest = viewport()->width();
    for (int i = 0; i < kMessageColumnCount; ++i) {
        const auto column = MessageColumn(i);
        if (column == MessageColumn::Subject || isTwoLines())
            continue;
        const bool goesFirst = column == MessageColumn::Score || column == MessageColumn::Clip;
        setColumnHidden(i, !m_view.shown[std::size_t(i)] || (goesFirst && isNarrow));
        if (isColumnHidden(i))
            continue;
        const int wanted = m_view.widths[std::size_t(i)];
        header()->resizeSection(i, wanted > 0 ? wanted : defaultWidth(column));
        rest -= header()->sectionSize(i);
    }
    header()->resizeSection(int(MessageColumn::Subject), std::max(rest, kNarrowest * 4));
    m_arranging = false;
}

void MessageList::setTwoLines(bool twoLines)
{
    if (twoLines == isTwoLines())
        return;
    m_delegate.setTwoLines(twoLines);
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

void MessageList::headerMenu(const QPoint &position)
{
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    for (int i = 0; i < kMessageColumnCount; ++i) {
        if (MessageColumn(i) == MessageColumn::Subject)
            continue;
        QAction *action = menu->addAction(QString::fromLatin1(kMessageColumns[std::size_t(i)].name));
        action->setCheckable(true);
        action->setChecked(m_view.shown[std::size_t(i)]);
        connect(action, &QAction::toggled, this, [this, i](bool shown) {
            m_view.shown[std::size_t(i)] = shown;
            showColumns();
            emit viewChanged();
        });
    }
    menu->addSeparator();
    connect(menu->addAction(u"Columns as at first"_s), &QAction::triggered, this, [this] {
        const MessageSort sort = m_view.sort;
        m_view = GroupView();
        m_view.sort = sort;
        showColumns();
        emit viewChanged();
    });
    menu->popup(header()->mapToGlobal(position));
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

void MessageList::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton && event->modifiers() == Qt::NoModifier &&
        clickedSign(indexAt(event->pos()), event->pos()))
        return;
    QTreeView::mousePressEvent(event);
}

void MessageList::mouseDoubleClickEvent(QMouseEvent *event)
{
    const QModelIndex index = indexAt(event->pos());
    if (event->button() != Qt::LeftButton || !index.isValid() || clickedSign(index, event->pos()))
        return;
    emit activatedMessage(m_model.refAt(index.row()));
}

/// Right opens a thread and then goes into it, left closes it or goes up.
bool MessageList::fold(bool open)
{
    const int place = currentIndex().isValid() ? currentIndex().row() : -1;
    if (place < 0)
        return false;
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
    int above = place;
    while (above > 0 && m_model.depthAt(above) >= m_model.depthAt(place))
        --above;
    if (m_model.depthAt(above) >= m_model.depthAt(place))
        return false;
    goTo(above);
    return true;
}

void MessageList::keyPressEvent(QKeyEvent *event)
{
    const bool isPlain = event->modifiers() == Qt::NoModifier || event->modifiers() == Qt::KeypadModifier;
    const bool rightIsOpen = layoutDirection() == Qt::LeftToRight;
    switch (isPlain ? event->key() : 0) {
    case Qt::Key_Space: emit spacePressed(); return;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (!current().isNull())
            emit activatedMessage(current());
        return;
    case Qt::Key_Right:
    case Qt::Key_Left: fold((event->key() == Qt::Key_Right) == rightIsOpen); return;
    default: QTreeView::keyPressEvent(event);
    }
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
    const QModelIndexList indexes = selectionModel()->selectedRows();
    if (indexes.isEmpty())
        return;
    auto *drag = new QDrag(this);
    QMimeData *mime = m_model.mimeData(indexes);
    const qsizetype count = qsizetype(decodeDragged(mime->data(QLatin1StringView(kMessagesMimeType))).size());
    drag->setMimeData(mime);
    drag->setPixmap(dragLabel(messagesInWords(count), this));
    drag->setHotSpot({-space::group, -space::group});
    drag->exec(actions, Qt::MoveAction);
}

/// The delegate draws the chevrons.
void MessageList::drawBranches(QPainter *, const QRect &, const QModelIndex &) const {}
