#pragma once

#include "engine/task.h"

#include <QTimer>

#include <deque>
#include <memory>

/// Runs tasks one after the other on the event loop, in slices short enough that a window stays alive. What
/// the user waits for goes first: the task at work rests meanwhile. Owns them.
class TaskRunner : public QObject
{
    Q_OBJECT

public:
    explicit TaskRunner(QObject *parent = nullptr);
    ~TaskRunner() override;

    /// Takes the task over and runs it when those before it have ended.
    void add(std::unique_ptr<Task> task);

    /// The same, but only those before it that are urgent too go first.
    void addUrgent(std::unique_ptr<Task> task);

    /// The one at work; null when there is none.
    Task *current() const;
    bool isBusy() const { return !m_tasks.empty(); }

    /// Brings those that have begun to their next safe point and drops the rest. For the end of the program.
    void stopAll();

signals:
    void started(Task *task);
    void progressed(Task *task);

    /// It is deleted afterwards.
    void ended(Task *task);

private:
    struct Entry
    {
        std::unique_ptr<Task> task;
        bool isUrgent;
        bool hasBegun = false;
    };

    void slice();

    std::deque<Entry> m_tasks; ///< the urgent ones first
    QTimer m_timer;
};
