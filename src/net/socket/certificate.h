#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <vector>

/// What a person needs to know a certificate by.
struct CertificateInfo
{
    QByteArray sha256;     ///< of its DER form: 64 lower-case hexadecimal digits
    QString commonName;    ///< of the subject
    QString subject;       ///< in one line
    QString issuer;        ///< in one line
    QStringList names;     ///< of the hosts and addresses that it is for
    qint64 validFrom = 0;  ///< seconds since 1970 UTC
    qint64 validUntil = 0; ///< the same
};

/// Numbers of what can be wrong with a certificate.
enum class CertificateProblemCode { SelfSigned = 1, HostName, Expired, NotYetValid, NotVerified };

struct CertificateProblem
{
    CertificateProblemCode code = CertificateProblemCode::NotVerified;
    QString text; ///< for people
};

/// The outcome of a handshake.
struct CertificateReport
{
    QString host; ///< that was wanted
    quint16 port = 0;
    CertificateInfo certificate;
    std::vector<CertificateProblem> problems; ///< empty: all is well
};
