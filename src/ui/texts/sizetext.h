#pragma once

#include <QString>

/// A number of bytes as people say it, in the user's language: "46 bytes", "18 kB", "1.8 MB".
QString sizeText(qint64 bytes);
