#include "store/mailbox/detect.h"

#include "store/mailbox/fromline.h"
#include "store/mailbox/maildir.h"
#include "store/mailbox/mailflags.h"
#include "store/mailbox/messagefile.h"

#include <QDirIterator>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace {

DetectedMailbox none(const QString &sentence, const QString &path)
{
    return {MailboxKind::None, sentence.arg(path)};
}

bool startsMbox(QByteArrayView head)
{
    if (head.startsWith("\xef\xbb\xbf"))
        head = head.sliced(3);
    while (head.startsWith('\n') || head.startsWith("\r\n"))
        head = head.sliced(head[0] == '\n' ? 1 : 2);
    if (!head.startsWith(kFromWord))
        return false;
    const qsizetype end = head.indexOf('\n');
    const FromLine line = parseFromLine(end < 0 ? head : head.first(end));
    return line.date || (line.senderOnly && end > 0 && looksLikeField(head.sliced(end + 1)));
}

DetectedMailbox detectFolder(const QString &path)
{
    if (Maildir::isMaildir(path))
        return {MailboxKind::Maildir, {}};
    for (QDirIterator it(path, QDir::Files); it.hasNext();) {
        const std::optional<QByteArray> head = headOfFile(it.next());
        if (head && looksLikeMessage(*head))
            return {MailboxKind::Folder, {}};
    }
    return none(u"No messages found in folder '%1'"_s, path);
}

} // namespace

DetectedMailbox detectMailbox(const QString &path)
{
    const QFileInfo info(path);
    if (!info.exists())
        return none(u"'%1' does not exist"_s, path);
    if (info.isDir())
        return detectFolder(path);
    const std::optional<QByteArray> head = info.isFile() ? headOfFile(path) : std::nullopt;
    if (!head)
        return none(u"Unable to read file '%1'"_s, path);
    if (head->isEmpty())
        return none(u"'%1' is empty"_s, path);
    if (startsMbox(*head))
        return {MailboxKind::Mbox, {}};
    if (looksLikeMessage(*head))
        return {MailboxKind::Message, {}};
    return none(u"'%1' holds no mail: it begins neither with a \"From \" line nor with a message header"_s,
                path);
}
