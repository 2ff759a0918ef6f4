#include "ui/reader/desktopapplications.h"

#include "config/settings.h"

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QLocale>
#include <QMimeDatabase>
#include <QSet>
#include <QStandardPaths>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kLargestEntry = 256 * 1024; ///< bytes; none that is honest is larger
constexpr int kMostEntries = 5000;
constexpr int kMostRemembered = 40;

using Entry = QHash<QString, QString>; ///< the keys of the group "Desktop Entry"

Entry readEntry(const QString &path)
{
    Entry entry;
    QFile file(path);
    if (file.size() > kLargestEntry || !file.open(QIODevice::ReadOnly))
        return entry;
    bool inside = false;
    const QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n');
    for (const QString &line : lines) {
        if (line.startsWith(u'['))
            inside = line.trimmed() == u"[Desktop Entry]";
        const qsizetype equals = line.indexOf(u'=');
        if (inside && equals > 0 && !line.startsWith(u'#') && !entry.contains(line.first(equals).trimmed()))
            entry.insert(line.first(equals).trimmed(), line.sliced(equals + 1).trimmed());
    }
    return entry;
}

bool isTrue(const Entry &entry, const QString &key)
{
    return entry.value(key) == u"true";
}

QString localName(const Entry &entry)
{
    const QString locale = QLocale().name(); // "de_DE"
    for (const QString &suffix : {locale, locale.section(u'_', 0, 0)})
        if (const QString name = entry.value(u"Name[%1]"_s.arg(suffix)); !name.isEmpty())
            return name;
    return entry.value(u"Name"_s);
}

/// @p type and those it is a kind of: source code is a text, too.
QSet<QString> typesFor(const QByteArray &contentType)
{
    QSet<QString> types{QString::fromLatin1(contentType)};
    const QMimeType known = QMimeDatabase().mimeTypeForName(QString::fromLatin1(contentType));
    if (known.isValid()) {
        types.insert(known.name());
        for (const QString &parent : known.allAncestors())
            if (parent != u"application/octet-stream")
                types.insert(parent);
    }
    return types;
}

bool opensAny(const Entry &entry, const QSet<QString> &types)
{
    const QStringList own = entry.value(u"MimeType"_s).split(u';', Qt::SkipEmptyParts);
    return std::any_of(own.begin(), own.end(), [&](const QString &type) { return types.contains(type); });
}

bool isUsable(const Entry &entry)
{
    if (entry.value(u"Type"_s) != u"Application" || isTrue(entry, u"NoDisplay"_s) ||
        isTrue(entry, u"Hidden"_s) || isTrue(entry, u"Terminal"_s))
        return false;
    const QString wanted = entry.value(u"TryExec"_s);
    return !entry.value(u"Exec"_s).isEmpty() &&
           (wanted.isEmpty() || !QStandardPaths::findExecutable(wanted).isEmpty());
}

/// The words of a command line as the entries' own rules quote them; nothing is expanded. Empty when a quote
/// is never closed.
QStringList wordsOf(const QString &line)
{
    QStringList words;
    QString word;
    bool quoted = false;
    bool any = false;
    for (qsizetype at = 0; at < line.size(); ++at) {
        const QChar c = line[at];
        if (c == u'\\' && quoted && at + 1 < line.size()) {
            word += line[++at];
        } else if (c == u'"') {
            quoted = !quoted;
            any = true;
        } else if (c.isSpace() && !quoted) {
            if (any || !word.isEmpty())
                words.append(word);
            word.clear();
            any = false;
        } else {
            word += c;
        }
    }
    if (any || !word.isEmpty())
        words.append(word);
    return quoted ? QStringList() : words;
}

struct Remembered
{
    QString type;
    QString id;
};

QList<Remembered> history()
{
    QList<Remembered> entries;
    const QStringList parts = stringSetting(Setting::OpenWithHistory).split(u';', Qt::SkipEmptyParts);
    for (const QString &part : parts) {
        const QString id = QUrl::fromPercentEncoding(part.section(u'=', 1).toLatin1());
        if (!id.isEmpty())
            entries.append({part.section(u'=', 0, 0), id});
    }
    return entries;
}

} // namespace

QList<DesktopApplication> applicationsFor(const QByteArray &contentType)
{
    const QSet<QString> types = typesFor(contentType);
    QList<DesktopApplication> found;
    QSet<QString> seen; // an entry of the user's stands before that of the system
    const QStringList directories = QStandardPaths::standardLocations(QStandardPaths::ApplicationsLocation);
    for (const QString &directory : directories) {
        QDirIterator files(directory, {u"*.desktop"_s}, QDir::Files, QDirIterator::Subdirectories);
        while (files.hasNext() && seen.size() < kMostEntries) {
            const QString path = files.next();
            const QString id = path.sliced(directory.size() + 1).replace(u'/', u'-');
            if (seen.contains(id))
                continue;
            seen.insert(id);
            const Entry entry = readEntry(path);
            if (isUsable(entry) && opensAny(entry, types))
                found.append({id, localName(entry), entry.value(u"Icon"_s), entry.value(u"Exec"_s)});
        }
    }
    std::sort(found.begin(), found.end(), [](const DesktopApplication &a, const DesktopApplication &b) {
        return a.name.localeAwareCompare(b.name) < 0;
    });
    return found;
}

DesktopApplication applicationAt(const QString &path)
{
    return {path, QFileInfo(path).fileName(), {}, {}};
}

QStringList commandFor(const DesktopApplication &application, const QString &path)
{
    if (application.exec.isEmpty())
        return {application.id, path};
    QStringList command;
    bool given = false;
    const QStringList words = wordsOf(application.exec);
    for (const QString &word : words) {
        if (word == u"%f" || word == u"%F") {
            command.append(path);
            given = true;
        } else if (word == u"%u" || word == u"%U") {
            command.append(QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded));
            given = true;
        } else if (word.contains(u"=%f") || word.contains(u"=%u")) { // "--open=%f"
            const QString url = QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded);
            command.append(word.first(word.indexOf(u"=%") + 1) + (word.contains(u"=%f") ? path : url));
            given = true;
        } else if (word == u"%c") {
            command.append(application.name);
        } else if (word.size() != 2 || word[0] != u'%') { // the other codes are for what we do not have
            command.append(QString(word).replace(u"%%"_s, u"%"_s));
        }
    }
    if (!command.isEmpty() && !given)
        command.append(path);
    return command;
}

QStringList openedBefore(const QByteArray &contentType)
{
    QStringList ids;
    const QList<Remembered> entries = history();
    for (const Remembered &entry : entries)
        if (entry.type == QLatin1String(contentType))
            ids.append(entry.id);
    return ids;
}

void rememberOpened(const QByteArray &contentType, const QString &id)
{
    const auto written = [](const QString &type, const QString &name) {
        return type + u'=' + QString::fromLatin1(QUrl::toPercentEncoding(name, "/"));
    };
    const QString type = QString::fromLatin1(contentType);
    QStringList parts{written(type, id)};
    const QList<Remembered> entries = history();
    for (const Remembered &entry : entries)
        if (parts.size() < kMostRemembered && (entry.type != type || entry.id != id))
            parts.append(written(entry.type, entry.id));
    setStringSetting(Setting::OpenWithHistory, parts.join(u';'));
}
