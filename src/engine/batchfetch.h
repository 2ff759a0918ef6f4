#pragma once

#include "engine/arrivalbatch.h"
#include "engine/task.h"
#include "net/accountdata.h"
#include "store/groupstore.h"
#include "store/mailbox/mboxreader.h"
#include "store/mailbox/takeaway.h"

#include <QFile>

#include <memory>
#include <optional>

/// The fetch of a batch-file account: its file is moved into "Batches" as "<account>-<n>.pending", so that
/// who writes it can begin a new one, and then imported as incoming mail. Files that an earlier fetch left
/// pending come first. How far an import got lies beside the file (".position").
///
/// An import that is finished deletes the file; with `KeepMailBatches` it only loses its suffix.
class BatchFetch : public Task
{
    Q_OBJECT

public:
    BatchFetch(Delivery &delivery, const AccountData &account, QObject *parent = nullptr);
    ~BatchFetch() override;

    QString title() const override;
    qint64 done() const override;
    qint64 total() const override;
    QString result() const override;
    QString problem() const override { return m_problem; }

    const QString &accountName() const { return m_account.name; }
    int received() const { return m_received; } ///< messages that are safe in the store
    int arrived() const { return m_received + m_waiting; }
    qint64 bytes() const { return m_bytes; }

    /// Completes what a crash left of an earlier fetch of @p account; before anything else changes the store.
    /// False: it could not, and nothing may be fetched.
    static bool recover(GroupStore &store, int account);

protected:
    State work(int milliseconds) override;
    State halt() override;

private:
    State moveAway();
    State nextFile();
    State import(int milliseconds);
    bool storeMessage(const MboxMessage &message);
    bool endBatch();
    bool finishFile();
    State fail(const QString &problem);

    Delivery &m_delivery;
    const AccountData m_account;
    ArrivalBatch m_batch;
    std::unique_ptr<MailboxMove> m_move;
    bool m_moved = false;
    QStringList m_pending; ///< paths still to be imported
    QFile m_file;
    std::optional<MboxReader> m_reader;
    qint64 m_batchStart = 0;
    qint64 m_stored = 0; ///< position in the file behind the last message that is in the group
    int m_waiting = 0;
    int m_received = 0;
    qint64 m_bytes = 0;
    QString m_problem;
};
