#pragma once

#include "net/socket/openssl.h"

#include <memory>

/// What connections with the same trust share: TLS 1.2 and later, no session taken up again, no
/// renegotiation; the handshake accepts any certificate, and verify() judges it. It ends with its last user,
/// and so does the trust in what a file of certificates held.
using TlsContext = std::shared_ptr<SSL_CTX>;

/// The context that trusts what the system trusts and the certificates of @p caFile (PEM, or one in DER;
/// empty: none). Null: @p problem says why.
TlsContext tlsContext(const QString &caFile, QString &problem);
