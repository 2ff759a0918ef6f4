#pragma once

#include "store/filehandle.h"
#include "store/overview.h"

#include <QByteArray>

/// Walks a bin from its start and finds every record in it. Between records it looks for the magic bytes one
/// position after the other, so that a damaged stretch costs no more than itself.
class BinScanner
{
public:
    /// @p file must stay open meanwhile.
    explicit BinScanner(const FileHandle &file, qint64 start = 0);

    struct Record
    {
        qint64 position = 0;
        Overview header;
        bool isWhole = false; ///< all of its data are in the file
    };

    /// The next place that looks like a record; false at the end of the file. Without a word from the caller
    /// the search goes on behind its data.
    bool next(Record &record);

    /// What next() found is none: go on one byte behind its start.
    void notARecord();

    /// What next() found ends elsewhere than its header says: go on at @p position.
    void goOnAt(qint64 position) { m_position = position; }

    /// Whether another record, or the end of the file, stands right behind the one that next() found. One
    /// whose length was torn or damaged rarely ends so.
    bool endsWell() const;

    /// Where the search goes on, in bytes from the start.
    qint64 position() const { return m_position; }
    qint64 size() const { return m_size; }

    /// Bytes passed over that belong to no record.
    qint64 skipped() const { return m_skipped; }

private:
    qint64 findMagic(qint64 from);

    const FileHandle &m_file;
    qint64 m_size;
    qint64 m_position;
    qint64 m_found = -1;
    qint64 m_skipped = 0;
};
