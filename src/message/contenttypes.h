#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

/// Content types and file name extensions. The desktop's own database of types is asked first, then a table
/// of this system's.

/// The content type that a file's name stands for; only its extension counts, in any case.
/// "application/octet-stream" when nothing knows it.
QByteArray contentTypeOf(const QString &fileName);

/// The extension of a content type, with its dot; empty when nothing knows one.
QString extensionOf(QByteArrayView contentType);

/// @name The table alone, as where the desktop has no entry
/// @{
QByteArray tabledContentTypeOf(const QString &fileName);
QString tabledExtensionOf(QByteArrayView contentType);
/// @}
