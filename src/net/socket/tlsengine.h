#pragma once

#include "net/socket/certificate.h"
#include "net/socket/openssl.h"
#include "net/socket/tlscontext.h"

#include <QIODevice>

/// OpenSSL's side of a connection: records on the one hand, plain bytes on the other, in between a pair of
/// buffers of 64 kB each. It does not know the connection and waits for nothing.
class TlsEngine
{
public:
    enum class Outcome { Done, Wait, Ended, Failed };

    struct Result
    {
        Outcome outcome = Outcome::Wait;
        qsizetype bytes = 0; ///< with Done: how many
    };

    /// Null: @p problem says why. @p host is the name that the server is asked for.
    static std::unique_ptr<TlsEngine> create(const QString &caFile, const QString &host, QString &problem);

    Result handshake();
    Result read(char *data, qsizetype most);
    Result write(QByteArrayView bytes);

    /// Puts the notice of the end behind what was written.
    void sayEnd();

    /// Moves records from @p connection in, as far as there is room, and out. Bytes; -1: failed.
    qint64 feed(QIODevice &connection);
    qint64 drain(QIODevice &connection);

    /// What of @p report the handshake settles; to be called when it is done.
    CertificateReport examine(const QString &host, quint16 port) const;

    /// OpenSSL's words for what failed last.
    QString errorText() const { return m_error; }

private:
    TlsEngine() = default;
    Result resultOf(int returned);

    TlsContext m_context;
    SslPointer m_ssl;
    BioPointer m_network; ///< the far end of the pair
    QString m_error;
};
