#include "net/smtp/smtptext.h"

#include "message/headerblock.h"
#include "message/lineends.h"

#include <algorithm>
#include <cstring>

namespace {

/// Fields for the eyes of the sender alone begin so; matched in any case.
constexpr const char *kHidden[] = {"x-velmar-", "bcc:", "resent-bcc:"};

bool isFolded(QByteArrayView line)
{
    return line.startsWith(' ') || line.startsWith('\t');
}

bool isHidden(QByteArrayView line)
{
    const QByteArray start = line.first(qMin(line.size(), qsizetype(40))).toByteArray().toLower();
    QByteArray name = start;
    name.replace(" :", ":"); // old software writes a blank before the colon
    return std::any_of(std::begin(kHidden), std::end(kHidden),
                       [&name](const char *hidden) { return name.startsWith(hidden); });
}

/// A bare CR in a header would begin a field of its own where it is taken for a line end.
QByteArray shownHeader(const QByteArray &header)
{
    QByteArray shown;
    shown.reserve(header.size());
    bool isLeftOut = false;
    for (QByteArrayView rest = header; !rest.isEmpty();) {
        const qsizetype feed = rest.indexOf('\n');
        const QByteArrayView line = rest.first(feed < 0 ? rest.size() : feed + 1);
        rest = rest.sliced(line.size());
        if (!isFolded(line))
            isLeftOut = isHidden(line);
        if (!isLeftOut)
            shown += line;
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
    m_header = shownHeader(withUnixLineEnds(message.first(extent.length)));
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
