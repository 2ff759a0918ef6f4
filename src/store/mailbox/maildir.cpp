#include "store/mailbox/maildir.h"

#include "store/mailbox/messagefile.h"

#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace {

/// Where the information part of a name begins, else its length.
qsizetype infoStart(const QString &name)
{
    for (qsizetype at = name.size() - 3; at > 0; --at) {
        const QChar mark = name[at];
        if ((mark == u':' || mark == u'!' || mark == u';') && name[at + 1] == u'2' && name[at + 2] == u',')
            return at;
    }
    return name.size();
}

QString uniquePart(const QString &path)
{
    const QString name = QFileInfo(path).fileName();
    return name.left(infoStart(name));
}

qint64 deliveryTime(const QString &path)
{
    const QString name = QFileInfo(path).fileName();
    bool ok = false;
    const qint64 seconds = name.left(name.indexOf(u'.')).toLongLong(&ok);
    return ok && seconds > 0 ? seconds : QFileInfo(path).lastModified().toSecsSinceEpoch();
}

void addFolders(const QString &path, const QString &name, int depth, QList<MaildirFolder> &folders)
{
    constexpr int kDeepest = 16;
    if (depth > kDeepest)
        return;
    for (QDirIterator it(path, QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden | QDir::NoSymLinks);
         it.hasNext();) {
        const QString child = it.next();
        if (!Maildir::isMaildir(child))
            continue;
        QString leaf = it.fileName();
        if (leaf.startsWith(u'.'))
            leaf = leaf.mid(1).replace(u'.', u'/');
        folders.append({name.isEmpty() ? leaf : name + u'/' + leaf, child});
        addFolders(child, folders.last().name, depth + 1, folders);
    }
}

} // namespace

Maildir::Maildir(const QString &path)
    : m_path(path)
{}

bool Maildir::isMaildir(const QString &path)
{
    return QFileInfo(path + u"/cur"_s).isDir() && QFileInfo(path + u"/new"_s).isDir();
}

QList<MaildirMessage> Maildir::messages() const
{
    QList<MaildirMessage> messages;
    list(u"/new"_s, messages);
    list(u"/cur"_s, messages);
    std::sort(messages.begin(), messages.end(), [](const MaildirMessage &a, const MaildirMessage &b) {
        return a.delivered != b.delivered ? a.delivered < b.delivered : a.path < b.path;
    });
    return messages;
}

void Maildir::list(const QString &folder, QList<MaildirMessage> &messages) const
{
    for (QDirIterator it(m_path + folder, QDir::Files); it.hasNext();) {
        const QString path = it.next();
        messages.append({path, flagsOfMaildirName(it.fileName()), deliveryTime(path)});
    }
}

std::optional<QByteArray> Maildir::read(const MaildirMessage &message) const
{
    if (QFile::exists(message.path))
        return readMessageFile(message.path);
    // another program moved it from "new" to "cur" or changed its flags
    const QString unique = uniquePart(message.path);
    for (QDirIterator it(m_path + u"/cur"_s, QDir::Files); it.hasNext();) {
        const QString path = it.next();
        if (uniquePart(path) == unique)
            return readMessageFile(path);
    }
    return readMessageFile(message.path);
}

QList<MaildirFolder> Maildir::folders() const
{
    QList<MaildirFolder> folders = {{QString(), m_path}};
    addFolders(m_path, {}, 0, folders);
    std::sort(folders.begin(), folders.end(),
              [](const MaildirFolder &a, const MaildirFolder &b) { return a.name < b.name; });
    return folders;
}

MailFlags flagsOfMaildirName(const QString &name)
{
    const QStringView letters = QStringView(name).mid(infoStart(name) + 3);
    MailFlags flags;
    flags.draft = letters.contains(u'D');
    flags.flagged = letters.contains(u'F');
    flags.forwarded = letters.contains(u'P');
    flags.answered = letters.contains(u'R');
    flags.read = letters.contains(u'S');
    flags.deleted = letters.contains(u'T');
    return flags;
}
