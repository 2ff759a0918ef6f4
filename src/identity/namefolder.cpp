#include "identity/namefolder.h"

#include "config/directory.h"
#include "config/files.h"
#include "identity/oneline.h"
#include "message/safename.h"

#include <QCollator>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocale>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kMostBytes = 1024 * 1024;
constexpr qsizetype kLongestFileName = 240; ///< file systems take 255, and one more is wanted while writing

/// Characters that mean something to some file system, or that are not seen.
bool wantsEscape(QChar c)
{
    const QChar::Category category = c.category();
    return category == QChar::Other_Control || category == QChar::Other_Format ||
           category == QChar::Separator_Line || category == QChar::Separator_Paragraph ||
           QStringView(u"%/\\<>:\"|?*~").contains(c);
}

QString percentEscape(QStringView text)
{
    const QByteArray digits = text.toUtf8().toHex().toUpper();
    QString out;
    for (qsizetype i = 0; i < digits.size(); i += 2)
        out += u'%' + QString::fromLatin1(digits.sliced(i, 2));
    return out;
}

bool isHalfWritten(const QString &file)
{
    return file.endsWith(u'~');
}

} // namespace

QString escapedFileName(const QString &name)
{
    const QString line = oneLineOf(name);
    QString out;
    for (qsizetype i = 0; i < line.size(); ++i) {
        const bool isDotAtEnd = line[i] == u'.' && (i == 0 || i + 1 == line.size()); // hidden, or dropped
        if (isDotAtEnd || wantsEscape(line[i]))
            out += percentEscape(QStringView(line).sliced(i, 1));
        else
            out += line[i];
    }
    if (!out.isEmpty() && safeFileName(out, int(kLongestFileName) + 1).startsWith(u'_') && out[0] != u'_')
        out = percentEscape(QStringView(out).first(1)) + out.sliced(1); // a device of Windows
    return out;
}

QString shownFileName(const QString &fileName)
{
    return oneLineOf(QString::fromUtf8(QByteArray::fromPercentEncoding(fileName.toUtf8())));
}

NameFolder::NameFolder(QString folder)
    : m_folder(std::move(folder))
{}

QString NameFolder::path() const
{
    return configPathOf(m_folder);
}

bool NameFolder::isReadable() const
{
    const QFileInfo info(path());
    return !info.exists() || (info.isDir() && info.isReadable() && info.isExecutable());
}

QStringList NameFolder::names() const
{
    QStringList names;
    for (const QString &file : QDir(path()).entryList(QDir::Files)) {
        if (!isHalfWritten(file))
            names += shownFileName(file);
    }
    names.removeAll(QString());
    names.removeDuplicates();
    const QLocale locale;
    QCollator collator(locale.language() == QLocale::C ? QLocale(QLocale::English) : locale);
    collator.setNumericMode(true);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::sort(names.begin(), names.end(), [&](const QString &one, const QString &other) {
        const int order = collator.compare(one, other);
        return order != 0 ? order < 0 : one < other;
    });
    return names;
}

/// The file that shows @p name, as it is called; empty without one. Files that people put there themselves
/// need not be escaped as the program does it.
QString NameFolder::fileOf(const QString &name) const
{
    const QString wanted = oneLineOf(name);
    const QString escaped = escapedFileName(name);
    if (escaped.isEmpty())
        return {};
    const QStringList files = QDir(path()).entryList(QDir::Files);
    if (files.contains(escaped))
        return escaped;
    for (const QString &file : files) {
        if (!isHalfWritten(file) && shownFileName(file) == wanted)
            return file;
    }
    return {};
}

bool NameFolder::has(const QString &name) const
{
    return !fileOf(name).isEmpty();
}

std::optional<QByteArray> NameFolder::read(const QString &name) const
{
    const QString found = fileOf(name);
    QFile file(path() + u'/' + found);
    if (found.isEmpty() || !QFileInfo(file).isFile() || file.size() > kMostBytes ||
        !file.open(QIODevice::ReadOnly))
        return {};
    QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return {};
    return bytes;
}

bool NameFolder::write(const QString &name, QByteArrayView contents) const
{
    const QString present = fileOf(name);
    const QString file = present.isEmpty() ? escapedFileName(name) : present;
    QString folder = m_folder;
    if (storeAccess() == StoreAccess::ReadOnly || file.isEmpty() || file.toUtf8().size() > kLongestFileName ||
        contents.size() > kMostBytes || !configFile(folder, true))
        return false;
    return writeReplacing(folder + u'/' + file, contents);
}

bool NameFolder::rename(const QString &from, const QString &to) const
{
    const QString old = fileOf(from);
    const QString fresh = escapedFileName(to);
    return storeAccess() == StoreAccess::ReadWrite && !old.isEmpty() && !fresh.isEmpty() &&
           fresh.toUtf8().size() <= kLongestFileName &&
           QFile::rename(path() + u'/' + old, path() + u'/' + fresh);
}

bool NameFolder::remove(const QString &name) const
{
    const QString found = fileOf(name);
    return found.isEmpty() ||
           (storeAccess() == StoreAccess::ReadWrite && QFile::remove(path() + u'/' + found));
}
