#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

/// The character sets that are offered for writing, in the order that the index `CharacterSet` counts; the
/// first is UTF-8.
const QList<QByteArray> &offeredCharsets();

/// The set that `CharacterSet` names.
QByteArray defaultCharset();

/// The first of the offered sets that holds all of @p text without holding any text there is, else UTF-8.
QByteArray suitableCharset(const QString &text);
