#pragma once

#include <QHostAddress>
#include <QList>
#include <QSslConfiguration>

#include <functional>
#include <memory>

class QObject;

/// How names become addresses; a test brings its own.
class HostResolver
{
public:
    virtual ~HostResolver() = default;

    using Answer = std::function<void(const QList<QHostAddress> &)>;

    /// Asks for the addresses of @p name, a host name in ASCII. @p answer is called
    /// once from the event loop, with an empty list when there are none, and not at all once @p context is
    /// gone.
    virtual void resolve(const QString &name, QObject *context, Answer answer) = 0;
};

/// Where a connection may go; a test brings its own.
class AddressPolicy
{
public:
    virtual ~AddressPolicy() = default;
    virtual bool permitsAddress(const QHostAddress &address) const = 0;
    virtual bool permitsPort(quint16 port) const = 0;
};

/// As the system does it, the file of its hosts included: who keeps unwelcome names there is not passed by.
class SystemResolver : public HostResolver
{
public:
    void resolve(const QString &name, QObject *context, Answer answer) override;
};

/// Only what everybody on the net could reach as well: addresses that isGlobalAddress() and the ports of the
/// web.
class PublicPolicy : public AddressPolicy
{
public:
    bool permitsAddress(const QHostAddress &address) const override;
    bool permitsPort(quint16 port) const override; ///< 80, 443, 8080 and 8443
};

/// Whether @p address is unicast and globally reachable by the registries of special addresses (RFC 6890).
/// Those that carry an IPv4 address inside (mapped, compatible, 6to4, Teredo) never are; those of NAT64 (RFC
/// 6052) are what the address inside is.
bool isGlobalAddress(const QHostAddress &address);

/// Bounds of one request, its redirections included.
struct WebLimits
{
    qint64 bytes = 10LL * 1024 * 1024; ///< of the content
    int redirections = 5;
    int connectMilliseconds = 10'000; ///< from the first attempt to the last
    int wholeMilliseconds = 30'000;
};

/// All that a request needs of the world around it.
struct WebAccess
{
    std::shared_ptr<HostResolver> resolver;
    std::shared_ptr<const AddressPolicy> policy;
    QSslConfiguration tls;
    WebLimits limits;
    QByteArray accept = "image/*"; ///< the types that are asked for

    /// The system's resolver and certificates, and the policy of the public net.
    static WebAccess toTheWorld();
};
