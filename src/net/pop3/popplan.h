#pragma once

#include "net/identifierlist.h"
#include "net/mailreceiver.h"
#include "net/pop3/poplisting.h"
#include "net/pop3/popmemory.h"

#include <QHash>
#include <QSet>

#include <optional>
#include <vector>

struct AccountData;

/// What is done about one message.
enum class PopAction {
    Leave,  ///< nothing: it is known, or set aside
    Look,   ///< its header is fetched to know it again, and it is decided anew
    Header, ///< its header is fetched and stored
    Whole,  ///< all of it is fetched and stored
    Delete, ///< it is here, and is deleted on the server
};

struct PopItem
{
    PopMessage message;
    QByteArray name; ///< by which it is remembered; empty until its header is known where the server has none
    PopAction action = PopAction::Leave;
    std::optional<WaitingMessage> place; ///< of the header that waits for it
    bool deletesAfter = false;           ///< once it is safely here
    bool isTooLarge = false;             ///< it is left alone because only its header could be fetched
};

/// The sizes are bytes; 0: no limit.
struct PopRules
{
    bool leavesOnServer = false;
    int daysOnServer = 0; ///< 0: for ever
    qint64 sizeLimit = 0; ///< of larger ones only the header is fetched
    qint64 previewMailbox = 0;
    qint64 previewMessage = 0;
    qint64 proposeDeletion = 0; ///< a larger one of which only the header is fetched is proposed for deletion
    bool canLook = true;        ///< the server has TOP

    static PopRules of(const AccountData &account);
};

/// The rules by which a mailbox is fetched.
///
/// Only the header is fetched of a message larger than the account's own limit, or 1 GB. When more is new
/// than `PreviewMailboxSize` (0: always), the same holds for those larger than `PreviewMessageSize`, and for
/// all if that is 0 (and the first is not).
///
/// What was fetched whole is deleted, at once or, left on the server, after the account's number of days.
/// What is known from an earlier session is deleted only when its identifier, its size and its header are
/// those that were fetched; when size or header differ, it is another message, but for one: a changed size
/// alone makes no new message, and such a one is never deleted. Nor is one of which only the header is here,
/// unless the user asks for it.
///
/// A message without an identifier, or with a doubled one, is known by its size and header. To learn the
/// header, it is looked at where it would be left on the server or only previewed; else it is fetched whole
/// and dropped when it turns out to be known.
class PopPlan
{
public:
    PopPlan(const PopListing &listing, PopMemory &memory, const IdentifierList &toFetch,
            const IdentifierList &toDelete, const PopRules &rules);

    std::vector<PopItem> &items() { return m_items; }
    const PopRules &rules() const { return m_rules; }

    /// Decides what is done about @p item, now that its header is known.
    void decide(PopItem &item, const QByteArray &header);

    /// The server has no TOP: what was to be looked at, or fetched as a header, is decided anew.
    void setCannotLook();

    /// Whether @p item is to be deleted on the server once it is here whole. A wish counts only for the
    /// message that it was made for.
    bool deletesWhole(const PopItem &item, const QByteArray &header) const;

    /// What is to be remembered of @p item when it is here.
    PopRecord recordOf(const PopItem &item, const QByteArray &header) const;

    /// Counts that the server refused to give it. True: that was the last time, it is set aside.
    bool noteRefusal(PopItem &item);

    /// It is not asked for again, in no session.
    void setAside(PopItem &item);

    /// The name of @p item, which is here, in the store and in wishes.
    QByteArray storeName(const PopItem &item) const;

    /// The names of all that the server listed; empty while one of them is not known.
    std::optional<QSet<QByteArray>> names() const;

private:
    PopAction actionFor(PopItem &item, const QByteArray &header);
    PopAction actionForKnown(PopItem &item, const PopRecord &record, const QByteArray &header);
    PopAction fresh(PopItem &item);
    PopAction whole(PopItem &item);
    bool isRestWanted(const PopRecord &record) const;
    PopAction rest(PopItem &item, const PopRecord &record);
    PopAction look(PopItem &item);
    void noteRefusals(PopItem &item, int refusals);
    bool settleName(PopItem &item, const QByteArray &header);
    const PopRecord *known(PopItem &item, const QByteArray &header);
    bool isPreviewed(const PopItem &item) const;
    bool isDue(const PopRecord &record) const;
    QByteArray nameForRefusals(const PopItem &item) const;

    PopMemory &m_memory;
    const IdentifierList &m_toFetch;
    const IdentifierList &m_toDelete;
    PopRules m_rules;
    std::vector<PopItem> m_items;
    QHash<QByteArray, int> m_alike; ///< messages so far with the same size and header
    QSet<QByteArray> m_claimed;     ///< doubled identifiers whose remembered message is found
    qint64 m_newBytes = 0;
};
