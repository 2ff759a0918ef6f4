#pragma once

#include <QObject>

class QSocketNotifier;

/// Turns SIGTERM and SIGINT into one signal of the event loop, so that the program can save and leave in an
/// orderly way. The first of them counts; later ones change nothing. SIGPIPE is ignored, so that a connection
/// or a pipe that closed shows itself as a failed write.
///
/// One object at a time. The handlers that were there before come back with its end.
class TerminationSignals : public QObject
{
    Q_OBJECT

public:
    explicit TerminationSignals(QObject *parent = nullptr);
    ~TerminationSignals() override;

    /// Whether one has arrived, for work that looks for itself between two steps and runs no event loop.
    static bool isRequested();

signals:
    /// Emitted once, from the event loop.
    void terminate();

private:
    void arrived();

    int m_handle = -1;
    QSocketNotifier *m_notifier = nullptr;
};
