#include "store/mailbox/messagefile.h"

#include "config/reporter.h"
#include "message/lineends.h"
#include "store/mailbox/fromline.h"
#include "store/mailbox/mailflags.h"

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <array>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kHead = 64 << 10;
constexpr qint64 kLargestMessage = 0x7fffffff;

constexpr std::array<QByteArrayView, 18> kMailFields = {
    "From",        "To",           "Cc",           "Subject", "Date",       "Message-ID",
    "Received",    "Return-Path",  "Delivered-To", "Sender",  "Reply-To",   "MIME-Version",
    "In-Reply-To", "Content-Type", "Newsgroups",   "Path",    "References", "Resent-From",
};

bool isMailField(QByteArrayView name)
{
    return std::any_of(kMailFields.begin(), kMailFields.end(), [name](QByteArrayView known) {
        return name.compare(known, Qt::CaseInsensitive) == 0;
    });
}

qulonglong leadingNumber(const QString &path)
{
    const QString name = QFileInfo(path).fileName();
    const auto end = std::find_if(name.begin(), name.end(), [](QChar c) { return c < u'0' || c > u'9'; });
    bool ok = false;
    const qulonglong number = name.left(end - name.begin()).toULongLong(&ok);
    return ok ? number : std::numeric_limits<qulonglong>::max();
}

} // namespace

std::optional<QByteArray> readMessageFile(const QString &path)
{
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly)) {
        note(u"Passed over '%1': it cannot be read."_s.arg(path));
        return {};
    }
    if (file.size() > kLargestMessage) {
        note(u"Passed over '%1': more than 2 GB."_s.arg(path));
        return {};
    }
    QByteArray text = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        note(u"Passed over '%1': it cannot be read."_s.arg(path));
        return {};
    }
    text.remove(0, text.size() - withoutPreamble(text).size());
    const qsizetype lineFeed = text.indexOf('\n');
    if (lineFeed > 0 && text[lineFeed - 1] == '\r')
        text = withUnixLineEnds(text);
    if (text.isEmpty()) {
        note(u"Passed over '%1': it is empty."_s.arg(path));
        return {};
    }
    return text;
}

bool looksLikeMessage(QByteArrayView head)
{
    head = withoutPreamble(head);
    if (!looksLikeField(head))
        return false;
    bool known = false;
    forEachField(head, [&known](QByteArrayView name, QByteArrayView) { known = known || isMailField(name); });
    return known;
}

QByteArrayView withoutPreamble(QByteArrayView head)
{
    constexpr QByteArrayView kByteOrderMark = "\xef\xbb\xbf";
    if (head.startsWith(kByteOrderMark))
        head = head.sliced(kByteOrderMark.size());
    while (head.startsWith('\n') || head.startsWith("\r\n"))
        head = head.sliced(head[0] == '\n' ? 1 : 2);
    if (head.startsWith(kFromWord) || head.startsWith(">From ")) {
        const qsizetype end = head.indexOf('\n');
        head = end < 0 ? QByteArrayView() : head.sliced(end + 1);
    }
    return head;
}

std::optional<QByteArray> headOfFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QByteArray head = file.read(kHead);
    return file.error() == QFileDevice::NoError ? std::optional(head) : std::nullopt;
}

QStringList messageFilesIn(const QString &folder)
{
    QStringList paths;
    for (QDirIterator it(folder, QDir::Files); it.hasNext();) {
        const QString path = it.next();
        const std::optional<QByteArray> head = headOfFile(path);
        if (head && looksLikeMessage(*head))
            paths.append(path);
    }
    std::sort(paths.begin(), paths.end(), [](const QString &a, const QString &b) {
        const qulonglong numberA = leadingNumber(a);
        const qulonglong numberB = leadingNumber(b);
        return numberA != numberB ? numberA < numberB : a < b;
    });
    return paths;
}
