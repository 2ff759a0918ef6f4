#include "net/pop3/popinput.h"

#include <utility>

void PopInput::add(const QByteArray &block)
{
    m_block = isEmpty() ? block : m_block.mid(m_at) + block;
    m_at = 0;
}

QByteArray PopInput::takeLine()
{
    const QByteArrayView there = rest();
    const qsizetype feed = there.indexOf('\n');
    m_partial.append(feed < 0 ? there : there.first(feed + 1));
    m_at += feed < 0 ? there.size() : feed + 1;
    return feed < 0 ? QByteArray() : std::exchange(m_partial, {});
}
