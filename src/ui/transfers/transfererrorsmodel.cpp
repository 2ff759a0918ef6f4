#include "ui/transfers/transfererrorsmodel.h"

#include "net/transfererrors.h"
#include "ui/texts/harmless.h"

#include <QDateTime>

#include <array>
#include <numeric>

using namespace Qt::StringLiterals;

namespace {

constexpr std::array kColumns = {
    QT_TRANSLATE_NOOP("TransferErrorsModel", "Account"),
    QT_TRANSLATE_NOOP("TransferErrorsModel", "Time"),
    QT_TRANSLATE_NOOP("TransferErrorsModel", "Error"),
};
static_assert(kColumns.size() == TransferErrorsModel::ColumnCount);

QString textOf(const TransferError &error, int column)
{
    switch (column) {
    case TransferErrorsModel::AccountColumn: return harmlessLine(error.accountName);
    case TransferErrorsModel::TimeColumn: return errorTime(error);
    case TransferErrorsModel::ErrorColumn: return harmlessLine(error.text);
    default: return {};
    }
}

} // namespace

QString errorTime(const TransferError &error)
{
    return QDateTime::fromSecsSinceEpoch(error.time).toString(u"yyyy-MM-dd hh:mm:ss"_s);
}

TransferErrorsModel::TransferErrorsModel(TransferErrors &errors, QObject *parent)
    : QAbstractTableModel(parent)
    , m_errors(errors)
{
    connect(&errors, &TransferErrors::added, this, [this] {
        beginInsertRows({}, 0, 0); // it is there already: nobody looks in between
        endInsertRows();
    });
    // one at the end goes; the next moment one is added, so a full list is simply told anew
    connect(&errors, &TransferErrors::droppedOldest, this, [this] {
        beginResetModel();
        endResetModel();
    });
    connect(&errors, &TransferErrors::cleared, this, [this] {
        beginResetModel();
        endResetModel();
    });
}

const TransferError &TransferErrorsModel::at(int row) const
{
    return m_errors.all()[m_errors.all().size() - 1 - std::size_t(row)];
}

QString TransferErrorsModel::asText(const QList<int> &rows) const
{
    QStringList lines;
    for (const int row : rows) {
        const TransferError &error = at(row);
        lines.append(error.accountName + u'\t' + errorTime(error) + u'\t' + error.text);
    }
    return lines.join(u'\n');
}

QString TransferErrorsModel::asText() const
{
    QList<int> rows(rowCount());
    std::iota(rows.begin(), rows.end(), 0);
    return asText(rows);
}

int TransferErrorsModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_errors.all().size());
}

int TransferErrorsModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant TransferErrorsModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount())
        return {};
    const TransferError &error = at(index.row());
    if (role == Qt::DisplayRole)
        return textOf(error, index.column());
    if (role == Qt::ToolTipRole && index.column() != TimeColumn) // the others may be cut
        return asToolTip(textOf(error, index.column()));
    return {};
}

QVariant TransferErrorsModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section >= ColumnCount)
        return {};
    return tr(kColumns[std::size_t(section)]);
}
