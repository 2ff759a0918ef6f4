#include "net/pop3/poplisting.h"

#include "net/pop3/poprecord.h"

#include <algorithm>

namespace {

/// Sums of what is larger could overflow; nothing is.
constexpr qint64 kLargestSize = qint64(1) << 50;

/// Some servers say more behind the size, or more blanks in front of it.
QByteArrayView firstWord(QByteArrayView text)
{
    while (text.startsWith(' '))
        text = text.sliced(1);
    const qsizetype blank = text.indexOf(' ');
    return blank < 0 ? text : text.first(blank);
}

} // namespace

void PopListing::begin(int count)
{
    *this = {};
    m_count = count;
}

std::optional<std::pair<int, QByteArrayView>> PopListing::numbered(QByteArrayView line)
{
    const qsizetype blank = line.indexOf(' ');
    if (blank <= 0 || blank > 9 || blank + 1 == line.size())
        return {};
    int number = 0;
    for (const char digit : line.first(blank)) {
        if (digit < '0' || digit > '9')
            return {};
        number = number * 10 + (digit - '0');
    }
    return std::pair(number, line.sliced(blank + 1));
}

/// Null: there is none with that number.
PopMessage *PopListing::messageOf(int number)
{
    if (number < 1 || number > m_count)
        return nullptr;
    const auto known = m_rows.constFind(number);
    if (known != m_rows.constEnd())
        return &m_messages[std::size_t(*known)];
    m_rows.insert(number, qsizetype(m_messages.size()));
    return &m_messages.emplace_back(PopMessage{number, -1, {}, false});
}

void PopListing::addIdentifier(QByteArrayView line)
{
    ++m_lines;
    const auto entry = numbered(line);
    PopMessage *message = entry ? messageOf(entry->first) : nullptr;
    if (!message || !message->identifier.isEmpty()) {
        m_understood = false;
        return;
    }
    message->identifier = popIdentifier(entry->second);
    ++m_identifiers;
}

void PopListing::addSize(QByteArrayView line)
{
    ++m_lines;
    const auto entry = numbered(line);
    PopMessage *message = entry ? messageOf(entry->first) : nullptr;
    bool isNumber = false;
    const qint64 size = entry ? firstWord(entry->second).toByteArray().toLongLong(&isNumber) : -1;
    if (!message || !isNumber || size < 0 || size > kLargestSize || message->size >= 0) {
        m_understood = false;
        return;
    }
    message->size = size;
    ++m_sizes;
}

void PopListing::finish()
{
    std::sort(m_messages.begin(), m_messages.end(),
              [](const PopMessage &one, const PopMessage &other) { return one.number < other.number; });
    m_rows.clear();
    QHash<QByteArray, std::size_t> first;
    for (std::size_t row = 0; row < m_messages.size(); ++row) {
        const QByteArray &identifier = m_messages[row].identifier;
        if (identifier.isEmpty())
            continue;
        const auto before = first.constFind(identifier);
        if (before == first.constEnd())
            first.insert(identifier, row);
        else
            m_messages[row].isDoubled = m_messages[*before].isDoubled = true;
    }
}

qint64 PopListing::totalSize() const
{
    qint64 total = 0;
    for (const PopMessage &message : m_messages)
        total += std::max<qint64>(message.size, 0);
    return total;
}
