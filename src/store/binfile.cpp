#include "store/binfile.h"

#include "config/files.h"
#include "config/reporter.h"
#include "config/settings.h"
#include "store/binformat.h"
#include "store/compression.h"

#include <QFile>

#include <cstring>

using namespace BinFormat;

namespace {

void warn(const char *text)
{
    report(ReportLevel::Warning, "%s", text);
}

/// The compressed form of @p text when that is worth while by the setting, else null.
QByteArray packed(QByteArrayView text, bool groupCompresses)
{
    const int threshold = intSetting(Setting::CompressionThreshold);
    if (!groupCompresses || threshold <= 0 || text.size() > kLongestText)
        return {};
    const quint64 limit = quint64(text.size()) * quint64(threshold) / 100;
    // Never as long as the text, whatever the threshold: equal lengths mark the text itself.
    return compressText(text, qsizetype(qMin<quint64>(limit, quint64(text.size()))));
}

/// Enters into @p overview what is stored of @p text: itself, where @p compressed is null.
bool describe(QByteArrayView text, const QByteArray &compressed, Overview &overview)
{
    if (text.size() > kLongestText) {
        warn("Failed to write to message bin file");
        return false;
    }
    overview.setUnpackedLength(quint32(text.size()));
    overview.setMark(Mark::Compressed, !compressed.isNull());
    overview.setStoredLength(quint32(compressed.isNull() ? text.size() : compressed.size()));
    return true;
}

} // namespace

BinFile::BinFile(const QString &directory, int number, BinOwner &owner)
    : m_directory(directory)
    , m_number(number)
    , m_owner(owner)
{}

QString BinFile::path() const
{
    return binPath(m_directory, m_number);
}

qint64 BinFile::size()
{
    if (m_end >= 0)
        return m_end;
    return QFile::exists(path()) && openForReading() ? m_file.size() : 0;
}

bool BinFile::appendMessage(QByteArrayView text, Overview &overview)
{
    Overview filled = overview;
    const QByteArray compressed = packed(text, m_owner.compressesMessages());
    const QByteArrayView data = compressed.isNull() ? text : QByteArrayView(compressed);
    if (!describe(text, compressed, filled) || !write(data, filled))
        return false;
    overview = filled;
    return true;
}

QByteArray packText(const QByteArray &text, Overview &overview, bool mayCompress)
{
    const QByteArray compressed = packed(text, mayCompress);
    if (!describe(text, compressed, overview))
        return {};
    return compressed.isNull() ? text : compressed;
}

bool BinFile::appendStored(QByteArrayView data, Overview &overview)
{
    Overview filled = overview;
    if (data.size() != qsizetype(overview.storedLength()) || !write(data, filled))
        return false;
    overview = filled;
    return true;
}

/// Writes a record whose lengths stand in @p overview to the end of the file, and fills in where that is.
bool BinFile::write(QByteArrayView data, Overview &overview)
{
    if (!openForAppending()) {
        warn("Unable to open message bin file");
        return false;
    }
    overview.setBin(m_number);
    overview.setPosition(quint32(m_end));
    const bool wasUnsynced = std::exchange(m_unsynced, true);
    if (m_end + kHeaderSize + data.size() > kLargestBin ||
        !m_file.writeAt(m_end, recordHeader(overview), data)) {
        m_unsynced = wasUnsynced;
        // A torn record in the middle would swallow those behind it when the bin is scanned.
        if (!m_file.cut(m_end))
            m_end = -1; // the file's own end is behind the dead bytes now
        warn("Failed to write to message bin file");
        return false;
    }
    m_end += kHeaderSize + data.size();
    return true;
}

QByteArray BinFile::readStored(quint32 position)
{
    const std::optional<Overview> header = headerAt(position);
    if (!header || qint64(position) + kHeaderSize + header->storedLength() > m_file.size())
        return {};
    QByteArray data(header->storedLength(), Qt::Uninitialized);
    return m_file.readAt(position + kHeaderSize, data.data(), data.size()) == data.size() ? data
                                                                                          : QByteArray();
}

QByteArray BinFile::readMessage(quint32 position)
{
    if (!openForReading()) {
        warn("Unable to open message bin file");
        return {};
    }
    if (position > m_file.size()) {
        warn("Unable to seek to message in bin file");
        return {};
    }
    char magic[kHeaderSize];
    if (m_file.readAt(position, magic, kHeaderSize) != kHeaderSize) {
        warn("Unable to read message from bin file");
        return {};
    }
    if (std::memcmp(magic, kMagic, kMagicSize) != 0) {
        m_owner.markForRepair();
        warn("Message has invalid header in bin file");
        return {};
    }
    const Overview header = Overview::fromBinWords({magic + kMagicSize, kHeaderSize - kMagicSize});
    return readMessageData(m_file, position, header, false);
}

std::optional<Overview> BinFile::headerAt(quint32 position)
{
    return openForReading() ? readBinHeader(m_file, position) : std::nullopt;
}

bool BinFile::markDead(quint32 position)
{
    std::optional<Overview> header = headerAt(position);
    if (!header || !openForAppending())
        return false;
    const quint32_le flags(quint32(int(header->marks() | Mark::Dead)));
    m_unsynced = true;
    return m_file.writeAt(position + kFlagsOffset, {reinterpret_cast<const char *>(&flags), sizeof flags});
}

bool BinFile::rewriteHeader(const Overview &overview)
{
    if (!openForAppending())
        return false;
    m_unsynced = true;
    return m_file.writeAt(overview.position(), recordHeader(overview));
}

bool BinFile::cut(qint64 size)
{
    if (!openForAppending() || !m_file.cut(size))
        return false;
    m_end = size;
    m_unsynced = true;
    return true;
}

void BinFile::startWriting() const
{
    if (m_unsynced)
        m_file.startWriting();
}

bool BinFile::sync()
{
    if (!m_unsynced)
        return true;
    if (!m_file.sync() || (m_isNew && !syncDirectoryOf(path()))) {
        warn("Failed to write to message bin file");
        return false;
    }
    m_unsynced = m_isNew = false;
    return true;
}

void BinFile::close()
{
    m_file.close();
    m_writable = false;
    m_unsynced = m_isNew = false;
    m_end = -1;
}

bool BinFile::openForAppending()
{
    if (!m_writable) {
        m_isNew = !QFile::exists(path());
        m_file = FileHandle(path(), FileHandle::Mode::ReadWrite);
        m_writable = m_file.isOpen();
        m_end = -1;
    }
    if (m_writable && m_end < 0)
        m_end = m_file.size();
    return m_writable && m_end >= 0;
}

bool BinFile::openForReading()
{
    if (!m_file.isOpen())
        m_file = FileHandle(path(), FileHandle::Mode::Read);
    return m_file.isOpen();
}

QByteArray readMessageData(const FileHandle &file, qint64 position, const Overview &header, bool quiet)
{
    const auto failed = [quiet](const char *text) {
        if (!quiet)
            warn(text);
        return QByteArray();
    };
    const qint64 start = position + kHeaderSize;
    const qint64 stored = header.storedLength();
    if (start + stored > file.size())
        return failed("Unable to read message from bin file");
    QByteArray data(stored, Qt::Uninitialized);
    if (file.readAt(start, data.data(), stored) != stored)
        return failed("Unable to read message from bin file");

    if (header.storedLength() == header.unpackedLength())
        return data; // the text itself, whatever its flags say
    // The older form lacks the four bytes of length in front of the stream.
    const qsizetype prefix = header.has(Mark::Compressed) ? 4 : 0;
    if (data.size() < prefix)
        return failed("Decompression failure when reading message");
    QByteArray text = decompressText(QByteArrayView(data).sliced(prefix), header.unpackedLength());
    return text.isNull() ? failed("Decompression failure when reading message") : text;
}

QByteArray recordHeader(const Overview &overview)
{
    QByteArray header;
    header.reserve(kHeaderSize);
    header.append(kMagic, kMagicSize);
    header.append(overview.binWords());
    return header;
}

std::optional<Overview> readBinHeader(const FileHandle &file, qint64 position)
{
    char bytes[kHeaderSize];
    if (file.readAt(position, bytes, kHeaderSize) != kHeaderSize ||
        std::memcmp(bytes, kMagic, kMagicSize) != 0)
        return {};
    return Overview::fromBinWords({bytes + kMagicSize, kHeaderSize - kMagicSize});
}
