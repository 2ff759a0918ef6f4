#pragma once

#include "message/message.h"
#include "store/messageref.h"

#include <QObject>
#include <QSet>

#include <functional>

class AccountManager;
class GroupStore;
class IdentityManager;
class Outbox;
struct Identity;

/// The receipt for @p received, for sending: a report of a disposition (RFC 8098) whose part for people says
/// what was read. @p isManual: the user agreed to this one. Null after a report when it cannot be addressed.
QByteArray buildReadReceipt(const Message &received, const Identity &identity, bool isManual);

/// A receipt that somebody asks for.
struct ReceiptQuestion
{
    MessageRef message;
    QByteArray id;            ///< its Message-ID
    QString sender;           ///< of the message, for people
    QString receiver;         ///< of the receipt, the bare address
    bool isElsewhere = false; ///< it would not go where the message came from (RFC 8098 2.1)
};

enum class ReceiptAnswer {
    Send,
    Refuse, ///< this message asks no more
    Later,  ///< not again in this run
    None,   ///< the message went out of sight; it is asked when it is shown again
};

/// Answers the requests for read receipts, as `SendReadReceipts` says: 0 never, 1 asking, 2 always, but still
/// asking where the receipt would not go to the address that the message came from. Each message is answered
/// once, however many copies of it there are; then its mark ReceiptWanted goes. None is due to oneself, to a
/// list, to a program, for junk, or where the request is unclear.
class ReadReceipts : public QObject
{
    Q_OBJECT

public:
    /// All of them must outlive this.
    ReadReceipts(GroupStore &store, AccountManager &accounts, IdentityManager &identities, Outbox &outbox,
                 QObject *parent = nullptr);

    /// Puts the question; the answer comes by callback, at once or later. Null: nobody can be asked, and what
    /// would have to be asked waits.
    using Ask = std::function<void(const ReceiptQuestion &question, std::function<void(ReceiptAnswer)>)>;
    void setAsk(Ask ask) { m_ask = std::move(ask); }

    /// The user has the message before him.
    void shown(MessageRef message);

    /// What would be asked about it; nothing where no receipt is due.
    std::optional<ReceiptQuestion> due(MessageRef message) const;

private:
    void answered(MessageRef message, const QByteArray &key, ReceiptAnswer answer);
    void send(MessageRef message, bool isManual);
    void settle(MessageRef message);
    std::optional<Message> read(MessageRef message) const;

    GroupStore &m_store;
    AccountManager &m_accounts;
    IdentityManager &m_identities;
    Outbox &m_outbox;
    Ask m_ask;
    QSet<QByteArray> m_asked; ///< in this run, by identifier
};
