#include "net/discovery/autoconfig.h"

#include <QXmlStreamReader>

#include <algorithm>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kMostServers = 32;
constexpr qsizetype kLongestUser = 254;
constexpr qsizetype kLongestName = 80;

QString filledIn(QString text, const MailIdentity &who)
{
    return text.replace("%EMAILADDRESS%"_L1, who.address)
        .replace("%EMAILLOCALPART%"_L1, who.localPart)
        .replace("%EMAILDOMAIN%"_L1, who.domain);
}

std::optional<MailProtocol> protocolOf(const QString &word)
{
    const auto found = std::find_if(kMailProtocols.begin(), kMailProtocols.end(), [&](const auto &row) {
        return word.compare(QLatin1StringView(row.word), Qt::CaseInsensitive) == 0;
    });
    if (found == kMailProtocols.end())
        return std::nullopt;
    return MailProtocol(found - kMailProtocols.begin());
}

MailEncryption encryptionOf(const QString &word)
{
    const QString type = word.toUpper();
    if (type == "SSL"_L1 || type == "TLS"_L1)
        return MailEncryption::Tls;
    return type == "STARTTLS"_L1 ? MailEncryption::StartTls : MailEncryption::None;
}

/// Which ways to sign in one server names.
struct Logins
{
    bool any = false;
    bool password = false;
    bool oauth = false;

    void add(const QString &word)
    {
        any = true;
        password = password || word.startsWith("password-"_L1) || word == "plain"_L1 || word == "secure"_L1;
        oauth = oauth || word == "oauth2"_L1;
    }
    bool takesPassword() const { return password || !any; }
};

bool isUserName(const QString &text)
{
    return !text.isEmpty() && text.size() <= kLongestUser &&
           std::none_of(text.begin(), text.end(),
                        [](QChar c) { return c.isSpace() || c.category() == QChar::Other_Control; });
}

class Reader
{
public:
    Reader(const QByteArray &xml, const MailIdentity &who)
        : m_xml(xml)
        , m_who(who)
    {}

    Autoconfig read()
    {
        while (!m_xml.atEnd()) {
            const QXmlStreamReader::TokenType token = m_xml.readNext();
            if (token == QXmlStreamReader::DTD)
                return {};
            if (token == QXmlStreamReader::StartElement)
                element();
        }
        return m_result;
    }

private:
    void element()
    {
        if (m_xml.name() == "clientConfig"_L1)
            m_result.isOne = true;
        else if (m_xml.name() == "displayName"_L1 && m_result.name.isEmpty())
            m_result.name = text().left(kLongestName);
        else if (m_xml.name() == "incomingServer"_L1 || m_xml.name() == "outgoingServer"_L1)
            server();
    }

    QString text()
    {
        return filledIn(m_xml.readElementText(QXmlStreamReader::SkipChildElements).simplified(), m_who);
    }

    void server()
    {
        const bool isIncoming = m_xml.name() == "incomingServer"_L1;
        const auto protocol = protocolOf(m_xml.attributes().value("type"_L1).toString());
        MailServer server;
        server.user = m_who.address;
        server.encryption = MailEncryption::None;
        Logins logins;
        while (m_xml.readNextStartElement())
            field(server, logins);
        const bool isWhole = !m_xml.hasError() && m_result.isOne;
        if (!isWhole || !protocol || isIncoming != (*protocol != MailProtocol::Smtp))
            return;
        server.protocol = *protocol;
        server.oauthOnly = logins.oauth && !logins.takesPassword();
        keep(server, logins);
    }

    void field(MailServer &server, Logins &logins)
    {
        const QString name = m_xml.name().toString();
        const QString value = text();
        if (name == "hostname"_L1)
            server.host = netHostName(value);
        else if (name == "port"_L1)
            server.port = value.toUShort();
        else if (name == "socketType"_L1)
            server.encryption = encryptionOf(value);
        else if (name == "username"_L1 && isUserName(value))
            server.user = value;
        else if (name == "authentication"_L1)
            logins.add(value.toLower());
    }

    void keep(const MailServer &server, const Logins &logins)
    {
        if (server.host.isEmpty() || server.port == 0 || qsizetype(m_result.servers.size()) >= kMostServers)
            return;
        if (server.encryption == MailEncryption::None)
            ++m_result.withoutTls;
        else if (logins.takesPassword() || server.oauthOnly)
            m_result.servers.push_back(server);
    }

    QXmlStreamReader m_xml;
    const MailIdentity &m_who;
    Autoconfig m_result;
};

} // namespace

Autoconfig readAutoconfig(const QByteArray &xml, const MailIdentity &who)
{
    if (xml.size() > kMostAutoconfigBytes)
        return {};
    Autoconfig result = Reader(xml, who).read();
    // the first that can be used wins: one that takes a password before those that take none
    std::stable_partition(result.servers.begin(), result.servers.end(),
                          [](const MailServer &server) { return !server.oauthOnly; });
    return result;
}
