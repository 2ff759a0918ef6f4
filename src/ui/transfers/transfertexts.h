#pragma once

#include "net/accountdata.h"

#include <QString>

/// The words and signs of transfers and accounts.

/// "Mail (POP3)", in the user's language.
QString accountKindText(AccountKind kind);

/// The name of the icon that stands for accounts of that kind.
QString accountIcon(AccountKind kind);

/// How a transfer ended that went well: "4 messages fetched", "No new mail".
QString doneText(AccountKind kind, int messages);

/// "3 of 12, 1.2 of 4 MB, 212 kB/s, about 9 s": what is known of it. Speed and time only after the first
/// second, when they mean something.
QString transferAmount(qint64 bytesDone, qint64 bytesTotal, int done, int total, qint64 milliseconds);

/// @p text with its first letter as at the beginning of a sentence.
QString withCapital(const QString &text);
