#pragma once

#include "config/listfile.h"
#include "store/grouprecord.h"

#include <vector>

/// The file "Groups/Index": the counter of group numbers, then one line per group.
class GroupsFile
{
public:
    GroupsFile();

    struct Contents
    {
        ListFile::Outcome outcome = ListFile::Outcome::Missing;
        int nextNumber = 1;
        std::vector<GroupRecord> records; ///< in the order of the file; numbers are unique and positive
    };

    /// Lines that are no group are skipped, and noted.
    Contents read();

    /// False after "Unable to write groups file".
    [[nodiscard]] bool write(int nextNumber, const std::vector<GroupRecord> &records);

private:
    ListFile m_file;
};
