#include "net/discovery/autoconfig.h"
#include "net/discovery/discovery.h"
#include "net/discovery/providers.h"
#include "net/discovery/providertable.h"

#include "support/discoverynetwork.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const MailIdentity kClara = mailIdentityOf(u"clara@tidewater.example"_s);

const QString kHostFile = u"https://autoconfig.tidewater.example/mail/config-v1.1.xml"_s;
const QString kWellKnownFile = u"https://tidewater.example/.well-known/autoconfig/mail/config-v1.1.xml"_s;

/// "pop3 pop.example.org:995 tls clara", one line a server.
QString inWords(const std::vector<MailServer> &servers)
{
    QStringList lines;
    for (const MailServer &server : servers) {
        const char *encryption = server.encryption == MailEncryption::Tls ? "tls" : "starttls";
        lines += u"%1 %2:%3 %4 %5%6%7"_s.arg(QLatin1String(rowOf(server.protocol).word), server.host)
                     .arg(server.port)
                     .arg(QLatin1String(encryption), server.user)
                     .arg(server.oauthOnly ? u" oauth"_s : u""_s, server.isTrusted ? u""_s : u" untrusted"_s);
    }
    return lines.join(u'\n');
}

/// The whole of a search.
class Search
{
public:
    explicit Search(NetworkForTest &network, const QString &address = u"clara@tidewater.example"_s,
                    const ServerDiscovery::Limits &limits = {})
        : discovery(network)
    {
        discovery.setLimits(limits);
        QSignalSpy ended(&discovery, &ServerDiscovery::finished);
        started = discovery.start(address, {MailProtocol::Pop3});
        ok = started && (ended.count() == 1 || ended.wait()) && ended.count() == 1 && !discovery.isRunning();
    }

    /// Of the best that was found: "source: server".
    QString best() const
    {
        const auto best = discovery.best();
        if (!best)
            return {};
        const MailServer *server = best->server(MailProtocol::Pop3);
        return u"%1: %2"_s.arg(int(best->source)).arg(server ? inWords({*server}) : u"none"_s);
    }
    DiscoveryStep step(SettingsSource source) const { return discovery.steps()[std::size_t(source)]; }

    ServerDiscovery discovery;
    bool started = false;
    bool ok = false;
};

} // namespace

class DiscoveryTest : public QObject
{
    Q_OBJECT

private slots:
    void identities_data();
    void identities();
    void domains_data();
    void domains();
    void theListIsSound();
    void providers_data();
    void providers();
    void published_data();
    void published();
    void publishedCutAnywhere();
    void records_data();
    void records();
    void searches_data();
    void searches();
    void theAddressStaysAtHome();
    void whoIsSilentIsNotWaitedFor();
    void stopped();
    void aNewSearchForgetsTheOld();
    void onlyKnownIsNotSearchedFor();
};

void DiscoveryTest::identities_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("localPart");
    QTest::addColumn<QString>("domain");
    QTest::newRow("plain") << u" clara@Tidewater.example "_s << u"clara"_s << u"tidewater.example"_s;
    QTest::newRow("an @ in quotes") << u"\"a@b\"@tidewater.example"_s << u"\"a@b\""_s
                                    << u"tidewater.example"_s;
    QTest::newRow("domain in letters of its own")
        << u"jörg@bücher.example"_s << u"jörg"_s << u"xn--bcher-kva.example"_s;
    QTest::newRow("dot at the end") << u"a@tidewater.example."_s << u"a"_s << u"tidewater.example"_s;
    const QStringList bad = {
        u"clara"_s,           u"@tidewater.example"_s, u"clara@"_s,
        u"a b@x.example"_s,   u"a@localhost"_s,        u"a@192.0.2.1"_s,
        u"a@[192.0.2.1]"_s,   u"a@x.local"_s,          u"a@x..example"_s,
        u"a@-x.example"_s,    u"a@x/y.example"_s,      u"a@0x7f.1"_s,
        u"a\r\n@x.example"_s, u"a@x.example:995"_s,    u"a@"_s + QString(64, u'x') + u".example"_s};
    for (const QString &address : bad)
        QTest::newRow(qPrintable(u"none: "_s + address.simplified())) << address << QString() << QString();
}

void DiscoveryTest::identities()
{
    QFETCH(QString, address);
    QFETCH(QString, localPart);
    QFETCH(QString, domain);
    const MailIdentity who = mailIdentityOf(address);
    QCOMPARE(who.domain, domain);
    QCOMPARE(who.isValid(), !domain.isEmpty());
    if (who.isValid())
        QCOMPARE(who.localPart, localPart);
}

void DiscoveryTest::domains_data()
{
    QTest::addColumn<QString>("host");
    QTest::addColumn<QString>("registered");
    QTest::newRow("one below") << u"pop.tidewater.example"_s << u"tidewater.example"_s;
    QTest::newRow("itself") << u"tidewater.example"_s << u"tidewater.example"_s;
    QTest::newRow("far below") << u"a.b.c.tidewater.example"_s << u"tidewater.example"_s;
    QTest::newRow("suffix of two labels") << u"pop.tidewater.co.uk"_s << u"tidewater.co.uk"_s;
    QTest::newRow("the same in Brazil") << u"pop.uol.com.br"_s << u"uol.com.br"_s;
    QTest::newRow("generic word below a generic domain") << u"mail.net.com"_s << u"net.com"_s;
    QTest::newRow("short name below a country") << u"pop.wp.pl"_s << u"wp.pl"_s;
}

void DiscoveryTest::domains()
{
    QFETCH(QString, host);
    QTEST(registrableDomain(host), "registered");
    QVERIFY(isSameDomain(host, u"x."_s + registrableDomain(host)));
    QVERIFY(!isSameDomain(host, u"evil"_s + registrableDomain(host)));
}

/// Each row can be used as it stands, and no domain stands twice.
void DiscoveryTest::theListIsSound()
{
    QVERIFY(kProviders.size() >= 40);
    QSet<QString> domains;
    for (const ProviderRow &row : kProviders) {
        QVERIFY2(*row.domains || *row.exchanges, row.name);
        for (const QString &domain : QString::fromLatin1(row.domains).split(u' ', Qt::SkipEmptyParts)) {
            QCOMPARE(netHostName(domain), domain);
            QVERIFY2(!domains.contains(domain), qPrintable(domain));
            domains.insert(domain);
        }
        const bool isOwn = row.needs & NeedsOwnProgram;
        for (const char *server : {row.pop3, row.imap, row.smtp}) {
            const QString host = QString::fromLatin1(server).section(u':', 0, 0);
            QVERIFY2(server == row.pop3 || isOwn || !host.isEmpty(), row.name);
            QCOMPARE(netHostName(host), host);
        }
        QVERIFY2(!*row.page || QUrl(QString::fromLatin1(row.page)).scheme() == u"https"_s, row.page);
    }
}

void DiscoveryTest::providers_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("servers");
    QTest::addColumn<unsigned>("needs");
    QTest::newRow("TLS everywhere, an app password")
        << u"clara@Gmail.com"_s
        << u"pop3 pop.gmail.com:995 tls clara@Gmail.com\nimap imap.gmail.com:993 tls clara@Gmail.com\n"
           "smtp smtp.gmail.com:465 tls clara@Gmail.com"_s
        << unsigned(NeedsAppPassword | NeedsSwitch);
    QTest::newRow("no POP3, STARTTLS by the port")
        << u"clara@icloud.com"_s
        << u"imap imap.mail.me.com:993 tls clara@icloud.com\nsmtp smtp.mail.me.com:587 starttls clara@icloud.com"_s
        << unsigned(NeedsAppPassword);
    QTest::newRow("local part as the user")
        << u"clara@free.fr"_s
        << u"pop3 pop.free.fr:995 tls clara\nimap imap.free.fr:993 tls clara\nsmtp smtp.free.fr:465 tls clara"_s
        << 0u;
    QTest::newRow("only OAuth2") << u"c@hotmail.com"_s
                                 << u"pop3 outlook.office365.com:995 tls c@hotmail.com oauth\n"
                                    "imap outlook.office365.com:993 tls c@hotmail.com oauth\n"
                                    "smtp smtp-mail.outlook.com:587 starttls c@hotmail.com oauth"_s
                                 << unsigned(NeedsOAuth2);
    QTest::newRow("a program of its own") << u"c@proton.me"_s << QString() << unsigned(NeedsOwnProgram);
}

void DiscoveryTest::providers()
{
    QFETCH(QString, address);
    const auto settings = providerFor(mailIdentityOf(address));
    QVERIFY(settings);
    QTEST(inWords(settings->servers), "servers");
    QTEST(settings->needs, "needs");
    QVERIFY(!providerFor(mailIdentityOf(address + u".example"_s)));
}

void DiscoveryTest::published_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<QString>("servers");
    const QString one = u"pop3 pop.tidewater.example:995 tls clara"_s;
    const auto server = [](const QByteArray &inside, const QByteArray &type = "pop3") {
        return "<clientConfig><emailProvider><incomingServer type=\"" + type + "\">" + inside +
               "</incomingServer></emailProvider></clientConfig>";
    };
    const QByteArray place =
        "<hostname>p.%EMAILDOMAIN%</hostname><port>995</port><socketType>SSL</socketType>";
    const QString placed = u"pop3 p.tidewater.example:995 tls clara@tidewater.example"_s;
    QTest::newRow("plain") << publishedSettings("pop.tidewater.example") << one;
    QTest::newRow("domain filled in") << publishedSettings("POP.%EMAILDOMAIN%.") << one;
    QTest::newRow("elements nobody knows") << server("<x><y>1</y></x>" + place + "<z/>") << placed;
    QTest::newRow("no way to sign in named") << server(place) << placed;
    QTest::newRow("several ways, one of them ours")
        << server(
               place +
               "<authentication>OAuth2</authentication><authentication>password-encrypted</authentication>")
        << placed;
    QTest::newRow("OAuth2 only") << server(place + "<authentication>OAuth2</authentication>")
                                 << placed + u" oauth"_s;
    QTest::newRow("one with OAuth2 before one with a password")
        << "<clientConfig><incomingServer type=\"pop3\">" + place +
               "<authentication>OAuth2</authentication></incomingServer><incomingServer type=\"pop3\">" +
               place +
               "<username>u</username><authentication>password-cleartext</authentication></incomingServer></"
               "clientConfig>"
        << u"pop3 p.tidewater.example:995 tls u\n"_s + placed + u" oauth"_s;
    QTest::newRow("ways we have not")
        << server(place + "<authentication>GSSAPI</authentication>") << QString();
    QTest::newRow("without encryption")
        << publishedSettings("pop.tidewater.example", "plain", "110") << QString();
    QTest::newRow("encryption not named")
        << server("<hostname>p.x.example</hostname><port>995</port>") << QString();
    QTest::newRow("STARTTLS") << publishedSettings("pop.tidewater.example", "STARTTLS", "110")
                              << u"pop3 pop.tidewater.example:110 starttls clara"_s;
    QTest::newRow("this machine") << publishedSettings("localhost") << QString();
    QTest::newRow("an address") << publishedSettings("127.0.0.1") << QString();
    QTest::newRow("a port too far") << publishedSettings("pop.tidewater.example", "SSL", "65536")
                                    << QString();
    QTest::newRow("another protocol") << server(place, "exchange") << QString();
    QTest::newRow("going out where mail comes in") << server(place, "smtp") << QString();
    QTest::newRow("a user over two lines") << server(place + "<username>a\nb</username>") << placed;
    QTest::newRow("entities") << QByteArray("<!DOCTYPE x [<!ENTITY e \"pop.tidewater.example\">]>") +
                                     publishedSettings("&e;").mid(22)
                              << QString();
    QTest::newRow("an entity from nowhere") << publishedSettings("&e;") << QString();
    QTest::newRow("a page") << QByteArray("<!DOCTYPE html><html><body>Welcome</body></html>") << QString();
    QTest::newRow("another root")
        << publishedSettings("pop.tidewater.example").replace("clientConfig", "config") << QString();
    QTest::newRow("bytes") << QByteArray("\x00\xFF\xFE<", 4) << QString();
    QTest::newRow("too much") << publishedSettings("pop.tidewater.example") +
                                     QByteArray(kMostAutoconfigBytes, ' ')
                              << QString();
    QTest::newRow("deep") << "<clientConfig>" + QByteArray("<a>").repeated(50'000) << QString();
}

void DiscoveryTest::published()
{
    QFETCH(QByteArray, xml);
    QTEST(inWords(readAutoconfig(xml, kClara).servers), "servers");
}

void DiscoveryTest::publishedCutAnywhere()
{
    const QByteArray whole = publishedSettings("pop.tidewater.example");
    const qsizetype serverEnd = whole.indexOf("</incomingServer>") + qstrlen("</incomingServer>");
    for (qsizetype size = 0; size <= whole.size(); ++size)
        QCOMPARE(readAutoconfig(whole.first(size), kClara).servers.size(),
                 std::size_t(size < serverEnd ? 0 : 1));
}

void DiscoveryTest::records_data()
{
    QTest::addColumn<QList<ServiceRecord>>("tls");
    QTest::addColumn<QList<ServiceRecord>>("startTls");
    QTest::addColumn<QString>("servers");
    QTest::addColumn<bool>("declined");
    using Records = QList<ServiceRecord>;
    const Records none;
    QTest::newRow("none") << none << none << QString() << false;
    QTest::newRow("TLS before STARTTLS, whatever the priority")
        << Records{{u"a.x.example"_s, 995, 9, 0}} << Records{{u"b.x.example"_s, 110, 0, 0}}
        << u"pop3 a.x.example:995 tls C\npop3 b.x.example:110 starttls C"_s << false;
    QTest::newRow("priority, then weight")
        << Records{{u"late.x.example"_s, 995, 20, 99},
                   {u"light.x.example"_s, 995, 10, 1},
                   {u"heavy.x.example"_s, 1995, 10, 5}}
        << none
        << u"pop3 heavy.x.example:1995 tls C\npop3 light.x.example:995 tls C\npop3 late.x.example:995 tls C"_s
        << false;
    QTest::newRow("not offered") << Records{{u"."_s, 0, 0, 0}} << Records{{u"."_s, 0, 0, 0}} << QString()
                                 << true;
    QTest::newRow("TLS not offered, nothing said of STARTTLS")
        << Records{{u""_s, 0, 0, 0}} << none << QString() << true;
    QTest::newRow("TLS not offered, STARTTLS is")
        << Records{{u"."_s, 0, 0, 0}} << Records{{u"b.x.example."_s, 110, 0, 0}}
        << u"pop3 b.x.example:110 starttls C"_s << false;
    QTest::newRow("names that are none") << Records{{u"localhost"_s, 995, 0, 0},
                                                    {u"127.0.0.1"_s, 995, 0, 0},
                                                    {u"a b.example"_s, 995, 0, 0},
                                                    {u"x.example"_s, 0, 0, 0}}
                                         << none << QString() << false;
}

void DiscoveryTest::records()
{
    QFETCH(QList<ServiceRecord>, tls);
    QFETCH(QList<ServiceRecord>, startTls);
    QFETCH(QString, servers);
    ServiceRecords records(kClara);
    const QStringList names = records.names();
    QCOMPARE(names.size(), 6);
    for (qsizetype i = 0; i < names.size(); ++i) {
        QVERIFY(!records.isComplete());
        const bool isTls = names[i] == u"_pop3s._tcp.tidewater.example"_s;
        const bool isStartTls = names[i] == u"_pop3._tcp.tidewater.example"_s;
        records.add(i, isTls ? tls : isStartTls ? startTls : QList<ServiceRecord>());
    }
    QVERIFY(records.isComplete());
    QCOMPARE(inWords(records.servers()), servers.replace(u" C"_s, u" clara@tidewater.example"_s));
    QTEST(records.declines(MailProtocol::Pop3), "declined");
    QVERIFY(!records.declines(MailProtocol::Imap));
}

void DiscoveryTest::searches_data()
{
    QTest::addColumn<QString>("what");
    QTest::addColumn<QString>("best");
    const QString clara = u" clara@tidewater.example"_s;
    const auto row = [](const char *name, const char *what, const QString &best) {
        QTest::newRow(name) << QString::fromLatin1(what) << best;
    };
    row("nothing anywhere", "", {});
    row("its own settings", "host well records names", u"1: pop3 host.tidewater.example:995 tls clara"_s);
    row("well-known settings", "well records names", u"2: pop3 well.tidewater.example:995 tls clara"_s);
    row("service records", "records google names", u"3: pop3 srv.tidewater.example:995 tls"_s + clara);
    row("a provider behind it", "google names", u"4: pop3 pop.gmail.com:995 tls"_s + clara);
    row("settings of whoever receives", "mxfile names", u"4: pop3 mx.hoster.example:995 tls clara"_s);
    row("usual names", "names", u"5: pop3 pop.tidewater.example:110 starttls"_s + clara);
    row("TLS from the start first", "names tls", u"5: pop3 mail.tidewater.example:995 tls"_s + clara);
    row("the host that receives", "names exchange", u"5: pop3 in.tidewater.example:995 tls"_s + clara);
    row("a bad certificate, if nothing else", "untrusted",
        u"5: pop3 pop3.tidewater.example:995 tls"_s + clara + u" untrusted"_s);
    row("better than a bad certificate", "untrusted names",
        u"5: pop3 pop.tidewater.example:110 starttls"_s + clara);
    row("without encryption is not taken", "plain", {});
    row("the domain offers none: not tried", "declined names", {});
    row("only IMAP published: the rest is asked, too", "imap names",
        u"5: pop3 pop.tidewater.example:110 starttls"_s + clara);
}

void DiscoveryTest::searches()
{
    QFETCH(QString, what);
    const auto has = [words = what.split(u' ')](const char *word) {
        return words.contains(QLatin1String(word));
    };
    const QString domain = kClara.domain;
    NetworkForTest network;
    if (has("host"))
        network.files[kHostFile] = publishedSettings("host.tidewater.example");
    if (has("well"))
        network.files[kWellKnownFile] = publishedSettings("well.tidewater.example");
    if (has("imap"))
        network.files[kHostFile] =
            publishedSettings("imap.tidewater.example", "SSL", "993").replace("pop3", "imap");
    if (has("records"))
        network.records[u"_pop3s._tcp."_s + domain] = {{u"srv.tidewater.example"_s, 995, 0, 0}};
    if (has("declined"))
        network.records[u"_pop3s._tcp."_s + domain] = {{u"."_s, 0, 0, 0}};
    if (has("google"))
        network.exchanges[domain] = {u"aspmx.l.google.com"_s};
    if (has("exchange"))
        network.exchanges[domain] = {u"in.tidewater.example"_s};
    if (has("exchange"))
        network.servers[u"in.tidewater.example:995"_s] = ProbeAnswer::Works;
    if (has("mxfile")) {
        network.exchanges[domain] = {u"mx1.hoster.example"_s};
        network.files[u"https://autoconfig.hoster.example/mail/config-v1.1.xml"_s] =
            publishedSettings("mx.hoster.example");
    }
    if (has("names"))
        network.servers[u"pop.tidewater.example:110"_s] = ProbeAnswer::Works;
    if (has("tls"))
        network.servers[u"mail.tidewater.example:995"_s] = ProbeAnswer::Works;
    if (has("untrusted"))
        network.servers[u"pop3.tidewater.example:995"_s] = ProbeAnswer::Untrusted;
    if (has("plain"))
        network.servers[u"pop.tidewater.example:110"_s] = ProbeAnswer::NoTls;

    const Search search(network);
    QVERIFY(search.ok);
    QTEST(search.best(), "best");
    QCOMPARE(search.discovery.declines(MailProtocol::Pop3), has("declined"));
    for (const DiscoveryStep &step : search.discovery.steps()) {
        QVERIFY(step.state != DiscoveryStep::State::Waiting && step.state != DiscoveryStep::State::Asking);
        QVERIFY2(step.state == DiscoveryStep::State::NotNeeded || !step.detail.isEmpty() ||
                     step.state == DiscoveryStep::State::Found,
                 qPrintable(step.text));
    }
    QCOMPARE(network.asked.contains(u"pop.tidewater.example:995"_s),
             search.best().isEmpty() ? !has("declined") : search.best().startsWith(u'5'));
}

/// Whoever is not the domain itself learns the domain at most; and a "+" stays one.
void DiscoveryTest::theAddressStaysAtHome()
{
    NetworkForTest network;
    network.exchanges[kClara.domain] = {u"mx1.hoster.example"_s};
    const Search search(network, u"clara+x&y@tidewater.example"_s);
    QVERIFY(search.ok);
    QCOMPARE(network.fetched.size(), 3);
    const QString query = u"?emailaddress=clara%2Bx%26y%40tidewater.example"_s;
    QVERIFY(network.fetched.contains(kHostFile + query));
    QVERIFY(network.fetched.contains(kWellKnownFile + query));
    QVERIFY(network.fetched.contains(u"https://autoconfig.hoster.example/mail/config-v1.1.xml"_s));
}

void DiscoveryTest::whoIsSilentIsNotWaitedFor()
{
    NetworkForTest network;
    network.silent = {kHostFile, u"pop.tidewater.example:995"_s};
    network.servers[u"mail.tidewater.example:995"_s] = ProbeAnswer::Works;
    const Search search(network, kClara.address, {5, 50});
    QVERIFY(search.ok);
    QCOMPARE(search.best(), u"5: pop3 mail.tidewater.example:995 tls clara@tidewater.example"_s);
    QCOMPARE(search.step(SettingsSource::AutoconfigHost).detail, u"no answer in time"_s);

    network.silent = {kHostFile, kWellKnownFile, kClara.domain, u"_pop3s._tcp.tidewater.example"_s};
    network.silent += {u"mail.tidewater.example:995"_s};
    const Search nothing(network, kClara.address, {5, 20});
    QVERIFY(nothing.ok);
    QVERIFY(!nothing.discovery.best());
}

void DiscoveryTest::stopped()
{
    NetworkForTest network;
    network.silent = {kHostFile};
    network.records[u"_pop3s._tcp.tidewater.example"_s] = {{u"srv.tidewater.example"_s, 995, 0, 0}};
    ServerDiscovery discovery(network);
    QSignalSpy ended(&discovery, &ServerDiscovery::finished);
    QVERIFY(!discovery.start(u"nobody"_s, {MailProtocol::Pop3}));
    QVERIFY(discovery.start(kClara.address, {MailProtocol::Pop3}));
    QTRY_COMPARE(discovery.steps()[std::size_t(SettingsSource::ServiceRecords)].state,
                 DiscoveryStep::State::Found);
    discovery.stop();
    discovery.stop();
    QCOMPARE(ended.count(), 1);
    QVERIFY(!discovery.isRunning());
    QCOMPARE(discovery.steps()[std::size_t(SettingsSource::AutoconfigHost)].state,
             DiscoveryStep::State::Stopped);
    QVERIFY(discovery.best()); // what was known by then stays
    QVERIFY(!network.asked.contains(u"pop.tidewater.example:995"_s));
}

/// Answers to a search that was given up come on the same turn of the event loop as those to the next one.
void DiscoveryTest::aNewSearchForgetsTheOld()
{
    NetworkForTest network;
    network.files[kHostFile] = publishedSettings("host.tidewater.example");
    ServerDiscovery discovery(network);
    QVERIFY(discovery.start(kClara.address, {MailProtocol::Pop3}));
    QTRY_VERIFY(network.asked.contains(kHostFile));
    discovery.stop();
    QSignalSpy ended(&discovery, &ServerDiscovery::finished);
    QVERIFY(discovery.start(u"x@other.example"_s, {MailProtocol::Pop3}));
    QVERIFY(ended.wait());
    QVERIFY(!discovery.best());
    QCOMPARE(discovery.identity().domain, u"other.example"_s);
}

void DiscoveryTest::onlyKnownIsNotSearchedFor()
{
    NetworkForTest network;
    for (const char *address : {"a@gmail.com", "a@icloud.com", "a@proton.me"}) {
        const Search search(network, QString::fromLatin1(address));
        QVERIFY(search.ok);
        QCOMPARE(search.discovery.best()->source, SettingsSource::ProviderList);
    }
    QVERIFY(network.asked.isEmpty());
}

QTEST_GUILESS_MAIN(DiscoveryTest)
#include "discovery_test.moc"
