#include "net/web/pictures.h"

#include <QtEndian>

namespace {

/// "BM" alone begins texts, too; the size of the header behind the file's own tells the kind of bitmap.
bool beginsBmp(QByteArrayView bytes)
{
    constexpr std::array kHeaderSizes = {12u, 40u, 52u, 56u, 64u, 108u, 124u};
    return bytes.startsWith("BM") &&
           std::find(kHeaderSizes.begin(), kHeaderSizes.end(),
                     qFromLittleEndian<quint32>(bytes.data() + 14)) != kHeaderSizes.end();
}

} // namespace

bool beginsPicture(QByteArrayView bytes)
{
    if (bytes.size() < kBytesThatTell)
        return false;
    return bytes.startsWith("\x89PNG\r\n\x1A\n") || bytes.startsWith("\xFF\xD8\xFF") ||
           bytes.startsWith("GIF87a") || bytes.startsWith("GIF89a") ||
           (bytes.startsWith("RIFF") && bytes.sliced(8).startsWith("WEBP")) || beginsBmp(bytes);
}
