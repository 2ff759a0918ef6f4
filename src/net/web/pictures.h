#pragma once

#include <QByteArrayView>

/// So many first bytes tell what a file is.
constexpr qsizetype kBytesThatTell = 18;

/// Whether a file that begins so is a PNG, JPEG, GIF, WebP or BMP: bitmaps, which cannot refer to anything
/// else. What the server says about it does not count.
bool beginsPicture(QByteArrayView bytes);
