#pragma once

#include <QByteArray>
#include <QByteArrayView>

/// Lines of bytes. Their ends are "\n" everywhere in this system; what comes from outside may have "\r\n".

/// @p text with every "\r\n", and "\r\r\n", as "\n"; the same bytes, shared, when there is none.
QByteArray withUnixLineEnds(const QByteArray &text);

/// Takes the first line off @p rest and returns it, without its "\n" or "\r\n".
QByteArrayView takeLine(QByteArrayView &rest);
