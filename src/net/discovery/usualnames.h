#pragma once

#include "net/discovery/discoverynetwork.h"
#include "net/discovery/domains.h"

/// Servers looked for under the names and ports that are usual, one of each protocol that is wanted.
class UsualNames
{
public:
    /// @p exchanges: the hosts that receive the domain's mail; its own ones are tried, too.
    UsualNames(const MailIdentity &who, const QList<MailProtocol> &wanted, const QStringList &exchanges);

    /// All that is to be tried; of each protocol the most welcome first.
    const std::vector<ProbeTarget> &targets() const { return m_targets; }

    void answer(qsizetype index, ProbeAnswer answer);

    /// Whether no outstanding answer could change servers().
    bool isSettled() const;

    /// The best of each protocol so far: verified TLS before a certificate with a problem.
    std::vector<MailServer> servers() const;

    /// Hosts that speak the protocol and offer no encryption.
    QStringList withoutTls() const;

private:
    std::optional<std::size_t> best(MailProtocol protocol, ProbeAnswer answer) const;
    bool isSettled(MailProtocol protocol) const;

    QString m_user;
    QList<MailProtocol> m_wanted;
    std::vector<ProbeTarget> m_targets;
    std::vector<std::optional<ProbeAnswer>> m_answers;
};
