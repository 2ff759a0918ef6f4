#include "engine/task.h"

namespace {
constexpr int kRunSlice = 100; ///< milliseconds between two looks at whether to go on
}

Task::State Task::step(int milliseconds)
{
    if (m_state != State::Working)
        return m_state;
    m_state = m_stopWanted ? halt() : work(milliseconds);
    emit progressed();
    if (m_state != State::Working)
        emit ended();
    return m_state;
}

Task::State Task::run(const std::function<bool()> &goOn)
{
    while (step(kRunSlice) == State::Working) {
        if (goOn && !goOn())
            stop();
    }
    return m_state;
}
