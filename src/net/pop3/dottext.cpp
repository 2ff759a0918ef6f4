#include "net/pop3/dottext.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

/// So much is taken at once: the text's memory is larger than the text by not more than this.
constexpr qsizetype kPiece = 16 * 1024;

/// So much is reserved on the word of a listing.
constexpr qint64 kMostReserved = 256 * 1024 * 1024;

/// Memory of a text that is kept for the next one.
constexpr qsizetype kMostKept = 1024 * 1024;

} // namespace

void DotText::begin(qint64 announced, bool bareLineEnds)
{
    m_text.resize(0);
    m_text.reserve(qsizetype(std::clamp<qint64>(announced, 0, kMostReserved)) + kPiece);
    m_announced = announced;
    m_bareLineEnds = bareLineEnds;
    m_afterCrLf = true;
    m_hasCrLf = false;
    m_isInLine = false;
    m_octets = 0;
    m_lines = 0;
}

bool DotText::take(QByteArrayView &stream)
{
    while (!stream.isEmpty() && !isTooLong()) {
        QByteArrayView piece = stream.first(std::min(stream.size(), kPiece));
        const qsizetype size = piece.size();
        const bool complete = takePiece(piece);
        stream = stream.sliced(size - piece.size());
        if (complete)
            return true;
    }
    return false;
}

/// The text is made larger by the whole piece first, so that its lines go in without a further look.
bool DotText::takePiece(QByteArrayView &stream)
{
    const qsizetype before = m_text.size();
    m_text.resize(before + stream.size());
    m_out = m_text.data() + before;
    bool complete = false;
    while (!stream.isEmpty() && !complete) {
        const char *start = stream.data();
        const auto *end = static_cast<const char *>(std::memchr(start, '\n', std::size_t(stream.size())));
        const qsizetype length = end ? end - start + 1 : stream.size();
        stream = stream.sliced(length);
        if (end) {
            complete = m_isInLine ? addRestOfLine(start, length) : addLine(start, length);
            continue;
        }
        if (!std::exchange(m_isInLine, true))
            m_lineStart = m_out - m_text.constData();
        std::memcpy(m_out, start, std::size_t(length));
        m_out += length;
    }
    m_text.resize(m_out - m_text.constData());
    if (complete && m_text.endsWith('\n'))
        m_text.chop(1);
    return complete;
}

/// A line that came whole, its "\n" included. True: it is the final dot.
bool DotText::addLine(const char *line, qsizetype length)
{
    qsizetype dots = 0;
    if (*line == '.') {
        if (isEnd(line, length))
            return true;
        dots = dotsToDrop(line, length);
    }
    const bool crLf = length > 1 && line[length - 2] == '\r';
    m_octets += length - dots;
    ++m_lines;
    const qsizetype kept = length - dots - (crLf ? 2 : 1);
    std::memmove(m_out, line + dots, std::size_t(kept)); // of a line in parts it is a move in place
    m_out += kept;
    *m_out++ = '\n';
    m_afterCrLf = crLf;
    m_hasCrLf = m_hasCrLf || crLf;
    return false;
}

/// The rest of a line the beginning of which is in the text already, as it came.
bool DotText::addRestOfLine(const char *rest, qsizetype length)
{
    std::memcpy(m_out, rest, std::size_t(length));
    char *line = m_text.data() + m_lineStart;
    const qsizetype whole = m_out + length - line;
    m_out = line;
    m_isInLine = false;
    return addLine(line, whole);
}

bool DotText::isEnd(const char *line, qsizetype length) const
{
    const bool crLf = length == 3 && line[1] == '\r';
    if (length != 2 && !crLf)
        return false;
    const bool isKnown = m_announced > 0;
    return m_bareLineEnds || (crLf && m_afterCrLf) || (isKnown ? m_octets >= m_announced : !m_hasCrLf);
}

/// Behind a bare "\n" nobody knows whether the server took this for the start of a line.
qsizetype DotText::dotsToDrop(const char *line, qsizetype length) const
{
    if (m_bareLineEnds || m_afterCrLf)
        return 1;
    return length > 1 && line[1] == '.' ? 1 : 0;
}

void DotText::giveBack(QByteArray &&text)
{
    if (m_text.isNull() && text.isDetached() && text.capacity() <= kMostKept)
        m_text = std::move(text);
}
