#include "store/headercache.h"

#include "store/binformat.h"
#include "store/compression.h"

#include <QtEndian>

namespace {

constexpr qsizetype kLongestText = 32 * 1024;
constexpr qsizetype kCheckSize = 4;
constexpr qsizetype kHeadSize = kCheckSize + 4; ///< with the CRC-32 of the message
constexpr qint64 kLongestRecord = 1024 * 1024;

void appendText(QByteArray &record, const QString &text)
{
    QByteArray bytes = text.toUtf8();
    if (bytes.size() > kLongestText)
        bytes = QString::fromUtf8(bytes.first(kLongestText)).chopped(1).toUtf8();
    const quint32_le length(quint32(bytes.size()));
    record.append(reinterpret_cast<const char *>(&length), sizeof length);
    record.append(bytes);
}

bool takeText(QByteArrayView &record, QString &text)
{
    if (record.size() < qsizetype(sizeof(quint32)))
        return false;
    const quint32 length = qFromLittleEndian<quint32>(record.data());
    record = record.sliced(sizeof(quint32));
    if (record.size() < qsizetype(length))
        return false;
    text = QString::fromUtf8(record.first(length));
    record = record.sliced(length);
    return true;
}

} // namespace

HeaderCache::HeaderCache(const QString &directory, int number)
    : m_path(BinFormat::cachePath(directory, number))
{}

HeaderCache::Place HeaderCache::append(const HeaderTexts &texts, quint32 textCrc)
{
    if (!m_writable) {
        m_file = FileHandle(m_path, FileHandle::Mode::ReadWrite);
        m_writable = m_file.isOpen();
        m_end = m_writable ? m_file.size() : -1;
    }
    QByteArray record(kHeadSize, Qt::Uninitialized);
    qToLittleEndian(textCrc, record.data() + kCheckSize);
    for (const QString &text : {texts.from, texts.to, texts.subject, texts.messageId})
        appendText(record, text);
    qToLittleEndian(crc32Of(QByteArrayView(record).sliced(kCheckSize)), record.data());
    if (m_end < 0 || m_end + record.size() > 0xffffffffLL || !m_file.writeAt(m_end, record))
        return {};
    const Place place = {quint32(m_end), quint32(record.size())};
    m_end += record.size();
    return place;
}

std::optional<HeaderTexts> HeaderCache::read(Place place, quint32 textCrc)
{
    if (place.length <= kHeadSize || place.length > kLongestRecord)
        return {};
    if (!m_file.isOpen())
        m_file = FileHandle(m_path, FileHandle::Mode::Read);
    QByteArray record(place.length, Qt::Uninitialized);
    if (!m_file.isOpen() || m_file.readAt(place.position, record.data(), record.size()) != record.size())
        return {};
    QByteArrayView rest = QByteArrayView(record).sliced(kCheckSize);
    if (qFromLittleEndian<quint32>(record.constData()) != crc32Of(rest) ||
        qFromLittleEndian<quint32>(rest.data()) != textCrc)
        return {};
    rest = rest.sliced(kHeadSize - kCheckSize);
    HeaderTexts texts;
    for (QString *text : {&texts.from, &texts.to, &texts.subject, &texts.messageId}) {
        if (!takeText(rest, *text))
            return {};
    }
    return texts;
}

void HeaderCache::close()
{
    m_file.close();
    m_writable = false;
    m_end = -1;
}
