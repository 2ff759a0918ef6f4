#pragma once

#include "net/account.h"
#include "net/accountsfile.h"

#include <QObject>

#include <memory>
#include <vector>

/// The accounts of the program: owns the list, loads and saves it.
class AccountManager : public QObject
{
    Q_OBJECT

public:
    explicit AccountManager(QObject *parent = nullptr);
    ~AccountManager() override;

    void load();

    /// Writes the list if it changed. False after a report.
    bool save();

    const std::vector<std::unique_ptr<Account>> &accounts() const { return m_accounts; }

    /// The same as the file holds them.
    std::vector<AccountData> all() const;

    Account *account(int number) const; ///< null when there is none
    Account *find(const QString &name) const;

    /// Enters @p account under a new number, which is returned; 0 when its name is empty or taken.
    int add(AccountData data);

    /// Puts @p account in the place of the one with its number.
    void update(const AccountData &data);
    void remove(int number);

signals:
    void accountAdded(int number);
    void accountUpdated(int number);
    void accountDeleted(int number); ///< it is gone already

private:
    AccountsFile m_file;
    int m_counter = 0; ///< the highest number given so far
    std::vector<std::unique_ptr<Account>> m_accounts;
    bool m_changed = false;
};
