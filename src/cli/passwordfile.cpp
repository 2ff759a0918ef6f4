#include "cli/passwordfile.h"

#include "cli/output.h"

#include <QFile>
#include <QStringDecoder>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {
constexpr qint64 kLongestLine = 4096;
}

bool readPasswordFile(Output &output, const QString &path, QString &password)
{
    QFile file(path);
    const bool isInput = path == u"-";
    if (!(isInput ? file.open(stdin, QIODevice::ReadOnly) : file.open(QIODevice::ReadOnly))) {
        output.complain(u"Unable to read file '%1'"_s.arg(path));
        return false;
    }
    const QFile::Permissions others =
        QFile::ReadGroup | QFile::ReadOther | QFile::WriteGroup | QFile::WriteOther;
    if (!isInput && (file.permissions() & others) != 0)
        output.complain(u"Others than its owner can read or write '%1'"_s.arg(path));
    QByteArray line = file.readLine(kLongestLine + 1);
    while (line.endsWith('\n') || line.endsWith('\r'))
        line.chop(1);
    if (line.isEmpty() || line.size() >= kLongestLine) {
        output.complain(u"The first line of '%1' is no password"_s.arg(path));
        return false;
    }
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    password = utf8(line);
    if (!utf8.hasError())
        return true;
    output.complain(u"The first line of '%1' is not UTF-8"_s.arg(path));
    return false;
}
