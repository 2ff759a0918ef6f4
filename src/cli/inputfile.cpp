#include "cli/inputfile.h"

#include <QFile>

#include <cstdio>

using namespace Qt::StringLiterals;

std::optional<QByteArray> inputFile(const QString &path)
{
    constexpr qsizetype kLongest = qsizetype(1) << 30;
    constexpr qint64 kPiece = 1 << 20;
    QFile file(path);
    const bool open = path == u"-" ? file.open(stdin, QIODevice::ReadOnly) : file.open(QIODevice::ReadOnly);
    if (!open)
        return {};
    QByteArray bytes;
    for (QByteArray piece = file.read(kPiece); !piece.isEmpty(); piece = file.read(kPiece)) {
        if (bytes.size() + piece.size() > kLongest)
            return {};
        bytes += piece;
    }
    return file.error() == QFileDevice::NoError ? std::optional(std::move(bytes)) : std::nullopt;
}
