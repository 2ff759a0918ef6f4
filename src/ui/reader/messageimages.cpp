#include "ui/reader/messageimages.h"

#include "message/mimecontext.h"
#include "ui/reader/bodyformat.h"

#include <QBuffer>
#include <QImageReader>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kMostPixels = 16'000'000;      ///< of one picture, decoded whole: a fifth of a second
constexpr qint64 kMostPhotoPixels = 64'000'000; ///< of a JPEG, which is decoded in the size it is shown in
constexpr qint64 kMostInAll = 120'000'000;      //
constexpr int kGreatestSide = 4096;             ///< of what is kept
constexpr int kAllocationLimit = 192;           ///< MB

/// The bitmap formats that stand alone; SVG and its like can refer to files.
bool isBitmap(const QByteArray &format)
{
    return format == "png" || format == "jpeg" || format == "gif" || format == "bmp" || format == "webp";
}

/// A reader of the format that the bytes themselves say; of none when that is not a bitmap.
void prepare(QImageReader &reader, QBuffer &buffer)
{
    const QByteArray format = QImageReader::imageFormat(&buffer);
    buffer.seek(0);
    reader.setAutoDetectImageFormat(false);
    reader.setAutoTransform(true);
    reader.setDevice(&buffer);
    reader.setFormat(isBitmap(format) ? format : "none");
}

/// As it is stored, before it is turned; empty when it is no picture or an unreasonable one.
QSize storedSize(const QImageReader &reader)
{
    const QSize size = reader.size();
    const qint64 most = reader.format() == "jpeg" ? kMostPhotoPixels : kMostPixels;
    const bool reasonable = !size.isEmpty() && qint64(size.width()) * size.height() <= most;
    return reasonable ? size : QSize();
}

/// Whether the mark that ends a picture is there; what has none is taken for whole.
bool hasEnd(const QByteArray &bytes, const QByteArray &format)
{
    constexpr qsizetype kTail = 16 * 1024; // some programs add something behind the end
    const QByteArray tail = bytes.last(std::min(bytes.size(), kTail));
    if (format == "jpeg")
        return tail.contains("\xFF\xD9");
    if (format == "png")
        return tail.contains("IEND");
    return format != "gif" || tail.contains(';');
}

QByteArray base64Of(const QString &data) // "image/png;base64,..."
{
    const qsizetype comma = data.indexOf(u',');
    if (comma < 0 || !data.first(comma).endsWith(u";base64", Qt::CaseInsensitive))
        return {};
    return QByteArray::fromBase64(data.sliced(comma + 1).toLatin1());
}

} // namespace

MessageImages::MessageImages(const Message &message)
    : m_message(message)
    , m_budget(kMostInAll)
{
    if (QImageReader::allocationLimit() == 0 || QImageReader::allocationLimit() > kAllocationLimit)
        QImageReader::setAllocationLimit(kAllocationLimit);
}

QImage MessageImages::nothing()
{
    QImage pixel(1, 1, QImage::Format_ARGB32_Premultiplied);
    pixel.fill(Qt::transparent);
    return pixel;
}

QByteArray MessageImages::bytesFor(const QUrl &url) const
{
    if (url.scheme() == "data"_L1)
        return base64Of(url.path(QUrl::FullyDecoded));
    const MIMEContext &mime = m_message.mime();
    if (url.scheme() == "cid"_L1) {
        const int part = mime.indexOfContentId(url.path(QUrl::FullyDecoded).toUtf8());
        return part < 0 ? QByteArray() : mime.decodedBytes(part);
    }
    const QString name = url.toString();
    if (!name.startsWith(readerlink::part))
        return {};
    const int part = QStringView(name).sliced(readerlink::part.size()).toInt();
    return part < mime.count() ? mime.decodedBytes(part) : QByteArray();
}

QImage MessageImages::decoded(QByteArray bytes)
{
    QBuffer buffer(&bytes);
    if (bytes.isEmpty() || !buffer.open(QIODevice::ReadOnly))
        return {};
    QImageReader reader;
    prepare(reader, buffer);
    const QSize size = storedSize(reader);
    const qint64 pixels = qint64(size.width()) * size.height();
    if (size.isEmpty() || pixels > m_budget)
        return {};
    m_budget -= pixels;
    if (size.width() > kGreatestSide || size.height() > kGreatestSide)
        reader.setScaledSize(
            size.scaled(kGreatestSide, kGreatestSide, Qt::KeepAspectRatio).expandedTo({1, 1}));
    return reader.read();
}

MessageImages::Extent MessageImages::extentOf(int part) const
{
    QByteArray bytes = m_message.mime().decodedBytes(part);
    QBuffer buffer(&bytes);
    if (bytes.isEmpty() || !buffer.open(QIODevice::ReadOnly))
        return {};
    QImageReader reader;
    prepare(reader, buffer);
    const QSize size = storedSize(reader);
    const bool turned = reader.transformation() & QImageIOHandler::TransformationRotate90;
    return {turned ? size.transposed() : size, hasEnd(bytes, reader.format())};
}
