#pragma once

#include "message/address.h"
#include "store/messageref.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QString>
#include <QTimer>

#include <deque>
#include <vector>

class Group;
class GroupStore;
class Overview;
class QElapsedTimer;

/// The addresses that occur in the store: those that mail was written to, and those that it came from. They
/// are gathered from the header caches, in short slices, the newest messages first, and only as many as help
/// with completing; the files hold nothing of it. Those in copy stand in no header cache: they are read from
/// the newest messages of one's own.
class SeenAddresses : public QObject
{
    Q_OBJECT

public:
    /// How much is looked at.
    struct Limits
    {
        int messages = 200'000; ///< of all groups together
        int addresses = 20'000;
        int copies = 1'000; ///< messages of one's own of which the text is read, for those in copy
    };

    /// @p store must outlive this. Nothing is looked at before start().
    explicit SeenAddresses(GroupStore &store, QObject *parent = nullptr);
    SeenAddresses(GroupStore &store, Limits limits, QObject *parent = nullptr);

    void start(); ///< once; later calls do nothing
    bool isComplete() const { return m_started && m_waiting.empty() && m_arrived.empty(); }

    struct Known
    {
        Address address;
        int weight = 0;        ///< how often written to, or how often seen when it was only collected
        bool collected = true; ///< only seen in received mail

        bool operator==(const Known &) const = default;
    };

    /// Those of which the address, the name or a word of it begins so, in any case: those written to first,
    /// the most frequent ahead; at most @p most.
    QList<Known> complete(const QString &beginning, int most) const;

    bool isKnown(const QString &address) const;
    QStringList writtenTo() const; ///< bare

    /// They are being written to now: known from here on, and counted when the copy is stored.
    void addWritten(const QList<Address> &addresses);

signals:
    void changed(); ///< there are more

private:
    struct Entry
    {
        Known known;
        QString words; ///< in lower case, each behind a blank
    };
    struct Place
    {
        int group;
        int nextRow; ///< from the end of the group; -1: its end is still to be found
    };

    void watch(Group *group);
    void lookAtArrived(Group *group, const std::vector<quint32> &articles);
    void slice();
    bool lookThrough(Place &place, const QElapsedTimer &clock);
    bool isWorthIt(const Group &group) const;
    void look(Group &group, int row);
    void takeAll(const QList<Address> &addresses, bool isWritten);
    void lookForCopies(Group &group, const Overview &overview);
    void take(const Address &address, bool isWritten);

    GroupStore &m_store;
    const Limits m_limits;
    std::vector<Entry> m_entries;
    QHash<QString, int> m_places; ///< by the address in lower case
    std::deque<Place> m_waiting;
    std::deque<MessageRef> m_arrived; ///< since the groups were begun with
    QTimer m_timer;
    int m_looked = 0;
    int m_read = 0; ///< texts
    bool m_started = false;
};
