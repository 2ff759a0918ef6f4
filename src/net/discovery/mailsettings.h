#pragma once

#include <QString>

#include <array>
#include <vector>

/// What a mail program speaks with a provider's servers.
enum class MailProtocol { Pop3, Imap, Smtp };

struct MailProtocolRow
{
    const char *word;       ///< in published settings
    const char *shown;      ///< for people
    const char *tlsService; ///< RFC 6186, RFC 8314: its service records, TLS from the start
    const char *startTlsService;
    quint16 tlsPort;
    quint16 startTlsPort;
};
constexpr std::array kMailProtocols = {
    MailProtocolRow{"pop3", "POP3", "_pop3s", "_pop3", 995, 110},
    MailProtocolRow{"imap", "IMAP", "_imaps", "_imap", 993, 143},
    MailProtocolRow{"smtp", "SMTP", "_submissions", "_submission", 465, 587},
};
static_assert(kMailProtocols.size() == std::size_t(MailProtocol::Smtp) + 1);

constexpr const MailProtocolRow &rowOf(MailProtocol protocol)
{
    return kMailProtocols[std::size_t(protocol)];
}

enum class MailEncryption {
    None, ///< never found, only chosen by hand
    StartTls,
    Tls, ///< from the start
};

/// The port that is usual for @p protocol.
constexpr quint16 usualPort(MailProtocol protocol, MailEncryption encryption)
{
    const MailProtocolRow &row = rowOf(protocol);
    return encryption == MailEncryption::Tls ? row.tlsPort : row.startTlsPort;
}

/// One server and how to sign in there.
struct MailServer
{
    MailProtocol protocol = MailProtocol::Pop3;
    QString host; ///< in ASCII, lower case
    quint16 port = 0;
    MailEncryption encryption = MailEncryption::Tls;
    QString user;
    bool oauthOnly = false; ///< it takes no password
    bool isTrusted = true;  ///< false: it was tried, and its certificate has a problem
};

/// Who says so, the most trustworthy first.
enum class SettingsSource {
    ProviderList,     ///< the list inside the program
    AutoconfigHost,   ///< https://autoconfig.DOMAIN
    WellKnown,        ///< https://DOMAIN/.well-known
    ServiceRecords,   ///< DNS SRV
    MailExchange,     ///< what is known about, or published by, the one who receives the domain's mail
    ConventionalNames ///< servers that answered under the usual names
};
constexpr int kSettingsSources = int(SettingsSource::ConventionalNames) + 1;

/// What a provider demands before a mail program can sign in.
enum ProviderNeed : unsigned {
    NeedsAppPassword = 1, ///< a password of its own for mail programs
    NeedsOAuth2 = 2,      ///< it takes no passwords any more
    NeedsSwitch = 4,      ///< access for mail programs is off until it is switched on in the web settings
    NeedsOwnProgram = 8,  ///< no mail program reaches it without a program of the provider's own
};

/// What one source says about a domain.
struct MailSettings
{
    SettingsSource source = SettingsSource::ProviderList;
    QString from;                    ///< the provider's name, or the host that said it
    std::vector<MailServer> servers; ///< of each protocol the preferred one first
    unsigned needs = 0;              ///< of ProviderNeed
    bool isWhole = false;            ///< known inside the program: nobody else need be asked
    QString page;                    ///< where the user can meet the needs; empty where none is known

    /// The preferred one of @p protocol; null when there is none.
    const MailServer *server(MailProtocol protocol) const
    {
        for (const MailServer &server : servers) {
            if (server.protocol == protocol)
                return &server;
        }
        return nullptr;
    }
};
