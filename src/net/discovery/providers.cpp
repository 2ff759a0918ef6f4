#include "net/discovery/providers.h"

#include "net/discovery/providertable.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// Whether @p words, separated by blanks, have @p word among them.
bool hasWord(const char *words, const QString &word)
{
    const QStringList all = QString::fromLatin1(words).split(u' ', Qt::SkipEmptyParts);
    return all.contains(word);
}

void addServer(MailSettings &settings, MailProtocol protocol, const char *text, const QString &user)
{
    const QString whole = QString::fromLatin1(text);
    if (whole.isEmpty())
        return;
    MailServer server;
    server.protocol = protocol;
    server.host = whole.section(u':', 0, 0);
    server.port = whole.contains(u':') ? whole.section(u':', 1).toUShort() : rowOf(protocol).tlsPort;
    server.encryption =
        server.port == rowOf(protocol).startTlsPort ? MailEncryption::StartTls : MailEncryption::Tls;
    server.user = user;
    server.oauthOnly = settings.needs & NeedsOAuth2;
    settings.servers.push_back(server);
}

MailSettings settingsOf(const ProviderRow &row, const MailIdentity &who)
{
    MailSettings settings;
    settings.from = QString::fromLatin1(row.name);
    settings.needs = row.needs;
    settings.isWhole = true;
    settings.page = QString::fromLatin1(row.page);
    const QString user = row.user == UserForm::Address ? who.address : who.localPart;
    addServer(settings, MailProtocol::Pop3, row.pop3, user);
    addServer(settings, MailProtocol::Imap, row.imap, user);
    addServer(settings, MailProtocol::Smtp, row.smtp, user);
    return settings;
}

std::optional<MailSettings> lookUp(const char *ProviderRow::*column, const QString &domain,
                                   const MailIdentity &who)
{
    const auto found = std::find_if(kProviders.begin(), kProviders.end(),
                                    [&](const ProviderRow &row) { return hasWord(row.*column, domain); });
    if (domain.isEmpty() || found == kProviders.end())
        return std::nullopt;
    return settingsOf(*found, who);
}

} // namespace

std::optional<MailSettings> providerFor(const MailIdentity &who)
{
    return lookUp(&ProviderRow::domains, who.domain, who);
}

std::optional<MailSettings> providerBehind(const QString &exchange, const MailIdentity &who)
{
    std::optional<MailSettings> settings =
        lookUp(&ProviderRow::exchanges, registrableDomain(netHostName(exchange)), who);
    if (!settings)
        return std::nullopt;
    settings->source = SettingsSource::MailExchange;
    for (MailServer &server : settings->servers)
        server.user = who.address; // a domain of one's own has no other form
    return settings;
}
