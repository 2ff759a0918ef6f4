#pragma once

#include "config/listfile.h"
#include "net/accountdata.h"

#include <vector>

/// The file "Accounts/Index": the counter of account numbers, then one line per account with four bare fields
/// and further ones by letter, separated by tabs.
class AccountsFile
{
public:
    AccountsFile();

    struct Contents
    {
        int counter = 0; ///< the highest number given so far
        std::vector<AccountData> accounts;
        bool isReadable = true; ///< false, after a report: there is a file, and it cannot be opened
    };
    Contents read();

    enum class Backup {
        LeftToReading, ///< the next good reading makes it
        WrittenToo,    ///< nothing that was taken out may stay in it
    };

    /// False after "Unable to write accounts file". Only its owner may read what is written, and the backup.
    [[nodiscard]] bool write(const Contents &contents, Backup backup = Backup::LeftToReading);

    /// Whether the leading fields and the mail address are free of tabs and line ends, which would end them.
    static bool canHold(const AccountData &account);

private:
    QString backupPath() const;

    ListFile m_file;
};
