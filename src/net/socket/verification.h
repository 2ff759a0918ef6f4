#pragma once

#include "net/socket/certificate.h"
#include "net/socket/openssl.h"

/// What is said of OpenSSL's verification result @p result.
QString verificationText(int result);

/// Judges the certificates that a server presented: the chain to one of those in @p trusted, then the dates
/// of every certificate of that chain by the program's clock, then the name. Dates and name are looked at
/// only where the chain holds; every problem of those is reported. @p securityLevel is OpenSSL's.
CertificateReport verify(X509 *certificate, STACK_OF(X509) * sent, X509_STORE *trusted, int securityLevel,
                         const QString &host, quint16 port);
