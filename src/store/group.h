#pragma once

#include "store/groupfiles.h"
#include "store/grouprecord.h"
#include "store/summary.h"

#include <QObject>

#include <memory>
#include <vector>

class GroupRepair;

using Articles = std::vector<quint32>;

/// A folder, newsgroup or mailbox of messages. A message is addressed by its article number, which never
/// changes, or for the moment by its row; dead messages keep their rows until the group is tidied.
///
/// The files are opened at the first use. Changes are in the files at once but safe only after flush(). The
/// signals come after the change; what lists messages collects them and relays once.
class Group : public QObject
{
    Q_OBJECT

public:
    Group(GroupRecord record, const QString &directory, QObject *parent = nullptr);
    ~Group() override;

    GroupRecord record() const; ///< with the flag GroupNeedsRepair as of now
    int number() const { return m_record.number; }
    QString name() const { return m_record.name; }
    GroupKind kind() const { return m_record.kind; }
    GroupRole role() const { return m_record.role; }
    bool has(GroupOption option) const { return (m_record.options & option) != 0; }
    bool needsRepair() const
    {
        return (record().flags & GroupNeedsRepair) != 0 || m_state == Opened::NeedsRepair;
    }

    /// Whether a damaged group is repaired at its first use; by default as `AutoRepairs` says.
    void setRepairsItself(bool repairs) { m_repairsItself = repairs; }

    /// Messages that are not dead, and how many of them are unread or flagged. Never wrong: after a crash
    /// they are counted again.
    OverviewFile::Counts counts();

    /// What the group's files take on the disk.
    qint64 bytes() const { return m_files.sizeOnDisk(); }

    enum class Opened {
        Closed,
        Ready,
        NeedsRepair, ///< nothing can be read or changed until repair() was run
        Failed,      ///< after a report: the files cannot be opened
    };

    /// Opens the files and completes what a crash left half done. Everything below opens by itself, repairing
    /// what must be, and behaves as an empty group that takes nothing when that fails.
    Opened open();
    bool isOpen() const { return m_state == Opened::Ready; }
    void close();

    /// Counts again from the overviews, after a run that may not have come to its end.
    void recount();

    /// Builds damaged overviews anew from the bins, at once. False after a report.
    bool repair();

    /// The same in slices of about @p milliseconds: call it until it is done.
    enum class Repair { Working, Done, Failed };
    Repair repairStep(int milliseconds);

    int rowCount();
    const Overview &row(int row) const
    {
        return m_files.overviews().row(row);
    }                                                  ///< valid until something changes
    int rowOf(quint32 article);                        ///< -1 when there is none
    std::optional<Overview> overview(quint32 article); ///< empty for a dead or unknown one
    HeaderTexts texts(const Overview &overview);
    QByteArray readMessage(const Overview &overview); ///< null after a report when it cannot be read
    quint64 generation(); ///< rises with every flush that wrote a change; 0 while changes wait for one

    /// Stores @p text and returns its article number; 0 after a report.
    quint32 add(QByteArrayView text, const Summary &summary);

    /// The same for one of many: it is told of by tellOfAdded(), with the others at once.
    quint32 addQuietly(QByteArrayView text, const Summary &summary);

    quint32 addQuietly(const PackedMessage &message);
    bool compresses() const; ///< what comes in

    /// Stores a copy of a message of @p source, which remembers where it came from; 0 after a report. It is
    /// told of by tellOfAdded(), so that many are told of at once.
    quint32 addCopy(Group &source, const Overview &original);
    void tellOfAdded(const Articles &articles);

    /// Puts whole messages into the places of those of which only the header is here: number, marks of use,
    /// tags and the like stay. Safe when it returns. Articles that are dead or whole are passed over; what
    /// was completed is in @p completed. False after a report.
    struct Whole
    {
        quint32 article;
        QByteArrayView text;
        Summary summary;
    };
    [[nodiscard]] bool complete(const std::vector<Whole> &messages, Articles &completed);

    /// Sets and clears marks; unknown and dead articles are passed over. False after a report.
    bool setMarks(const Articles &articles, Marks set, Marks clear);

    /// The same for the bits of their tags.
    bool setTags(const Articles &articles, quint32 set, quint32 clear);

    /// The same for the group that they came from.
    bool setOrigin(const Articles &articles, int group);

    /// Marks the messages dead for good, here and in their bins. False after a report.
    bool remove(const Articles &articles);

    /// Forces everything to the disk. False after a report: what was added since the last time may be lost.
    [[nodiscard]] bool flush();

    /// Drops the rows of dead messages when there are many of them; rows get other numbers then.
    bool tidy();

    /// The files themselves, for what works on them in slices (compaction, check).
    GroupFiles &files() { return m_files; }

    void setRecord(const GroupRecord &record);

signals:
    void messagesAdded(const Articles &articles);
    void messagesChanged(const Articles &articles);
    void messagesRemoved(const Articles &articles);
    void countsChanged();

    /// The files are about to be closed: whoever works on files() must let go.
    void closing();

    /// Everything is to be read again: rows have other numbers, or a repair brought or dropped messages.
    void rowsReset();

private:
    bool ready();
    bool readyToTake();
    template <typename Change>
    bool change(const Articles &articles, Change change);

    GroupRecord m_record;
    GroupFiles m_files;
    OverviewFile::Counts m_closedCounts;
    bool m_countsKnown = false;
    bool m_repairsItself = true;
    Opened m_state = Opened::Closed;
    std::unique_ptr<GroupRepair> m_repair; ///< while one is under way
};
