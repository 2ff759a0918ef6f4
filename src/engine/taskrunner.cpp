#include "engine/taskrunner.h"

#include <algorithm>
#include <utility>

namespace {
constexpr int kSlice = 8; ///< milliseconds; shorter than a picture of the screen
}

TaskRunner::TaskRunner(QObject *parent)
    : QObject(parent)
{
    m_timer.setInterval(0);
    connect(&m_timer, &QTimer::timeout, this, &TaskRunner::slice);
}

TaskRunner::~TaskRunner() = default;

void TaskRunner::add(std::unique_ptr<Task> task)
{
    m_tasks.push_back({std::move(task), false});
    m_timer.start();
}

void TaskRunner::addUrgent(std::unique_ptr<Task> task)
{
    const auto first =
        std::find_if(m_tasks.begin(), m_tasks.end(), [](const Entry &entry) { return !entry.isUrgent; });
    m_tasks.insert(first, Entry{std::move(task), true});
    m_timer.start();
}

Task *TaskRunner::current() const
{
    return m_tasks.empty() ? nullptr : m_tasks.front().task.get();
}

void TaskRunner::stopAll()
{
    m_timer.stop();
    const std::deque<Entry> tasks = std::exchange(m_tasks, {});
    for (const Entry &entry : tasks) {
        entry.task->stop();
        if (entry.hasBegun)
            entry.task->run();
    }
}

void TaskRunner::slice()
{
    if (m_tasks.empty())
        return m_timer.stop();
    Task *task = current();
    if (!std::exchange(m_tasks.front().hasBegun, true))
        emit started(task);
    const Task::State state = task->step(kSlice);
    emit progressed(task);
    if (state == Task::State::Working)
        return;
    // It need not be the first any more: another one may have gone before it.
    const auto found = std::find_if(m_tasks.begin(), m_tasks.end(),
                                    [task](const Entry &entry) { return entry.task.get() == task; });
    if (found == m_tasks.end())
        return;
    const Entry finished = std::move(*found);
    m_tasks.erase(found);
    emit ended(task);
}
