#pragma once

#include "net/socket/certificate.h"

#include <QString>

#include <functional>

/// What decides on a certificate that has a problem: it is given the report and answers, at once or later,
/// by calling @p answer with whether the connection may go on. Nothing is sent before. An answer that comes
/// when the connection is gone does nothing.
using CertificateJudge =
    std::function<void(const CertificateReport &report, std::function<void(bool accept)> answer)>;

/// How a socket trusts and names its server.
struct TlsChoice
{
    QString serverName;     ///< the account's host: for SNI and for the check, also when connected by address
    QString caFile;         ///< certificates trusted besides those of the system; empty: none
    CertificateJudge judge; ///< null: a certificate with a problem is refused
};
