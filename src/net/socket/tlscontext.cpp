#include "net/socket/tlscontext.h"

#include <QDirIterator>
#include <QFile>
#include <QHash>

#include <openssl/err.h>
#include <openssl/pem.h>

#include <optional>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kLargestFile = 8 * 1024 * 1024;
constexpr char kNoTrust[] = "Failed to load the list of trusted CAs";

/// By the bytes of the file: another content is another trust.
QHash<QByteArray, std::weak_ptr<SSL_CTX>> &contexts()
{
    static QHash<QByteArray, std::weak_ptr<SSL_CTX>> s_contexts;
    return s_contexts;
}

std::optional<QByteArray> bytesOf(const QString &path)
{
    if (path.isEmpty())
        return QByteArray();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() > kLargestFile)
        return {};
    const QByteArray bytes = file.readAll();
    if (bytes.isEmpty())
        return {};
    return bytes;
}

int addPem(X509_STORE *store, const QByteArray &bytes)
{
    const BioPointer bio(BIO_new_mem_buf(bytes.constData(), int(bytes.size())));
    int added = 0;
    while (const X509Pointer one{PEM_read_bio_X509_AUX(bio.get(), nullptr, nullptr, nullptr)})
        added += X509_STORE_add_cert(store, one.get());
    return added;
}

int addDer(X509_STORE *store, const QByteArray &bytes)
{
    const auto *at = reinterpret_cast<const unsigned char *>(bytes.constData());
    const X509Pointer one(d2i_X509(nullptr, &at, long(bytes.size())));
    return one ? X509_STORE_add_cert(store, one.get()) : 0;
}

/// Whether the system's directory of certificates can be searched by hashes of names. Then nothing needs to
/// be loaded before it is asked for; the file with all of them takes 20 ms.
bool hasHashedDirectory()
{
    if (qEnvironmentVariableIsSet(X509_get_default_cert_file_env()))
        return false;
    const QString path = qEnvironmentVariable(X509_get_default_cert_dir_env(),
                                              QString::fromLatin1(X509_get_default_cert_dir()));
    return QDirIterator(path, {u"????????.0"_s}, QDir::Files).hasNext();
}

bool trustSystem(SSL_CTX *context)
{
    if (hasHashedDirectory())
        return SSL_CTX_set_default_verify_dir(context) == 1;
    return SSL_CTX_set_default_verify_paths(context) == 1;
}

bool trust(SSL_CTX *context, const QByteArray &extra)
{
    if (!trustSystem(context))
        return false;
    X509_STORE *store = SSL_CTX_get_cert_store(context);
    return extra.isEmpty() || addPem(store, extra) > 0 || addDer(store, extra) > 0;
}

int acceptForNow(X509_STORE_CTX *, void *)
{
    return 1;
}

TlsContext newContext()
{
    const TlsContext context(SSL_CTX_new(TLS_client_method()), SSL_CTX_free);
    if (!context)
        return {};
    SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION);
    SSL_CTX_set_options(context.get(), SSL_OP_NO_RENEGOTIATION | SSL_OP_NO_COMPRESSION | SSL_OP_NO_TICKET);
    SSL_CTX_set_session_cache_mode(context.get(), SSL_SESS_CACHE_OFF);
    SSL_CTX_set_mode(context.get(), SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
    SSL_CTX_set_cert_verify_callback(context.get(), acceptForNow, nullptr);
    return context;
}

} // namespace

TlsContext tlsContext(const QString &caFile, QString &problem)
{
    contexts().removeIf([](const auto &entry) { return entry.value().expired(); });
    const std::optional<QByteArray> extra = bytesOf(caFile);
    if (!extra) {
        problem = QLatin1StringView(kNoTrust);
        return {};
    }
    if (TlsContext known = contexts().value(*extra).lock())
        return known;
    ERR_clear_error();
    TlsContext context = newContext();
    if (!context) {
        problem = u"Error creating SSL context"_s;
        return {};
    }
    const bool isTrusting = trust(context.get(), *extra);
    ERR_clear_error(); // the end of a file of certificates counts as one
    if (!isTrusting) {
        problem = QLatin1StringView(kNoTrust);
        return {};
    }
    contexts().insert(*extra, context);
    return context;
}
