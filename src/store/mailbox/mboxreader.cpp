#include "store/mailbox/mboxreader.h"

#include "config/reporter.h"
#include "message/lineends.h"
#include "store/mailbox/fromline.h"
#include "store/mailbox/mboxwriter.h"

#include <QIODevice>

#include <cstring>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kWindow = 256 << 10;
constexpr qint64 kLongestKept = 16 << 20;
constexpr qint64 kLongestFromLine = 1000;
constexpr QByteArrayView kContentLength = "Content-Length";
constexpr qint64 kLargestMessage = 0x7fffffff;

bool endsWithCrLf(QByteArrayView text, qsizetype lineFeed)
{
    return lineFeed > 0 && text[lineFeed - 1] == '\r';
}

/// Takes one ">" off every line that matches `>+From `.
void unquote(QByteArray &text)
{
    const QByteArrayView all(text);
    if (findBytes(all, ">From ") < 0) // a rare letter to look for: base64 has no ">"
        return;
    qsizetype line = nextFromLine(all, 0);
    if (line < 0)
        return;
    char *to = text.data() + line; // detaches before the views below are taken
    const QByteArrayView from(text.constData(), text.size());
    qsizetype kept = line;
    while (line >= 0) {
        const qsizetype word = findBytes(from, kFromWord, line);
        const qsizetype next = nextFromLine(from, word + kFromWord.size());
        const qsizetype start = word > line ? line + 1 : line;
        const qsizetype end = next < 0 ? from.size() : next;
        std::memmove(to, from.data() + start, std::size_t(end - start));
        to += end - start;
        kept += end - start;
        line = next;
    }
    text.truncate(kept);
}

void dropSeparatingLine(QByteArray &text)
{
    if (text == "\n" || text.endsWith("\n\n"))
        text.chop(1);
}

} // namespace

MboxReader::MboxReader(QIODevice &device)
    : m_device(device)
    , m_size(device.size())
{}

void MboxReader::goOnAt(qint64 position)
{
    m_position = qBound(qint64(0), position, m_size);
    m_leading = true;
}

MboxReader::Outcome MboxReader::next(MboxMessage &message)
{
    if (m_leading)
        skipToFirst();
    m_leading = false;
    while (!m_failed && m_position < m_size) {
        if (readOne(message))
            return Outcome::Message;
    }
    return m_failed ? Outcome::Failed : Outcome::End;
}

/// The bytes from @p position on, at least @p wanted unless the end comes first; good until the next call.
QByteArrayView MboxReader::window(qint64 position, qint64 wanted)
{
    const qint64 end = qMin(position + wanted, m_size);
    if (position < m_windowStart || end > m_windowStart + m_window.size())
        moveWindow(position, end);
    return QByteArrayView(m_window).sliced(position - m_windowStart);
}

/// Makes the window reach from @p position to @p end and beyond. What it has of the message under way stays
/// in it, so that only very long messages are read twice.
void MboxReader::moveWindow(qint64 position, qint64 end)
{
    const qint64 windowEnd = m_windowStart + m_window.size();
    const bool keeps = m_windowStart <= m_position && m_position <= position && position <= windowEnd &&
                       end - m_position <= kLongestKept;
    const qint64 kept = keeps ? windowEnd - m_position : 0;
    std::memmove(m_window.data(), m_window.constData() + m_window.size() - kept, std::size_t(kept));
    m_windowStart = keeps ? m_position : position;
    const qint64 from = m_windowStart + kept;
    const qint64 length = qMin(qMax(end - from, kWindow), m_size - from);
    m_window.resize(kept + length);
    if (!m_device.seek(from) || m_device.read(m_window.data() + kept, length) != length) {
        fail(from);
        m_window.fill('\0');
    }
}

/// Where the line after the one at @p position begins.
qint64 MboxReader::lineEnd(qint64 position)
{
    while (position < m_size) {
        const QByteArrayView view = window(position, 1);
        const qsizetype lineFeed = view.indexOf('\n');
        if (lineFeed >= 0)
            return position + lineFeed + 1;
        position += view.size();
    }
    return m_size;
}

qint64 MboxReader::findSeparator(qint64 textStart, bool own)
{
    constexpr QByteArrayView kNeedle = "\nFrom ";
    const auto separates = [this, own](qint64 at) { return own || isSeparator(at, followsEmptyLine(at)); };
    if (window(textStart, kFromWord.size()).startsWith(kFromWord) && separates(textStart))
        return textStart;
    for (qint64 position = textStart; !m_failed && position + kNeedle.size() <= m_size;) {
        const QByteArrayView view = window(position, kNeedle.size());
        const qsizetype hit = findBytes(view, kNeedle);
        if (hit < 0) {
            position += view.size() - kNeedle.size() + 1;
            continue;
        }
        position += hit + 1;
        if (separates(position))
            return position;
    }
    return m_size;
}

/// Whether the "From " line at @p position separates. @p follows: an empty line, the start, or the end of a
/// text of known length stands before it.
bool MboxReader::isSeparator(qint64 position, bool follows)
{
    const QByteArrayView view = window(position, 2 * kLongestFromLine);
    const qsizetype end = view.indexOf('\n');
    if (end < 0 || end > kLongestFromLine)
        return end < 0 && follows && parseFromLine(view.first(qMin(view.size(), kLongestFromLine))).date;
    m_fromLine = parseFromLine(view.first(end));
    m_fromLineAt = position;
    const FromLine &line = m_fromLine;
    const bool fieldFollows =
        looksLikeField(view.sliced(end + 1)) || view.sliced(end + 1).startsWith(">From ");
    return line.date ? follows || fieldFollows : follows && line.senderOnly && fieldFollows;
}

bool MboxReader::followsEmptyLine(qint64 position)
{
    const qint64 before = qMin(position, qint64(3));
    const QByteArrayView view = window(position - before, before).first(before);
    return view.endsWith("\n\n") || view.endsWith("\n\r\n") || view == "\n" || view == "\r\n";
}

/// The separator that stands at @p position or up to two line ends behind it, the size of the file if that
/// ends there, else -1.
qint64 MboxReader::separatorAt(qint64 position)
{
    QByteArrayView view = window(position, 2 * kLongestFromLine);
    for (int lineEnds = 0; lineEnds < 2 && !view.isEmpty(); ++lineEnds) {
        const qsizetype length = view.startsWith("\r\n") ? 2 : view.startsWith('\n') ? 1 : 0;
        view = view.sliced(length);
        position += length;
    }
    if (view.isEmpty())
        return position;
    const bool startsLine = position > 0 && window(position - 1, 1)[0] == '\n';
    const bool fromLine = startsLine && window(position, kFromWord.size()).startsWith(kFromWord);
    return fromLine && isSeparator(position, true) ? position : -1;
}

/// Where the Content-Length of the message at @p textStart says that it ends, if it can be believed. The
/// header ends before @p limit.
std::optional<qint64> MboxReader::contentEnd(qint64 textStart, qint64 limit)
{
    const qint64 wanted = qMin(kWindow, limit - textStart);
    const QByteArrayView head = window(textStart, wanted).first(wanted);
    const qsizetype plain = findBytes(head, "\n\n");
    const qsizetype dos = findBytes(plain < 0 ? head : head.first(plain), "\n\r\n");
    if (plain < 0 && dos < 0)
        return {};
    const qint64 body = textStart + (dos >= 0 ? dos + 3 : plain + 2);
    qint64 length = -1;
    forEachField(head, [&length](QByteArrayView name, QByteArrayView value) {
        if (name.size() != kContentLength.size() || name.compare(kContentLength, Qt::CaseInsensitive) != 0)
            return;
        bool ok = false;
        const qint64 read = value.trimmed().toByteArray().toLongLong(&ok);
        length = ok ? read : -1;
    });
    if (length < 0 || length > m_size - body)
        return {};
    const qint64 end = separatorAt(body + length);
    return end < limit ? std::nullopt : std::optional(end);
}

/// Moves to the first separator, or to header fields before it.
void MboxReader::skipToFirst()
{
    if (m_position == 0 && window(0, 3).startsWith("\xef\xbb\xbf"))
        m_position = 3;
    while (m_position < m_size && !m_failed) {
        const QByteArrayView view = window(m_position, 2);
        const qsizetype blank = view.startsWith('\n') ? 1 : view.startsWith("\r\n") ? 2 : 0;
        if (blank == 0)
            break;
        m_position += blank;
    }
    if (m_failed || m_position == m_size)
        return;
    const QByteArrayView view = window(m_position, kLongestFromLine);
    const bool mail = view.startsWith(kFromWord) ? isSeparator(m_position, true)
                                                 : looksLikeField(view) || view.startsWith(">From ");
    if (mail)
        return;
    const qint64 first = findSeparator(m_position, false);
    skip("Passed over what is no mail", m_position, first);
    m_position = first;
}

bool MboxReader::readOne(MboxMessage &message)
{
    message = {};
    message.start = m_position;
    qint64 text = m_position;
    bool crlf = false;
    if (window(m_position, kFromWord.size()).startsWith(kFromWord)) {
        text = lineEnd(m_position);
        const qint64 length = qMin(text - m_position, kLongestFromLine);
        crlf = window(qMax(m_position, text - 2), 2).startsWith("\r\n");
        if (std::exchange(m_fromLineAt, m_position) != m_position)
            m_fromLine = parseFromLine(window(m_position, length).first(length));
        message.sender = m_fromLine.sender;
        message.date = m_fromLine.date;
    }
    const std::optional<OwnStatus> own = parseOwnStatus(window(text, 64), crlf);
    if (own)
        text += own->length;
    message.end = findSeparator(text, own.has_value());
    const std::optional<qint64> content = own ? std::nullopt : contentEnd(text, message.end);
    message.end = content.value_or(message.end);
    m_position = message.end;
    if (!readRange(text, message.end, message.text))
        return false;

    if (!own && !crlf)
        crlf = endsWithCrLf(message.text, message.text.indexOf('\n'));
    if (crlf)
        message.text = withUnixLineEnds(message.text);
    dropSeparatingLine(message.text);
    const bool neverQuotes =
        content && (message.text.startsWith("From ") || message.text.contains("\nFrom "));
    if (!neverQuotes)
        unquote(message.text);
    if (!message.text.isEmpty() && !message.text.endsWith('\n'))
        message.text += '\n';
    message.flags = own ? own->flags : flagsOfHeader(message.text);
    if (message.text.isEmpty() && !own) {
        skip("Passed over an empty message", message.start, message.end);
        return false;
    }
    return true;
}

bool MboxReader::readRange(qint64 start, qint64 end, QByteArray &bytes)
{
    const qint64 length = end - start;
    if (length > kLargestMessage) {
        skip("Passed over a message of more than 2 GB", start, end);
        return false;
    }
    if (start >= m_windowStart && end <= m_windowStart + m_window.size()) {
        bytes = m_window.mid(start - m_windowStart, length);
        return !m_failed;
    }
    bytes.resize(length);
    if (m_failed || !m_device.seek(start) || m_device.read(bytes.data(), length) != length)
        fail(start);
    return !m_failed;
}

void MboxReader::fail(qint64 position)
{
    if (!m_failed)
        note(u"The mailbox became unreadable at byte %1."_s.arg(position));
    m_failed = true;
}

void MboxReader::skip(const char *why, qint64 start, qint64 end)
{
    ++m_skipped;
    note(u"%1: bytes %2 to %3 of the mailbox."_s.arg(QLatin1String(why)).arg(start).arg(end));
}
