#include "net/socket/tlsengine.h"

#include "net/socket/certificateinfo.h"
#include "net/socket/verification.h"

#include <openssl/err.h>

#include <limits>

using namespace Qt::StringLiterals;

namespace {

constexpr std::size_t kBuffer = 64 * 1024; // bytes, each way

int sizeFor(qsizetype size)
{
    return int(std::min<qsizetype>(size, std::numeric_limits<int>::max()));
}

} // namespace

std::unique_ptr<TlsEngine> TlsEngine::create(const QString &caFile, const QString &host, QString &problem)
{
    std::unique_ptr<TlsEngine> engine(new TlsEngine);
    engine->m_context = tlsContext(caFile, problem);
    if (!engine->m_context)
        return {};
    engine->m_ssl.reset(SSL_new(engine->m_context.get()));
    BIO *inner = nullptr;
    BIO *outer = nullptr;
    if (!engine->m_ssl || BIO_new_bio_pair(&inner, kBuffer, &outer, kBuffer) == 0) {
        problem = u"Error creating SSL session"_s;
        return {};
    }
    engine->m_network.reset(outer);
    SSL_set_bio(engine->m_ssl.get(), inner, inner);
    SSL_set_connect_state(engine->m_ssl.get());
    if (const QByteArray name = hostForTls(host); !name.isEmpty() && !isAddress(host)) // RFC 6066, 3
        SSL_set_tlsext_host_name(engine->m_ssl.get(), name.constData());
    return engine;
}

TlsEngine::Result TlsEngine::resultOf(int returned)
{
    if (returned > 0)
        return {Outcome::Done, returned};
    switch (SSL_get_error(m_ssl.get(), returned)) {
    case SSL_ERROR_WANT_READ:
    case SSL_ERROR_WANT_WRITE: return {Outcome::Wait};
    case SSL_ERROR_ZERO_RETURN: return {Outcome::Ended};
    default: m_error = takeOpenSslError(); return {Outcome::Failed};
    }
}

TlsEngine::Result TlsEngine::handshake()
{
    ERR_clear_error();
    return resultOf(SSL_do_handshake(m_ssl.get()));
}

TlsEngine::Result TlsEngine::read(char *data, qsizetype most)
{
    ERR_clear_error();
    return resultOf(SSL_read(m_ssl.get(), data, sizeFor(most)));
}

TlsEngine::Result TlsEngine::write(QByteArrayView bytes)
{
    ERR_clear_error();
    return resultOf(SSL_write(m_ssl.get(), bytes.data(), sizeFor(bytes.size())));
}

void TlsEngine::sayEnd()
{
    ERR_clear_error();
    SSL_shutdown(m_ssl.get());
    ERR_clear_error();
}

qint64 TlsEngine::feed(QIODevice &connection)
{
    qint64 moved = 0;
    char *space = nullptr;
    for (int room = BIO_nwrite0(m_network.get(), &space); room > 0;
         room = BIO_nwrite0(m_network.get(), &space)) {
        const qint64 got = connection.read(space, room);
        if (got < 0 && moved == 0) {
            m_error = u"Failed to read data from socket"_s;
            return -1;
        }
        if (got <= 0)
            break;
        if (BIO_nwrite(m_network.get(), &space, int(got)) != int(got)) {
            m_error = u"Failed to write protocol data to BIO"_s;
            return -1;
        }
        moved += got;
    }
    return moved;
}

qint64 TlsEngine::drain(QIODevice &connection)
{
    qint64 moved = 0;
    char *records = nullptr;
    for (int size = BIO_nread0(m_network.get(), &records); size > 0;
         size = BIO_nread0(m_network.get(), &records)) {
        const qint64 written = connection.write(records, size);
        if (written < 0)
            return -1;
        BIO_nread(m_network.get(), &records, int(written));
        moved += written;
    }
    return moved;
}

CertificateReport TlsEngine::examine(const QString &host, quint16 port) const
{
    const X509Pointer certificate(SSL_get1_peer_certificate(m_ssl.get()));
    if (!certificate)
        return {host, port, {}, {{CertificateProblemCode::NotVerified, verificationText(-1)}}};
    return verify(certificate.get(), SSL_get_peer_cert_chain(m_ssl.get()),
                  SSL_CTX_get_cert_store(m_context.get()), SSL_get_security_level(m_ssl.get()), host, port);
}
