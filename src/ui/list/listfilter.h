#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>

#include <vector>

class MessageRows;

/// What a list is narrowed to: everything that is asked for must be true.
struct ListFilter
{
    bool unread = false;
    bool flagged = false;
    bool attachments = false;
    QString
        text; ///< words that must all be in the subject or among the people, in any case, with any accents

    bool isEmpty() const { return !unread && !flagged && !attachments && text.trimmed().isEmpty(); }
    bool operator==(const ListFilter &) const = default;
};

/// Text as it is compared: without case and accents.
QString foldedText(const QString &text);

/// Finds out which rows pass a filter, in short slices; texts come out of the header cache.
class FilterRun : public QObject
{
    Q_OBJECT

public:
    explicit FilterRun(QObject *parent = nullptr);

    /// Begins with @p order, rows in the order in which they are wanted. @p rows must live until stop(). When
    /// the filter before was done and this one is narrower, only what passed that is looked at.
    void start(const MessageRows &rows, const ListFilter &filter, std::vector<quint32> order);
    void stop();
    bool isRunning() const { return m_timer.isActive(); }

    /// Works for about @p milliseconds. True when that was the last of it.
    bool step(int milliseconds);

    /// Looks at one row, again or for the first time. Whether that changed anything.
    bool look(int row);

    /// Rows that came since; true: there are so many that a new start() is better.
    bool takeIn(int rowCount);

    /// By row; rows that were not looked at yet do not pass.
    const std::vector<bool> &matches() const { return m_matches; }

signals:
    void progressed(int done, int total);
    void finished();

private:
    void slice();
    bool passes(int row) const;

    const MessageRows *m_rows = nullptr;
    ListFilter m_filter;
    QStringList m_words;
    std::vector<bool> m_matches;
    std::vector<quint32> m_order;
    std::size_t m_next = 0;
    bool m_isDone = false;
    QTimer m_timer;
};
