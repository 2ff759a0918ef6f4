// The plainest things that could be done with the same bytes, to hold the measurements against.
//
//   scan FILE          counts its lines
//   write FILE TARGET  writes its bytes to TARGET with one fsync
//   read DIRECTORY N   reads N of the files in DIRECTORY, chosen at random

#include "random.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>

#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace {

constexpr qint64 kPiece = 256 * 1024;

int finish(const QElapsedTimer &timer, const char *what, qint64 count)
{
    std::printf("%s %lld\nseconds %.6f\n", what, static_cast<long long>(count),
                double(timer.nsecsElapsed()) / 1e9);
    return 0;
}

int failed(const QString &name)
{
    std::fprintf(stderr, "%s cannot be read or written\n", qUtf8Printable(name));
    return 1;
}

int scan(const QString &name)
{
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return failed(name);
    QByteArray piece(kPiece, Qt::Uninitialized);
    qint64 lines = 0;
    QElapsedTimer timer;
    timer.start();
    for (qint64 got = file.read(piece.data(), kPiece); got > 0; got = file.read(piece.data(), kPiece)) {
        const char *const end = piece.constData() + got;
        for (const char *at = piece.constData(); at < end; ++at, ++lines) {
            at = static_cast<const char *>(std::memchr(at, '\n', std::size_t(end - at)));
            if (!at)
                break;
        }
    }
    return finish(timer, "lines", lines);
}

int write(const QString &name, const QString &targetName)
{
    QFile file(name);
    QFile target(targetName);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered) ||
        !target.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return failed(name);
    QByteArray piece(kPiece, Qt::Uninitialized);
    QElapsedTimer timer;
    timer.start();
    for (qint64 got = file.read(piece.data(), kPiece); got > 0; got = file.read(piece.data(), kPiece)) {
        if (target.write(piece.constData(), got) != got)
            return failed(targetName);
    }
    if (::fsync(target.handle()) != 0)
        return failed(targetName);
    return finish(timer, "bytes", target.size());
}

int readFiles(const QString &name, int count)
{
    const QDir directory(name);
    const QStringList names = directory.entryList(QDir::Files);
    if (names.isEmpty())
        return failed(name);
    Random random(1);
    qint64 bytes = 0;
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < count; ++i) {
        QFile file(directory.filePath(random.oneOf(names)));
        if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
            return failed(file.fileName());
        bytes += file.readAll().size();
    }
    return finish(timer, "bytes", bytes);
}

} // namespace

int main(int argc, char **argv)
{
    const QByteArrayView command(argc > 1 ? argv[1] : "");
    if (command == "scan" && argc == 3)
        return scan(QFile::decodeName(argv[2]));
    if (command == "write" && argc == 4)
        return write(QFile::decodeName(argv[2]), QFile::decodeName(argv[3]));
    if (command == "read" && argc == 4)
        return readFiles(QFile::decodeName(argv[2]), QByteArrayView(argv[3]).toByteArray().toInt());
    std::fprintf(stderr, "scan FILE, write FILE TARGET or read DIRECTORY COUNT\n");
    return 2;
}
