#include "net/socket/linequeue.h"

#include <algorithm>
#include <utility>

namespace {

/// Blocks smaller than this are joined on arrival: each costs some memory besides its bytes.
constexpr qsizetype kSmallBlock = 16 * 1024;

qint64 countLines(QByteArrayView bytes)
{
    return std::count(bytes.begin(), bytes.end(), '\n');
}

} // namespace

void LineQueue::append(const QByteArray &block)
{
    if (block.isEmpty())
        return;
    m_size += block.size();
    m_lines += countLines(block);
    if (!m_blocks.empty() && m_blocks.back().size() + block.size() <= kSmallBlock)
        m_blocks.back() += block;
    else
        m_blocks.push_back(block);
}

void LineQueue::prepend(const QByteArray &block)
{
    if (block.isEmpty())
        return;
    if (m_at > 0) {
        m_blocks.front() = m_blocks.front().sliced(m_at);
        m_at = 0;
    }
    m_size += block.size();
    m_lines += countLines(block);
    m_blocks.push_front(block);
}

qint64 LineQueue::firstLineLength() const
{
    if (m_lines == 0)
        return m_size;
    qint64 length = 0;
    qsizetype start = m_at;
    for (const QByteArray &block : m_blocks) {
        if (const qsizetype end = block.indexOf('\n', start); end >= 0)
            return length + end + 1 - start;
        length += block.size() - start;
        start = 0;
    }
    return length;
}

QString LineQueue::takeLine()
{
    if (m_lines == 0)
        return {};
    QByteArray pending;
    qsizetype end = front().indexOf('\n');
    if (end < 0) {
        pending.reserve(firstLineLength());
        for (; end < 0; end = front().indexOf('\n')) {
            pending += front();
            drop(front().size());
        }
    }
    const QByteArrayView rest = front().first(end + 1);
    if (!pending.isEmpty())
        pending += rest;
    QString line = QString::fromLatin1(pending.isEmpty() ? rest : QByteArrayView(pending));
    std::replace(line.begin(), line.end(), QChar(u'\0'), QChar(u' '));
    --m_lines;
    drop(end + 1);
    return line;
}

QByteArray LineQueue::takeBlock()
{
    if (m_blocks.empty())
        return {};
    QByteArray block = std::exchange(m_blocks.front(), {});
    m_blocks.pop_front();
    if (m_at > 0)
        block.remove(0, std::exchange(m_at, 0));
    m_size -= block.size();
    m_lines -= countLines(block);
    return block;
}

void LineQueue::clear()
{
    *this = {};
}

/// From the first block, which goes when nothing is left of it.
void LineQueue::drop(qsizetype bytes)
{
    m_size -= bytes;
    m_at += bytes;
    if (m_at < m_blocks.front().size())
        return;
    m_blocks.pop_front();
    m_at = 0;
}
