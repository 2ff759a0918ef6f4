#include "ui/compose/smallpicture.h"

#include <QBuffer>
#include <QImageReader>

namespace {

// Some ten milliseconds each. The decoder of JPEG leaves out what a small picture does not need.
constexpr qint64 kMostPixels = 1'000'000;
constexpr qint64 kMostPhotoPixels = 4'000'000;
constexpr int kLongest = 20; ///< times as long as it is wide: no picture that says anything in a square

/// The bitmap formats that stand alone; SVG and its like can refer to files.
bool isBitmap(const QByteArray &format)
{
    return format == "png" || format == "jpeg" || format == "gif" || format == "bmp" || format == "webp";
}

bool isWorthIt(const QSize &size, bool isPhoto)
{
    const qint64 pixels = qint64(size.width()) * size.height();
    return !size.isEmpty() && pixels <= (isPhoto ? kMostPhotoPixels : kMostPixels) &&
           std::max(size.width(), size.height()) <= kLongest * std::min(size.width(), size.height());
}

} // namespace

QImage smallPictureOf(const QByteArray &file, int side)
{
    QBuffer buffer;
    buffer.setData(file);
    if (!buffer.open(QIODevice::ReadOnly))
        return {};
    const QByteArray format = QImageReader::imageFormat(&buffer);
    if (!isBitmap(format))
        return {};
    buffer.seek(0);
    QImageReader reader(&buffer, format);
    reader.setAutoDetectImageFormat(false);
    reader.setAutoTransform(true);
    const QSize size = reader.size();
    if (!isWorthIt(size, format == "jpeg"))
        return {};
    const QSize wanted = size.scaled(side, side, Qt::KeepAspectRatioByExpanding);
    if (wanted.width() < size.width())
        reader.setScaledSize(wanted);
    return reader.read();
}
