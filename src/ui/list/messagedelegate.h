#pragma once

#include "ui/list/messagelistmodel.h"

#include <QStyledItemDelegate>

#include <optional>

/// Draws the rows of a message list: in columns on one line, or all of a message on two lines where the list
/// is narrow. Headings are drawn whole, across the columns.
class MessageDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    /// @p model must outlive this.
    explicit MessageDelegate(const MessageListModel &model, QObject *parent = nullptr);

    void setTwoLines(bool twoLines) { m_twoLines = twoLines; }

    /// The column Thread is there: the subject need not say how many there are.
    void setThreadColumn(bool shown) { m_threadColumn = shown; }
    bool isTwoLines() const { return m_twoLines; }

    /// Where the chevron of a row is in the cell @p rect of its subject, for the mouse.
    QRect chevronRect(const QRect &rect, int depth, Qt::LayoutDirection direction) const;

    /// The cells painted in between are all of one row: its message is looked up once.
    void beginRow(int place) const { m_row = m_model.item(place); }
    void endRow() const { m_row.reset(); }

    /// Paints the heading at @p place over the whole of @p option's rectangle.
    void paintHeading(QPainter *painter, const QStyleOptionViewItem &option, int place) const;

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;

private:
    struct Row;

    void paintCell(Row &row, MessageColumn column) const;
    void paintSubject(Row &row) const;
    void paintSigns(Row &row) const;
    void paintTwoLines(Row &row) const;

    const MessageListModel &m_model;
    mutable std::optional<ShownMessage> m_row;
    bool m_twoLines = false;
    bool m_threadColumn = false;
};
