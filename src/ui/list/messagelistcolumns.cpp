#include "ui/list/messagelist.h"

#include "ui/look/metrics.h"

#include <QActionGroup>
#include <QHeaderView>
#include <QMenu>

#include <algorithm>

// The columns of the list: which there are, how wide, in what order.

namespace {

constexpr int kIconColumnWidth = 14; ///< beside the icon
constexpr int kAllColumns = 100;     ///< characters; score and clip need so much beside the rest
constexpr int kNarrowest = 24;       ///< a column cannot be made narrower

} // namespace

void MessageList::connectHeader()
{
    // It would look at every row to find out whether all of a column is selected, each time it is painted.
    header()->setSelectionModel(new QItemSelectionModel(&m_model, header()));
    header()->setSectionsMovable(true);
    header()->setFirstSectionMovable(true);
    header()->setStretchLastSection(false);
    header()->setMinimumSectionSize(kNarrowest);
    header()->setContextMenuPolicy(Qt::CustomContextMenu);
    header()->setSectionsClickable(true);
    header()->setSortIndicatorShown(true);
    setSortingEnabled(true);
    connect(header(), &QWidget::customContextMenuRequested, this,
            [this](const QPoint &position) { columnsMenu(header()->mapToGlobal(position)); });
    connect(header(), &QHeaderView::sectionMoved, this, &MessageList::rememberOrder);
    connect(header(), &QHeaderView::sectionResized, this, [this](int column, int, int width) {
        if (m_arranging || MessageColumn(column) == MessageColumn::Subject)
            return;
        m_view.widths[std::size_t(column)] = width;
        arrangeColumns();
        emit viewChanged();
    });
}

/// The order comes with the group, it is no click.
void MessageList::showSortIndicator()
{
    header()->blockSignals(true);
    header()->setSortIndicator(int(m_view.sort.column), m_view.sort.order);
    header()->blockSignals(false);
    header()->viewport()->update();
}

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
    m_delegate.setThreadColumn(!isTwoLines() && m_view.shown[std::size_t(MessageColumn::Thread)]);
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

void MessageList::orderColumns()
{
    m_arranging = true;
    for (int i = 0; i < kMessageColumnCount; ++i)
        header()->moveSection(header()->visualIndex(m_view.order[std::size_t(i)]), i);
    m_arranging = false;
}

void MessageList::rememberOrder()
{
    if (m_arranging)
        return;
    for (int i = 0; i < kMessageColumnCount; ++i)
        m_view.order[std::size_t(i)] = header()->logicalIndex(i);
    emit viewChanged();
}

void MessageList::resetColumns()
{
    const MessageSort sort = m_view.sort;
    m_view = GroupView();
    m_view.sort = sort;
    orderColumns();
    showColumns();
    emit viewChanged();
}

void MessageList::showColumnsMenu()
{
    columnsMenu(mapToGlobal(QPoint(0, header()->isHidden() ? 0 : header()->height())));
}

void MessageList::columnsMenu(const QPoint &position)
{
    auto *menu = new QMenu(this);
    menu->setObjectName(QStringLiteral("columnsMenu"));
    menu->setAttribute(Qt::WA_DeleteOnClose);
    auto *sorts = new QMenu(tr("Sort by"), menu);
    auto *group = new QActionGroup(sorts);
    for (const int i : m_view.order) {
        const QString name = m_model.headerData(i, Qt::Horizontal, Qt::AccessibleTextRole).toString();
        QAction *sort = sorts->addAction(name);
        sort->setActionGroup(group);
        sort->setCheckable(true);
        sort->setChecked(int(m_view.sort.column) == i);
        connect(sort, &QAction::triggered, this, [this, i] { sortByColumn(i, orderOfClick(i)); });
        if (MessageColumn(i) == MessageColumn::Subject)
            continue;
        QAction *show = menu->addAction(name);
        show->setCheckable(true);
        show->setChecked(m_view.shown[std::size_t(i)]);
        connect(show, &QAction::toggled, this, [this, i](bool shown) {
            m_view.shown[std::size_t(i)] = shown;
            showColumns();
            emit viewChanged();
        });
    }
    menu->addSeparator();
    menu->addMenu(sorts);
    menu->addMenu(moveMenu(tr("Move towards the beginning"), -1, menu));
    menu->addMenu(moveMenu(tr("Move towards the end"), 1, menu));
    QAction *headings = menu->addAction(tr("Date headings"));
    headings->setCheckable(true);
    headings->setChecked(m_view.sort.headings);
    connect(headings, &QAction::toggled, this, [this](bool shown) {
        MessageSort sort = m_model.sortOrder();
        sort.headings = shown;
        m_model.setSortOrder(sort);
    });
    menu->addSeparator();
    connect(menu->addAction(tr("Reset columns")), &QAction::triggered, this, &MessageList::resetColumns);
    menu->popup(position);
}

/// What dragging a heading does, for the keyboard: by one column that is shown.
QMenu *MessageList::moveMenu(const QString &title, int by, QWidget *parent)
{
    auto *menu = new QMenu(title, parent);
    QList<int> shown;
    for (int i = 0; i < kMessageColumnCount; ++i) {
        if (!isColumnHidden(header()->logicalIndex(i)))
            shown.append(header()->logicalIndex(i));
    }
    for (const int column : shown) {
        const qsizetype target = shown.indexOf(column) + by;
        QAction *move =
            menu->addAction(m_model.headerData(column, Qt::Horizontal, Qt::AccessibleTextRole).toString());
        move->setEnabled(target >= 0 && target < shown.size());
        connect(move, &QAction::triggered, this, [this, column, other = shown.value(target)] {
            header()->moveSection(header()->visualIndex(column), header()->visualIndex(other));
        });
    }
    menu->setEnabled(!header()->isHidden());
    return menu;
}

/// As a click on the header does: the order that the column has at first, the other way when it is sorted by
/// already.
Qt::SortOrder MessageList::orderOfClick(int column) const
{
    if (int(m_view.sort.column) != column)
        return kMessageColumns[std::size_t(column)].descending ? Qt::DescendingOrder : Qt::AscendingOrder;
    return m_view.sort.order == Qt::AscendingOrder ? Qt::DescendingOrder : Qt::AscendingOrder;
}
