#pragma once

#include <QString>

/// What a path is, told by looking at it and not by its name.

enum class MailboxKind {
    None,
    Mbox,
    Message, ///< one message in a file
    Maildir,
    Folder, ///< of message files
};

struct DetectedMailbox
{
    MailboxKind kind = MailboxKind::None;
    QString reason; ///< for None: a sentence for the user
};

/// Reads at most the first 64 KB of a file; of a folder without "cur" and "new", files until one is mail.
/// Changes nothing.
DetectedMailbox detectMailbox(const QString &path);
