#include "ui/reader/attachmentview.h"

#include "ui/look/colours.h"
#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/styleparts.h"
#include "ui/texts/harmless.h"

#include <QPainter>
#include <QStyledItemDelegate>

using namespace Qt::StringLiterals;

namespace {

constexpr int kNameColumns = 30; ///< average characters of a name at most
constexpr int kFewColumns = 12;  ///< of a card at least
constexpr int kMostRowsShown = 2;

class CardDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        const int name = option.fontMetrics.horizontalAdvance(index.data().toString());
        const int size = sizeMetrics().horizontalAdvance(index.data(AttachmentView::SizeRole).toString());
        const int wanted = 2 * space::group + iconSize(IconUse::Row) + 2 * space::between + 2 +
                           std::min(name, columnWidth(kNameColumns)) + size;
        const int room = option.widget ? option.widget->width() - 2 * space::between - kScrollBar : wanted;
        return {std::max(std::min(wanted, room), columnWidth(kFewColumns)), controlHeight()};
    }

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        const bool selected = option.state & QStyle::State_Selected;
        const bool hovered = option.state & QStyle::State_MouseOver;
        const bool focused = option.state & QStyle::State_HasFocus;
        painter->save();
        paintPanel(painter, option.rect, radius::card,
                   colour(selected  ? Role::Selection
                          : hovered ? Role::Hover
                                    : Role::Alternate),
                   colour(Role::Line));
        if (focused)
            paintFocusRing(painter, option.rect, radius::card);
        const QRect inside = option.rect.adjusted(space::group, 0, -space::group, 0);
        const int icon = iconSize(IconUse::Row);
        paintIcon(painter, leading(&option, inside, icon), index.data(AttachmentView::IconRole).toString(),
                  colour(Role::Text2), option.direction);
        const QString size = index.data(AttachmentView::SizeRole).toString();
        const int sizeWidth = sizeMetrics().horizontalAdvance(size) + 1;
        QRect text = trailing(&option, inside, inside.width() - icon - space::between);
        const QRect sizeRect = trailing(&option, text, sizeWidth);
        text = leading(&option, text, text.width() - sizeWidth - space::between);
        painter->setFont(option.font);
        painter->setPen(colour(Role::Text));
        const QString name =
            option.fontMetrics.elidedText(index.data().toString(), Qt::ElideMiddle, text.width() + 1);
        painter->drawText(text, Qt::AlignLeading | Qt::AlignVCenter, isolatedName(name));
        painter->setFont(fontScaled(scale::small));
        painter->setPen(colour(Role::Text2));
        painter->drawText(sizeRect, Qt::AlignVCenter | Qt::AlignTrailing, size);
        painter->restore();
    }

private:
    static QFontMetrics sizeMetrics() { return QFontMetrics(fontScaled(scale::small)); }
};

} // namespace

AttachmentView::AttachmentView(QWidget *parent)
    : QListView(parent)
{
    setObjectName(u"attachments"_s);
    setFlow(LeftToRight);
    setWrapping(true);
    setResizeMode(Adjust);
    setMovement(Static);
    setSpacing(space::inner);
    setFrameShape(QFrame::NoFrame);
    setSelectionMode(ExtendedSelection);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollMode(ScrollPerPixel);
    setDragEnabled(true);
    setDragDropMode(DragOnly);
    setDefaultDropAction(Qt::CopyAction);
    setTabKeyNavigation(false);
    setMouseTracking(true);
    viewport()->setAutoFillBackground(false);
    setItemDelegate(new CardDelegate(this));
}

void AttachmentView::fitHeight()
{
    executeDelayedItemsLayout();
    const int row = controlHeight() + space::inner;
    setFixedHeight(std::clamp(contentsSize().height(), row, kMostRowsShown * row + space::inner) +
                   space::inner);
}

void AttachmentView::resizeEvent(QResizeEvent *event)
{
    QListView::resizeEvent(event);
    // other cards may stand in a line now; the layout that called does not listen while it works
    QMetaObject::invokeMethod(
        this, [this] { fitHeight(); }, Qt::QueuedConnection);
}
