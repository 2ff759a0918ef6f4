#pragma once

#include <QDateTime>
#include <QString>

class Message;

/// Times and dates as the user's language and country write them; the examples are those of none.

/// "17:15", without seconds.
QString timeText(const QTime &time);
/// "19 Nov", or "19 Nov 2024" when @p withYear; the month stands first where that is the custom.
QString dayText(const QDate &day, bool withYear);
/// "Friday, 20 November 2026".
QString longDayText(const QDate &day);

/// Moments as the windows say them, in the local zone, seen from @p now: "Today 11:20", "Yesterday 18:47",
/// "Fri 17:15" within a week, "19 Nov 09:05" within the year, else "19 Nov 2024 09:05".
QString shortDateText(const QDateTime &moment, const QDateTime &now);

/// The date of a message likewise; empty when it has none that can be read.
QString shortDateText(const Message &message);

/// A moment in full, with its weekday: "Friday, 20 November 2026 11:20".
QString longDateText(const QDateTime &moment);

/// The same date in full, with its weekday.
QString longDateText(const Message &message);
