#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QStringView>

#include <optional>

/// Dates as messages write them. Seconds count from 1970-01-01 UTC.

/// The moment that @p text names; empty when it names none. Read in this order: day, month word, year; year,
/// month, day; day, month, year in numbers; at last the order of asctime ("Thu Mar 30 18:36:28 2006").
/// Without a time of day it is midnight, without a zone UTC; the zone is sought behind the time only. Years
/// of two and three digits as in RFC 5322, section 4.3. A comment says the zone where nothing else does.
std::optional<qint64> readDate(QStringView text);

/// @p moment in its own zone as a Date field has it: "Thu, 30 Mar 2006 18:36:28 +0200". Never in the user's
/// language.
QByteArray formatDate(const QDateTime &moment);

/// The present moment in the local zone, likewise.
QByteArray formatDate();

/// @p moment in its own zone as the separator line of an mbox has it: "Thu Mar 30 18:36:28 2006".
QByteArray mboxDate(const QDateTime &moment);
