#include "net/pop3/popbatch.h"

#include <utility>

PopBatch::PopBatch(MailReceiver &receiver, PopMemory &memory)
    : m_receiver(receiver)
    , m_memory(memory)
{}

bool PopBatch::store(int number, const ReceivedMessage &message, const PopRecord &record)
{
    return !m_broken && add(number, message, record, m_receiver.store(message));
}

bool PopBatch::complete(int number, const WaitingMessage &place, const ReceivedMessage &message,
                        const PopRecord &record)
{
    return !m_broken && add(number, message, record, m_receiver.complete(place, message));
}

bool PopBatch::add(int number, const ReceivedMessage &message, const PopRecord &record, bool stored)
{
    m_broken = !stored;
    if (m_broken)
        return false;
    m_records.push_back(record);
    m_numbers.push_back(number);
    m_bytes += message.text.size();
    return true;
}

/// What is about to be stored is announced first, so that a message found in the store after a crash is known
/// in all detail.
bool PopBatch::finish(std::vector<int> &numbers)
{
    if (m_broken)
        return false;
    numbers = std::exchange(m_numbers, {});
    const std::vector<PopRecord> records = std::exchange(m_records, {});
    m_bytes = 0;
    if (!records.empty()) {
        m_memory.announce(records);
        m_broken = !m_receiver.flush();
    }
    if (m_broken)
        return false;
    for (const PopRecord &record : records)
        m_memory.remember(record);
    m_broken = !m_memory.commit();
    if (!m_broken && !records.empty())
        m_receiver.remembered();
    return !m_broken;
}
