#include "message/encodedblocks.h"

#include "message/ascii.h"
#include "message/decoders.h"
#include "message/lineends.h"
#include "message/mimepart.h"
#include "message/yenc.h"

#include <cstring>

namespace {

bool isPgpBegin(QByteArrayView line)
{
    const QByteArrayView bare = line.trimmed();
    return bare == "-----BEGIN PGP SIGNED MESSAGE-----" || bare == "-----BEGIN PGP MESSAGE-----";
}

/// Goes through a text line by line and keeps what it finds. Outside of a block only the lines whose first
/// character can mean something are looked at.
class BlockFinder
{
public:
    BlockFinder(QByteArrayView text, int most)
        : m_text(text)
        , m_most(std::size_t(most))
    {}

    EncodedBlocks run()
    {
        for (m_at = 0; m_at < m_text.size(); m_at = m_next) {
            const char *from = m_text.data() + m_at;
            const void *end = std::memchr(from, '\n', std::size_t(m_text.size() - m_at));
            m_next = end ? static_cast<const char *>(end) - m_text.data() + 1 : m_text.size();
            if (m_open.encoding == 0 && *from != 'b' && *from != '=' && *from != '-')
                continue;
            QByteArrayView rest = m_text.sliced(m_at, m_next - m_at);
            takeIn(takeLine(rest));
        }
        if (m_open.encoding != 0)
            close(m_open.encoding == Uuencode ? m_plausibleEnd : m_text.size());
        return std::move(m_found);
    }

private:
    void takeIn(QByteArrayView line)
    {
        if (m_open.encoding == Yenc)
            return lineInYenc(line);
        if (opens(line))
            return;
        if (m_open.encoding == Uuencode)
            lineInUuencode(line);
        if ((m_open.encoding == 0 || m_broken) && isPgpBegin(line))
            m_found.pgp = true;
    }

    /// Begins a block when @p line does, and ends the uuencoded one before it that has no end.
    bool opens(QByteArrayView line)
    {
        QByteArrayView name;
        const bool yenc = isYencBegin(line, &name);
        if (!yenc && !isUuencodeBegin(line, &name))
            return false;
        if (m_open.encoding != 0)
            close(m_plausibleEnd);
        if (m_found.blocks.size() == m_most) {
            m_found.truncated = true;
            return true;
        }
        m_open = {};
        m_open.encoding = yenc ? Yenc : Uuencode;
        m_open.name = name.toByteArray();
        m_open.offset = m_at;
        m_plausibleEnd = m_at; // nothing but its begin line is no block
        m_broken = false;
        if (yenc)
            readYencBegin(line);
        return true;
    }

    void readYencBegin(QByteArrayView line)
    {
        const YencBlock announced = decodeYenc(line);
        m_open.line = announced.line;
        m_open.size = announced.size;
    }

    void lineInYenc(QByteArrayView line)
    {
        if (line.startsWith("=yend "))
            end();
        else if (isYencBegin(line)) {
            close(m_at);
            opens(line);
        }
    }

    void lineInUuencode(QByteArrayView line)
    {
        if (line.trimmed() == "end")
            return end();
        m_broken = m_broken || !isUuencodeLine(line);
        if (!m_broken)
            m_plausibleEnd = m_next;
    }

    void end()
    {
        m_open.ended = true;
        close(m_next);
    }

    void close(qsizetype end)
    {
        m_open.length = end - m_open.offset;
        if (m_open.length > 0)
            m_found.blocks.push_back(std::move(m_open));
        m_open = {};
    }

    QByteArrayView m_text;
    std::size_t m_most;
    EncodedBlocks m_found;
    EncPart m_open;               ///< the block that we are in; encoding 0 outside of any
    qsizetype m_at = 0;           ///< of the line looked at
    qsizetype m_next = 0;         ///< of the one behind it
    qsizetype m_plausibleEnd = 0; ///< where a uuencoded block ends if no "end" comes
    bool m_broken = false;        ///< a line since its begin was no data
};

} // namespace

bool isUuencodeBegin(QByteArrayView line, QByteArrayView *name)
{
    if (!line.startsWith("begin ") || line.size() < 9 || !isDigit(line[6]) || !isDigit(line[7]) ||
        !isDigit(line[8]))
        return false;
    QByteArrayView rest = line.sliced(9);
    while (!rest.isEmpty() && isDigit(rest[0])) // "begin 0644 a.zip"
        rest = rest.sliced(1);
    if (!rest.isEmpty() && rest[0] != ' ')
        return false;
    if (name)
        *name = rest.trimmed();
    return true;
}

EncodedBlocks findEncodedBlocks(QByteArrayView text, int most)
{
    return BlockFinder(text, most).run();
}

QByteArray withoutBlocks(QByteArrayView text, const std::vector<EncPart> &blocks)
{
    QByteArray rest;
    rest.reserve(text.size());
    qsizetype at = 0;
    for (const EncPart &block : blocks) {
        rest += text.sliced(at, block.offset - at);
        at = block.offset + block.length;
    }
    return rest += text.sliced(at);
}
