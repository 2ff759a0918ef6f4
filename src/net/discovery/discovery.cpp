#include "net/discovery/discovery.h"

#include "net/discovery/autoconfig.h"
#include "net/discovery/providers.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr SettingsSource kAsked[] = {SettingsSource::AutoconfigHost, SettingsSource::WellKnown,
                                     SettingsSource::ServiceRecords, SettingsSource::MailExchange};

/// In a query of its own encoding: a "+" of the address must not become a blank.
QUrl settingsUrl(const QString &host, const QString &path, const QString &address)
{
    QUrl url;
    url.setScheme(u"https"_s);
    url.setHost(host);
    url.setPath(path);
    if (!address.isEmpty())
        url.setQuery(u"emailaddress="_s + QString::fromLatin1(QUrl::toPercentEncoding(address)));
    return url;
}

bool isFree(DiscoveryStep::State state)
{
    return state == DiscoveryStep::State::Waiting || state == DiscoveryStep::State::Asking;
}

} // namespace

ServerDiscovery::ServerDiscovery(DiscoveryNetwork &network, QObject *parent)
    : QObject(parent)
    , m_network(network)
{
    m_asking.setSingleShot(true);
    m_whole.setSingleShot(true);
    connect(&m_asking, &QTimer::timeout, this, &ServerDiscovery::askingIsOver);
    connect(&m_whole, &QTimer::timeout, this, [this] { finish(Step::Nothing, tr("no answer in time")); });
}

ServerDiscovery::~ServerDiscovery() = default;

bool ServerDiscovery::start(const QString &address, const QList<MailProtocol> &wanted)
{
    m_run.reset();
    m_who = mailIdentityOf(address);
    m_wanted = wanted;
    m_steps = {};
    m_found = {};
    m_exchanges.clear();
    m_usual.reset();
    m_records.reset();
    if (!m_who.isValid() || wanted.isEmpty())
        return false;
    m_records.emplace(m_who);
    m_run = std::make_unique<QObject>();
    nameSteps();
    m_asking.start(m_limits.askingMilliseconds);
    m_whole.start(m_limits.wholeMilliseconds);
    QMetaObject::invokeMethod(
        m_run.get(), [this] { askTheList(); }, Qt::QueuedConnection);
    return true;
}

void ServerDiscovery::stop()
{
    finish(Step::Stopped, tr("stopped"));
}

void ServerDiscovery::nameSteps()
{
    const QString domain = m_who.domain;
    const QString texts[kSettingsSources] = {
        tr("List of large providers"),
        tr("Settings published at autoconfig.%1").arg(domain),
        tr("Settings published at %1").arg(domain),
        tr("Service records of %1").arg(domain),
        tr("Who receives the mail of %1").arg(domain),
        tr("Usual names of servers"),
    };
    for (int i = 0; i < kSettingsSources; ++i)
        m_steps[std::size_t(i)].text = texts[i];
}

void ServerDiscovery::askTheList()
{
    const std::optional<MailSettings> settings = providerFor(m_who);
    if (!settings)
        setStep(SettingsSource::ProviderList, Step::Nothing, tr("not among them"));
    else
        return settle(SettingsSource::ProviderList, Step::Found, settings->from, settings);
    askTheDomain();
}

void ServerDiscovery::askTheDomain()
{
    for (const SettingsSource source : kAsked)
        setStep(source, Step::Asking);
    const QString host = u"autoconfig."_s + m_who.domain;
    askForFile(SettingsSource::AutoconfigHost, settingsUrl(host, u"/mail/config-v1.1.xml"_s, m_who.address));
    askForFile(SettingsSource::WellKnown,
               settingsUrl(m_who.domain, u"/.well-known/autoconfig/mail/config-v1.1.xml"_s, m_who.address));
    askForRecords();
    askForExchange();
}

void ServerDiscovery::askForFile(SettingsSource source, const QUrl &url)
{
    m_network.fetch(
        url, kMostAutoconfigBytes, m_run.get(),
        whileAsked([this, source, host = url.host()](const QByteArray &bytes, const QString &problem) {
            fileCame(source, host, bytes, problem);
        }));
}

void ServerDiscovery::fileCame(SettingsSource source, const QString &host, const QByteArray &bytes,
                               const QString &problem)
{
    if (!isOpen(source))
        return;
    const Autoconfig config = bytes.isNull() ? Autoconfig() : readAutoconfig(bytes, m_who);
    if (bytes.isNull())
        return settle(source, Step::Nothing, problem.isEmpty() ? tr("nothing published") : problem);
    if (!config.isOne)
        return settle(source, Step::Nothing, tr("the answer holds no settings"));
    if (config.servers.empty())
        return settle(source, Step::Nothing,
                      config.withoutTls > 0 ? tr("only servers without encryption, which are not used")
                                            : tr("no server in it that can be used"));
    MailSettings settings;
    settings.source = source;
    settings.from = host;
    settings.servers = config.servers;
    const bool isOAuthOnly = std::all_of(config.servers.begin(), config.servers.end(),
                                         [](const MailServer &server) { return server.oauthOnly; });
    if (isOAuthOnly)
        settings.needs = NeedsOAuth2;
    settle(source, Step::Found, config.name, settings);
}

void ServerDiscovery::askForRecords()
{
    const QStringList names = m_records->names();
    for (qsizetype i = 0; i < names.size(); ++i) {
        m_network.lookupSrv(names[i], m_run.get(), whileAsked([this, i](const QList<ServiceRecord> &records) {
                                m_records->add(i, records);
                                if (m_records->isComplete())
                                    recordsCame();
                            }));
    }
}

void ServerDiscovery::recordsCame()
{
    if (!isOpen(SettingsSource::ServiceRecords))
        return;
    MailSettings settings;
    settings.source = SettingsSource::ServiceRecords;
    settings.from = m_who.domain;
    settings.servers = m_records->servers();
    if (const MailServer *server = settings.server(wanted()))
        return settle(settings.source, Step::Found, server->host, settings);
    const QString shown = QLatin1String(rowOf(wanted()).shown);
    QString detail = tr("no records");
    if (declines(wanted()))
        detail = tr("say that %1 is not offered").arg(shown);
    else if (!settings.servers.empty())
        detail = tr("none for %1").arg(shown);
    else if (m_records->passedOver() > 0)
        detail = tr("name no host on the net, which was passed over");
    settle(settings.source, Step::Nothing, detail, settings);
}

void ServerDiscovery::askForExchange()
{
    m_network.lookupMx(m_who.domain, m_run.get(),
                       whileAsked([this](const QStringList &hosts) { exchangesCame(hosts); }));
}

/// The one who receives the mail is no stranger, but is not told the address either: only a provider that
/// knows it already would need it.
void ServerDiscovery::exchangesCame(const QStringList &hosts)
{
    if (!isOpen(SettingsSource::MailExchange))
        return;
    m_exchanges = hosts;
    const QString host = hosts.isEmpty() ? QString() : netHostName(hosts.first());
    if (host.isEmpty())
        return settle(SettingsSource::MailExchange, Step::Nothing, tr("nobody"));
    if (const auto settings = providerBehind(host, m_who))
        return settle(SettingsSource::MailExchange, Step::Found, settings->from, settings);
    const QString base = registrableDomain(host);
    if (base == registrableDomain(m_who.domain))
        return settle(SettingsSource::MailExchange, Step::Nothing, tr("the domain itself"));
    setStep(SettingsSource::MailExchange, Step::Asking, base);
    askForFile(SettingsSource::MailExchange,
               settingsUrl(u"autoconfig."_s + base, u"/mail/config-v1.1.xml"_s, {}));
}

void ServerDiscovery::tryUsualNames()
{
    m_asking.stop();
    if (declines(wanted()))
        return settle(SettingsSource::ConventionalNames, Step::NotNeeded, {});
    setStep(SettingsSource::ConventionalNames, Step::Asking);
    m_usual.emplace(m_who, m_wanted, m_exchanges);
    const auto left = std::make_shared<std::size_t>(m_usual->targets().size());
    for (std::size_t i = 0; i < m_usual->targets().size(); ++i) {
        m_network.probe(m_usual->targets()[i], m_run.get(), whileAsked([this, i, left](ProbeAnswer answer) {
                            m_usual->answer(qsizetype(i), answer);
                            probeCame(--*left == 0);
                        }));
    }
}

void ServerDiscovery::probeCame(bool isLast)
{
    if (!isOpen(SettingsSource::ConventionalNames) || !(isLast || m_usual->isSettled()))
        return;
    finish(Step::Nothing,
           m_usual->withoutTls().isEmpty()
               ? tr("none that answers")
               : tr("%1 offers no encryption, which is not used").arg(m_usual->withoutTls().first()));
}

/// What has answered so far counts, also when the time is over.
void ServerDiscovery::takeUsualNames()
{
    const SettingsSource source = SettingsSource::ConventionalNames;
    if (!m_usual || !isOpen(source) || m_usual->servers().empty())
        return;
    MailSettings settings;
    settings.source = source;
    settings.from = m_who.domain;
    settings.servers = m_usual->servers();
    m_found[std::size_t(source)] = settings;
    setStep(source, Step::Found, settings.servers.front().host);
}

void ServerDiscovery::setStep(SettingsSource source, Step state, const QString &detail)
{
    DiscoveryStep &step = m_steps[std::size_t(source)];
    step.state = state;
    step.detail = detail;
    emit stepChanged(source);
}

void ServerDiscovery::settle(SettingsSource source, Step state, const QString &detail,
                             const std::optional<MailSettings> &settings)
{
    m_found[std::size_t(source)] = settings;
    setStep(source, state, detail);
    decide();
}

bool ServerDiscovery::isOpen(SettingsSource source) const
{
    return m_run && isFree(m_steps[std::size_t(source)].state);
}

/// Also one that cannot be used for a reason: a provider that the list knows is not searched for elsewhere.
bool ServerDiscovery::isUsable(SettingsSource source) const
{
    const auto &settings = m_found[std::size_t(source)];
    return settings && (settings->server(wanted()) || settings->isWhole);
}

/// Whether the best that is known cannot become better any more.
bool ServerDiscovery::endsHere() const
{
    for (int i = 0; i < kSettingsSources; ++i) {
        if (isOpen(SettingsSource(i)))
            return false;
        if (isUsable(SettingsSource(i)))
            return true;
    }
    return true;
}

void ServerDiscovery::decide()
{
    if (!m_run)
        return;
    if (endsHere())
        return finish(Step::NotNeeded, {});
    const bool areAsked = std::none_of(std::begin(kAsked), std::end(kAsked),
                                       [this](SettingsSource source) { return isOpen(source); });
    if (areAsked && m_steps[std::size_t(SettingsSource::ConventionalNames)].state == Step::Waiting)
        tryUsualNames();
}

/// Who has not answered by now is not waited for.
void ServerDiscovery::askingIsOver()
{
    for (const SettingsSource source : kAsked) {
        if (isOpen(source))
            settle(source, Step::Nothing, tr("no answer in time"));
    }
}

/// What is still open gets @p rest and @p detail.
void ServerDiscovery::finish(Step rest, const QString &detail)
{
    if (!m_run)
        return;
    m_asking.stop();
    m_whole.stop();
    takeUsualNames();
    m_run.release()->deleteLater(); // it may be what calls
    for (int i = 0; i < kSettingsSources; ++i) {
        if (isFree(m_steps[std::size_t(i)].state))
            setStep(SettingsSource(i), rest, detail);
    }
    emit finished();
}

std::vector<MailSettings> ServerDiscovery::found() const
{
    std::vector<MailSettings> all;
    for (const auto &settings : m_found) {
        if (settings)
            all.push_back(*settings);
    }
    return all;
}

std::optional<MailSettings> ServerDiscovery::best() const
{
    for (int i = 0; i < kSettingsSources; ++i) {
        if (isUsable(SettingsSource(i)))
            return m_found[std::size_t(i)];
    }
    return std::nullopt;
}
