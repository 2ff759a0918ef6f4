#pragma once

#include "ui/list/messagesort.h"

#include <QCollator>
#include <QObject>
#include <QTimer>

#include <vector>

class MessageRows;

/// Where the text of each message stands among all of them in one column, found in short slices so
/// that the window stays alive: runs are read and sorted one by one, then merged. The texts are forgotten at
/// the end; what stays is 4 bytes a row.
class TextRanks : public QObject
{
    Q_OBJECT

public:
    explicit TextRanks(QObject *parent = nullptr);

    /// Begins with the texts of @p column. @p rows must live until the end or stop().
    void start(const MessageRows &rows, MessageColumn column);
    void stop();

    /// Stops, and forgets the ranks: they belong to other rows or another column.
    void clear();
    bool isRunning() const { return m_timer.isActive(); }

    /// Works for about @p milliseconds. True when that was the last of it.
    bool step(int milliseconds);

    /// By row; empty until the first end. Rows that came afterwards lie beyond its end.
    const std::vector<quint32> &ranks() const { return m_ranks; }

signals:
    void progressed(int done, int total);
    void finished();

private:
    struct Entry
    {
        QCollatorSortKey key;
        quint32 row;
    };
    struct Run
    {
        std::size_t next;
        std::size_t end;
    };

    void slice();
    void readSome(std::size_t end);
    void mergeSome(std::size_t end);
    bool isLater(const Run &a, const Run &b) const;

    const MessageRows *m_messages = nullptr;
    MessageColumn m_column = MessageColumn::Subject;
    QCollator m_collator;
    QTimer m_timer;
    std::size_t m_rows = 0;
    std::size_t m_read = 0;
    std::size_t m_runBegin = 0;
    std::vector<Entry> m_entries;
    std::vector<Run> m_runs; ///< while merging, a heap with the first in order on top
    std::size_t m_merged = 0;
    quint32 m_rank = 0;
    std::ptrdiff_t m_last = -1; ///< index of the entry merged last
    std::vector<quint32> m_next;
    std::vector<quint32> m_ranks;
};
