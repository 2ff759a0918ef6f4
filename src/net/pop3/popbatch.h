#pragma once

#include "net/mailreceiver.h"
#include "net/pop3/popmemory.h"

#include <vector>

/// Keeps the order in which received mail becomes safe: the messages of a batch in the store, then what is
/// remembered of them, then the word to the receiver; only then may they be deleted on the server.
///
/// Messages are told apart by a number of the caller's.
class PopBatch
{
public:
    static constexpr qint64 kMostBytes = 8 * 1024 * 1024;
    static constexpr int kMostMessages = 200;
    static constexpr int kMostMilliseconds = 1000; ///< from its first message; the caller watches the time

    PopBatch(MailReceiver &receiver, PopMemory &memory);

    /// False, here and below: it could not be done, the user has been told, and nothing may follow.
    [[nodiscard]] bool store(int number, const ReceivedMessage &message, const PopRecord &record);
    [[nodiscard]] bool complete(int number, const WaitingMessage &place, const ReceivedMessage &message,
                                const PopRecord &record);

    /// Adds one that is in the store already.
    void addKnown(int number) { m_numbers.push_back(number); }

    bool isEmpty() const { return m_numbers.empty(); }
    bool isFull() const { return m_bytes >= kMostBytes || int(m_numbers.size()) >= kMostMessages; }
    bool isBroken() const { return m_broken; }

    /// Makes the batch safe and begins the next; @p numbers becomes what it held.
    [[nodiscard]] bool finish(std::vector<int> &numbers);

private:
    bool announce(const PopRecord &record);
    bool add(int number, const ReceivedMessage &message, const PopRecord &record, bool stored);

    MailReceiver &m_receiver;
    PopMemory &m_memory;
    std::vector<PopRecord> m_records;
    std::vector<int> m_numbers;
    qint64 m_bytes = 0;
    bool m_broken = false;
};
