#include "config/directory.h"
#include "engine/outbox.h"
#include "identity/identitymanager.h"

// Through whose server a message goes.

using Durable = OutboxFile::Durable;

/// No identity's mail goes through the server of another one: that would be told whom it knows by two names,
/// and may refuse them. The server of one that was deleted is nobody else's by that.
int Outbox::accountFor(int identity) const
{
    if (!m_identities.isReadable())
        return 0;
    const Identity *wanted = identity != 0 ? m_identities.identity(identity) : m_identities.defaultIdentity();
    const int number = wanted ? wanted->number : identity;
    int general = 0;
    int sameAddress = 0;
    int serving = 0;
    for (const auto &account : m_accounts.accounts()) {
        const AccountData &data = account->data();
        if (data.kind != AccountKind::Smtp)
            continue;
        if (number != 0 && data.identity == number)
            return data.number;
        if (serving == 0 && number != 0 && account->options().serves(number))
            serving = data.number;
        if (data.identity != 0) // somebody else's
            continue;
        if (general == 0)
            general = data.number;
        const bool isOfAddress = wanted && !data.address.isEmpty() &&
                                 data.address.compare(wanted->address, Qt::CaseInsensitive) == 0;
        if (isOfAddress && sameAddress == 0)
            sameAddress = data.number;
    }
    return serving != 0 ? serving : sameAddress != 0 ? sameAddress : general;
}

int Outbox::otherAccountFor(int identity) const
{
    if (!m_identities.isReadable() || accountFor(identity) != 0)
        return 0;
    for (const auto &account : m_accounts.accounts()) {
        if (account->kind() == AccountKind::Smtp)
            return account->number();
    }
    return 0;
}

bool Outbox::letServe(int account, int identity)
{
    Account *server = m_accounts.account(account);
    const Identity *wanted = identity != 0 ? m_identities.identity(identity) : m_identities.defaultIdentity();
    const int number = wanted ? wanted->number : identity;
    if (!server || server->kind() != AccountKind::Smtp || number == 0)
        return false;
    AccountOptions options = server->options();
    options.serve(number);
    if (!server->setOptions(options))
        return false;
    assignAccounts();
    return true;
}

int Outbox::newsAccount() const
{
    for (const AccountData &account : m_accounts.all()) {
        if (account.kind == AccountKind::Nntp)
            return account.number;
    }
    return 0;
}

int Outbox::accountFor(const OutboxRecord &record) const
{
    return record.transport == OutboxTransport::Mail ? accountFor(record.identity) : newsAccount();
}

void Outbox::assignAccount(OutboxRecord &record)
{
    const int other = record.isLeased ? record.account : accountFor(record);
    if (other != record.account)
        m_file.mark(record.ticket, OutboxVerb::Account, {QByteArray::number(other)}, Durable::Later);
}

/// With each change of accounts and identities: whose account is gone, who never had one, and for whom a
/// better one appeared. Without the identities nobody knows.
void Outbox::assignAccounts()
{
    if (storeAccess() != StoreAccess::ReadWrite || !m_identities.isReadable())
        return;
    for (OutboxRecord &record : m_file.records())
        assignAccount(record);
    touched();
}
