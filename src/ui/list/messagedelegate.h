#pragma once

#include "ui/list/messagelistmodel.h"

#include <QStyledItemDelegate>

/// Draws the rows of a message list: in columns on one line, or all of a message on two lines where the list
/// is narrow.
class MessageDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    /// @p model must outlive this.
    explicit MessageDelegate(const MessageListModel &model, QObject *parent = nullptr);

    void setTwoLines(bool twoLines) { m_twoLines = twoLines; }
    bool isTwoLines() const { return m_twoLines; }

    /// Where the chevron of a row is in the cell @p rect of its subject, for the mouse.
    QRect chevronRect(const QRect &rect, int depth, Qt::LayoutDirection direction) const;

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;

private:
    struct Row;

    void paintCell(Row &row, MessageColumn column) const;
    void paintSubject(Row &row) const;
    void paintTwoLines(Row &row) const;

    const MessageListModel &m_model;
    bool m_twoLines = false;
};
