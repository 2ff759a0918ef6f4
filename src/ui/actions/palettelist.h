#pragma once

#include "ui/actions/paletteitems.h"

#include <QAbstractListModel>
#include <QStyledItemDelegate>

/// The matches of the palette, the best first.
class PaletteModel : public QAbstractListModel
{
    Q_OBJECT

public:
    using QAbstractListModel::QAbstractListModel;

    void show(const QList<PaletteItem> &items, const QString &typed);
    const PaletteItem &itemAt(int row) const { return m_items[m_matches[row].item]; }
    const QList<MatchedPiece> &piecesAt(int row) const { return m_matches[row].pieces; }

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;

private:
    QList<PaletteItem> m_items;
    QList<PaletteMatch> m_matches;
};

/// Draws icon, name with what was matched in bold, its place, and its keys as little caps.
class PaletteDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    explicit PaletteDelegate(const PaletteModel &model, QObject *parent);

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;

private:
    const PaletteModel &m_model;
};
