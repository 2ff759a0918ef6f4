#pragma once

#include <QStyledItemDelegate>

/// What a manager's row has besides its name.
enum ManagerRole { ManagerKey = Qt::UserRole + 1, ManagerIcon, ManagerSummary, ManagerState };

/// Draws icon, name and summary in two lines, the state at the trailing edge.
class ManagerDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
};
