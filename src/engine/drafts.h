#pragma once

#include "compose/composition.h"
#include "store/messageref.h"

#include <QObject>

#include <map>
#include <memory>
#include <optional>
#include <vector>

class Draft;
enum class DraftPhase;
class Group;
class GroupStore;
class IdentityManager;

/// What belongs to a message being written besides its text.
struct DraftContext
{
    MessageRef original; ///< the message that is answered or forwarded; null: none
    enum class Deed { New, Reply, Forward } deed = Deed::New;
    MessageRef stored; ///< where the draft lies in Drafts; null: not saved there yet

    bool operator==(const DraftContext &) const = default;
};

/// One kept state of a draft.
struct DraftVersion
{
    qint64 time = 0; ///< seconds since 1970 UTC
    int characters = 0;
    QString subject;
    QString beginning; ///< of its text, one line

    bool operator==(const DraftVersion &) const = default;
};

/// The messages being written. Each has a directory "Drafts/<number>" with a journal of its versions (text
/// and fields, the last 50) and its attachments, each stored once. A version is on the disk when keep()
/// returns; after a crash the drafts that were open are found by recovered().
///
/// The life of one: begin() or open(); keep() as often as there is something new; store() where the user
/// saves; then close(), discard(), or handOver() when it goes to the outbox, which discards it once the
/// message was accepted and filed.
class Drafts : public QObject
{
    Q_OBJECT

public:
    /// Both must outlive this.
    Drafts(GroupStore &store, IdentityManager &identities, QObject *parent = nullptr);
    ~Drafts() override;

    /// Finds the drafts and completes what a crash left half done; after the groups and the identities.
    void load();

    /// A new one; its number, never given twice. There is nothing on the disk until the first keep().
    int begin(const DraftContext &context);
    void setContext(int draft, const DraftContext &context); ///< all but its place in Drafts
    DraftContext context(int draft) const;

    /// Adds a version where @p composition differs from the last. False after a report: the earlier ones are
    /// untouched.
    bool keep(int draft, const Composition &composition);

    std::vector<DraftVersion> versions(int draft) const; ///< the newest first
    Composition version(int draft, int index) const;     ///< index into versions(); empty beyond them

    /// Writes the newest version as a message into the group Drafts, in the place of the earlier one. False
    /// after a report: the earlier one is untouched.
    bool store(int draft);

    /// The draft that belongs to the message at @p place of Drafts: an earlier one with its versions, or one
    /// begun from its text. 0: there is no such message, or, after a report, it cannot be read or kept.
    int open(MessageRef place);

    /// It was sent, or the user gave it up: versions, attachments and the message in Drafts go.
    void discard(int draft);

    /// The window closed; what is stored in Drafts stays, versions with it. Versions newer than that stay in
    /// the history, but the stored one is the newest again. One that was never stored goes.
    void close(int draft);

    /// Those that were open when the program ended without closing them, in the order of their beginning.
    std::vector<int> recovered() const;

    /// @name On the way through the outbox
    /// @{

    /// The message @p messageId is about to be made of it. It stays, but nothing opens it, until settled()
    /// or takenBack().
    void handOver(int draft, const QByteArray &messageId);
    void handedOver(int draft);     ///< it is in the outbox now
    void handOverFailed(int draft); ///< nothing came there, or the user took it out: it is open as before

    /// The message was taken out of the outbox to be edited again: its draft, open; 0 when there is none.
    int takenBack(const QByteArray &messageId);

    /// The outbox is done with it: discarded, unless it was taken back and is being written again.
    void settled(int draft);
    /// @}

private:
    Draft *find(int draft) const;
    Group &group() const;
    int nextNumber();
    bool isAlive(MessageRef place) const;
    MessageRefs placesOf(const QByteArray &messageId) const;
    MessageRef placeInDrafts(const QByteArray &messageId, quint32 fromArticle) const;
    void settle(std::unique_ptr<Draft> draft);
    void settleStoring(Draft &draft);
    bool isOver(Draft &draft);
    bool waitsInOutbox(const Draft &draft) const;
    bool groupsAreReadable() const;
    bool removeMessage(MessageRef place);
    int openNew(MessageRef place);
    void remove(int draft);
    void enter(Draft &draft, DraftPhase phase, const QByteArray &sentId);
    Composition resolved(Composition composition) const;

    GroupStore &m_store;
    IdentityManager &m_identities;
    std::map<int, std::unique_ptr<Draft>> m_drafts;
    int m_lastNumber = 0;
    int m_reserved = 0; ///< no number up to this is given again in another run
};
