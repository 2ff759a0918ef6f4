#include "net/smtp/smtptext.h"

#include "message/headerblock.h"
#include "message/lineends.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr QByteArrayView kControls = "x-velmar-";
constexpr QByteArrayView kBlindCopies[] = {"bcc", "resent-bcc"};

bool isFolded(QByteArrayView line)
{
    return line.startsWith(' ') || line.startsWith('\t');
}

/// Of a field as software of all ages writes it: without the blanks before the colon, wherever they are
/// folded, and without what cannot be in a name and would hide it from us alone.
QByteArray nameOf(QByteArrayView field)
{
    QByteArray name;
    for (const char c : field.first(field.contains(':') ? field.indexOf(':') : field.size())) {
        if (c > ' ' && c < 0x7f)
            name += c;
    }
    return name.toLower();
}

/// For the eyes of the sender alone.
bool isHidden(QByteArrayView field)
{
    const QByteArray name = nameOf(field);
    return name.startsWith(kControls) ||
           std::find(std::begin(kBlindCopies), std::end(kBlindCopies), name) != std::end(kBlindCopies);
}

/// A bare CR in a header would begin a field of its own where it is taken for a line end; an empty line in
/// front of it would end it.
QByteArray shownHeader(QByteArrayView header)
{
    QByteArray shown;
    shown.reserve(header.size());
    while (header.startsWith('\n'))
        header = header.sliced(1);
    while (!header.isEmpty()) {
        qsizetype end = header.indexOf('\n') + 1;
        while (end > 0 && end < header.size() && isFolded(header.sliced(end)))
            end = header.indexOf('\n', end) + 1;
        const QByteArrayView field = header.first(end > 0 ? end : header.size());
        header = header.sliced(field.size());
        if (!isHidden(field))
            shown += field;
    }
    return shown.replace('\r', ' ');
}

QByteArray withoutReturns(QByteArrayView block)
{
    if (block.isEmpty() || !std::memchr(block.data(), '\r', std::size_t(block.size())))
        return QByteArray::fromRawData(block.data(), block.size());
    return withUnixLineEnds(block.toByteArray()).replace('\r', '\n');
}

bool hasEightBit(QByteArrayView text)
{
    uchar all = 0;
    for (const char c : text)
        all |= uchar(c);
    return all >= 0x80;
}

} // namespace

SmtpText::SmtpText(const QByteArray &message)
    : m_message(message)
{
    const HeaderExtent extent = headerExtent(message);
    const QByteArray header = withUnixLineEnds(message.first(extent.length));
    const qsizetype end = headerExtent(header).length; // an empty line may have been "\r\n"
    m_header = shownHeader(QByteArrayView(header).first(end)) + header.mid(end);
    if (extent.bodyOffset > extent.length)
        m_header += '\n';
    m_hasEightBitHeader = hasEightBit(m_header);
    m_body = QByteArrayView(m_message).sliced(extent.bodyOffset);
}

/// From @p at, which moves on; up to a line end, or to the end.
QByteArray SmtpText::takeBlock(qsizetype &at, qsizetype bytes) const
{
    if (at < m_header.size()) {
        const QByteArray block = m_header.mid(at);
        at = m_header.size();
        return block;
    }
    const QByteArrayView rest = m_body.sliced(at - m_header.size());
    const qsizetype feed = bytes >= rest.size() ? -1 : rest.indexOf('\n', bytes);
    const QByteArrayView block = rest.first(feed < 0 ? rest.size() : feed + 1);
    at += block.size();
    return withoutReturns(block);
}

bool SmtpText::survey(qsizetype bytes)
{
    const qsizetype most = m_surveyed + bytes;
    const qsizetype all = m_header.size() + m_body.size();
    while (m_surveyed < qMin(most, all)) {
        const bool isBody = m_surveyed >= m_header.size();
        const QByteArray block = takeBlock(m_surveyed, 64 * 1024);
        for (QByteArrayView rest = block; !rest.isEmpty();) {
            const qsizetype before = rest.size();
            const qsizetype length = takeLine(rest).size();
            m_longestLine = std::max(m_longestLine, length);
            m_size += length + 2;
            Q_ASSERT(rest.size() < before);
        }
        m_hasEightBitBody |= isBody && hasEightBit(block);
    }
    return m_surveyed == all;
}
