#include "store/binscanner.h"

#include "store/binfile.h"
#include "store/binformat.h"

#include <cstring>

using namespace BinFormat;

namespace {
constexpr qint64 kWindow = 64 * 1024;
}

BinScanner::BinScanner(const FileHandle &file, qint64 start)
    : m_file(file)
    , m_size(qMax<qint64>(file.size(), 0))
    , m_position(start)
{}

bool BinScanner::next(Record &record)
{
    m_found = findMagic(m_position);
    if (m_found < 0) {
        m_skipped += qMax<qint64>(0, m_size - m_position);
        m_position = m_size;
        return false;
    }
    m_skipped += m_found - m_position;
    record.position = m_found;
    record.header = *readBinHeader(m_file, m_found);
    const qint64 end = m_found + kHeaderSize + record.header.storedLength();
    record.isWhole = end <= m_size;
    m_position = record.isWhole ? end : m_found + 1;
    return true;
}

void BinScanner::notARecord()
{
    m_position = m_found + 1;
    ++m_skipped;
}

bool BinScanner::endsWell() const
{
    char magic[kMagicSize];
    return m_position == m_size || (m_file.readAt(m_position, magic, kMagicSize) == kMagicSize &&
                                    std::memcmp(magic, kMagic, kMagicSize) == 0);
}

/// The first position from @p from on where a whole header with the magic bytes lies; -1 when there is none.
qint64 BinScanner::findMagic(qint64 from)
{
    QByteArray window;
    while (from + kHeaderSize <= m_size) {
        // Between healthy records the magic is right here; only a damaged stretch needs the wide window.
        const qint64 wanted = window.isNull() ? kMagicSize : kWindow;
        window.resize(qMin(wanted, m_size - from));
        if (m_file.readAt(from, window.data(), window.size()) != window.size())
            return -1;
        const qsizetype at = window.indexOf(QByteArrayView(kMagic, kMagicSize));
        if (at >= 0)
            return from + at + kHeaderSize <= m_size ? from + at : -1;
        from += qMax<qint64>(1, window.size() - kMagicSize + 1);
    }
    return -1;
}
