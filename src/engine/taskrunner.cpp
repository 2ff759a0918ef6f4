#include "engine/taskrunner.h"

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
    m_tasks.push_back(std::move(task));
    m_timer.start();
}

Task *TaskRunner::current() const
{
    return m_tasks.empty() ? nullptr : m_tasks.front().get();
}

void TaskRunner::stopAll()
{
    m_timer.stop();
    if (m_tasks.empty())
        return;
    Task &task = *m_tasks.front();
    task.stop();
    if (m_begun)
        task.run();
    m_tasks.clear();
    m_begun = false;
}

void TaskRunner::slice()
{
    if (m_tasks.empty())
        return m_timer.stop();
    if (!m_begun)
        begin();
    Task &task = *m_tasks.front();
    const Task::State state = task.step(kSlice);
    emit progressed(&task);
    if (state == Task::State::Working)
        return;
    const std::unique_ptr<Task> finished = std::move(m_tasks.front());
    m_tasks.pop_front();
    m_begun = false;
    emit ended(finished.get());
}

void TaskRunner::begin()
{
    m_begun = true;
    emit started(m_tasks.front().get());
}
