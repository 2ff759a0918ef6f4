#include "net/discovery/usualnames.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// What stands before the domain, the most usual first.
constexpr std::array kPrefixes = {
    "pop pop3 mail",
    "imap mail",
    "smtp mail",
};
static_assert(kPrefixes.size() == kMailProtocols.size());

constexpr qsizetype kMostExchanges = 2;

QStringList hostsFor(MailProtocol protocol, const MailIdentity &who, const QStringList &exchanges)
{
    QStringList hosts;
    for (const QString &prefix : QString::fromLatin1(kPrefixes[std::size_t(protocol)]).split(u' '))
        hosts += prefix + u'.' + who.domain;
    for (const QString &exchange : exchanges.first(std::min(exchanges.size(), kMostExchanges))) {
        const QString host = netHostName(exchange);
        if (!host.isEmpty() && isSameDomain(host, who.domain))
            hosts += host;
    }
    hosts += who.domain;
    hosts.removeDuplicates();
    return hosts;
}

} // namespace

UsualNames::UsualNames(const MailIdentity &who, const QList<MailProtocol> &wanted,
                       const QStringList &exchanges)
    : m_user(who.address)
    , m_wanted(wanted)
{
    for (const MailProtocol protocol : wanted) {
        const QStringList hosts = hostsFor(protocol, who, exchanges);
        for (const MailEncryption encryption : {MailEncryption::Tls, MailEncryption::StartTls}) {
            for (const QString &host : hosts)
                m_targets.push_back({protocol, host, usualPort(protocol, encryption), encryption});
        }
    }
    m_answers.resize(m_targets.size());
}

void UsualNames::answer(qsizetype index, ProbeAnswer answer)
{
    m_answers[std::size_t(index)] = answer;
}

std::optional<std::size_t> UsualNames::best(MailProtocol protocol, ProbeAnswer answer) const
{
    for (std::size_t i = 0; i < m_targets.size(); ++i) {
        if (m_targets[i].protocol == protocol && m_answers[i] == answer)
            return i;
    }
    return std::nullopt;
}

/// One that works and has nothing outstanding before it, or nothing outstanding at all.
bool UsualNames::isSettled(MailProtocol protocol) const
{
    for (std::size_t i = 0; i < m_targets.size(); ++i) {
        if (m_targets[i].protocol != protocol)
            continue;
        if (m_answers[i] == ProbeAnswer::Works)
            return true;
        if (!m_answers[i])
            return false;
    }
    return true;
}

bool UsualNames::isSettled() const
{
    return std::all_of(m_wanted.begin(), m_wanted.end(),
                       [this](MailProtocol protocol) { return isSettled(protocol); });
}

std::vector<MailServer> UsualNames::servers() const
{
    std::vector<MailServer> servers;
    for (const MailProtocol protocol : m_wanted) {
        std::optional<std::size_t> found = best(protocol, ProbeAnswer::Works);
        const bool isTrusted = found.has_value();
        if (!found)
            found = best(protocol, ProbeAnswer::Untrusted);
        if (!found)
            continue;
        const ProbeTarget &target = m_targets[*found];
        servers.push_back({protocol, target.host, target.port, target.encryption, m_user, false, isTrusted});
    }
    return servers;
}

QStringList UsualNames::withoutTls() const
{
    QStringList hosts;
    for (std::size_t i = 0; i < m_targets.size(); ++i) {
        if (m_answers[i] == ProbeAnswer::NoTls)
            hosts += m_targets[i].host;
    }
    hosts.removeDuplicates();
    return hosts;
}
