#pragma once

#include <QByteArray>
#include <QImage>

/// A small picture of the one in @p file, its shorter side @p side pixels where it has as many. Null for what
/// is no bitmap and for what would take longer than a moment to decode, whatever it says of itself.
QImage smallPictureOf(const QByteArray &file, int side);
