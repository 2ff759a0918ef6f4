#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QHash>

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

/// A message as the server lists it.
struct PopMessage
{
    int number = 0;
    qint64 size = -1;       ///< bytes; -1: LIST did not say
    QByteArray identifier;  ///< popIdentifier(); empty: UIDL did not say
    bool isDoubled = false; ///< another message has the same identifier
};

/// The mailbox as STAT, UIDL and LIST show it. A line that means nothing, or names a message that there is
/// not, is skipped, and makes the listing an incomplete one.
class PopListing
{
public:
    /// More messages than this are not taken for a mailbox, whatever STAT says.
    static constexpr int kMostMessages = 1'000'000;

    /// Begins anew, with what STAT says: how many there are.
    void begin(int count);

    /// One line of the reply to UIDL or LIST.
    void addIdentifier(QByteArrayView line);
    void addSize(QByteArrayView line);

    /// After the final dots: finds the doubled identifiers.
    void finish();

    int count() const { return m_count; }
    qint64 totalSize() const;

    /// By their numbers, rising.
    const std::vector<PopMessage> &messages() const { return m_messages; }

    /// Whether each message that STAT counted has its size, and its identifier.
    bool hasAllSizes() const { return m_understood && m_sizes == m_count; }
    bool hasAllIdentifiers() const { return m_understood && m_identifiers == m_count; }
    bool hasNoIdentifiers() const { return m_identifiers == 0; }

    /// More lines came than a listing of that many messages can have.
    bool isEndless() const { return m_lines > 2 * qint64(std::min(m_count, kMostMessages)) + 1000; }

    /// The number, and what follows it, of a line "(\d+) (.+)".
    static std::optional<std::pair<int, QByteArrayView>> numbered(QByteArrayView line);

private:
    PopMessage *messageOf(int number);

    std::vector<PopMessage> m_messages;
    QHash<int, qsizetype> m_rows;
    int m_count = 0;
    int m_sizes = 0;
    int m_identifiers = 0;
    qint64 m_lines = 0;
    bool m_understood = true;
};
