#include "net/pop3/popbatch.h"

#include <utility>

PopBatch::PopBatch(MailReceiver &receiver, PopMemory &memory)
    : m_receiver(receiver)
    , m_memory(memory)
{}

bool PopBatch::store(int number, const ReceivedMessage &message, const PopRecord &record)
{
    return announce(record) && add(number, message, record, m_receiver.store(message));
}

bool PopBatch::complete(int number, const WaitingMessage &place, const ReceivedMessage &message,
                        const PopRecord &record)
{
    return announce(record) && add(number, message, record, m_receiver.complete(place, message));
}

/// Before it is stored, so that a message found in the store after a crash is known in all detail.
bool PopBatch::announce(const PopRecord &record)
{
    m_broken = m_broken || !m_memory.announce(record);
    return !m_broken;
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

bool PopBatch::finish(std::vector<int> &numbers)
{
    if (m_broken)
        return false;
    numbers = std::exchange(m_numbers, {});
    const std::vector<PopRecord> records = std::exchange(m_records, {});
    m_bytes = 0;
    m_broken = !records.empty() && !m_receiver.flush();
    if (m_broken)
        return false;
    for (const PopRecord &record : records)
        m_memory.remember(record);
    m_broken = !m_memory.commit();
    if (!m_broken && !records.empty())
        m_receiver.remembered();
    return !m_broken;
}
