#include "ui/transfers/transfertexts.h"

#include "ui/texts/sizetext.h"

#include <QCoreApplication>

#include <array>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kFirst = 1000; ///< milliseconds before anybody can tell the speed
constexpr qint64 kMinute = 60;
constexpr qint64 kHour = 60 * kMinute;

constexpr std::array kIcons = {"mail", "cloud", "home", "news-server", "cloud", "send", "import"};
static_assert(kIcons.size() == kAccountKinds.size());

QString tr(const char *text, int n = -1)
{
    return QCoreApplication::translate("Transfers", text, nullptr, n);
}

QString remaining(qint64 seconds)
{
    if (seconds < kMinute)
        return tr("about %1 s").arg(qMax<qint64>(seconds, 1));
    if (seconds < kHour)
        return tr("about %1 min").arg((seconds + kMinute / 2) / kMinute);
    return tr("about %1 h").arg((seconds + kHour / 2) / kHour);
}

} // namespace

QString accountKindText(AccountKind kind)
{
    return QCoreApplication::translate("AccountKinds", kAccountKinds[std::size_t(kind)].shown);
}

QString accountIcon(AccountKind kind)
{
    return QLatin1StringView(kIcons[std::size_t(kind)]);
}

QString doneText(AccountKind kind, int messages)
{
    if (kind == AccountKind::Smtp)
        return messages == 0   ? tr("Nothing to send")
               : messages == 1 ? tr("1 message sent")
                               : tr("%1 messages sent").arg(messages);
    return messages == 0   ? tr("No new mail")
           : messages == 1 ? tr("1 message fetched")
                           : tr("%1 messages fetched").arg(messages);
}

QString transferAmount(qint64 bytesDone, qint64 bytesTotal, int done, int total, qint64 milliseconds)
{
    QStringList parts;
    if (total > 0)
        parts.append(tr("%1 of %2").arg(done).arg(total));
    if (bytesTotal > 0)
        parts.append(tr("%1 of %2").arg(sizeText(bytesDone), sizeText(bytesTotal)));
    else if (bytesDone > 0)
        parts.append(sizeText(bytesDone));
    if (milliseconds >= kFirst && bytesDone > 0) {
        const double speed = double(bytesDone) * 1000 / double(milliseconds);
        parts.append(tr("%1/s").arg(sizeText(qint64(speed))));
        if (bytesTotal > bytesDone)
            parts.append(remaining(qint64(std::ceil(double(bytesTotal - bytesDone) / speed))));
    }
    return parts.join(u", "_s);
}

QString withCapital(const QString &text)
{
    return text.left(1).toUpper() + text.mid(1);
}
