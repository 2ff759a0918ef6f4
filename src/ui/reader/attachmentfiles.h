#pragma once

#include "message/message.h"

#include <QLockFile>
#include <QString>
#include <QTemporaryDir>

#include <memory>

struct MIMEPart;

/// What may happen to a file out of a message.
enum class OpenRisk {
    None,  ///< its extension is one of `SafeExtensions`
    Ask,   ///< a program for it may be fooled by it
    Never, ///< it is a program itself, or starts one: it can only be saved
};

/// By its name and by how it begins, whichever is worse.
OpenRisk openRiskOf(const QString &fileName, const QByteArray &bytes);

/// The name to show for a part and to save it under, safe in any directory. An enclosed message without a
/// name is called after its subject.
QString attachmentName(const Message &message, int part);

/// Its size in bytes; of a large one about, so that nothing has to be decoded.
qint64 attachmentSize(const Message &message, int part);

/// The first bytes of its content, some thousand at most; cheap however large it is.
QByteArray attachmentStart(const Message &message, int part);

/// What may happen to it when it is opened.
OpenRisk openRiskOf(const Message &message, int part);

/// The type that a part is taken for: what it says, or what its name says where that is nothing.
QByteArray attachmentType(const MIMEPart &part);

/// The icon for its type ("file-pdf").
QString attachmentIcon(const Message &message, int part);

/// The same for a content type in lower case.
QString iconOfType(const QByteArray &type);

/// A path for @p name in @p directory where no file is yet: "name.pdf", else "name (2).pdf" and so on.
QString freePath(const QString &directory, const QString &name);

/// Writes a file that the user named, whole or not at all; what was there before goes. False: it cannot be
/// written, nothing has changed.
bool writeWholeFile(const QString &path, const QByteArray &bytes);

/// Copies of attachments for other programs to look at: in a directory that only the user can read, each in
/// one of its own so that it keeps its name, not to be written to. All go when this goes, or at the latest
/// when the program starts again, unless `TempKeepFiles`.
class AttachmentFiles
{
public:
    /// The one that all windows share: a copy must outlive the window it was opened from.
    static std::shared_ptr<AttachmentFiles> common();

    /// Removes the directories of programs that ended without doing so; those in use stay.
    static void removeAbandoned();

    /// The path of a copy of a part; empty, after a warning, when it cannot be written.
    QString copyOf(const Message &message, int part);

    /// The same of a file that is in no message yet.
    QString copyOf(const QString &name, const QByteArray &bytes);

private:
    bool makeDirectory();
    QString freshPath(const QString &name);

    std::unique_ptr<QTemporaryDir> m_directory;
    std::unique_ptr<QLockFile> m_lock; ///< says that somebody lives here; goes before the directory does
    int m_count = 0;
};
