#pragma once

#include "net/discovery/discoverynetwork.h"

#include <QHash>
#include <QMap>
#include <QPointer>

/// A net that knows what the test laid out and answers nothing else; it records what was asked.
class NetworkForTest : public DiscoveryNetwork
{
public:
    QHash<QString, QList<ServiceRecord>> records; ///< by name
    QHash<QString, QStringList> exchanges;        ///< by domain
    QHash<QString, QByteArray> files;             ///< by address, without the query
    QHash<QString, ProbeAnswer> servers;          ///< by "host:port"
    QStringList silent;                           ///< names, domains, addresses that never answer
    QStringList asked;
    QStringList fetched; ///< whole addresses

    void lookupSrv(const QString &name, QObject *context,
                   std::function<void(const QList<ServiceRecord> &)> answer) override
    {
        later(name, context, [this, name, answer] { answer(records.value(name)); });
    }
    void lookupMx(const QString &domain, QObject *context,
                  std::function<void(const QStringList &)> answer) override
    {
        later(domain, context, [this, domain, answer] { answer(exchanges.value(domain)); });
    }
    void fetch(const QUrl &url, qint64 mostBytes, QObject *context,
               std::function<void(const QByteArray &, const QString &)> answer) override
    {
        fetched += QString::fromLatin1(url.toEncoded());
        const QString name = url.toString(QUrl::RemoveQuery);
        later(name, context, [this, name, mostBytes, answer] {
            const QByteArray bytes = files.value(name);
            if (bytes.size() > mostBytes)
                answer({}, QStringLiteral("it is too large"));
            else
                answer(bytes, bytes.isNull() ? QStringLiteral("there is no such host") : QString());
        });
    }
    void probe(const ProbeTarget &target, QObject *context, std::function<void(ProbeAnswer)> answer) override
    {
        const QString name = target.host + u':' + QString::number(target.port);
        later(name, context, [this, name, answer] { answer(servers.value(name, ProbeAnswer::Silent)); });
    }

private:
    void later(const QString &name, QObject *context, const std::function<void()> &answer)
    {
        asked += name;
        if (!silent.contains(name))
            QMetaObject::invokeMethod(context, answer, Qt::QueuedConnection);
    }
};

/// A file of published settings with one server of POP3 on @p host.
inline QByteArray publishedSettings(const QByteArray &host, const QByteArray &socketType = "SSL",
                                    const QByteArray &port = "995")
{
    return "<?xml version=\"1.0\"?>\n<clientConfig version=\"1.1\"><emailProvider id=\"x\">"
           "<displayName>Tidewater Mail</displayName>"
           "<incomingServer type=\"pop3\"><hostname>" +
           host + "</hostname><port>" + port + "</port><socketType>" + socketType +
           "</socketType><username>%EMAILLOCALPART%</username>"
           "<authentication>password-cleartext</authentication></incomingServer>"
           "</emailProvider></clientConfig>";
}
