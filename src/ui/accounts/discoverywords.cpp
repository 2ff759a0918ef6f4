#include "ui/accounts/discoverywords.h"

#include "ui/texts/harmless.h"

#include <QCoreApplication>

using namespace Qt::StringLiterals;

namespace {

using Kind = MessageBar::Kind;

QString tr(const char *text)
{
    return QCoreApplication::translate("DiscoveryWords", text);
}

/// The provider by its name, or by the host that spoke for it.
QString nameOf(const MailSettings &settings)
{
    return harmlessLine(settings.from, 80);
}

QString shownName(MailProtocol protocol)
{
    return QLatin1String(rowOf(protocol).shown);
}

/// What receives may be switched off; what sends goes without a switch.
QString demands(const MailSettings &settings, MailProtocol protocol)
{
    const QString name = nameOf(settings);
    QStringList sentences;
    if (settings.needs & NeedsSwitch && protocol != MailProtocol::Smtp)
        sentences += tr("At %1 mail programs have no access until you switch POP3 on in the settings of your "
                        "mailbox.")
                         .arg(name);
    if (settings.needs & NeedsAppPassword)
        sentences += tr("%1 takes an app password here, one made for mail programs, and not the one that you "
                        "use on its web page.")
                         .arg(name);
    return sentences.join(u' ');
}

} // namespace

DiscoveryWords sourceWords(const MailSettings &settings, const QString &domain)
{
    const QString name = nameOf(settings);
    const MailServer *server = settings.servers.empty() ? nullptr : &settings.servers.front();
    switch (settings.source) {
    case SettingsSource::ProviderList: return {Kind::Good, tr("Velmar knows the servers of %1.").arg(name)};
    case SettingsSource::AutoconfigHost:
    case SettingsSource::WellKnown:
        return {Kind::Good, tr("Found at %1 itself, over an encrypted connection.").arg(domain)};
    case SettingsSource::ServiceRecords:
        return {Kind::Information, tr("Named by the service records of %1.").arg(domain)};
    case SettingsSource::MailExchange:
        return {Kind::Information,
                settings.isWhole
                    ? tr("%1 receives the mail of %2, and Velmar knows its servers.").arg(name, domain)
                    : tr("Published at %1, which receives the mail of %2.").arg(name, domain)};
    case SettingsSource::ConventionalNames: break;
    }
    if (server && !server->isTrusted)
        return {Kind::Warning,
                tr("A server answers under a usual name, and its certificate has a problem. You "
                   "will see it before anything is sent.")};
    return {Kind::Information,
            tr("Nothing is published about %1, but a server answers under the usual name.").arg(domain)};
}

DiscoveryWords strangerWords(const MailSettings &settings, MailProtocol protocol, const QString &domain)
{
    const MailServer *server = settings.server(protocol);
    if (!server || isSameDomain(server->host, domain))
        return {};
    const QString text =
        tr("The server belongs to %1, not to %2.").arg(registrableDomain(server->host), domain);
    if (settings.isWhole) // a fact, and no reason to doubt
        return {Kind::Information, text};
    return {Kind::Warning, text + u' ' +
                               (protocol == MailProtocol::Smtp
                                    ? tr("Go on only if you know that your mail is sent through it.")
                                    : tr("Go on only if you know that this is where your mail is kept."))};
}

DiscoveryWords needWords(const MailSettings &settings, MailProtocol protocol)
{
    const QString name = nameOf(settings);
    const MailServer *server = settings.server(protocol);
    if (settings.needs & NeedsOwnProgram)
        return {
            Kind::Error,
            tr("Mail programs cannot reach the mail of %1 without a program of %1's own. Velmar cannot set "
               "this account up.")
                .arg(name),
            settings.page, true};
    if (!server)
        return {Kind::Error,
                tr("%1 offers no %2. Accounts of the other kinds cannot be set up in Velmar yet.")
                    .arg(name, shownName(protocol)),
                {},
                true};
    if (server->oauthOnly || (settings.needs & NeedsOAuth2))
        return {
            Kind::Error,
            tr("%1 takes no password from mail programs, only a sign-in on its own web page (OAuth2), which "
               "Velmar cannot do yet. This account cannot be set up for now.")
                .arg(name),
            settings.page, true};
    const QString text = demands(settings, protocol);
    return {Kind::Warning, text, text.isEmpty() ? QString() : settings.page};
}

DiscoveryWords nothingWords(const ServerDiscovery &discovery, MailProtocol protocol)
{
    const QString domain = discovery.identity().domain;
    const QString shown = shownName(protocol);
    if (discovery.declines(protocol))
        return {Kind::Warning, tr("%1 says that it offers no %2.").arg(domain, shown)};
    if (protocol == MailProtocol::Smtp)
        return {Kind::Warning, tr("No server to send through was found for %1. Your provider tells its name; "
                                  "enter it below.")
                                   .arg(domain)};
    for (const MailSettings &settings : discovery.found()) {
        if (settings.server(MailProtocol::Imap))
            return {Kind::Warning, tr("Only servers for IMAP were found for %1, which Velmar cannot use yet. "
                                      "If you know a server "
                                      "for %2, enter it below.")
                                       .arg(domain, shown)};
    }
    return {Kind::Warning,
            tr("No server was found for %1. Your provider tells its name; enter it below.").arg(domain)};
}
