#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <vector>

/// What a person needs to know a certificate by. Texts are the certificate's own, on one line, controls and
/// direction marks shown as escapes.
struct CertificateInfo
{
    QByteArray sha256;     ///< of its DER form: 64 lower-case hexadecimal digits
    QString commonName;    ///< of the subject
    QString subject;       ///< in one line
    QString issuer;        ///< in one line
    QStringList names;     ///< of the hosts and addresses that it is for
    qint64 validFrom = 0;  ///< seconds since 1970 UTC
    qint64 validUntil = 0; ///< the same
    int version = 0;       ///< of the format: 3, as a rule
    QByteArray serial;     ///< hexadecimal

    bool operator==(const CertificateInfo &) const = default;
};

enum class CertificateTextForm { Short, Long };

/// "CN=", "notValidBefore=", "notValidAfter=", in the long form also "/version=" and "/serial=", each behind
/// the one before. Times are "yyyy-MM-dd hh:mm:ss" in UTC.
QString certificateText(const CertificateInfo &certificate, CertificateTextForm form);

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
