#include "config/directory.h"
#include "config/files.h"
#include "config/reporter.h"
#include "identity/signatures.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QRandomGenerator>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kMostBytes = 8 * 1024 * 1024;

QString fileName(int identity)
{
    return u"Identities/%1/Taglines"_s.arg(identity);
}

bool isPercents(const QString &line)
{
    return !line.isEmpty() && std::all_of(line.begin(), line.end(), [](QChar c) { return c == u'%'; });
}

/// A line "%" stands between two taglines; a line of percent signs in one has one more of them in the file.
QString asRecord(const QString &tagline)
{
    QString record;
    for (const QString &line : splitLines(tagline))
        record += (isPercents(line) ? u'%' + line : line) + u'\n';
    return record;
}

QStringList fromRecords(const QString &text)
{
    QStringList taglines;
    QStringList lines;
    const auto endOne = [&] {
        const QString tagline = lines.join(u'\n');
        if (!tagline.trimmed().isEmpty())
            taglines += tagline;
        lines.clear();
    };
    for (const QString &line : splitLines(text)) {
        if (line == u"%")
            endOne();
        else
            lines += isPercents(line) ? line.sliced(1) : line;
    }
    endOne();
    return taglines;
}

} // namespace

QStringList readTaglines(int identity)
{
    const QString path = configPathOf(fileName(identity));
    if (!QFileInfo::exists(path))
        return {};
    QFile file(path);
    if (QFileInfo(path).isFile() && file.size() <= kMostBytes && file.open(QIODevice::ReadOnly)) {
        const QByteArray bytes = file.readAll();
        if (file.error() == QFileDevice::NoError)
            return fromRecords(decodeTextFile(bytes));
    }
    report(ReportLevel::Warning, "Unable to open tagline file");
    return {};
}

bool writeTaglines(int identity, const QStringList &taglines)
{
    QString text;
    for (const QString &tagline : taglines) {
        if (tagline.trimmed().isEmpty())
            continue;
        text += (text.isEmpty() ? QString() : u"%\n"_s) + asRecord(tagline);
    }
    QString path = fileName(identity);
    const QByteArray bytes = text.toUtf8();
    if (storeAccess() == StoreAccess::ReadWrite && bytes.size() <= kMostBytes && configFile(path, false) &&
        writeReplacing(path, bytes))
        return true;
    report(ReportLevel::Warning, "Unable to write tagline file");
    return false;
}

QString nextTagline(int identity)
{
    static QHash<int, QString> s_before; // only so that two messages in a row do not end alike
    QStringList taglines = readTaglines(identity);
    taglines.removeDuplicates();
    if (taglines.size() > 1)
        taglines.removeAll(s_before.value(identity));
    if (taglines.isEmpty())
        return {};
    const QString chosen = taglines.at(QRandomGenerator::global()->bounded(taglines.size()));
    s_before.insert(identity, chosen);
    return chosen;
}
