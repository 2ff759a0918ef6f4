#pragma once

#include "net/discovery/discoverynetwork.h"

/// The real net: DNS as the system asks it, the web as pictures of mail are fetched from it (its rules and
/// its proxy hold), and connections with the program's own sockets.
class SystemDiscoveryNetwork : public DiscoveryNetwork
{
public:
    void lookupSrv(const QString &name, QObject *context,
                   std::function<void(const QList<ServiceRecord> &)> answer) override;
    void lookupMx(const QString &domain, QObject *context,
                  std::function<void(const QStringList &)> answer) override;
    void fetch(const QUrl &url, qint64 mostBytes, QObject *context,
               std::function<void(const QByteArray &, const QString &)> answer) override;
    void probe(const ProbeTarget &target, QObject *context, std::function<void(ProbeAnswer)> answer) override;
};
