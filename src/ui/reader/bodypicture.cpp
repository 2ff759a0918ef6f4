#include "ui/reader/bodypicture.h"

#include "ui/look/colours.h"
#include "ui/reader/bodydocument.h"

#include <QPainter>
#include <QTextDocument>
#include <QTextFrame>

#include <cmath>

namespace {

constexpr double kLeastRoom = 40;                   ///< pixels
constexpr qsizetype kMostScaled = 48 * 1024 * 1024; ///< bytes

/// What the margins, borders and paddings around @p position leave of the width. Cells of tables do not say
/// how wide they are before they are laid out.
double roomAt(const QTextDocument &document, int position)
{
    double room = document.textWidth();
    if (room <= 0)
        return 0; // not known
    // no cursor: it would ask the layout that is asking us
    for (const QTextFrame *frame = document.frameAt(position); frame; frame = frame->parentFrame()) {
        const QTextFrameFormat format = frame->frameFormat();
        room -= format.leftMargin() + format.rightMargin() + 2 * (format.padding() + format.border());
    }
    return std::max(room, kLeastRoom);
}

/// The size that is given in part or in whole, in the shape of @p natural.
QSizeF sizeBy(const QTextImageFormat &format, const QSizeF &natural)
{
    const double width = format.hasProperty(QTextFormat::ImageWidth) ? format.width() : 0;
    const double height = format.hasProperty(QTextFormat::ImageHeight) ? format.height() : 0;
    if (width > 0 && height > 0)
        return {width, height};
    if (natural.isEmpty())
        return width > 0 || height > 0 ? QSizeF(std::max(width, 1.0), std::max(height, 1.0)) : QSizeF(1, 1);
    if (width > 0)
        return {width, natural.height() * width / natural.width()};
    return height > 0 ? QSizeF(natural.width() * height / natural.height(), height) : natural;
}

} // namespace

BodyPicture::BodyPicture(BodyDocument *document)
    : QObject(document)
    , m_document(document)
    , m_scaled(kMostScaled)
{}

QSizeF BodyPicture::intrinsicSize(QTextDocument *document, int position, const QTextFormat &format)
{
    const QTextImageFormat image = format.toImageFormat();
    const bool isGiven =
        format.hasProperty(QTextFormat::ImageWidth) && format.hasProperty(QTextFormat::ImageHeight);
    // a picture whose size is known is decoded when it is painted and not before
    const QSizeF natural = isGiven ? QSizeF() : QSizeF(m_document->picture(image.name()).image.size());
    const QSizeF size = sizeBy(image, natural);
    const double room = roomAt(*document, position);
    return room <= 0 || size.width() <= room ? size : size * (room / size.width());
}

void BodyPicture::drawObject(QPainter *painter, const QRectF &rect, QTextDocument *, int,
                             const QTextFormat &format)
{
    const QString name = format.toImageFormat().name();
    const BodyDocument::Picture &picture = m_document->picture(name);
    if (picture.state == BodyDocument::Picture::Here) {
        const double ratio = painter->device()->devicePixelRatioF();
        painter->drawImage(rect, scaled(name, picture.image, (rect.size() * ratio).toSize()));
    } else if (rect.height() > 8) {
        QColor quiet = colour(Role::Text2);
        quiet.setAlphaF(0.12F); // it lies on the message's own colours
        painter->fillRect(rect, quiet);
    }
}

/// Making a picture smaller takes longer than drawing it.
QImage BodyPicture::scaled(const QString &name, const QImage &image, const QSize &size)
{
    if (size.isEmpty() || size.width() >= image.width())
        return image;
    const auto key = std::pair(name, std::pair(size.width(), size.height()));
    if (const QImage *kept = m_scaled.object(key))
        return *kept;
    const QImage made = image.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    m_scaled.insert(key, new QImage(made), made.sizeInBytes());
    return made;
}
