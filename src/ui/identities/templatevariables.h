#pragma once

#include <QAbstractListModel>
#include <QStyledItemDelegate>

#include <vector>

/// The variables of templates, one row for each way to write one, for the editor's list.
class TemplateVariables : public QAbstractListModel
{
    Q_OBJECT

public:
    explicit TemplateVariables(QObject *parent = nullptr);

    struct Row
    {
        QString text;    ///< what is inserted: "%from[name]"
        QString meaning; ///< for people
        int selected;    ///< characters before the closing bracket that are to be replaced; 0: none
    };
    const Row &at(int row) const { return m_rows[std::size_t(row)]; }

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;

private:
    std::vector<Row> m_rows;
};

/// Variables of @p text that are none and stay as they are written, once each.
QStringList unknownVariables(const QString &text);

/// Draws a variable above its meaning.
class TemplateVariableDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
};
