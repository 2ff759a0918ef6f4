#include "net/namecache.h"

#include "config/clock.h"

namespace {
constexpr qint64 kLife = 10 * 60;      ///< seconds
constexpr qsizetype kMostNames = 1000; ///< nobody has as many servers: a bound, not a policy
} // namespace

QList<QHostAddress> NameCache::find(const QString &host)
{
    const auto entry = m_entries.constFind(host.toLower());
    if (entry == m_entries.cend())
        return {};
    const qint64 left = entry->until - clockSeconds();
    if (left > 0 && left <= kLife) // more: the clock was set back
        return entry->addresses;
    m_entries.erase(entry);
    return {};
}

void NameCache::store(const QString &host, const QList<QHostAddress> &addresses)
{
    if (addresses.isEmpty())
        return;
    if (m_entries.size() >= kMostNames)
        m_entries.clear();
    m_entries.insert(host.toLower(), {addresses, clockSeconds() + kLife});
}

void NameCache::prefer(const QString &host, const QHostAddress &address)
{
    const auto entry = m_entries.find(host.toLower());
    if (entry == m_entries.end())
        return;
    entry->addresses.removeAll(address);
    entry->addresses.prepend(address);
}

void NameCache::forget(const QString &host)
{
    m_entries.remove(host.toLower());
}
