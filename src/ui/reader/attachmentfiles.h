#pragma once

#include "message/message.h"

#include <QString>
#include <QTemporaryDir>

#include <memory>

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

/// The icon for its type ("file-pdf").
QString attachmentIcon(const Message &message, int part);

/// A path for @p name in @p directory where no file is yet: "name.pdf", else "name (2).pdf" and so on.
QString freePath(const QString &directory, const QString &name);

/// Copies of attachments for other programs to look at: in a directory that only the user can read, each in
/// one of its own so that it keeps its name, not to be written to. All go when this goes, unless
/// `TempKeepFiles`.
class AttachmentFiles
{
public:
    /// The path of a copy of a part; empty, after a warning, when it cannot be written.
    QString copyOf(const Message &message, int part);

private:
    bool makeDirectory();

    std::unique_ptr<QTemporaryDir> m_directory;
    int m_count = 0;
};
