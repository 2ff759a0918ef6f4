#pragma once

#include "store/headercache.h"
#include "store/overview.h"

#include <QString>

/// The words of a row in a message list.

/// The people of an address field, decoded: their names, or addresses where they have none.
QString peopleOf(const QString &field);

/// A date as short as it can be read: "10:42" today, "Fri 17:15" within a week, "9 Oct" within the year,
/// "9 Oct 2024" beyond. @p date in seconds since 1970 UTC; "now" is the clock's.
QString shortDate(qint64 date);

/// The whole of it: "Friday, 9 October 2026 17:15".
QString longDate(qint64 date);

/// "4.4 KB".
QString shortSize(quint32 bytes);

/// "+40", "-5"; empty for 0.
QString scoreText(int score);

/// "(no subject)" where it is empty.
QString subjectOrNone(const QString &subject);

/// What a screen reader says of a row: "unread, flagged, From, Subject, date, attachment".
QString spokenRow(const Overview &overview, const QString &person, const QString &subject);

/// The number of messages in words: "no messages", "1 message", "1,284 messages".
QString messagesInWords(qint64 count);

/// The number of attachments likewise: "1 attachment".
QString attachmentsInWords(qint64 count);
