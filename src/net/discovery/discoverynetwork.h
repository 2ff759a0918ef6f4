#pragma once

#include "net/discovery/mailsettings.h"

#include <QByteArray>
#include <QList>
#include <QStringList>
#include <QUrl>

#include <functional>

class QObject;

/// One service record (RFC 2782) as it was received.
struct ServiceRecord
{
    QString target; ///< "." or empty: the service is not offered
    quint16 port = 0;
    quint16 priority = 0; ///< the lowest comes first
    quint16 weight = 0;
};

/// What a server might be that is to be tried.
struct ProbeTarget
{
    MailProtocol protocol = MailProtocol::Pop3;
    QString host;
    quint16 port = 0;
    MailEncryption encryption = MailEncryption::Tls;
};

enum class ProbeAnswer {
    Silent,       ///< no connection, or nothing said
    OtherService, ///< it speaks, but not this protocol
    NoTls,        ///< it speaks the protocol and offers no encryption
    Untrusted,    ///< TLS is up, its certificate has a problem
    Works,        ///< the protocol over verified TLS, or with STARTTLS offered
};

/// The net as far as the search for servers needs it; a test brings its own.
///
/// Each call answers once, from the event loop and never from within the call, and not at all once @p context
/// is gone: destroying that ends what is under way.
class DiscoveryNetwork
{
public:
    virtual ~DiscoveryNetwork() = default;

    /// @p name as "_pop3s._tcp.example.org". Empty: there are none.
    virtual void lookupSrv(const QString &name, QObject *context,
                           std::function<void(const QList<ServiceRecord> &)> answer) = 0;

    /// The hosts that receive mail for @p domain, the preferred one first.
    virtual void lookupMx(const QString &domain, QObject *context,
                          std::function<void(const QStringList &hosts)> answer) = 0;

    /// The file at @p url, https only, over verified TLS, redirections included; no more than @p mostBytes.
    /// Null @p bytes: it could not be had, for the reason @p problem, a sentence without its full stop.
    virtual void fetch(const QUrl &url, qint64 mostBytes, QObject *context,
                       std::function<void(const QByteArray &bytes, const QString &problem)> answer) = 0;

    /// Connects and listens, without signing in.
    virtual void probe(const ProbeTarget &target, QObject *context,
                       std::function<void(ProbeAnswer)> answer) = 0;
};
