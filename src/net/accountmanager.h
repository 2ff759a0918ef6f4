#pragma once

#include "net/accountsfile.h"

#include <QObject>

#include <vector>

/// The accounts of the program: owns the list, loads and saves it.
class AccountManager : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    void load();

    /// Writes the list if it changed. False after a report.
    bool save();

    const std::vector<Account> &accounts() const { return m_contents.accounts; }
    const Account *account(int number) const; ///< null when there is none
    const Account *find(const QString &name) const;

    /// Enters @p account under a new number, which is returned; 0 when its name is empty or taken.
    int add(Account account);

    /// Puts @p account in the place of the one with its number.
    void update(const Account &account);
    void remove(int number);

signals:
    void accountAdded(int number);
    void accountUpdated(int number);
    void accountDeleted(int number); ///< it is gone already

private:
    Account *get(int number);

    AccountsFile m_file;
    AccountsFile::Contents m_contents;
    bool m_changed = false;
};
