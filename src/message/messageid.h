#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>

#include <optional>

/// Message identifiers, "<local@domain>" with their angle brackets.

/// What a caller may fix of a new identifier; what is left out comes from the clock and the machine.
struct MessageIdParts
{
    std::optional<qint64> seconds; ///< since 1970-01-01 UTC
    std::optional<quint64> ticks;
    std::optional<quint64> number; ///< added behind a dot, in decimal
};

/// A new identifier. Its domain is that of @p sender, the sending address; where that has none that fits into
/// an identifier, the name of the local machine.
QByteArray newMessageId(const QString &sender, const MessageIdParts &parts = {});

/// The identifier in a field's value: from its first "<" to its last ">"; empty when there is none.
QByteArray cutMessageId(QByteArrayView value);

/// All identifiers of a field's value in their order, as of References. White space that folding left inside
/// one is dropped.
QList<QByteArray> messageIds(QByteArrayView value);
