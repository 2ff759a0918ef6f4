#pragma once

#include "net/discovery/discoverynetwork.h"
#include "net/discovery/domains.h"

/// The service records of one domain (RFC 6186, RFC 8314), gathered as their answers come.
class ServiceRecords
{
public:
    explicit ServiceRecords(MailIdentity who);

    /// The names to look up, in the order of the answers.
    QStringList names() const;

    /// The answer to the name at @p index.
    void add(qsizetype index, const QList<ServiceRecord> &records);

    bool isComplete() const { return m_answers == names().size(); }

    /// The usable ones: TLS from the start before STARTTLS, then by priority, then by weight.
    std::vector<MailServer> servers() const;

    /// Whether the domain says that it does not offer @p protocol.
    bool declines(MailProtocol protocol) const;

    /// Targets that are no names of hosts on the net.
    int passedOver() const { return m_passedOver; }

private:
    struct Service
    {
        std::vector<MailServer> servers;
        bool isDeclined = false;
    };

    MailIdentity m_who;
    std::array<Service, 2 * kMailProtocols.size()> m_services; ///< of each protocol TLS, then STARTTLS
    qsizetype m_answers = 0;
    int m_passedOver = 0;
};
