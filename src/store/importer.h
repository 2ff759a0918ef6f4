#pragma once

#include "store/messagesource.h"

#include <QString>

#include <memory>
#include <set>

class Group;
class GroupStore;

/// Brings the messages of a mailbox on disk into a group, in slices. Folders inside a Maildir become groups
/// below it. Nothing is reported as imported before it is safe on the disk.
class Importer
{
public:
    /// @p target must outlive this.
    Importer(GroupStore &store, Group &target);
    ~Importer();

    /// Looks at @p path. False: reason() says why in a sentence.
    bool begin(const QString &path);
    const QString &reason() const { return m_reason; }

    enum class Progress {
        Working,
        Done,
        Failed, ///< after a report, or with a reason(); what imported() counts is safe all the same
    };

    /// Works for about @p milliseconds.
    Progress step(int milliseconds);

    /// Ends before the end: makes safe what was imported.
    bool stop();

    int imported() const { return m_imported; } ///< safe on the disk
    int skipped() const;                        ///< what is no mail
    qint64 done() const;
    qint64 total() const;

private:
    Group *groupFor(const QString &folder);
    bool store(const IncomingMessage &message);
    bool flush();

    GroupStore &m_store;
    Group &m_target;
    std::unique_ptr<MessageSource> m_source;
    QString m_reason;
    std::set<int> m_touched; ///< numbers: a group may be removed meanwhile
    int m_imported = 0;
    int m_waiting = 0; ///< stored since the last flush
    qint64 m_waitingBytes = 0;
};
