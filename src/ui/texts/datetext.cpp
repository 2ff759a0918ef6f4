#include "ui/texts/datetext.h"

#include "config/clock.h"
#include "message/message.h"

#include <QCoreApplication>
#include <QLocale>

#include <optional>

using namespace Qt::StringLiterals;

namespace {

QString relativeDay(const QDate &day, const QDate &today)
{
    const qint64 ago = day.daysTo(today);
    if (ago == 0)
        return QCoreApplication::translate("DateText", "Today");
    if (ago == 1)
        return QCoreApplication::translate("DateText", "Yesterday");
    if (ago > 1 && ago < 7)
        return QLocale().toString(day, u"ddd"_s);
    return dayText(day, day.year() != today.year());
}

std::optional<QDateTime> momentOf(const Message &message)
{
    const std::optional<qint64> seconds = message.readableDate();
    if (!seconds)
        return {};
    return QDateTime::fromSecsSinceEpoch(*seconds);
}

} // namespace

QString timeText(const QTime &time)
{
    const QLocale locale; // without a country the short form has seconds
    return locale.toString(time, locale.timeFormat(QLocale::ShortFormat).remove(u":ss"_s));
}

QString dayText(const QDate &day, bool withYear)
{
    const QLocale locale;
    const QString custom = locale.dateFormat(QLocale::ShortFormat);
    const bool monthFirst = custom.indexOf(u'M') < custom.indexOf(u'd');
    const QString format =
        monthFirst ? (withYear ? u"MMM d, yyyy"_s : u"MMM d"_s) : (withYear ? u"d MMM yyyy"_s : u"d MMM"_s);
    return locale.toString(day, format);
}

QString longDayText(const QDate &day)
{
    return QLocale().toString(day, QLocale::LongFormat);
}

QString shortDateText(const QDateTime &moment, const QDateTime &now)
{
    return relativeDay(moment.date(), now.date()) + u' ' + timeText(moment.time());
}

QString shortDateText(const Message &message)
{
    const std::optional<QDateTime> moment = momentOf(message);
    return moment ? shortDateText(*moment, clockNow()) : QString();
}

QString longDateText(const QDateTime &moment)
{
    return longDayText(moment.date()) + u' ' + timeText(moment.time());
}

QString longDateText(const Message &message)
{
    const std::optional<QDateTime> moment = momentOf(message);
    return moment ? longDateText(*moment) : QString();
}
