#include "net/account.h"

#include "net/accountmanager.h"

Account::Account(AccountManager &manager, const AccountData &data)
    : m_manager(manager)
    , m_data(data)
{}

Account::~Account() = default;

void Account::slotFetchComplete(Fetcher *, bool) {}

void Account::slotFetchError(Fetcher *, AccountFetchReason, const QString &, bool) {}
