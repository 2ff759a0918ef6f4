#pragma once

#include <QString>
#include <QStringList>

/// How many words of @p text its writer wrote: neither those of quoted lines, nor of a forwarded message, nor
/// of the signature behind "-- ", which ends where a quotation begins, nor of @p known: texts that were put
/// in, as findSignature() finds them, one place of each.
int countOwnWords(const QString &text, const QStringList &known = {});
