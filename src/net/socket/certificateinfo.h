#pragma once

#include "net/socket/certificate.h"
#include "net/socket/openssl.h"

#include <optional>

/// What @p certificate says about itself.
CertificateInfo certificateInfo(X509 *certificate);

/// Seconds since 1970 UTC. Empty: it is no time.
std::optional<qint64> secondsOf(const ASN1_TIME *time);

/// Whether @p certificate is for @p host, a name or an address: by its alternative names, with wildcards as
/// in RFC 6125, and by the common name only where it has none of them. An address fits only an entry for
/// addresses. A name with a NUL fits nothing.
bool isForHost(X509 *certificate, const QString &host);

/// @p host as certificates and the server name indication write it: ASCII, without a final dot; an address
/// without its scope.
QByteArray hostForTls(const QString &host);
bool isAddress(const QString &host);
