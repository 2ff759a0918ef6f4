#include "net/socket/verification.h"

#include "config/clock.h"
#include "net/socket/certificateinfo.h"

#include <array>

using namespace Qt::StringLiterals;

namespace {

struct Row
{
    int result; ///< of OpenSSL
    const char *text;
};
constexpr const char *kInvalidCa = "Invalid CA certificate";
constexpr std::array kTexts = {
    Row{X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT, "Unable to get issuer certificate"},
    Row{X509_V_ERR_UNABLE_TO_DECRYPT_CERT_SIGNATURE, "Unable to decrypt certificate's signature"},
    Row{X509_V_ERR_UNABLE_TO_DECODE_ISSUER_PUBLIC_KEY, "Unable to decode issuer public key"},
    Row{X509_V_ERR_CERT_SIGNATURE_FAILURE, "Certificate signature failure"},
    Row{X509_V_ERR_CERT_NOT_YET_VALID, "The certificate is not yet valid"},
    Row{X509_V_ERR_CERT_HAS_EXPIRED, "The certificate has expired"},
    Row{X509_V_ERR_ERROR_IN_CERT_NOT_BEFORE_FIELD, "Format error in certificate's notBefore field"},
    Row{X509_V_ERR_ERROR_IN_CERT_NOT_AFTER_FIELD, "Format error in certificate's notAfter field"},
    Row{X509_V_ERR_OUT_OF_MEM, "Out of memory"},
    Row{X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT, "Self signed certificate"},
    Row{X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN, "Self signed certificate in certificate chain"},
    Row{X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY, "Unable to get local issuer certificate"},
    Row{X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE, "Unable to verify the first certificate"},
    Row{24, kInvalidCa}, // its number until OpenSSL 3
    Row{X509_V_ERR_PATH_LENGTH_EXCEEDED, "Path length constraint exceeded"},
    Row{X509_V_ERR_INVALID_PURPOSE, "Unsupported certificate purpose"},
    Row{X509_V_ERR_CERT_UNTRUSTED, "Certificate not trusted"},
    Row{X509_V_ERR_CERT_REJECTED, "Certificate rejected"},
    Row{X509_V_ERR_SUBJECT_ISSUER_MISMATCH, "Subject issuer mismatch"},
    Row{X509_V_ERR_AKID_SKID_MISMATCH, "Authority and subject key identifier mismatch"},
    Row{X509_V_ERR_AKID_ISSUER_SERIAL_MISMATCH, "Authority and issuer serial number mismatch"},
    Row{X509_V_ERR_KEYUSAGE_NO_CERTSIGN, "Key usage does not include certificate signing"},
    Row{X509_V_ERR_INVALID_CA, kInvalidCa},
};

enum class Dates { Checked, Unchecked };

/// One run of OpenSSL's own verification; its chain stays readable as long as this lives.
class Run
{
public:
    Run(X509 *certificate, STACK_OF(X509) * sent, X509_STORE *trusted, int securityLevel, Dates dates)
        : m_context(X509_STORE_CTX_new())
    {
        if (!m_context || X509_STORE_CTX_init(m_context.get(), trusted, certificate, sent) == 0)
            return;
        X509_STORE_CTX_set_default(m_context.get(), "ssl_server");
        X509_VERIFY_PARAM *how = X509_STORE_CTX_get0_param(m_context.get());
        X509_VERIFY_PARAM_set_auth_level(how, securityLevel);
        X509_VERIFY_PARAM_set_flags(how,
                                    X509_V_FLAG_PARTIAL_CHAIN); // what is in the store is trusted as it is
        if (dates == Dates::Unchecked)
            X509_VERIFY_PARAM_set_flags(how, X509_V_FLAG_NO_CHECK_TIME);
        else
            X509_VERIFY_PARAM_set_time(how, clockSeconds());
        X509_verify_cert(m_context.get());
        m_result = X509_STORE_CTX_get_error(m_context.get());
    }

    int result() const { return m_result; }
    STACK_OF(X509) * chain() const { return X509_STORE_CTX_get0_chain(m_context.get()); }

private:
    X509StoreContextPointer m_context;
    int m_result = X509_V_ERR_OUT_OF_MEM;
};

CertificateProblem failure(int result)
{
    const bool isSelfSigned =
        result == X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT || result == X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN;
    return {isSelfSigned ? CertificateProblemCode::SelfSigned : CertificateProblemCode::NotVerified,
            verificationText(result)};
}

/// The first problem with the dates of a chain. Empty: there is none.
std::optional<CertificateProblem> dateProblem(STACK_OF(X509) * chain)
{
    const qint64 now = clockSeconds();
    bool hasExpired = false;
    for (int i = 0; i < sk_X509_num(chain); ++i) {
        const X509 *certificate = sk_X509_value(chain, i);
        if (secondsOf(X509_get0_notBefore(certificate)).value_or(now) > now)
            return CertificateProblem{CertificateProblemCode::NotYetValid,
                                      verificationText(X509_V_ERR_CERT_NOT_YET_VALID)};
        hasExpired |= secondsOf(X509_get0_notAfter(certificate)).value_or(now) < now;
    }
    if (!hasExpired)
        return {};
    return CertificateProblem{CertificateProblemCode::Expired, verificationText(X509_V_ERR_CERT_HAS_EXPIRED)};
}

CertificateProblem nameProblem(const QString &host, const CertificateInfo &info)
{
    const QString name = info.commonName.isEmpty() ? info.names.value(0) : info.commonName;
    return {CertificateProblemCode::HostName,
            u"The host name \"%1\" doesn't match the certificate name \"%2\""_s.arg(host, name)};
}

} // namespace

QString verificationText(int result)
{
    for (const Row &row : kTexts) {
        if (row.result == result)
            return QLatin1StringView(row.text);
    }
    return u"An unknown error occurred"_s;
}

/// The first run finds a chain that is good today, also where the server or the store has an old certificate
/// of the same name beside a new one. Only without such a chain the dates are left to the second look.
CertificateReport verify(X509 *certificate, STACK_OF(X509) * sent, X509_STORE *trusted, int securityLevel,
                         const QString &host, quint16 port)
{
    CertificateReport report = {host, port, certificateInfo(certificate), {}};
    const Run strict(certificate, sent, trusted, securityLevel, Dates::Checked);
    if (strict.result() != X509_V_OK) {
        const Run lenient(certificate, sent, trusted, securityLevel, Dates::Unchecked);
        if (lenient.result() != X509_V_OK) {
            report.problems.push_back(failure(lenient.result()));
            return report;
        }
        const std::optional<CertificateProblem> problem = dateProblem(lenient.chain());
        report.problems.push_back(problem.value_or(failure(strict.result())));
    }
    if (!isForHost(certificate, host))
        report.problems.push_back(nameProblem(host, report.certificate));
    return report;
}
