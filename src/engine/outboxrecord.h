#pragma once

#include "engine/outboxentry.h"

#include <QDateTime>

#include <array>
#include <optional>
#include <vector>

/// One of those that a message goes to; of a post the one and only, without an address.
struct OutboxRecipient
{
    enum class Fate {
        Open,     ///< still to be served
        Doubtful, ///< the bytes that hold the final dot may have gone out
        Served,
        Failed, ///< refused for good
    };

    QByteArray address; ///< bare
    Fate fate = Fate::Open;
    QString reason; ///< of the last refusal
};

/// The copy of a sent message, by where it was about to be stored and what it holds.
struct SentCopy
{
    MessageRef place; ///< null: none is kept
    quint32 length = 0;
    quint32 crc = 0;
};

/// A message that was answered or forwarded.
struct OutboxOriginal
{
    MessageRef place;     ///< when it was answered; by now it may lie elsewhere
    QByteArray messageId; ///< "<...>"; empty: not known
};

/// What is known of one waiting message for one transport.
struct OutboxRecord
{
    quint64 ticket = 0;
    OutboxTransport transport = OutboxTransport::Mail;
    MessageRef place;
    quint32 length = 0; ///< of the text there, and its CRC-32
    quint32 crc = 0;
    int account = 0;
    int identity = 0;
    SendWish wish;
    bool isAdopted = false; ///< it was not handed over but found in the group: its control headers are no
                            ///< word of ours
    std::vector<OutboxRecipient> recipients;
    std::vector<OutboxOriginal> originals; ///< those of the wish

    enum class Hold { None, Countdown, Date };
    Hold hold = Hold::None;
    qint64 due = 0;                 ///< of the hold or of the next try; 0: none
    int attempts = 0;               ///< that were refused for now
    qint64 firstRefusal = 0;        ///< of these; seconds since 1970 UTC
    int returns = 0;                ///< leases in a row that ended without a word about it
    bool isGivenUp = false;         ///< no further try by itself
    bool isAsked = false;           ///< the user wants it sent, whatever `AutoSend` says
    bool isTaken = false;           ///< it is being made a draft again
    bool isLetGo = false;           ///< that is done: what is left of it is forgotten
    std::optional<QByteArray> away; ///< it was deleted from the group and may come back: its Message-ID
    qint64 date = 0;                ///< of the last sending; the same
    int zone = 0;                   ///< of that date: seconds east of UTC
    QString reason;                 ///< what is told of the whole message
    std::optional<SentCopy> copy;

    /// @name Not on the disk
    /// @{
    bool isFresh = false; ///< handed over in this run and not tried yet: its user is there
    bool isLeased = false;
    bool isPutOff = false;  ///< refused for now during this lease
    bool isRefused = false; ///< refused for good during this lease
    QDateTime leasedAt;
    QByteArray leasedText; ///< as it was handed out then, where it is small
    qint64 restsUntil = 0; ///< a sender gave it back as it was: it would only be given it again
    /// @}

    bool has(OutboxRecipient::Fate fate) const;
    bool isServed() const; ///< all recipients are
    bool mayGo(qint64 now) const;
    OutboxState state(qint64 now) const;
    OutboxEntry entry(qint64 now) const;

    /// The places in recipients of @p addresses; without any, those that are not settled.
    std::vector<int> indices(const QList<QByteArray> &addresses) const;
};

/// What can happen to a message. The words lie on the disk: one once written is never used for another thing.
enum class OutboxVerb {
    Add,
    Hold,
    Wait,
    Account,
    Sending,
    Accepted,
    Refused,
    Retry,
    Told,
    Settled,
    Copy,
    Filed,
    Original,
    Taken,
    Away,
    Back,
    Returned,
    Gone,
};
constexpr std::array kOutboxVerbs = {"add",      "hold",  "wait", "account", "sending",  "accepted",
                                     "refused",  "retry", "told", "settled", "copy",     "filed",
                                     "original", "taken", "away", "back",    "returned", "gone"};
static_assert(kOutboxVerbs.size() == std::size_t(OutboxVerb::Gone) + 1);

using OutboxFields = QList<QByteArray>;

/// How far the taking back of a message is: the field of Taken.
constexpr const char *kNotTaken = "0";
constexpr const char *kTaken = "1";
constexpr const char *kLetGo = "2";

/// Applies one mark other than Add and Gone. False: the fields are not what the verb has.
bool applyMark(OutboxRecord &record, OutboxVerb verb, const OutboxFields &fields);

/// @name Fields of marks
/// @{
OutboxFields addFields(const OutboxRecord &record);
std::optional<OutboxRecord> recordOf(quint64 ticket, const OutboxFields &fields); ///< of Add
OutboxFields originalFields(const OutboxOriginal &original);
OutboxFields awayFields(const QByteArray &messageId);
QByteArray indicesField(const std::vector<int> &indices);
QByteArray textField(const QString &text); ///< no blank, no line end

/// The marks that, after Add, make an empty record what @p record is.
std::vector<std::pair<OutboxVerb, OutboxFields>> marksOf(const OutboxRecord &record);
/// @}
