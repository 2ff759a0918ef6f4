#include "net/socket/certificateinfo.h"

#include "config/reporter.h"

#include <QDateTime>
#include <QHostAddress>
#include <QUrl>

#include <ctime>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kLongestText = 1000;
constexpr int kMostNames = 100;

/// Bytes of a certificate as something to look at: a NUL shows as an escape and ends nothing.
QString shown(QByteArrayView bytes)
{
    return onOneLine(QString::fromUtf8(bytes.first(std::min(bytes.size(), kLongestText))));
}

QByteArrayView bytesOf(const ASN1_STRING *text)
{
    return {reinterpret_cast<const char *>(ASN1_STRING_get0_data(text)), ASN1_STRING_length(text)};
}

QString lineOf(const X509_NAME *name)
{
    const BioPointer bio(BIO_new(BIO_s_mem()));
    X509_NAME_print_ex(bio.get(), name, 0, XN_FLAG_ONELINE & ~unsigned(ASN1_STRFLGS_ESC_MSB));
    char *bytes = nullptr;
    const long size = BIO_get_mem_data(bio.get(), &bytes);
    return shown({bytes, size});
}

/// The last common name is the most specific one.
QString commonNameOf(const X509_NAME *name)
{
    int last = -1;
    for (int at = X509_NAME_get_index_by_NID(name, NID_commonName, -1); at >= 0;
         at = X509_NAME_get_index_by_NID(name, NID_commonName, at))
        last = at;
    if (last < 0)
        return {};
    unsigned char *bytes = nullptr;
    const int size = ASN1_STRING_to_UTF8(&bytes, X509_NAME_ENTRY_get_data(X509_NAME_get_entry(name, last)));
    if (size < 0)
        return {};
    const QString text = shown({reinterpret_cast<const char *>(bytes), size});
    OPENSSL_free(bytes);
    return text;
}

GeneralNamesPointer alternativeNames(X509 *certificate)
{
    return GeneralNamesPointer(
        static_cast<GENERAL_NAMES *>(X509_get_ext_d2i(certificate, NID_subject_alt_name, nullptr, nullptr)));
}

QString addressOf(const ASN1_STRING *text)
{
    const QByteArrayView bytes = bytesOf(text);
    if (bytes.size() == 4)
        return QHostAddress((quint32(quint8(bytes[0])) << 24) | (quint32(quint8(bytes[1])) << 16) |
                            (quint32(quint8(bytes[2])) << 8) | quint32(quint8(bytes[3])))
            .toString();
    if (bytes.size() == 16)
        return QHostAddress(reinterpret_cast<const quint8 *>(bytes.data())).toString();
    return QString::fromLatin1(bytes.toByteArray().toHex());
}

QStringList namesOf(X509 *certificate)
{
    QStringList names;
    const GeneralNamesPointer alternatives = alternativeNames(certificate);
    for (int i = 0; i < std::min(sk_GENERAL_NAME_num(alternatives.get()), kMostNames); ++i) {
        const GENERAL_NAME *name = sk_GENERAL_NAME_value(alternatives.get(), i);
        if (name->type == GEN_DNS)
            names += shown(bytesOf(name->d.dNSName));
        else if (name->type == GEN_IPADD)
            names += addressOf(name->d.iPAddress);
    }
    return names;
}

bool hasAlternatives(X509 *certificate)
{
    const GeneralNamesPointer names = alternativeNames(certificate);
    for (int i = 0; i < sk_GENERAL_NAME_num(names.get()); ++i) {
        const int type = sk_GENERAL_NAME_value(names.get(), i)->type;
        if (type == GEN_DNS || type == GEN_IPADD)
            return true;
    }
    return false;
}

QByteArray fingerprintOf(const X509 *certificate)
{
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int size = 0;
    if (X509_digest(certificate, EVP_sha256(), digest, &size) == 0)
        return {};
    return QByteArray(reinterpret_cast<const char *>(digest), qsizetype(size)).toHex();
}

QByteArray serialOf(const X509 *certificate)
{
    return bytesOf(X509_get0_serialNumber(certificate)).toByteArray().toHex();
}

QString timeText(qint64 seconds)
{
    return QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC).toString(u"yyyy-MM-dd hh:mm:ss"_s);
}

} // namespace

CertificateInfo certificateInfo(X509 *certificate)
{
    CertificateInfo info;
    info.sha256 = fingerprintOf(certificate);
    info.commonName = commonNameOf(X509_get_subject_name(certificate));
    info.subject = lineOf(X509_get_subject_name(certificate));
    info.issuer = lineOf(X509_get_issuer_name(certificate));
    info.names = namesOf(certificate);
    info.validFrom = secondsOf(X509_get0_notBefore(certificate)).value_or(0);
    info.validUntil = secondsOf(X509_get0_notAfter(certificate)).value_or(0);
    info.version = int(X509_get_version(certificate)) + 1;
    info.serial = serialOf(certificate);
    return info;
}

QString certificateText(const CertificateInfo &certificate, CertificateTextForm form)
{
    QString text = u"CN="_s + certificate.commonName + u"/notValidBefore="_s +
                   timeText(certificate.validFrom) + u"/notValidAfter="_s + timeText(certificate.validUntil);
    if (form == CertificateTextForm::Long)
        text += u"/version=%1/serial="_s.arg(certificate.version) + QLatin1StringView(certificate.serial);
    return text;
}

std::optional<qint64> secondsOf(const ASN1_TIME *time)
{
    std::tm fields = {};
    if (ASN1_TIME_to_tm(time, &fields) == 0)
        return {};
    return qint64(::timegm(&fields));
}

bool isAddress(const QString &host)
{
    return !QHostAddress(host).isNull();
}

QByteArray hostForTls(const QString &host)
{
    if (QHostAddress address(host); !address.isNull()) {
        address.setScopeId({});
        return address.toString().toLatin1();
    }
    QByteArray name = QUrl::toAce(host);
    if (name.endsWith('.'))
        name.chop(1);
    return name;
}

bool isForHost(X509 *certificate, const QString &host)
{
    const QByteArray name = hostForTls(host);
    if (name.isEmpty())
        return false;
    if (isAddress(host))
        return X509_check_ip_asc(certificate, name.constData(), 0) == 1;
    unsigned flags = X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS;
    if (hasAlternatives(certificate))
        flags |= X509_CHECK_FLAG_NEVER_CHECK_SUBJECT;
    return X509_check_host(certificate, name.constData(), std::size_t(name.size()), flags, nullptr) == 1;
}
