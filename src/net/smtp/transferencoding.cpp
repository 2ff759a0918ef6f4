#include "net/smtp/transferencoding.h"

#include "message/headerblock.h"
#include "message/lineends.h"
#include "message/message.h"
#include "message/mimecontext.h"

#include <algorithm>
#include <array>
#include <optional>

namespace {

constexpr int kLongestEncodedLine = 76; // RFC 2045 6.7 (5), the "=" of a soft line break with it

bool hasEightBit(QByteArrayView text)
{
    uchar all = 0;
    for (const char c : text)
        all |= uchar(c);
    return all >= 0x80;
}

bool hasLongLine(QByteArrayView text)
{
    while (!text.isEmpty()) {
        if (takeLine(text).size() > kLongestMailLine)
            return true;
    }
    return false;
}

struct Place
{
    qsizetype at;
    qsizetype length;
};

/// The field of that name in the header that begins at @p from: where it stands in @p text, its end included.
std::optional<Place> findField(QByteArrayView text, qsizetype from, qsizetype end, QByteArrayView name)
{
    for (qsizetype at = from; at < end;) {
        qsizetype next = text.indexOf('\n', at) + 1;
        while (next > 0 && next < end && (text[next] == ' ' || text[next] == '\t'))
            next = text.indexOf('\n', next) + 1;
        next = next <= 0 ? end : std::min(next, end);
        const QByteArrayView field = text.sliced(at, next - at);
        const qsizetype colon = field.indexOf(':');
        if (colon > 0 && field.first(colon).trimmed().compare(name, Qt::CaseInsensitive) == 0)
            return Place{at, next - at};
        at = next;
    }
    return {};
}

/// Whether a part of such a category must stay as it is to the byte.
bool isSealed(int category)
{
    return category == SignedPart || category == EncryptedPart;
}

bool isSealedIn(const MIMEContext &parts, int index)
{
    if (isSealed(parts.type()))
        return true;
    for (int at = index; at >= 0; at = parts.part(at).parent) {
        if (isSealed(parts.part(at).type))
            return true;
    }
    return false;
}

} // namespace

FittingMessage::FittingMessage(const QByteArray &message, bool mayHaveEightBit)
    : m_text(message)
    , m_mayHaveEightBit(mayHaveEightBit)
{
    const Message whole(message);
    const MIMEContext &parts = whole.mime();
    for (int i = 0; i < parts.count(); ++i)
        lookAt(parts, i);
    if (!m_edits.empty()) {
        const HeaderExtent extent = headerExtent(m_text);
        // Containers must not claim less than what they hold, and need not claim more.
        if (isMultipartCategory(parts.type()) && !isSealed(parts.type()) && !mayHaveEightBit)
            setEncoding(0, extent.length, {});
        if (!whole.hasHeader("MIME-Version")) // without it nobody would decode
            m_edits.push_back({extent.length, 0, "MIME-Version: 1.0\n"});
    }
    std::stable_sort(m_edits.begin(), m_edits.end(),
                     [](const Edit &a, const Edit &b) { return a.at < b.at; });
    m_written.reserve(m_text.size() + m_text.size() / 4); // to grow later would be a copy of it all
}

void FittingMessage::lookAt(const MIMEContext &parts, int index)
{
    const MIMEPart &part = parts.part(index);
    if (part.within >= 0 || isSealedIn(parts, index))
        return;
    const qsizetype size = part.offset - part.hdroffset;
    const qsizetype headerEnd =
        part.hdroffset + headerExtent(QByteArrayView(m_text).sliced(part.hdroffset, size)).length;
    if (isMultipartCategory(part.type) || isEnclosedCategory(part.type)) {
        if (!m_mayHaveEightBit && part.encoding != Base64 && part.encoding != QuotedPrintable)
            setEncoding(part.hdroffset, headerEnd, {});
        return;
    }
    const bool isOpen = part.encoding == SevenBit || part.encoding == EightBit || part.encoding == Binary;
    const QByteArrayView content = QByteArrayView(m_text).sliced(part.offset, part.length);
    const bool isBlock = part.hdroffset >= part.offset; // of a uuencoded file within a text
    if (!isOpen || isBlock)
        return;
    if (!hasLongLine(content) && (m_mayHaveEightBit || !hasEightBit(content)))
        return;
    setEncoding(part.hdroffset, headerEnd, "Content-Transfer-Encoding: quoted-printable\n");
    m_edits.push_back({part.offset, part.length, {}, true});
}

/// Replaces the field; an empty one means 7bit.
void FittingMessage::setEncoding(qsizetype from, qsizetype end, const QByteArray &field)
{
    const std::optional<Place> old = findField(m_text, from, end, "Content-Transfer-Encoding");
    if (old)
        m_edits.push_back({old->at, old->length, field});
    else if (!field.isEmpty())
        m_edits.push_back({end, 0, field});
}

bool FittingMessage::write(qsizetype bytes)
{
    while (bytes > 0 && !isWritten()) {
        const bool isEdit = m_edit < m_edits.size() && m_edits[m_edit].at <= m_at;
        const qsizetype before = m_at;
        if (isEdit)
            writeEdit(m_edits[m_edit], bytes);
        else
            copyTo(m_edit < m_edits.size() ? m_edits[m_edit].at : m_text.size(), bytes);
        bytes -= m_at - before;
    }
    return isWritten();
}

void FittingMessage::copyTo(qsizetype end, qsizetype most)
{
    const QByteArrayView block = QByteArrayView(m_text).sliced(m_at, std::min(end - m_at, most));
    m_written += block;
    m_at += block.size();
}

void FittingMessage::writeEdit(const Edit &edit, qsizetype most)
{
    const qsizetype end = edit.at + edit.length;
    if (edit.isQuoted && m_at < end)
        return quote(end, most);
    if (edit.at >= m_at)
        m_written += edit.text;
    m_at = std::max(m_at, end);
    m_column = 0;
    ++m_edit;
}

/// In quoted-printable, line by line as it is; the column is kept from piece to piece.
void FittingMessage::quote(qsizetype end, qsizetype most)
{
    constexpr char kDigits[] = "0123456789ABCDEF";
    constexpr std::size_t kMostAtOnce = 5; // bytes that one byte becomes, with a soft line break before it
    std::array<char, 1024> piece;          // one by one they would be slow to append
    std::size_t used = 0;
    for (const qsizetype stop = std::min(end, m_at + most); m_at < stop; ++m_at) {
        if (used + kMostAtOnce > piece.size()) {
            m_written.append(piece.data(), qsizetype(used));
            used = 0;
        }
        const char c = m_text[m_at];
        if (c == '\n') {
            piece[used++] = c;
            m_column = 0;
            continue;
        }
        const bool isLast = m_at + 1 == end || m_text[m_at + 1] == '\n';
        const bool isPlain = (c > ' ' && c < 0x7f && c != '=') || ((c == ' ' || c == '\t') && !isLast);
        const int width = isPlain ? 1 : 3;
        if (m_column + width > kLongestEncodedLine - (isLast ? 0 : 1)) {
            piece[used++] = '=';
            piece[used++] = '\n';
            m_column = 0;
        }
        piece[used++] = isPlain ? c : '=';
        if (!isPlain) {
            piece[used++] = kDigits[uchar(c) >> 4];
            piece[used++] = kDigits[uchar(c) & 15];
        }
        m_column += width;
    }
    m_written.append(piece.data(), qsizetype(used));
}
