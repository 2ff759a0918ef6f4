#include "ui/reader/calendartime.h"

#include "ui/texts/datetext.h"
#include "ui/texts/harmless.h"

#include <QCoreApplication>

using namespace Qt::StringLiterals;

namespace {

QString translated(const char *text)
{
    return QCoreApplication::translate("CalendarTime", text);
}

/// The one offset of a zone without summer time, in seconds; empty when there are several.
std::optional<int> onlyOffset(const ContentComponent &zone)
{
    std::optional<int> offset;
    for (const ContentComponent &rule : zone.components) {
        const QString text = rule.text("TZOFFSETTO").trimmed();
        if (text.size() < 5)
            return {};
        const int seconds =
            QStringView(text).sliced(1, 2).toInt() * 3600 + QStringView(text).sliced(3, 2).toInt() * 60;
        const int signedSeconds = text.startsWith(u'-') ? -seconds : seconds;
        if (offset && *offset != signedSeconds)
            return {};
        offset = signedSeconds;
    }
    return offset;
}

} // namespace

CalendarTimes::CalendarTimes(const ContentComponent &calendar)
    : m_calendar(calendar)
{}

QTimeZone CalendarTimes::zoneFor(const QString &name) const
{
    // some write "/vendor/version/Europe/Berlin"
    const QString last = name.startsWith(u'/') ? name.section(u'/', -2) : name;
    for (const QByteArray &id :
         {name.toUtf8(), last.toUtf8(), QTimeZone::windowsIdToDefaultIanaId(name.toUtf8())}) {
        if (!id.isEmpty() && id.size() < 100 && QTimeZone::isTimeZoneIdAvailable(id))
            return QTimeZone(id);
    }
    for (const ContentComponent &zone : m_calendar.components) {
        if (zone.name == "VTIMEZONE" && zone.text("TZID") == name)
            if (const std::optional<int> offset = onlyOffset(zone))
                return QTimeZone(*offset);
    }
    return {};
}

CalendarTime CalendarTimes::read(const ContentLine *line) const
{
    return line ? read(line->value.trimmed(), line->parameter("TZID")) : CalendarTime();
}

CalendarTime CalendarTimes::read(const QString &value, const QString &zone) const
{
    CalendarTime time;
    QString digits = value;
    digits.remove(u'-').remove(u':');
    const QDate day = QDate::fromString(digits.left(8), u"yyyyMMdd"_s);
    if (!day.isValid())
        return time;
    if (!digits.contains(u'T')) {
        time.wholeDay = true;
        time.moment = day.startOfDay();
        return time;
    }
    QTime clock = QTime::fromString(digits.mid(9, 6), u"HHmmss"_s);
    if (!clock.isValid())
        clock = QTime::fromString(digits.mid(9, 4), u"HHmm"_s);
    if (!clock.isValid())
        return time;
    const QTimeZone known = digits.endsWith(u'Z') ? QTimeZone::utc() : zoneFor(zone);
    if (known.isValid())
        time.moment = QDateTime(day, clock, known);
    else
        time.moment = QDateTime(day, clock);
    if (!known.isValid())
        time.unknownZone = harmlessLine(zone, 60);
    return time;
}

qint64 calendarDuration(const QString &value)
{
    qint64 seconds = 0;
    qint64 number = 0;
    for (const QChar c : value) {
        if (c.isDigit()) {
            number = std::min<qint64>(number * 10 + c.digitValue(), 1'000'000);
            continue;
        }
        constexpr qint64 kDay = 86'400;
        seconds += number * (c == u'W'   ? 7 * kDay
                             : c == u'D' ? kDay
                             : c == u'H' ? 3600
                             : c == u'M' ? 60
                             : c == u'S' ? 1
                                         : 0);
        number = 0;
    }
    return value.startsWith(u'-') ? 0 : seconds;
}

QString calendarSpanText(const CalendarTime &start, const CalendarTime &end)
{
    if (!start.isValid())
        return {};
    const QDateTime from = start.moment.toLocalTime();
    if (start.wholeDay) {
        const QDate last = end.isValid() ? end.moment.date().addDays(-1) : from.date();
        return last <= from.date() ? longDayText(from.date())
                                   : translated("%1 to %2").arg(longDayText(from.date()), longDayText(last));
    }
    const QDateTime to = end.moment.toLocalTime();
    QString text = longDayText(from.date()) + u", "_s + timeText(from.time());
    if (end.isValid() && to > from)
        text = to.date() == from.date()
                   ? text + u" – "_s + timeText(to.time())
                   : translated("%1 to %2").arg(text, longDayText(to.date()) + u", "_s + timeText(to.time()));
    return start.unknownZone.isEmpty() ? text : u"%1 (%2)"_s.arg(text, start.unknownZone);
}
