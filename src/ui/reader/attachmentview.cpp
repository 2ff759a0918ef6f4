#include "ui/reader/attachmentview.h"

#include "ui/look/colours.h"
#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/styleparts.h"
#include "ui/texts/harmless.h"

#include <QImage>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QStyledItemDelegate>

using namespace Qt::StringLiterals;

namespace {

constexpr int kNameColumns = 30; ///< average characters of a name at most
constexpr int kFewColumns = 12;  ///< of a card at least
constexpr int kMostRowsShown = 2;

class CardDelegate : public QStyledItemDelegate
{
public:
    explicit CardDelegate(AttachmentView *view)
        : QStyledItemDelegate(view)
        , m_view(view)
    {}

    void setRemovable(bool removable) { m_removable = removable; }

    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        const int name = option.fontMetrics.horizontalAdvance(index.data().toString());
        const int size = sizeMetrics().horizontalAdvance(index.data(AttachmentView::SizeRole).toString());
        const int wanted = 2 * space::group + signSide(index) + 2 * space::between + 2 +
                           std::min(name, columnWidth(kNameColumns)) + size + crossWidth();
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
        QRect inside = option.rect.adjusted(space::group, 0, -space::group, 0);
        const int icon = signSide(index);
        paintSign(painter, leading(&option, inside, icon), option, index);
        if (m_removable) {
            const int side = iconSize(IconUse::Row) * 3 / 4;
            paintIcon(painter,
                      QStyle::alignedRect(option.direction, Qt::AlignCenter, {side, side}, crossOf(option)),
                      u"close"_s, colour(Role::Text2), option.direction);
            inside = leading(&option, inside, inside.width() - crossWidth());
        }
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
        painter->drawText(sizeRect, Qt::AlignVCenter | Qt::AlignTrailing, isolatedName(size));
        painter->restore();
    }

    bool editorEvent(QEvent *event, QAbstractItemModel *model, const QStyleOptionViewItem &option,
                     const QModelIndex &index) override
    {
        if (m_removable && event->type() == QEvent::MouseButtonRelease) {
            const auto *mouse = static_cast<QMouseEvent *>(event);
            if (mouse->button() == Qt::LeftButton && crossOf(option).contains(mouse->position().toPoint())) {
                emit m_view->removeClicked(index);
                return true;
            }
        }
        return QStyledItemDelegate::editorEvent(event, model, option, index);
    }

private:
    static QFontMetrics sizeMetrics() { return QFontMetrics(fontScaled(scale::small)); }

    static int signSide(const QModelIndex &index)
    {
        const bool hasPicture = !index.data(AttachmentView::PictureRole).value<QImage>().isNull();
        return hasPicture ? AttachmentView::pictureSide() : iconSize(IconUse::Row);
    }

    int crossWidth() const { return m_removable ? iconSize(IconUse::Row) + space::between : 0; }

    QRect crossOf(const QStyleOptionViewItem &option) const
    {
        return trailing(&option, option.rect, iconSize(IconUse::Row) + space::between + space::group);
    }

    /// A picture fills its square; what is longer is cut on both sides.
    static void paintSign(QPainter *painter, const QRect &place, const QStyleOptionViewItem &option,
                          const QModelIndex &index)
    {
        const auto picture = index.data(AttachmentView::PictureRole).value<QImage>();
        if (picture.isNull()) {
            paintIcon(painter, place, index.data(AttachmentView::IconRole).toString(), colour(Role::Text2),
                      option.direction);
            return;
        }
        const int side = place.width();
        const QRect square(place.x(), place.center().y() - side / 2 + 1, side, side);
        const int least = std::min(picture.width(), picture.height());
        const QRect source((picture.width() - least) / 2, (picture.height() - least) / 2, least, least);
        QPainterPath path;
        path.addRoundedRect(square, radius::box, radius::box);
        painter->save();
        painter->setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
        painter->setClipPath(path);
        painter->fillRect(square, colour(Role::Base)); // below what is transparent
        painter->drawImage(square, picture, source);
        painter->restore();
    }

    AttachmentView *m_view;
    bool m_removable = false;
};

} // namespace

int AttachmentView::pictureSide()
{
    return controlHeight() - 2 * space::inner;
}

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

void AttachmentView::setRemovable(bool removable)
{
    static_cast<CardDelegate *>(itemDelegate())->setRemovable(removable);
    doItemsLayout();
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
