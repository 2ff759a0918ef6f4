#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QTimer>

class QProcess;

/// Runs the command of a signature and gives what it prints. The command line is the user's own and goes to
/// the shell as it is written; nothing of any message is passed to it, neither as an argument nor through its
/// surroundings or input.
class SignatureCommand : public QObject
{
    Q_OBJECT

public:
    explicit SignatureCommand(QObject *parent = nullptr);
    ~SignatureCommand() override; ///< ends what still runs, without a signal

    /// Starts @p command; one that still runs is ended first, without a signal. finished() comes once, from
    /// the event loop.
    void start(const QString &command);
    void stop(); ///< ends it without a signal
    bool isRunning() const { return m_process != nullptr; }

    /// Milliseconds after which it is ended.
    void setPatience(int milliseconds) { m_patience = milliseconds; }

signals:
    /// @p text has "\n" line ends, none behind its last line, and no other control characters but tabs.
    /// @p problem says why there is none, for people: it failed, took too long or printed more than 64 kB;
    /// empty when the command ended well.
    void finished(const QString &text, const QString &problem);

private:
    void takeOutput();
    void takeErrors();
    void ended();
    void fail(const QString &problem);

    QProcess *m_process = nullptr;
    QTimer m_timer;
    QByteArray m_output;
    QByteArray m_errors;
    int m_patience = 5000;
};
