#include "engine/discoverynetwork.h"

#include "engine/discoveryfetch.h"
#include "engine/discoveryprobe.h"

#include <QDnsLookup>

#include <algorithm>

namespace {

/// One look-up; its answer comes when it is finished, whatever came of it.
template <typename Answer>
void lookUp(QDnsLookup::Type type, const QString &name, QObject *context, Answer answer)
{
    auto *lookup = new QDnsLookup(type, name, context);
    QObject::connect(lookup, &QDnsLookup::finished, context, [lookup, answer] {
        lookup->deleteLater();
        answer(*lookup);
    });
    lookup->lookup();
}

} // namespace

void SystemDiscoveryNetwork::lookupSrv(const QString &name, QObject *context,
                                       std::function<void(const QList<ServiceRecord> &)> answer)
{
    lookUp(QDnsLookup::SRV, name, context, [answer = std::move(answer)](const QDnsLookup &lookup) {
        QList<ServiceRecord> records;
        for (const QDnsServiceRecord &record : lookup.serviceRecords())
            records.append({record.target(), record.port(), record.priority(), record.weight()});
        answer(records);
    });
}

void SystemDiscoveryNetwork::lookupMx(const QString &domain, QObject *context,
                                      std::function<void(const QStringList &)> answer)
{
    lookUp(QDnsLookup::MX, domain, context, [answer = std::move(answer)](const QDnsLookup &lookup) {
        QList<QDnsMailExchangeRecord> records = lookup.mailExchangeRecords();
        std::stable_sort(records.begin(), records.end(),
                         [](const auto &a, const auto &b) { return a.preference() < b.preference(); });
        QStringList hosts;
        for (const QDnsMailExchangeRecord &record : records)
            hosts += record.exchange();
        answer(hosts);
    });
}

void SystemDiscoveryNetwork::fetch(const QUrl &url, qint64 mostBytes, QObject *context,
                                   std::function<void(const QByteArray &, const QString &)> answer)
{
    auto *fetch = new DiscoveryFetch(url, DiscoveryFetch::toTheWorld(mostBytes), context);
    QObject::connect(fetch, &DiscoveryFetch::finished, context,
                     [fetch, answer = std::move(answer)](const QByteArray &bytes, const QString &problem) {
                         fetch->deleteLater();
                         answer(bytes, problem);
                     });
    fetch->start();
}

void SystemDiscoveryNetwork::probe(const ProbeTarget &target, QObject *context,
                                   std::function<void(ProbeAnswer)> answer)
{
    auto *probe = new DiscoveryProbe(target, {}, context);
    QObject::connect(probe, &DiscoveryProbe::finished, context,
                     [probe, answer = std::move(answer)](ProbeAnswer what) {
                         probe->deleteLater();
                         answer(what);
                     });
    probe->start();
}
