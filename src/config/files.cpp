#include "config/files.h"

#include "config/reporter.h"

#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>
#include <QStringEncoder>

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace {

bool copyBytes(const QString &from, const QString &to)
{
    QFile source(from);
    if (!source.open(QIODevice::ReadOnly))
        return false;
    const qint64 size = source.size();
    const QByteArray bytes = source.read(size);
    if (bytes.size() != size || source.size() != size) // what is being appended to would lose its end
        return false;
    QFile target(to);
    return target.open(QIODevice::WriteOnly | QIODevice::Truncate, QFile::ReadOwner | QFile::WriteOwner) &&
           target.write(bytes) == size && target.flush();
}

} // namespace

bool replaceFile(const QString &from, const QString &to)
{
    if (std::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) != 0)
        return false;
    syncDirectoryOf(to);
    return true;
}

bool copyFile(const QString &from, const QString &to, bool move)
{
    if (move && std::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0)
        return true;
    return copyBytes(from, to) && (!move || QFile::remove(from));
}

QString readTextFile(const QString &path, QObject *parent, const QByteArray &encoding)
{
    QFile file(path);
    if (!file.exists())
        return {};
    if (!file.open(QIODevice::ReadOnly)) {
        report(parent, ReportLevel::Warning, "Unable to read file '%s'", qUtf8Printable(path));
        return {};
    }
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        report(parent, ReportLevel::Warning, "Unable to read file '%s'", qUtf8Printable(path));
        return {};
    }
    if (encoding.isEmpty())
        return decodeTextFile(bytes);
    QStringDecoder decoder(encoding.constData());
    return decoder.isValid() ? QString(decoder(bytes)) : decodeTextFile(bytes);
}

bool writeTextFile(const QString &path, const QString &text, QObject *parent, const QByteArray &encoding)
{
    QByteArray bytes = text.toUtf8();
    if (!encoding.isEmpty()) {
        QStringEncoder encoder(encoding.constData());
        if (encoder.isValid())
            bytes = encoder(text);
    }
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size() &&
        file.flush())
        return true;
    report(parent, ReportLevel::Warning, "Unable to write file '%s'", qUtf8Printable(path));
    return false;
}

QString decodeTextFile(const QByteArray &bytes)
{
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = utf8(bytes);
    if (!utf8.hasError())
        return text;
    QStringDecoder western("windows-1252", QStringDecoder::Flag::Stateless);
    return western.isValid() ? QString(western(bytes)) : QString::fromLatin1(bytes);
}

QStringList splitLines(const QString &text)
{
    QStringList lines = text.split(u'\n');
    if (lines.last().isEmpty())
        lines.removeLast();
    for (QString &line : lines) {
        if (line.endsWith(u'\r'))
            line.chop(1);
    }
    return lines;
}

bool syncFile(QFileDevice &file)
{
    return file.flush() && ::fdatasync(file.handle()) == 0;
}

bool syncDirectoryOf(const QString &path)
{
    const QByteArray directory = QFile::encodeName(QFileInfo(path).path());
    const int handle = ::open(directory.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (handle < 0)
        return false;
    const bool synced = ::fsync(handle) == 0;
    ::close(handle);
    return synced;
}

bool writeReplacing(const QString &path, const std::function<bool(QFileDevice &)> &write)
{
    const QString temporary = path + u'~';
    QFile file(temporary);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate, QFile::ReadOwner | QFile::WriteOwner))
        return false; // private also where the user made the directory, which others may read then
    const bool written = write(file) && syncFile(file);
    file.close();
    if (written && replaceFile(temporary, path))
        return true;
    QFile::remove(temporary);
    return false;
}

bool writeReplacing(const QString &path, QByteArrayView contents)
{
    return writeReplacing(path, [contents](QFileDevice &file) {
        return file.write(contents.data(), contents.size()) == contents.size();
    });
}
