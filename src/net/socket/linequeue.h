#pragma once

#include <QByteArray>
#include <QString>

#include <deque>

/// What a connection received and nobody has taken yet: the blocks as they came, and the number of line feeds
/// in them. They are joined only when a line is wanted that spans several.
class LineQueue
{
public:
    void append(const QByteArray &block);

    /// Puts @p block before all else.
    void prepend(const QByteArray &block);

    bool isEmpty() const { return m_blocks.empty(); }
    qint64 size() const { return m_size; } ///< bytes
    qint64 lines() const { return m_lines; }

    /// The length in bytes of the first line with its end; of what is there while the line has no end.
    qint64 firstLineLength() const;

    /// Takes the first whole line with its end, each byte a character and a space for each NUL. Empty: there
    /// is none.
    QString takeLine();

    /// Takes what came first, in one block, without a line's end in mind. Empty: nothing is there.
    QByteArray takeBlock();

    void clear();

private:
    QByteArrayView front() const { return QByteArrayView(m_blocks.front()).sliced(m_at); }
    void drop(qsizetype bytes);

    std::deque<QByteArray> m_blocks; ///< none is empty beyond m_at
    qsizetype m_at = 0;              ///< of the first block that is taken already
    qint64 m_size = 0;
    qint64 m_lines = 0;
};
