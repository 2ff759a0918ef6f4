#pragma once

#include <QByteArray>
#include <QByteArrayView>

/// What came from the server in blocks and is still to be read, as lines or as text.
class PopInput
{
public:
    static constexpr qsizetype kLongestLine = 64 * 1024 * 1024;

    void add(const QByteArray &block);
    bool isEmpty() const { return m_at == m_block.size(); }

    /// The next line with its "\n"; null while it has not come whole.
    QByteArray takeLine();

    /// The line that is coming is longer than any may be.
    bool isLineTooLong() const { return m_partial.size() > kLongestLine; }

    /// Everything that is there, and the way past what was taken of it.
    QByteArrayView rest() const { return QByteArrayView(m_block).sliced(m_at); }
    void setRest(QByteArrayView rest) { m_at = m_block.size() - rest.size(); }

private:
    QByteArray m_block;
    QByteArray m_partial; ///< the beginning of a line
    qsizetype m_at = 0;
};
