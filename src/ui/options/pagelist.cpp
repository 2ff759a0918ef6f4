#include "ui/options/pagelist.h"

#include "ui/look/colours.h"
#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/rows.h"
#include "ui/look/velmarstyle.h"

#include <QPainter>
#include <QStyledItemDelegate>

using namespace Qt::StringLiterals;

namespace {

constexpr int kEdge = 20;               ///< icons begin and counts end here
constexpr int kLeastWidth = 33;         ///< characters
constexpr int kCountWidth = 4;          ///< characters
constexpr int kHitsRole = Qt::UserRole; ///< int; invalid without a search

class PageDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem &, const QModelIndex &) const override
    {
        return {0, rowHeight(RowKind::Tree)};
    }

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        painter->save();
        paintRowState(painter, option, option.widget);
        const QVariant hits = index.data(kHitsRole);
        const bool isDim = hits.isValid() && hits.toInt() == 0;
        const bool isSelected = option.state & QStyle::State_Selected;
        QRect rest = option.rect.adjusted(kEdge, 0, -kEdge, 0);
        const int size = iconSize(IconUse::Row);
        const QRect icon(rest.x(), rest.y(), size, rest.height());
        const Role iconRole = isDim ? Role::Disabled : isSelected ? Role::Link : Role::Text2;
        paintIcon(painter, QStyle::visualRect(option.direction, option.rect, icon),
                  QLatin1StringView(rowOf(OptionPage(index.row())).icon), colour(iconRole), option.direction);
        rest.setLeft(icon.right() + 1 + space::between);
        if (hits.toInt() > 0) {
            const QString count = QLocale().toString(hits.toInt());
            const QFont font = fontScaled(option.font, scale::section, QFont::DemiBold);
            const int width = QFontMetrics(font).horizontalAdvance(count) + 1;
            paintText(painter, option, {rest.right() - width + 1, rest.y(), width, rest.height()}, count,
                      font, Role::Link);
            rest.setRight(rest.right() - width - space::between);
        }
        paintText(painter, option, rest, index.data().toString(), option.font,
                  isDim ? Role::Text3 : Role::Text);
        painter->restore();
    }

private:
    static void paintText(QPainter *painter, const QStyleOptionViewItem &option, const QRect &rect,
                          const QString &text, const QFont &font, Role role)
    {
        painter->setFont(font);
        painter->setPen(colour(role));
        painter->drawText(QStyle::visualRect(option.direction, option.rect, rect),
                          int(QStyle::visualAlignment(option.direction, Qt::AlignLeading)) |
                              Qt::AlignVCenter | Qt::TextSingleLine,
                          QFontMetrics(font).elidedText(text, Qt::ElideRight, rect.width()));
    }
};

} // namespace

PageList::PageList(QWidget *parent)
    : QListWidget(parent)
{
    setObjectName(u"pages"_s);
    setAccessibleName(tr("Pages"));
    setFrameShape(QFrame::NoFrame);
    setSurface(this, Role::Sidebar);
    setRoundedRows(this);
    setItemDelegate(new PageDelegate(this));
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setUniformItemSizes(true);
    for (int i = 0; i < kOptionPageCount; ++i)
        addItem(optionWords(rowOf(OptionPage(i)).title));
    clearHits();
    setCurrentRow(0);
}

void PageList::setHits(const QList<int> &hits)
{
    for (int i = 0; i < count(); ++i) {
        const int found = hits.value(i);
        const QString number = found == 1 ? tr("1 found") : tr("%1 found").arg(QLocale().toString(found));
        item(i)->setData(kHitsRole, found);
        item(i)->setData(Qt::AccessibleTextRole, item(i)->text() + u", "_s + number);
    }
}

void PageList::clearHits()
{
    for (int i = 0; i < count(); ++i) {
        item(i)->setData(kHitsRole, {});
        item(i)->setData(Qt::AccessibleTextRole, item(i)->text());
    }
}

QSize PageList::sizeHint() const
{
    int width = 0;
    for (int i = 0; i < count(); ++i)
        width = std::max(width, fontMetrics().horizontalAdvance(item(i)->text()));
    width += 2 * kEdge + ::iconSize(IconUse::Row) + 2 * space::between + columnWidth(kCountWidth);
    return {std::max(width, columnWidth(kLeastWidth)), count() * rowHeight(RowKind::Tree)};
}
