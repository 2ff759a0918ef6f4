#pragma once

#include "store/mailbox/mailflags.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

struct MaildirMessage
{
    QString path;
    MailFlags flags;
    qint64 delivered = 0; ///< seconds since 1970 at the start of the name, else the time of the file
};

struct MaildirFolder
{
    QString name; ///< as it stands in the Maildir, "/" between levels; empty for the Maildir itself
    QString path;
};

/// Reads a Maildir: messages in "new" and "cur", flags behind ":2," in the name, or "!2," and ";2," where a
/// file system has no colon. Nothing in it is moved or changed.
class Maildir
{
public:
    explicit Maildir(const QString &path);

    /// Whether @p path holds the folders "cur" and "new".
    static bool isMaildir(const QString &path);

    /// In the order of delivery, and by name where that is the same. Hidden files and folders are left out.
    QList<MaildirMessage> messages() const;

    /// The text, "\n" line ends; a message whose flags changed since it was listed is found under its new
    /// name. Nothing, with a note, when it cannot be read or is empty.
    std::optional<QByteArray> read(const MaildirMessage &message) const;

    /// The Maildir itself and its subfolders, ".Name" and ".Name.Sub" as Maildir++ has them and folders that
    /// are Maildirs within it, by name.
    QList<MaildirFolder> folders() const;

private:
    void list(const QString &folder, QList<MaildirMessage> &messages) const;

    QString m_path;
};

/// The flags in a Maildir file name: D draft, F flagged, P passed on, R replied, S seen, T trashed.
MailFlags flagsOfMaildirName(const QString &name);
