#include "ui/list/messagelistmodel.h"

#include "ui/look/icons.h"
#include "ui/texts/messagetexts.h"

// What the model says in words; the rows themselves are drawn by the delegate.

QVariant MessageListModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || !m_rows)
        return {};
    if (role != Qt::DisplayRole && role != Qt::AccessibleTextRole && role != Qt::ToolTipRole)
        return {};
    if (isHeading(index.row())) {
        const ShownHeading heading = this->heading(index.row());
        return role == Qt::AccessibleTextRole ? spokenHeading(heading) : heading.text;
    }
    const ShownMessage item = this->item(index.row());
    if (role == Qt::AccessibleTextRole)
        return spokenMessage(item);
    const auto column = MessageColumn(index.column());
    if (role == Qt::ToolTipRole && column == MessageColumn::Date)
        return longDate(item.overview.date());
    return columnText(item, column);
}

QVariant MessageListModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= kMessageColumnCount)
        return {};
    const MessageColumnRow &column = kMessageColumns[std::size_t(section)];
    const bool isPeople = MessageColumn(section) == MessageColumn::From && showsRecipients();
    const QString name = isPeople ? tr("To") : tr(column.name);
    const bool hasIcon = *column.icon != '\0';
    switch (role) {
    case Qt::DisplayRole: return hasIcon ? QString() : name;
    case Qt::DecorationRole: return hasIcon ? QVariant(icon(QString::fromLatin1(column.icon))) : QVariant();
    case Qt::ToolTipRole:
    case Qt::AccessibleTextRole: return name;
    case Qt::InitialSortOrderRole: return int(column.descending ? Qt::DescendingOrder : Qt::AscendingOrder);
    case Qt::TextAlignmentRole: {
        const auto which = MessageColumn(section);
        const bool atEnd = which == MessageColumn::Score || which == MessageColumn::Date ||
                           which == MessageColumn::Size || which == MessageColumn::Thread;
        return int((atEnd ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    }
    default: return {};
    }
}
