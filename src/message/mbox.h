#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QTimer>

class Message;

/// The line that begins a message in an mbox, without its line end: "From ", the sender, the present local
/// date.
QByteArray mboxSeparator(const Message &message);

/// @p message as appendToMbox writes it: the separator line, the text with every "From " at the start of a
/// line as ">From ", an empty line.
QByteArray mboxEntry(const Message &message);

/// Appends one message to an mbox that other programs may use at the same time. A file that exists and cannot
/// be opened or is locked is tried again once a second, at most 60 more times; nothing waits meanwhile.
class MboxAppender : public QObject
{
    Q_OBJECT

public:
    static constexpr int kMostRetries = 60;

    explicit MboxAppender(QObject *parent = nullptr);

    /// Appends @p message to the file at @p path, which is made when missing. Emits finished() exactly once,
    /// possibly before this returns; a second call before that is ignored.
    void appendToMbox(const Message &message, const QString &path);

    /// Gives up waiting; finished(false) follows at once if an append is under way.
    void stop();

    bool isRunning() const { return m_running; }
    /// The pause between two attempts in milliseconds, 1,000 unless set.
    void setRetryInterval(int milliseconds) { m_timer.setInterval(milliseconds); }

signals:
    /// @p retries attempts follow at most.
    void waiting(int retries);
    /// False: the file is as it was.
    void finished(bool appended);

private:
    enum class Outcome { Appended, Busy, Failed };

    void attempt();
    Outcome tryOnce() const;
    void end(bool appended);

    QTimer m_timer;
    QString m_path;
    QByteArray m_entry;
    int m_retriesLeft = 0;
    bool m_running = false;
};
