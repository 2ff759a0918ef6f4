#pragma once

#include <QHash>
#include <QHostAddress>
#include <QList>

/// Addresses of hosts that were looked up before (setting `CacheDNS`): all addresses of a name, for ten
/// minutes or until the first connection to one of them fails.
class NameCache
{
public:
    /// Empty when nothing is known, or is known no more.
    QList<QHostAddress> find(const QString &host);

    void store(const QString &host, const QList<QHostAddress> &addresses);

    /// @p address is the one that works: it is tried first.
    void prefer(const QString &host, const QHostAddress &address);
    void forget(const QString &host);

private:
    struct Entry
    {
        QList<QHostAddress> addresses;
        qint64 until = 0; ///< seconds since 1970 UTC
    };
    QHash<QString, Entry> m_entries; ///< by the name in lower case
};
