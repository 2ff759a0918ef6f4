#pragma once

#include "store/mailbox/filelock.h"

#include <QFile>
#include <QString>

/// Moves a mailbox file away from under the program that delivers into it, so that nothing is lost and
/// nothing is taken twice, whenever either side is killed.
///
/// Within a file system the file is renamed while both locks are held. A program that opened it before and
/// appends only now writes into the moved file: so its reader deletes it through removeTaken() alone.
///
/// Across file systems the locked source is copied to TARGET.copy and synced, that is renamed to TARGET~, the
/// source is cut to nothing and synced, and TARGET~ becomes TARGET. What is appended during the copy is
/// copied too; what waits for the lock finds the empty file. After a crash the next move to the same target
/// finishes first what was begun: a TARGET~ that still is the beginning of the source was not yet cut off,
/// and is dropped.
class MailboxMove
{
public:
    enum class Way {
        RenameIfPossible,
        Copy,
    };
    enum class Outcome {
        Going,   ///< call step() again
        Taken,   ///< the mail is in the target, the source is gone or empty
        Nothing, ///< the source is missing or empty
        Busy,    ///< another program has a lock; try again later
        Failed,  ///< nothing was taken; a note says why
    };

    /// @p target must not exist; its directory must.
    MailboxMove(const QString &source, const QString &target, Way way = Way::RenameIfPossible);
    ~MailboxMove();
    MailboxMove(const MailboxMove &) = delete;
    MailboxMove &operator=(const MailboxMove &) = delete;

    /// The next slice, a copy of 1 MB at most. What is not finished at destruction is undone.
    Outcome step();

private:
    Outcome start();
    Outcome finishEarlier();
    Outcome copySome();
    Outcome cutSource();
    Outcome end(Outcome outcome);
    Outcome fail(const QString &what);
    bool earlierIsInSource() const;

    const QString m_source;
    const QString m_target;
    const Way m_way;
    MailboxLock m_lock;
    QFile m_from;
    QFile m_copy;
    Outcome m_outcome = Outcome::Going;
    bool m_started = false;
};

/// Steps until the end, waiting up to @p milliseconds for the locks: not for a program with a window.
MailboxMove::Outcome takeAway(const QString &source, const QString &target, int milliseconds,
                              MailboxMove::Way way = MailboxMove::Way::RenameIfPossible);

/// Whether an earlier move to @p target was interrupted, so that a MailboxMove with the same source has to
/// finish it.
bool isHalfTaken(const QString &target);

/// Deletes the taken mailbox @p path if it still has @p size bytes, those that were imported. False: it has
/// grown (import the rest and ask again), is being written, or cannot be deleted.
bool removeTaken(const QString &path, qint64 size);
