#pragma once

#include <QByteArray>

/// @p message ("\n" line ends) with the fields of its header folded where they are too long for a server, and
/// the bytes outside ASCII in them as encoded words (RFC 2047). An address with such a part before the "@"
/// stays where it @p mayStay, for a server with SMTPUTF8; for any other it becomes an empty group with its
/// text for a name (RFC 6857 3.1.8). Fields that machines read know no encoded words and stay as they are.
QByteArray withEncodedHeader(const QByteArray &message, bool mayStay);
