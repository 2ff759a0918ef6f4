#pragma once

#include "servers/certificates.h"
#include "servers/patience.h"

#include <QTcpServer>
#include <QTcpSocket>

#include <openssl/ssl.h>

#include <limits>

/// The server's side of one TLS connection, in the hands of the test: what well-behaved servers do not do,
/// and what they know of their client.
class TlsPeer : public QTcpServer
{
public:
    /// @p version: TLS1_2_VERSION or TLS1_3_VERSION.
    explicit TlsPeer(const CertificateFiles &certificate, int version = TLS1_3_VERSION)
        : m_context(SSL_CTX_new(TLS_server_method()), SSL_CTX_free)
    {
        SSL_CTX_set_min_proto_version(m_context.get(), version);
        SSL_CTX_set_max_proto_version(m_context.get(), version);
        if (SSL_CTX_use_certificate_chain_file(m_context.get(),
                                               certificate.certificate.toUtf8().constData()) != 1 ||
            SSL_CTX_use_PrivateKey_file(m_context.get(), certificate.key.toUtf8().constData(),
                                        SSL_FILETYPE_PEM) != 1)
            qFatal("the test lacks a certificate");
        SSL_CTX_set_tlsext_servername_callback(m_context.get(), &TlsPeer::noteName);
        SSL_CTX_set_tlsext_servername_arg(m_context.get(), this);
        m_ssl.reset(SSL_new(m_context.get()));
        m_in = BIO_new(BIO_s_mem());
        m_out = BIO_new(BIO_s_mem());
        SSL_set_bio(m_ssl.get(), m_in, m_out);
        SSL_set_accept_state(m_ssl.get());
        connect(this, &QTcpServer::newConnection, this, &TlsPeer::accept);
        if (!listen(QHostAddress::LocalHost))
            qFatal("the test cannot listen");
    }

    quint16 port() const { return serverPort(); }

    /// After that many bytes the server goes away, wherever it is.
    void breakOffAfter(qint64 bytes) { m_mostBytes = bytes; }

    /// How many bytes it has sent, as they go over the wire.
    qint64 sent() const { return m_sent; }

    bool isUp() const { return SSL_is_init_finished(m_ssl.get()) == 1; }

    /// One record of its own.
    void say(const QByteArray &bytes)
    {
        SSL_write(m_ssl.get(), bytes.constData(), int(bytes.size()));
        drain();
    }

    /// Bytes that are no record.
    void sayRaw(const QByteArray &bytes) { m_socket->write(bytes); }

    void updateKeys()
    {
        SSL_key_update(m_ssl.get(), SSL_KEY_UPDATE_REQUESTED);
        SSL_do_handshake(m_ssl.get());
        drain();
    }

    void renegotiate()
    {
        SSL_renegotiate(m_ssl.get());
        SSL_do_handshake(m_ssl.get());
        drain();
    }

    void sayEnd()
    {
        SSL_shutdown(m_ssl.get());
        drain();
    }

    QByteArray heard;     ///< decrypted so far
    QByteArray askedFor;  ///< the name that the client wants, null: none
    bool hasLeft = false; ///< the client closed the connection
    bool heardEnd() const { return (SSL_get_shutdown(m_ssl.get()) & SSL_RECEIVED_SHUTDOWN) != 0; }
    QTcpSocket *socket() const { return m_socket; }

private:
    static int noteName(SSL *ssl, int *, void *peer)
    {
        static_cast<TlsPeer *>(peer)->askedFor = SSL_get_servername(ssl, TLSEXT_NAMETYPE_host_name);
        return SSL_TLSEXT_ERR_OK;
    }

    void accept()
    {
        m_socket = nextPendingConnection();
        connect(m_socket, &QTcpSocket::readyRead, this, &TlsPeer::read);
        connect(m_socket, &QTcpSocket::disconnected, this, [this] { hasLeft = true; });
        read();
    }

    void read()
    {
        const QByteArray bytes = m_socket->readAll();
        BIO_write(m_in, bytes.constData(), int(bytes.size()));
        if (!isUp())
            SSL_do_handshake(m_ssl.get());
        QByteArray plain(65536, Qt::Uninitialized);
        for (int size = 1; isUp() && size > 0;) {
            size = SSL_read(m_ssl.get(), plain.data(), int(plain.size()));
            heard.append(plain.constData(), std::max(0, size));
        }
        drain();
    }

    void drain()
    {
        char *bytes = nullptr;
        const long size = BIO_get_mem_data(m_out, &bytes);
        const qint64 piece = std::min<qint64>(size, m_mostBytes - m_sent);
        m_sent += std::max<qint64>(0, m_socket->write(bytes, piece));
        (void)BIO_reset(m_out);
        if (m_sent == m_mostBytes)
            m_socket->disconnectFromHost();
    }

    std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> m_context;
    std::unique_ptr<SSL, decltype(&SSL_free)> m_ssl{nullptr, SSL_free};
    BIO *m_in = nullptr;
    BIO *m_out = nullptr;
    QTcpSocket *m_socket = nullptr;
    qint64 m_sent = 0;
    qint64 m_mostBytes = std::numeric_limits<qint64>::max();
};
