#pragma once

#include <QByteArray>

/// The answer to a CRAM-MD5 challenge (RFC 2195), in Base64, as AUTH sends it: the user, a blank, and the
/// challenge's HMAC-MD5 keyed by the password. @p challenge is in Base64 as the server gave it.
QByteArray cramMd5Response(const QByteArray &challenge, const QByteArray &user, const QByteArray &password);
