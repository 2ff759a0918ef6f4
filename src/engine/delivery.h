#pragma once

#include "message/message.h"
#include "store/groupstore.h"
#include "store/messageref.h"

#include <QHash>
#include <QObject>
#include <QTimer>

#include <deque>
#include <vector>

class ArrivalBatch;

/// A message that was received and is safe in the store.
struct DeliveredMessage
{
    MessageRef place; ///< a hook that moves it says so here; null when it was deleted
    Message text;     ///< as received, without what the store puts in front
    int account = 0;
    bool headerOnly = false;
    bool completed = false; ///< its header was delivered before, and the whole has taken its place
};

/// What looks at every received message before it is announced: filters, the test for junk. The message may
/// be marked, moved or deleted through the store.
class DeliveryHook
{
public:
    virtual ~DeliveryHook() = default;
    virtual void take(DeliveredMessage &message) = 0;
};

/// Messages that are new in one group.
struct NewMail
{
    int group = 0;
    Articles articles;
};

/// The one step through which everything received goes: it is stored; when it is safe the hooks look at it;
/// then it is announced, once. What a message is announced by is that it lies unread in a group: not what
/// arrived as read, or what a hook or the user has marked as read or removed by then.
class Delivery : public QObject
{
    Q_OBJECT

public:
    explicit Delivery(GroupStore &store, QObject *parent = nullptr);
    ~Delivery() override;

    GroupStore &store() { return m_store; }

    /// The group where mail arrives that is meant for @p number: the inbox when there is none such.
    Group &groupFor(int number) const;

    /// @p hook must outlive this; they are asked in the order in which they were added.
    void addHook(DeliveryHook *hook) { m_hooks.push_back(hook); }
    bool hasHooks() const { return !m_hooks.empty(); }

    /// Stores a message; its article, or 0 after a report. Lists are told of it soon, many at once. It is
    /// safe after the group's flush(), and is to be handed on then.
    quint32 add(Group &group, const Message &message, const Arrival &arrival);

    /// Tells the lists now of what was added.
    void tell();

    /// Takes over what has become safe. Texts are only needed where there are hooks.
    void handOn(std::vector<DeliveredMessage> messages);

    /// Announces what waits for more to be announced with; when a session has ended.
    void announce();

    /// Whether nothing waits, for a hook or to be announced.
    bool isIdle() const { return m_waiting.empty() && m_unannounced.empty() && m_untold.isEmpty(); }

    /// @name Batches on their way; finish() makes them safe
    /// @{
    void enter(ArrivalBatch *batch) { m_batches.push_back(batch); }
    void leave(ArrivalBatch *batch) { std::erase(m_batches, batch); }
    /// @}

    /// All that waits goes through the hooks and is announced, now. For the end of the program.
    void finish();

signals:
    /// New mail, once per message; at most every second or so, and at the end of a session.
    void newMail(const std::vector<NewMail> &arrived);

private:
    void work();
    void takeOne();

    GroupStore &m_store;
    std::vector<DeliveryHook *> m_hooks;
    std::vector<ArrivalBatch *> m_batches;
    QHash<int, Articles> m_untold;          ///< by group
    std::deque<DeliveredMessage> m_waiting; ///< for the hooks
    std::vector<MessageRef> m_unannounced;
    QTimer m_telling;
    QTimer m_working;
    QTimer m_announcing;
};
