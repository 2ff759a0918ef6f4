#include "net/pop3/poptransfer.h"

#include <algorithm>
#include <utility>

PopTransfer::PopTransfer(PopPlan &plan, bool pipelines)
    : m_plan(plan)
    , m_pipelines(pipelines)
{
    count();
}

std::optional<PopCommand> PopTransfer::next()
{
    if (!m_underWay.empty() && (!m_pipelines || m_underWay.size() >= kMostCommands))
        return {};
    if (!m_waiting)
        m_waiting = waiting();
    if (!m_waiting || (!m_underWay.empty() && m_bytes + m_waiting->bytes > kMostBytes))
        return {};
    m_bytes += m_waiting->bytes;
    m_underWay.push_back(*m_waiting);
    return std::exchange(m_waiting, {});
}

void PopTransfer::finishCurrent()
{
    m_bytes -= m_underWay.front().bytes;
    m_underWay.pop_front();
}

bool PopTransfer::isDone()
{
    if (m_underWay.empty() && !m_waiting)
        m_waiting = waiting();
    return m_underWay.empty() && !m_waiting;
}

/// What to say next. Fetching begins when every header that was looked at has been decided on.
std::optional<PopCommand> PopTransfer::waiting()
{
    if (!m_deletions.empty()) {
        const int item = m_deletions.front();
        m_deletions.pop_front();
        return PopCommand{PopCommandKind::Dele, item, 0};
    }
    while (!m_again.empty()) {
        const int item = m_again.front();
        m_again.pop_front();
        if (const auto command = commandFor(item))
            return command;
    }
    while (true) {
        while (m_at < m_plan.items().size()) {
            if (const auto command = commandFor(int(m_at++)))
                return command;
        }
        if (!m_looking || !m_underWay.empty())
            return {};
        m_looking = false;
        m_at = 0;
        count();
    }
}

std::optional<PopCommand> PopTransfer::commandFor(int item) const
{
    const PopItem &what = m_plan.items()[std::size_t(item)];
    if (m_looking != (what.action == PopAction::Look))
        return {};
    switch (what.action) {
    case PopAction::Look:
    case PopAction::Header: return PopCommand{PopCommandKind::Top, item, 0};
    case PopAction::Whole:
        return PopCommand{PopCommandKind::Retr, item, std::max<qint64>(what.message.size, 0)};
    case PopAction::Delete: return PopCommand{PopCommandKind::Dele, item, 0};
    case PopAction::Leave: break;
    }
    return {};
}

void PopTransfer::count()
{
    m_total = 0;
    m_totalBytes = 0;
    for (int item = 0; item < int(m_plan.items().size()); ++item) {
        const auto command = commandFor(item);
        if (!command || command->kind == PopCommandKind::Dele)
            continue;
        ++m_total;
        m_totalBytes += command->bytes;
    }
}
