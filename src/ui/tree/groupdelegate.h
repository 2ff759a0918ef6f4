#pragma once

#include <QStyledItemDelegate>

class GroupTreeModel;

/// Draws the rows of the tree: headings, groups with icon and name, and behind it how many messages wait.
class GroupDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    explicit GroupDelegate(const GroupTreeModel &model, QObject *parent = nullptr);

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;

    /// Where the chevron of a row with others below it is, in the row @p rect.
    QRect chevronRect(const QRect &rect, int depth, Qt::LayoutDirection direction) const;

private:
    void paintSection(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const;
    void paintHiddenLine(QPainter *painter, const QStyleOptionViewItem &option,
                         const QModelIndex &index) const;
    void paintGroup(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const;
    void paintFold(QPainter *painter, const QStyleOptionViewItem &option, int depth) const;

    const GroupTreeModel &m_model;
};
