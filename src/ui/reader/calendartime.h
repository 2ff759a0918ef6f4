#pragma once

#include "message/contentlines.h"

#include <QDateTime>
#include <QTimeZone>

/// A moment of a calendar (RFC 5545 section 3.3.4 and 3.3.5).
struct CalendarTime
{
    QDateTime moment;      ///< invalid when nothing can be read
    bool wholeDay = false; ///< a date: the time is midnight
    QString unknownZone;   ///< the zone that the time is in when nobody here knows it; else empty

    bool isValid() const { return moment.isValid(); }
};

/// Reads the times of one calendar, in the zones it defines itself, too.
class CalendarTimes
{
public:
    explicit CalendarTimes(const ContentComponent &calendar);

    /// The moment in @p line, in its own zone; one without any zone is local (null: invalid).
    CalendarTime read(const ContentLine *line) const;
    CalendarTime read(const QString &value, const QString &zone) const;

private:
    QTimeZone zoneFor(const QString &name) const;

    const ContentComponent &m_calendar;
};

/// A duration such as "P1DT2H", in seconds (RFC 5545 section 3.3.6); 0 when it cannot be read.
qint64 calendarDuration(const QString &value);

/// "Friday, 20 November 2026, 11:00 – 12:00" in the local zone, "Friday, 20 November 2026" for a whole day;
/// @p end may be invalid, and is the first day after it for whole days.
QString calendarSpanText(const CalendarTime &start, const CalendarTime &end);

/// "Every 2 weeks on Monday and Thursday, 10 times"; "Repeats" with what cannot be said so briefly. Empty for
/// an empty rule.
QString recurrenceText(const QString &rule, const CalendarTime &start);
