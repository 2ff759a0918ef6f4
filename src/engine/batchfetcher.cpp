#include "engine/batchfetcher.h"

#include "net/account.h"

namespace {
constexpr int kSlice = 8; ///< milliseconds
}

BatchFetcher::BatchFetcher(Account &account, Delivery &delivery)
    : Fetcher(account)
    , m_import(delivery, account.data())
{
    m_timer.setInterval(0);
    connect(&m_timer, &QTimer::timeout, this, &BatchFetcher::slice);
}

/// An import that is cut short comes to its safe point all the same.
BatchFetcher::~BatchFetcher()
{
    m_import.stop();
    m_import.run();
}

bool BatchFetcher::start()
{
    setStatus(m_import.title(), false);
    m_timer.start();
    return true;
}

void BatchFetcher::stop()
{
    m_import.stop();
    if (!hasEnded())
        end(m_import.run());
}

void BatchFetcher::slice()
{
    const Task::State state = m_import.step(kSlice);
    if (state != Task::State::Working)
        return end(state);
    emit progressed(m_import.done(), m_import.total(), m_import.arrived(), 0);
}

void BatchFetcher::end(Task::State state)
{
    m_timer.stop();
    const int received = m_import.received();
    switch (state) {
    case Task::State::Working:
    case Task::State::Done: break;
    case Task::State::Stopped: return fail(AccountFetchReason::Stopped, {}, received > 0);
    case Task::State::Failed: return fail(AccountFetchReason::WithErrors, m_import.problem(), received > 0);
    }
    emit progressed(m_import.bytes(), m_import.bytes(), received, received);
    complete(received > 0);
}
