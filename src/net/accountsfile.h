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
    };
    Contents read();

    /// False after "Unable to write accounts file".
    [[nodiscard]] bool write(const Contents &contents);

private:
    ListFile m_file;
};
