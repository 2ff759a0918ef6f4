#include "identity/identitymanager.h"

#include "config/clock.h"
#include "config/removedfolders.h"
#include "config/reporter.h"
#include "identity/oneline.h"

#include <QSet>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kRest = 5 * 60; // seconds

const QString &room()
{
    static const QString name = u"Identities"_s;
    return name;
}

bool isSame(const QString &one, const QString &other)
{
    return one.compare(other, Qt::CaseInsensitive) == 0;
}

/// Its texts go into header fields, one line each.
Identity tidied(Identity identity)
{
    for (QString Identity::*text :
         {&Identity::name, &Identity::address, &Identity::replyTo, &Identity::organisation,
          &Identity::signature, &Identity::hostName, &Identity::keyId})
        identity.*text = oneLineOf(identity.*text);
    identity.others.removeIf([](const QString &field) { // would be another field, or another identity
        return field.isEmpty() || field.contains(u'\t') || field.contains(u'\n') || field.contains(u'\r');
    });
    return identity;
}

/// How the user knows it.
QString shownName(const Identity &identity)
{
    return identity.name.isEmpty() ? identity.address : identity.name;
}

template <typename Wanted>
const Identity *firstOf(const std::vector<Identity> &identities, Wanted wanted)
{
    const auto found = std::find_if(identities.begin(), identities.end(), wanted);
    return found == identities.end() ? nullptr : &*found;
}

} // namespace

IdentityManager::IdentityManager(QObject *parent)
    : QObject(parent)
{}

bool IdentityManager::load()
{
    IdentitiesFile::Contents contents = m_file.read();
    m_counter = contents.counter;
    m_identities.clear();
    m_removed.clear();
    m_changed = false;
    for (Identity &identity : contents.identities)
        m_identities.push_back(tidied(std::move(identity)));
    giveMissingNumbers();
    const auto defaults = std::count_if(m_identities.begin(), m_identities.end(),
                                        [](const Identity &one) { return one.has(IdentityDefault); });
    if (defaults > 1)
        report(ReportLevel::Warning, "More than one identity is set as the primary identity");
    if (defaults != 1)
        m_changed = m_changed || !m_identities.empty();
    settleDefault();
    deleteOldFolders(room());
    m_isReadable = contents.isReadable;
    emit changed();
    return m_isReadable;
}

/// A line that was damaged or copied by hand: two identities must not share a folder.
void IdentityManager::giveMissingNumbers()
{
    QSet<int> numbers;
    for (Identity &identity : m_identities) {
        if (identity.number == 0 || numbers.contains(identity.number)) {
            identity.number = ++m_counter;
            m_changed = true;
        }
        numbers.insert(identity.number);
    }
}

bool IdentityManager::save()
{
    if (!m_changed)
        return true;
    m_restsUntil = clockSeconds() + kRest;
    if (!m_file.write({m_counter, m_identities, true}))
        return false;
    m_changed = false;
    for (const int number : std::exchange(m_removed, {}))
        setFolderAside(room(), QString::number(number));
    return true;
}

bool IdentityManager::saveInPassing()
{
    const bool rests = m_changed && clockSeconds() < m_restsUntil;
    return rests ? false : save();
}

const Identity *IdentityManager::identity(int number) const
{
    return firstOf(m_identities, [number](const Identity &one) { return one.number == number; });
}

const Identity *IdentityManager::find(const QString &text) const
{
    const QString wanted = text.trimmed();
    if (wanted.isEmpty())
        return nullptr;
    bool isNumber = false;
    const int number = wanted.toInt(&isNumber);
    if (const Identity *found = isNumber ? identity(number) : nullptr)
        return found;
    using Form = QString (*)(const Identity &);
    constexpr Form kForms[] = {[](const Identity &one) { return one.name; },
                               [](const Identity &one) { return one.address; },
                               [](const Identity &one) { return one.display(); }};
    for (const Form form : kForms) {
        if (const Identity *found =
                firstOf(m_identities, [&](const Identity &one) { return isSame(form(one), wanted); }))
            return found;
    }
    return nullptr;
}

const Identity *IdentityManager::defaultIdentity() const
{
    return firstOf(m_identities, [](const Identity &one) { return one.has(IdentityDefault); });
}

const Identity *IdentityManager::answering(const QStringList &recipients, int accounts) const
{
    const Identity *ofAccount = identity(accounts);
    for (const QString &recipient : recipients) {
        const QString address = recipient.trimmed();
        const auto hasIt = [&address](const Identity &one) {
            return !one.address.isEmpty() && isSame(one.address, address);
        };
        for (const Identity *preferred : {ofAccount, defaultIdentity()}) {
            if (preferred && hasIt(*preferred))
                return preferred;
        }
        if (const Identity *found = firstOf(m_identities, hasIt))
            return found;
    }
    return ofAccount ? ofAccount : defaultIdentity();
}

int IdentityManager::add(Identity identity)
{
    identity = tidied(std::move(identity));
    identity.number = ++m_counter;
    const bool isDefault = identity.has(IdentityDefault) || m_identities.empty();
    identity.set(IdentityDefault, false);
    m_identities.push_back(identity);
    if (isDefault)
        setDefault(identity.number);
    else
        markChanged();
    return identity.number;
}

bool IdentityManager::update(const Identity &identity)
{
    Identity *old = own(identity.number);
    if (!old)
        return false;
    const bool wasDefault = old->has(IdentityDefault);
    *old = tidied(identity);
    old->set(IdentityDefault, wasDefault); // it stays so until another one becomes it
    if (identity.has(IdentityDefault) && !wasDefault)
        setDefault(identity.number);
    else
        markChanged();
    return true;
}

bool IdentityManager::remove(int number)
{
    const Identity *identity = own(number);
    if (!identity)
        return false;
    const QString filter = m_guard ? m_guard(number) : QString();
    if (!filter.isEmpty()) {
        report(ReportLevel::Warning, "Identity '%s' is referenced by filter '%s' and cannot be deleted",
               qUtf8Printable(shownName(*identity)), qUtf8Printable(filter));
        return false;
    }
    m_identities.erase(m_identities.begin() + (identity - m_identities.data()));
    m_removed.push_back(number);
    settleDefault();
    markChanged();
    return true;
}

void IdentityManager::move(int number, int place)
{
    const Identity *identity = own(number);
    if (!identity || place < 0 || place >= int(m_identities.size()))
        return;
    const auto found = m_identities.begin() + (identity - m_identities.data());
    const auto target = m_identities.begin() + place;
    if (found < target)
        std::rotate(found, found + 1, target + 1);
    else
        std::rotate(target, found, found + 1);
    markChanged();
}

void IdentityManager::setDefault(int number)
{
    if (!own(number))
        return;
    for (Identity &identity : m_identities)
        identity.set(IdentityDefault, identity.number == number);
    markChanged();
}

Identity *IdentityManager::own(int number)
{
    const auto found = std::find_if(m_identities.begin(), m_identities.end(),
                                    [number](const Identity &one) { return one.number == number; });
    return found == m_identities.end() ? nullptr : &*found;
}

/// Of several the first one keeps the mark; without any the first of the list gets it.
void IdentityManager::settleDefault()
{
    const Identity *kept = defaultIdentity();
    if (!kept && !m_identities.empty())
        kept = &m_identities.front();
    for (Identity &identity : m_identities)
        identity.set(IdentityDefault, &identity == kept);
}

void IdentityManager::markChanged()
{
    m_changed = true;
    m_restsUntil = 0;
    emit changed();
}
