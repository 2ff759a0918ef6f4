#pragma once

#include "ui/tree/groupmatch.h"

#include <QAbstractListModel>
#include <QStyledItemDelegate>

#include <functional>
#include <vector>

class Group;
class GroupStore;

/// The groups that were chosen lately, to be offered first.
class RecentGroups
{
public:
    /// The last one first.
    const QList<int> &numbers() const { return m_numbers; }
    void note(int number);

private:
    QList<int> m_numbers;
};

/// Groups by their full names, narrowed by what is typed: every word must fit, in any order, be it only by
/// the first letters of words; what fits best comes first. Without words the recent ones come first, then
/// all in the order of the tree.
class GroupChoices : public QAbstractListModel
{
    Q_OBJECT

public:
    /// Takes from @p store what @p offers says; @p top is the text of an entry for number 0, empty for none.
    GroupChoices(const GroupStore &store, const std::function<bool(const Group &)> &offers,
                 const QList<int> &recent, const QString &top, QObject *parent = nullptr);

    void narrow(const QString &typed);

    struct Choice
    {
        int number = 0;
        QString icon;
        QString path;
        bool isRecent = false;
    };
    const Choice &at(int row) const;

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;

private:
    struct Entry : Choice
    {
        SearchName name;
        int recency = 0; ///< place among the recent ones
    };
    int weightOf(const Entry &entry, const QStringList &words) const;

    std::vector<Entry> m_entries;
    std::vector<int> m_shown;
};

/// Draws icon, the levels above in a quieter colour, the name, and at the end of the row whether it was
/// chosen lately.
class GroupChoiceDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
};
