#pragma once

#include <QString>
#include <QStringList>

/// The address among @p known that @p address is one slip of a key away from (a letter more, less, another or
/// two exchanged), in any case; empty: there is none. Linear in @p known.
QString similarAddress(const QString &address, const QStringList &known);
