#pragma once

#include "store/group.h"

#include <QPointer>

#include <vector>

class GroupStore;

/// Takes messages from one group to another in slices: moves or copies them. Records are copied as they are
/// stored. It goes by batches of some megabytes: the copies are made, then one sync makes them safe, and only
/// then the source lets go of its own. A crash at any moment leaves each message in one of the two groups.
///
/// Nothing else may be done to a message that is on its way, but marks and tags that it gets meanwhile go
/// with it.
class Transfer
{
public:
    enum class Kind { Move, Copy };

    /// Articles that are named twice go once. The store must outlive this; the groups need not.
    Transfer(GroupStore &store, Group &source, const Articles &articles, Group &target, Kind kind);
    ~Transfer(); ///< settles
    Transfer(const Transfer &) = delete;
    Transfer &operator=(const Transfer &) = delete;

    enum class Progress {
        Working,
        Done,
        Failed, ///< after a report, or because a group has gone; what has arrived stays there
    };

    /// Works for about @p milliseconds.
    Progress step(int milliseconds);

    /// All of it at once; returns arrived().
    const Articles &run();

    /// Ends the batch under way: what has been copied arrives, the rest waits for the next step.
    void settle();

    std::size_t done() const { return m_next; } ///< articles looked at so far
    std::size_t total() const { return m_articles.size(); }

    /// Those that are safe in the target, as they were called in the source and as they are now, side by
    /// side. What cannot be read is in neither, after a report.
    const Articles &gone() const { return m_gone; }
    const Articles &arrived() const { return m_arrived; }

    /// Completes a move that a crash cut short: what arrived in the target is marked dead in the source.
    /// False: it could not be.
    static bool finishInterrupted(GroupStore &store);

private:
    enum class Phase { Begin, Copying, SyncingCopies, Securing, LettingGo, SyncingMarks, Ending, Over };

    struct OnItsWay
    {
        quint32 article;
        quint32 copy;
        Marks marks; ///< when it was copied
        quint32 tags;
    };

    bool advance(int milliseconds);
    bool begin();
    void copySome(int milliseconds);
    void copyOne(quint32 article, Articles &copies);
    bool syncCopies();
    bool secure();
    bool letGo(int milliseconds);
    void carryOver(const OnItsWay &message);
    bool syncMarks();
    bool endBatch();
    void takeBack();

    GroupStore &m_store;
    QPointer<Group> m_source;
    QPointer<Group> m_target;
    Articles m_articles;
    Kind m_kind;
    Phase m_phase = Phase::Begin;
    bool m_settling = false;
    std::size_t m_next = 0;
    std::vector<OnItsWay> m_batch;
    std::size_t m_nextToGo = 0; ///< in the batch
    qint64 m_batchBytes = 0;
    int m_failures = 0; ///< in a row
    Articles m_gone;
    Articles m_arrived;
};
