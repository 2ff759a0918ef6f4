#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <optional>

/// The line that stands before each message in an mbox: "From ", the sender, the date as asctime writes it.

inline constexpr QByteArrayView kFromWord = "From ";

struct FromLine
{
    QByteArray sender;          ///< as it stands there; empty when there is none
    std::optional<qint64> date; ///< seconds since 1970 UTC; without a zone in the line it is taken as UTC
    bool senderOnly = false;    ///< no date, and at most one word behind "From "
};

/// Reads a line that begins "From ", with or without its line end. A date is a weekday, month and day in
/// either order, time and year, zones between or behind them; anything may follow it ("remote from host").
/// Without the weekday it counts only behind a sender of one word; so does 2026-11-20 10:42:00.
FromLine parseFromLine(QByteArrayView line);

/// The line for @p sender and @p date (seconds since 1970), with its line end. Blanks and control characters
/// in the sender become "_", an empty one is MAILER-DAEMON. The date is UTC.
QByteArray makeFromLine(QByteArrayView sender, qint64 date);

/// The start of the first line at or behind @p from that consists of any number of ">" and "From ...", else
/// -1. @p from must not lie inside such a line's beginning.
qsizetype nextFromLine(QByteArrayView text, qsizetype from);

/// The position of @p needle, two bytes or more, in @p text at or behind @p from, else -1.
qsizetype findBytes(QByteArrayView text, QByteArrayView needle, qsizetype from = 0);
