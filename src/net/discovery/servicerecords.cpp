#include "net/discovery/servicerecords.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kMostRecords = 16; // of one service that are looked at

MailProtocol protocolAt(qsizetype index)
{
    return MailProtocol(index / 2);
}

MailEncryption encryptionAt(qsizetype index)
{
    return index % 2 == 0 ? MailEncryption::Tls : MailEncryption::StartTls;
}

bool isRoot(const ServiceRecord &record)
{
    return record.target.isEmpty() || record.target == "."_L1;
}

/// RFC 2782 draws lots among equal priorities; who sets an account up twice should get the same twice.
bool comesBefore(const ServiceRecord &a, const ServiceRecord &b)
{
    return a.priority != b.priority ? a.priority < b.priority : a.weight > b.weight;
}

} // namespace

ServiceRecords::ServiceRecords(MailIdentity who)
    : m_who(std::move(who))
{}

QStringList ServiceRecords::names() const
{
    QStringList names;
    for (const MailProtocolRow &row : kMailProtocols) {
        for (const char *service : {row.tlsService, row.startTlsService})
            names += u"%1._tcp.%2"_s.arg(QLatin1String(service), m_who.domain);
    }
    return names;
}

void ServiceRecords::add(qsizetype index, const QList<ServiceRecord> &records)
{
    ++m_answers;
    Service &service = m_services[std::size_t(index)];
    QList<ServiceRecord> sorted = records.first(std::min(records.size(), kMostRecords));
    std::stable_sort(sorted.begin(), sorted.end(), comesBefore);
    service.isDeclined = !sorted.isEmpty() && std::all_of(sorted.begin(), sorted.end(), isRoot);
    for (const ServiceRecord &record : sorted) {
        const QString host = netHostName(record.target);
        if (!host.isEmpty() && record.port != 0)
            service.servers.push_back(
                {protocolAt(index), host, record.port, encryptionAt(index), m_who.address});
        else if (!isRoot(record))
            ++m_passedOver;
    }
}

std::vector<MailServer> ServiceRecords::servers() const
{
    std::vector<MailServer> all;
    for (const Service &service : m_services)
        all.insert(all.end(), service.servers.begin(), service.servers.end());
    return all;
}

bool ServiceRecords::declines(MailProtocol protocol) const
{
    const Service &tls = m_services[2 * std::size_t(protocol)];
    const Service &startTls = m_services[2 * std::size_t(protocol) + 1];
    return (tls.isDeclined || startTls.isDeclined) && tls.servers.empty() && startTls.servers.empty();
}
