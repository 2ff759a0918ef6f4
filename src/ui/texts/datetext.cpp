#include "ui/texts/datetext.h"

#include "config/clock.h"
#include "message/message.h"

#include <QCoreApplication>
#include <QLocale>

#include <optional>

using namespace Qt::StringLiterals;

namespace {

QString dayText(const QDate &day, const QDate &today)
{
    const qint64 ago = day.daysTo(today);
    if (ago == 0)
        return QCoreApplication::translate("DateText", "Today");
    if (ago == 1)
        return QCoreApplication::translate("DateText", "Yesterday");
    if (ago > 1 && ago < 7)
        return QLocale().toString(day, u"ddd"_s);
    return QLocale().toString(day, day.year() == today.year() ? u"d MMM"_s : u"d MMM yyyy"_s);
}

std::optional<QDateTime> momentOf(const Message &message)
{
    const std::optional<qint64> seconds = message.readableDate();
    if (!seconds)
        return {};
    return QDateTime::fromSecsSinceEpoch(*seconds);
}

} // namespace

QString shortDateText(const QDateTime &moment, const QDateTime &now)
{
    return dayText(moment.date(), now.date()) + u' ' + QLocale().toString(moment.time(), u"HH:mm"_s);
}

QString shortDateText(const Message &message)
{
    const std::optional<QDateTime> moment = momentOf(message);
    return moment ? shortDateText(*moment, clockNow()) : QString();
}

QString longDateText(const QDateTime &moment)
{
    return QLocale().toString(moment, u"dddd, d MMMM yyyy HH:mm"_s);
}

QString longDateText(const Message &message)
{
    const std::optional<QDateTime> moment = momentOf(message);
    return moment ? longDateText(*moment) : QString();
}
