#pragma once

#include "config/listfile.h"
#include "identity/identity.h"

#include <vector>

/// The file "Identities/Index": the version of its format, then one line per identity. Its fields are
/// separated by tabs: number, name, address, reply address, organisation and default signature by their
/// place, the further ones by letter; texts are escaped (listtext.h). A line "C<number>" keeps the highest
/// number given so far where no identity has it any more.
class IdentitiesFile
{
public:
    IdentitiesFile();

    struct Contents
    {
        int counter = 0; ///< the highest number given so far
        std::vector<Identity> identities;
        bool isReadable = true; ///< false, after a report: there is a file, and it cannot be opened
    };
    Contents read();

    /// False after "Unable to write identities file".
    [[nodiscard]] bool write(const Contents &contents);

private:
    ListFile m_file;
};
