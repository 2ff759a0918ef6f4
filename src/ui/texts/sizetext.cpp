#include "ui/texts/sizetext.h"

#include <QLocale>

QString sizeText(qint64 bytes)
{
    const int digits = bytes >= 1'000'000 && bytes < 100'000'000 ? 1 : 0;
    return QLocale().formattedDataSize(bytes, digits, QLocale::DataSizeSIFormat);
}
