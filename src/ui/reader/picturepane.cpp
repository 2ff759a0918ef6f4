#include "ui/reader/picturepane.h"

#include "message/message.h"
#include "message/mimecontext.h"
#include "ui/look/colours.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/reader/bodyformat.h"
#include "ui/reader/messageimages.h"
#include "ui/texts/harmless.h"

#include <QPainter>
#include <QUrl>

using namespace Qt::StringLiterals;

PicturePane::PicturePane(const Message &message, int part, QWidget *parent)
    : QWidget(parent)
{
    setObjectName(u"picture"_s);
    setSurface(this, Role::Base);
    setFocusPolicy(Qt::StrongFocus);
    MessageImages images(message);
    if (!images.extentOf(part).size.isEmpty())
        m_image = images.image(QUrl(readerlink::part + QString::number(part)));
    const QString name = harmlessLine(message.mime().part(part).displayName(), 200);
    setAccessibleName(m_image.isNull() ? tr("The picture cannot be shown.") : tr("Picture %1").arg(name));
}

QSize PicturePane::sizeHint() const
{
    return m_image.isNull() ? QSize(columnWidth(40), textHeight() * 10)
                            : m_image.size().grownBy(QMargins(16, 16, 16, 16));
}

void PicturePane::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const QRect room = rect().adjusted(space::card, space::card, -space::card, -space::card);
    if (m_image.isNull()) {
        painter.setPen(colour(Role::Text2));
        painter.drawText(room, Qt::AlignCenter | Qt::TextWordWrap, accessibleName());
        return;
    }
    QSize size = m_image.size();
    if (size.width() > room.width() || size.height() > room.height())
        size.scale(room.size(), Qt::KeepAspectRatio);
    QRect place(QPoint(), size);
    place.moveCenter(room.center());
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(place, m_image);
}
