#pragma once

#include "net/pop3/popplan.h"

#include <deque>
#include <optional>

enum class PopCommandKind { Top, Retr, Dele };

struct PopCommand
{
    PopCommandKind kind = PopCommandKind::Retr;
    int item = 0;     ///< place in the plan's items
    qint64 bytes = 0; ///< that the reply brings, as far as known
};

/// The order of work at a mailbox: first the headers that have to be looked at, then what is to be fetched,
/// in the order of the messages, and whatever may be deleted as soon as it may. Where the server allows it
/// (RFC 2449 6.6) many commands are under way at once; their replies come in the same order.
class PopTransfer
{
public:
    static constexpr int kMostCommands = 32;
    static constexpr qint64 kMostBytes = 8 * 1024 * 1024;

    PopTransfer(PopPlan &plan, bool pipelines);

    /// The command to say now, which then is under way; nothing while others have to be answered first, or
    /// when all is done.
    std::optional<PopCommand> next();

    /// @name The oldest command under way
    /// @{
    bool isWaiting() const { return !m_underWay.empty(); }
    const PopCommand &current() const { return m_underWay.front(); }
    void finishCurrent();
    /// @}

    /// Deletes the message of @p item, which is safely here.
    void addDeletion(int item) { m_deletions.push_back(item); }

    /// Takes @p item up once more, decided anew.
    void addAgain(int item) { m_again.push_back(item); }

    /// Whether nothing is under way and nothing left to say.
    bool isDone();

    bool isLooking() const { return m_looking; }

    /// Messages to fetch or look at in the present part of the work, and their bytes.
    int total() const { return m_total; }
    qint64 totalBytes() const { return m_totalBytes; }

private:
    std::optional<PopCommand> waiting();
    std::optional<PopCommand> commandFor(int item) const;
    void count();

    PopPlan &m_plan;
    std::deque<PopCommand> m_underWay;
    std::deque<int> m_deletions;
    std::deque<int> m_again;
    std::optional<PopCommand> m_waiting; ///< taken from the lists, not said yet
    std::size_t m_at = 0;
    qint64 m_bytes = 0; ///< under way
    qint64 m_totalBytes = 0;
    int m_total = 0;
    bool m_pipelines;
    bool m_looking = true;
};
