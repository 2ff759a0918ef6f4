#pragma once

#include "engine/task.h"
#include "store/bincompactor.h"
#include "store/exporter.h"
#include "store/grouprepair.h"
#include "store/groupstore.h"
#include "store/importer.h"
#include "store/transfer.h"

#include <QPointer>
#include <QStringList>

#include <memory>
#include <optional>

/// The long work on the store as tasks. Groups may go while a task waits for its turn; it then ends at once.

class ImportTask : public Task
{
    Q_OBJECT

public:
    ImportTask(GroupStore &store, Group &target, const QStringList &paths);

    QString title() const override;
    qint64 done() const override { return m_importer ? m_importer->done() : 0; }
    qint64 total() const override { return m_importer ? m_importer->total() : 0; }
    QString result() const override;
    QString problem() const override { return m_problems.join(u'\n'); }

    int imported() const { return m_imported; } ///< safe on the disk
    int skipped() const { return m_skipped; }

protected:
    State work(int milliseconds) override;
    State halt() override;

private:
    void endPath();

    GroupStore &m_store;
    QPointer<Group> m_target;
    QStringList m_paths;
    QString m_path;
    std::unique_ptr<Importer> m_importer;
    int m_imported = 0;
    int m_skipped = 0;
    QStringList m_problems;
};

class ExportTask : public Task
{
    Q_OBJECT

public:
    ExportTask(Group &group, const QString &path);

    QString title() const override;
    qint64 done() const override { return m_exporter.done(); }
    qint64 total() const override { return m_exporter.total(); }
    QString result() const override;

    int exported() const { return m_exporter.exported(); }

protected:
    State work(int milliseconds) override;

private:
    QPointer<Group> m_group;
    QString m_path;
    Exporter m_exporter;
};

/// Compacts the bins of a group: all of them, or with WhereWorthwhile those that are more than a third dead.
class CompactTask : public Task
{
    Q_OBJECT

public:
    enum class Bins { All, WhereWorthwhile };
    CompactTask(Group &group, Bins bins);

    /// What came of each bin, in bytes.
    struct Bin
    {
        int number;
        qint64 before;
        qint64 after;
    };
    const std::vector<Bin> &bins() const { return m_results; }

    QString title() const override;
    QString result() const override;

protected:
    State work(int milliseconds) override;

private:
    QPointer<Group> m_group;
    Bins m_wanted;
    bool m_begun = false;
    std::vector<int> m_left; ///< bins still to be done, the next one last
    std::unique_ptr<BinCompactor> m_compactor;
    std::vector<Bin> m_results;
};

/// Builds the overviews of a damaged group anew.
class RepairTask : public Task
{
    Q_OBJECT

public:
    explicit RepairTask(Group &group);

    QString title() const override;
    QString result() const override;

protected:
    State work(int milliseconds) override;

private:
    QPointer<Group> m_group;
    bool m_ok = false;
};

/// Moves, copies or deletes many messages of one group.
class TransferTask : public Task
{
    Q_OBJECT

public:
    enum class Kind { Move, Copy, Delete, DeleteForGood };
    TransferTask(GroupStore &store, Group &source, const Articles &articles, Kind kind, Group *target);

    QString title() const override;
    qint64 done() const override;
    qint64 total() const override { return m_total; }
    QString result() const override;

    /// The articles that the messages have in the target, as far as it is.
    const Articles &arrived() const { return m_transfer ? m_transfer->arrived() : m_none; }

protected:
    State work(int milliseconds) override;
    State halt() override;

private:
    State transfer(int milliseconds);
    State remove(int milliseconds);

    GroupStore &m_store;
    QPointer<Group> m_source;
    QPointer<Group> m_target;
    std::optional<Transfer> m_transfer;
    Articles m_left; ///< of those that are deleted for good
    qint64 m_total;
    Kind m_kind;
    const Articles m_none;
};

/// "1 message", "1,284 messages".
QString messageCount(qint64 count);
