#pragma once

#include "message/address.h"

#include <QList>
#include <QRect>
#include <QSet>
#include <QString>

#include <algorithm>

/// One recipient in a field, as it is laid out now.
struct RecipientPill
{
    Address address;
    QString doubt; ///< why it looks wrong, for people; empty: it does not
    bool selected = false;
    QRect place; ///< left to right, in the coordinates of the field's contents
};

/// The recipients of one field in their order, laid out in lines: positions, selection and text. Paints
/// nothing and knows no widget.
class RecipientPills
{
public:
    struct Sizes
    {
        int width = 0;   ///< of the field
        int height = 0;  ///< of a pill
        int gap = 0;     ///< between pills and between lines
        int atLeast = 0; ///< of the entry field behind the last pill
        int widest = 0;  ///< of a pill
    };

    const QList<RecipientPill> &all() const { return m_pills; }
    int count() const { return int(m_pills.size()); }

    /// Puts @p addresses in at @p index; those that are there already, without regard to case, are left out
    /// and become what is selected. How many were put in.
    int insert(int index, const QList<Address> &addresses);
    void remove(int index);
    QList<Address> removeSelected();
    void clear() { m_pills.clear(); }
    void setDoubt(int index, const QString &doubt) { m_pills[index].doubt = doubt; }

    /// @name Selection
    /// @{
    void select(int index, bool keepOthers = false);
    void selectTo(int index); ///< from the one selected last
    void toggle(int index);
    void selectAll();
    void selectNone();
    bool hasSelection() const;
    QList<Address> selected() const;
    int current() const { return m_current; } ///< -1: none
    /// @}

    /// Lays them out; @p widthOf gives what a pill would like. The place of the entry field is the result.
    template <typename WidthOf>
    QRect layOut(const Sizes &sizes, WidthOf widthOf);

    int at(const QPoint &point) const; ///< -1: none there

    /// Where something dropped at @p point goes: an index from 0 to count().
    int gapAt(const QPoint &point) const;

    /// All as the text of a header field that a person may read.
    QString text() const;

private:
    int find(const Address &address) const;

    QList<RecipientPill> m_pills;
    int m_current = -1;
};

QString textOfAddresses(const QList<Address> &addresses);

template <typename WidthOf>
QRect RecipientPills::layOut(const Sizes &sizes, WidthOf widthOf)
{
    QPoint next(0, 0);
    for (RecipientPill &pill : m_pills) {
        const int width = std::min({widthOf(pill), sizes.widest, sizes.width});
        if (next.x() > 0 && next.x() + width > sizes.width)
            next = QPoint(0, next.y() + sizes.height + sizes.gap);
        pill.place = QRect(next, QSize(width, sizes.height));
        next.rx() += width + sizes.gap;
    }
    if (next.x() > 0 && next.x() + sizes.atLeast > sizes.width)
        next = QPoint(0, next.y() + sizes.height + sizes.gap);
    return {next, QSize(std::max(sizes.width - next.x(), sizes.atLeast), sizes.height)};
}
