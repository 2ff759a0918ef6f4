#pragma once

#include <QFile>
#include <QList>
#include <QTemporaryDir>

#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <memory>

/// A certificate and its key, as files in PEM that servers read: the certificate first, then those between it
/// and the root.
struct CertificateFiles
{
    QString certificate;
    QString key;
};

/// What a certificate for a test says. Names may hold any byte.
struct CertificateText
{
    QByteArray commonName = {};   ///< empty: there is none
    QList<QByteArray> hosts = {}; ///< of the alternative names
    QList<QByteArray> addresses = {};
    qint64 from = -24 * 3600; ///< seconds from now
    qint64 until = 30LL * 24 * 3600;
    bool signsOthers = false;
    bool authorityWithoutRight = false; ///< it claims to be an authority, and its use of the key denies it
};

/// One certificate with its key, signed by another or by itself. EC P-256, SHA-256.
class TestCertificate
{
public:
    explicit TestCertificate(const CertificateText &text, const TestCertificate *issuer = nullptr)
        : m_key(EVP_EC_gen("P-256"))
        , m_certificate(X509_new())
    {
        X509_set_version(certificate(), X509_VERSION_3);
        ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate()), nextSerial());
        X509_gmtime_adj(X509_getm_notBefore(certificate()), long(text.from));
        X509_gmtime_adj(X509_getm_notAfter(certificate()), long(text.until));
        X509_set_pubkey(certificate(), m_key.get());
        name(text.commonName);
        const TestCertificate &signer = issuer ? *issuer : *this;
        X509_set_issuer_name(certificate(), X509_get_subject_name(signer.certificate()));
        extend(text, signer);
        if (X509_sign(certificate(), signer.m_key.get(), EVP_sha256()) == 0)
            qFatal("the test cannot sign a certificate");
    }

    X509 *certificate() const { return m_certificate.get(); }
    EVP_PKEY *key() const { return m_key.get(); }

    /// Writes "name.pem" with those in @p between behind it, and "name.key" for its owner's eyes.
    CertificateFiles write(const QString &directory, const QString &name,
                           const QList<const TestCertificate *> &between = {}) const
    {
        const QString stem = directory + u'/' + name;
        const CertificateFiles files = {stem + QStringLiteral(".pem"), stem + QStringLiteral(".key")};
        QByteArray chain = pem();
        for (const TestCertificate *one : between)
            chain += one->pem();
        writeFile(files.certificate, chain);
        writeFile(files.key, text([this](BIO *bio) {
                      return PEM_write_bio_PrivateKey(bio, key(), nullptr, nullptr, 0, nullptr, nullptr);
                  }));
        return files;
    }

    QByteArray pem() const
    {
        return text([this](BIO *bio) { return PEM_write_bio_X509(bio, certificate()); });
    }

private:
    template <auto function>
    struct Free
    {
        template <typename T>
        void operator()(T *object) const
        {
            function(object);
        }
    };

    static quint64 nextSerial()
    {
        static quint64 s_serial = 1000;
        return ++s_serial;
    }

    void name(const QByteArray &commonName)
    {
        X509_NAME *subject = X509_get_subject_name(certificate());
        add(subject, "O", "Velmar tests");
        if (!commonName.isEmpty())
            add(subject, "CN", commonName);
    }

    static void add(X509_NAME *subject, const char *field, const QByteArray &value)
    {
        X509_NAME_add_entry_by_txt(subject, field, V_ASN1_UTF8STRING,
                                   reinterpret_cast<const unsigned char *>(value.constData()),
                                   int(value.size()), -1, 0);
    }

    void extend(const CertificateText &text, const TestCertificate &signer)
    {
        const bool claims = text.signsOthers || text.authorityWithoutRight;
        extend(signer, NID_basic_constraints, claims ? "critical,CA:TRUE" : "critical,CA:FALSE");
        extend(signer, NID_key_usage,
               text.signsOthers ? "critical,keyCertSign" : "critical,digitalSignature");
        extend(signer, NID_subject_key_identifier, "hash");
        extend(signer, NID_authority_key_identifier, "keyid:always");
        alternatives(text);
    }

    void extend(const TestCertificate &signer, int nid, const char *value)
    {
        X509V3_CTX context;
        X509V3_set_ctx(&context, signer.certificate(), certificate(), nullptr, nullptr, 0);
        X509_EXTENSION *extension = X509V3_EXT_conf_nid(nullptr, &context, nid, value);
        if (!extension)
            qFatal("the test cannot extend a certificate");
        X509_add_ext(certificate(), extension, -1);
        X509_EXTENSION_free(extension);
    }

    void alternatives(const CertificateText &text)
    {
        if (text.hosts.isEmpty() && text.addresses.isEmpty())
            return;
        GENERAL_NAMES *names = GENERAL_NAMES_new();
        for (const QByteArray &host : text.hosts) {
            ASN1_IA5STRING *value = ASN1_IA5STRING_new();
            ASN1_STRING_set(value, host.constData(), int(host.size()));
            push(names, GEN_DNS, value);
        }
        for (const QByteArray &address : text.addresses)
            push(names, GEN_IPADD, a2i_IPADDRESS(address.constData()));
        X509_add1_ext_i2d(certificate(), NID_subject_alt_name, names, 0, 0);
        GENERAL_NAMES_free(names);
    }

    static void push(GENERAL_NAMES *names, int kind, void *value)
    {
        GENERAL_NAME *name = GENERAL_NAME_new();
        GENERAL_NAME_set0_value(name, kind, value);
        sk_GENERAL_NAME_push(names, name);
    }

    template <typename Writer>
    static QByteArray text(Writer writer)
    {
        const std::unique_ptr<BIO, Free<BIO_free>> bio(BIO_new(BIO_s_mem()));
        writer(bio.get());
        char *bytes = nullptr;
        const long size = BIO_get_mem_data(bio.get(), &bytes);
        return QByteArray(bytes, size);
    }

    static void writeFile(const QString &path, const QByteArray &bytes)
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() ||
            !file.setPermissions(QFile::ReadOwner | QFile::WriteOwner))
            qFatal("the test cannot write %s", qPrintable(path));
    }

    std::unique_ptr<EVP_PKEY, Free<EVP_PKEY_free>> m_key;
    std::unique_ptr<X509, Free<X509_free>> m_certificate;
};

/// The certificates that tests of servers need, made anew in a few milliseconds, as files in a directory that
/// lives as long as this. All but wrongHost are for localhost, mail.test.example, 127.0.0.1 and ::1.
class Certificates
{
public:
    Certificates()
    {
        if (!m_directory.isValid())
            qFatal("the test has no directory");
        const auto cut = [this](const char *name, const CertificateText &text,
                                const TestCertificate &issuer) {
            return TestCertificate(text, &issuer).write(path(), QLatin1String(name));
        };
        const CertificateText authority = {.commonName = "Test CA", .signsOthers = true};
        const TestCertificate root(authority);
        const TestCertificate stranger({.commonName = "Unknown CA", .signsOthers = true});
        ca = root.write(path(), QStringLiteral("ca")).certificate;
        otherCa = stranger.write(path(), QStringLiteral("otherca")).certificate;
        good = cut("good", here(), root);
        wrongHost =
            cut("wronghost", {.commonName = "elsewhere.example", .hosts = {"elsewhere.example"}}, root);
        untrusted = cut("untrusted", here(), stranger);
        expired = cut("expired", here(-30 * kDay, -kDay), root);
        notYetValid = cut("notyetvalid", here(kDay, 30 * kDay), root);
        expiredWrongHost = cut("expiredwronghost",
                               {.commonName = "elsewhere.example", .from = -30 * kDay, .until = -kDay}, root);
        selfSigned = TestCertificate(here()).write(path(), QStringLiteral("selfsigned"));
        between(root);
    }

    QString path() const { return m_directory.path(); }

    static constexpr qint64 kDay = 24 * 3600;

    /// What a certificate for this machine says.
    static CertificateText here(qint64 from = -kDay, qint64 until = 30 * kDay)
    {
        return {.commonName = "localhost",
                .hosts = {"localhost", "mail.test.example"},
                .addresses = {"127.0.0.1", "::1"},
                .from = from,
                .until = until};
    }

    QString ca;      ///< what clients are to trust
    QString otherCa; ///< signed "untrusted"
    CertificateFiles good;
    CertificateFiles selfSigned;
    CertificateFiles expired;
    CertificateFiles notYetValid;
    CertificateFiles wrongHost;
    CertificateFiles expiredWrongHost;
    CertificateFiles untrusted;
    CertificateFiles throughIntermediate;
    CertificateFiles expiredIntermediate; ///< the certificate between is expired, its own dates are well
    CertificateFiles selfSignedChain;     ///< the server sends its unknown root along
    CertificateFiles missingIntermediate; ///< the certificate between is not sent

private:
    void between(const TestCertificate &root)
    {
        const TestCertificate fresh({.commonName = "Between", .signsOthers = true}, &root);
        const TestCertificate old(
            {.commonName = "Old between", .from = -30 * kDay, .until = -kDay, .signsOthers = true}, &root);
        const TestCertificate unknown({.commonName = "Sent root", .signsOthers = true});
        const auto write = [this](const char *name, const TestCertificate &issuer, bool sent) {
            const QList<const TestCertificate *> chain = {&issuer};
            return TestCertificate(here(), &issuer)
                .write(path(), QLatin1String(name), sent ? chain : QList<const TestCertificate *>());
        };
        throughIntermediate = write("throughintermediate", fresh, true);
        missingIntermediate = write("missingintermediate", fresh, false);
        expiredIntermediate = write("expiredintermediate", old, true);
        selfSignedChain = write("selfsignedchain", unknown, true);
    }

    QTemporaryDir m_directory;
};
