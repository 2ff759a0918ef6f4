#pragma once

#include <QStringList>

/// @p wanted, or "wanted 2" and so on where that is among @p taken, in any case.
inline QString freeName(const QString &wanted, const QStringList &taken)
{
    QString name = wanted;
    for (int i = 2; taken.contains(name, Qt::CaseInsensitive); ++i)
        name = QStringLiteral("%1 %2").arg(wanted).arg(i);
    return name;
}
