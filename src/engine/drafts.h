#pragma once

#include "compose/composition.h"
#include "store/messageref.h"

#include <QObject>
#include <QStringList>
#include <QTimer>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

class Draft;
enum class DraftPhase;
struct DraftState;
class Group;
class GroupStore;
class IdentityManager;

/// What belongs to a message being written besides its text.
struct DraftContext
{
    MessageRef original; ///< the message that is answered or forwarded; null: none
    enum class Deed { New, Reply, Forward } deed = Deed::New;
    MessageRef stored;       ///< where the draft lies in Drafts; null: not saved there yet
    MessageRefs others = {}; ///< forwarded with the original
    bool isPersonal = false; ///< nobody but the author of the original reads the answer
    bool isArticle = false;  ///< it is written for newsgroups, even when none is named yet
    bool wasSent = false;    ///< and no copy could be stored: it alone tells what went out

    bool operator==(const DraftContext &) const = default;
};

/// One kept state of a draft.
struct DraftVersion
{
    qint64 time = 0; ///< seconds since 1970 UTC
    int characters = 0;
    QString subject;
    QString beginning; ///< of its text, one line
    int serial = 0;    ///< names it within its draft, whatever is kept later

    bool operator==(const DraftVersion &) const = default;
};

/// The messages being written. Each has a directory "Drafts/<number>" with a journal of its versions (text
/// and fields, the last 50) and its attachments, each stored once. A version is on the disk when keep()
/// returns; after a crash the drafts that were open are found by recovered().
///
/// The life of one: begin() or open(); keep() as often as there is something new; store() where the user
/// saves; then close(), discard(), or handOver() when it goes to the outbox, which discards it once the
/// message was accepted and filed. From then on a draft counts as sent only where the outbox says so, or
/// where the sent message lies in the store.
class Drafts : public QObject
{
    Q_OBJECT

public:
    /// Both must outlive this.
    Drafts(GroupStore &store, IdentityManager &identities, QObject *parent = nullptr);
    ~Drafts() override;

    /// Finds the drafts and completes what a crash left half done; after the groups and the identities.
    void load();

    /// Completes it for those on their way through the outbox, when that has been read and has filed what was
    /// accepted: @p holds tells whether it knows of a message that was written as that draft, @p hasLetGo
    /// whether the message at that place of it was taken back and lies there only to be filed, for those who
    /// got it.
    using Holds = std::function<bool(int draft)>;
    using HasLetGo = std::function<bool(MessageRef place)>;
    void settleWithOutbox(const Holds &holds, const HasLetGo &hasLetGo = {});

    /// A new one; its number, never given twice. There is nothing on the disk until the first keep().
    int begin(const DraftContext &context);
    DraftContext context(int draft) const;

    /// Adds a version where @p composition differs from the last. False after a report: the earlier ones are
    /// untouched.
    bool keep(int draft, const Composition &composition);

    /// The same, with the attachments stored in slices between events: keeping() tells how far it is, kept()
    /// that it is done, at once where there is little to do. A later call, or keep(), takes its place: who
    /// takes a file off again waits for it no more.
    void keepSoon(int draft, const Composition &composition);
    bool isKeeping(int draft) const { return m_soon.contains(draft); }

    std::vector<DraftVersion> versions(int draft) const; ///< the newest first
    Composition version(int draft, int index) const;     ///< index into versions(); empty beyond them;
                                                         ///< lost attachments are reported

    /// A version to be written on.
    struct Reading
    {
        bool isThere = false;    ///< else no such version is kept any more
        Composition composition; ///< empty: there is no such version
        QStringList lost;        ///< names of attachments that are gone or damaged; nothing is reported

        /// Not empty: the address that it was written as. No identity has it any more; composition is as its
        /// identity is now, or as the default one.
        QString formerWriter;
    };
    Reading reading(int draft, int serial) const;

    /// The same to look at: nothing but the journal is read, attachments come without their bytes.
    Composition text(int draft, int serial) const;

    /// Writes the newest version as a message into the group Drafts, in the place of the earlier one. False
    /// after a report: the earlier one is untouched.
    bool store(int draft);

    /// The draft that belongs to the message at @p place of Drafts: an earlier one with its versions, or one
    /// begun from its text, which counts as somebody else's: without control headers, its HTML made safe. 0:
    /// there is no such message, it waitsInOutbox(), or, after a report, it cannot be read or kept. Versions
    /// of which none can be read are set aside and told of first.
    int open(MessageRef place);

    /// Whether the message at @p place of Drafts was written as one of these, and by nobody else: one that
    /// was only opened here is still somebody else's.
    bool knows(MessageRef place) const;

    /// Whether the draft at @p place is on its way, so that it cannot be opened.
    bool waitsInOutbox(MessageRef place) const;

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
    /// or takenBack(). False after a report: it is open as before.
    [[nodiscard]] bool handOver(int draft, const QByteArray &messageId);
    void handedOver(int draft);     ///< it is in the outbox now
    void handOverFailed(int draft); ///< nothing came there: it is open as before

    /// Its message is about to be taken out of the outbox and to be written on, as @p composition: kept here
    /// first. Where @p draft is 0, the message had none, and one is begun. Its number; 0 after a report: it
    /// waits as before.
    int takeBack(int draft, const QByteArray &messageId, const Composition &composition);
    void takenBack(int draft); ///< it is out of there: open
    void takeBackFailed(
        int draft); ///< it waits there as before; one that was begun for it is to be discarded

    void givenUp(int draft); ///< the user took it out of there for good: it is closed
    void settled(int draft); ///< the outbox is done with it: discarded

    /// The outbox is done with it, but has no copy: it is open, and says so until it is sent again.
    void sentWithoutCopy(int draft);
    /// @}

signals:
    void keeping(int draft, qint64 done, qint64 total); ///< bytes of its attachments
    void kept(int draft, bool good); ///< by keepSoon(); false: keep() says why, nothing was reported

private:
    void keepOn();
    Draft *find(int draft) const;
    Group &group() const;
    int nextNumber();
    bool isAlive(MessageRef place) const;
    MessageRefs placesOf(const QByteArray &messageId) const;
    MessageRef placeInDrafts(const QByteArray &messageId, quint32 fromArticle) const;
    void settle(std::unique_ptr<Draft> draft);
    void settleStoring(Draft &draft);
    bool isOver(Draft &draft);
    void setAside(Draft &draft);
    void setLostAside(MessageRef place);
    void settleWithOutbox(Draft &draft, bool isHeld, const HasLetGo &hasLetGo);
    MessageRef placeInOutbox(const Draft &draft) const;
    bool wasSent(const Draft &draft) const;
    Draft *at(MessageRef place) const;
    bool belongsTo(const DraftState &state, MessageRef place, const QByteArray &messageId) const;
    bool groupsAreReadable() const;
    bool removeMessage(MessageRef place);
    int openNew(MessageRef place);
    void remove(int draft);
    bool enter(Draft &draft, DraftPhase phase, const QByteArray &sentId);
    QString resolve(Composition &composition) const;

    GroupStore &m_store;
    IdentityManager &m_identities;
    std::map<int, std::unique_ptr<Draft>> m_drafts;
    std::map<int, Composition> m_soon;
    QTimer m_slices;
    int m_lastNumber = 0;
    int m_reserved = 0; ///< no number up to this is given again in another run
};
