#pragma once

#include <QAbstractTableModel>

class TransferErrors;
struct TransferError;

/// The errors of all accounts as rows, the newest first.
class TransferErrorsModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column { AccountColumn, TimeColumn, ErrorColumn, ColumnCount };

    /// @p errors must outlive this.
    explicit TransferErrorsModel(TransferErrors &errors, QObject *parent = nullptr);

    const TransferError &at(int row) const;

    /// "account<tab>yyyy-MM-dd hh:mm:ss<tab>error", one line each, "\n" between them.
    QString asText(const QList<int> &rows) const;
    QString asText() const;

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    TransferErrors &m_errors;
};

/// The moment of @p error as the list and its copies write it.
QString errorTime(const TransferError &error);
