#pragma once

#include "message/message.h"

#include <QAbstractItemModel>

#include <array>
#include <vector>

/// The parts of a message as a tree; its one root is the message itself. What a row says is asked of the
/// message when the row is shown.
class PartsModel : public QAbstractItemModel
{
    Q_OBJECT

public:
    enum Column { Name, Type, Size, Encoding, Charset, Disposition };

    PartsModel(const Message &message, QObject *parent);

    /// -1 for the message itself.
    int partAt(const QModelIndex &index) const { return int(qint64(index.internalId())) - 1; }
    QModelIndex indexOf(int part) const;

    QModelIndex index(int row, int column, const QModelIndex &parent = {}) const override;
    QModelIndex parent(const QModelIndex &child) const override;
    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    QString text(int part, Column column) const;
    QString messageText(Column column) const;
    QString spoken(const QModelIndex &index) const;

    Message m_message;
    std::vector<QList<int>> m_children; ///< by part + 1
    std::vector<int> m_rows;            ///< of each part among its parent's
};
