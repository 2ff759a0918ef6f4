#pragma once

#include <QByteArray>

#include <map>
#include <optional>

/// The pieces of one message that was sent in several message/partial (RFC 2046 section 5.2.2), gathered in
/// any order.
class MIMEPartial
{
public:
    static constexpr int kMostPieces = 10'000;

    struct Piece
    {
        QByteArray id;  ///< the same for all pieces of a message
        int number = 0; ///< from 1
        int total = 0;  ///< 0 when the piece does not tell
    };

    /// What a message says it is a piece of; empty when its type is not message/partial, or when it lacks the
    /// id or a number from 1 to kMostPieces (and to its total).
    static std::optional<Piece> describe(const QByteArray &messageText);

    /// Takes a piece in, a complete message text with "\n" line ends. False, and nothing changes, when it is
    /// no piece, belongs to another message than the first one taken, contradicts its total, or is there
    /// already.
    bool add(const QByteArray &messageText);

    const QByteArray &id() const { return m_id; }

    /// How many pieces there are in all; 0 as long as no piece has told.
    int total() const { return m_total; }
    int count() const { return int(m_pieces.size()); }

    /// Every piece from 1 to total() is there.
    bool isComplete() const { return m_total > 0 && count() == m_total; }

    /// The message that was taken apart; empty unless complete. Its header holds the fields of the first
    /// piece without "Content-", "Subject", "Message-ID", "Encrypted" and "MIME-Version", and these fields of
    /// the message that the first piece encloses.
    QByteArray joined() const;

private:
    QByteArray m_id;
    int m_total = 0;
    std::map<int, QByteArray> m_pieces; ///< whole texts by their number
};
