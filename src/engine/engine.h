#pragma once

#include "engine/clients.h"
#include "engine/composer.h"
#include "engine/delivery.h"
#include "engine/drafts.h"
#include "engine/imagesenders.h"
#include "engine/messageoperations.h"
#include "engine/outbox.h"
#include "engine/receipts.h"
#include "engine/remoteimages.h"
#include "engine/serverwishes.h"
#include "engine/tags.h"
#include "engine/taskrunner.h"
#include "engine/transfers.h"
#include "identity/identitymanager.h"
#include "net/accountmanager.h"
#include "store/groupstore.h"

#include <QObject>
#include <QPointer>
#include <QSet>
#include <QStringList>

/// The whole program without a window: every manager, loaded and saved in a fixed order, and the housekeeping
/// that ticks once a second. The window and the command line stand on top of it.
class Engine : public QObject
{
    Q_OBJECT

public:
    explicit Engine(QObject *parent = nullptr);
    ~Engine() override;

    /// Makes the directories, reads the settings and then every list. False, after the loader's own report,
    /// when the program cannot go on.
    bool load();

    /// Saves everything in its order; without @p force only what changed and is due. False after a report.
    bool save(bool force);

    /// The end of a run, once: stops what is under way, as soon as what has arrived is safe and without
    /// waiting for any server, and saves everything with force. Fetcher::busyCount() says beforehand what
    /// would be cut short.
    bool shutDown();

    GroupStore &groups() { return m_groups; }
    AccountManager &accounts() { return m_accounts; }

    /// Whether load() could read them; when not, there are none in this run, and the file stays as it is.
    bool accountsAreRead() const { return m_accountsAreRead; }

    IdentityManager &identities() { return m_identities; }

    /// What waits to be sent.
    Outbox &outbox() { return m_outbox; }

    /// Who answers requests for read receipts.
    ReadReceipts &receipts() { return m_receipts; }

    /// What is being written, and who begins and sends it.
    Drafts &drafts() { return m_drafts; }
    Composer &composer() { return m_composer; }

    /// Where everything goes that is received, and who tells of new mail.
    Delivery &delivery() { return m_delivery; }

    /// What goes on between accounts and their servers now.
    Transfers &transfers() { return m_transfers; }

    /// The deeds on messages that lie on a server.
    ServerWishes &serverWishes() { return m_serverWishes; }

    /// Who puts questions to the user, and who keeps passwords; each outlives this or is taken away. Null:
    /// nobody is asked, and passwords are kept in the accounts file alone.
    void setQuestions(UserQuestions *questions) { m_accounts.setQuestions(questions); }
    void setPasswordKeeper(PasswordKeeper *keeper) { m_accounts.setPasswordKeeper(keeper); }
    ImageSenders &imageSenders() { return m_imageSenders; }
    RemoteImages &remoteImages() { return m_remoteImages; }
    TaskRunner &tasks() { return m_tasks; }
    Tags &tags() { return m_tags; }
    UndoJournal &journal() { return m_journal; }

    /// What the user does to messages.
    MessageOperations &operations() { return m_operations; }

    /// A text from background work that the user must see; the next tick shows it.
    void queueError(const QString &text);

    /// @name Long work; each joins the queue of tasks()
    /// @{
    void importMail(const QStringList &paths, Group &target);
    void exportGroup(Group &group, const QString &path);
    void compact(Group &group); ///< all of its bins, whether it is worth while or not
    void repair(Group &group);  ///< once, however often it is asked for
    void deleteMessages(Group &source, const Articles &articles, bool forGood);
    /// @}

    /// @name Fetching, because the user asks for it; the accounts tell of its end
    /// @{
    void fetchAll(); ///< and sends what waits
    void fetch(int account);
    /// @}

    /// One tick of the housekeeping, in its exact order; to be called once a second.
    void tick();

signals:
    /// Several texts at one tick are shown together, each in its own words.
    void errorsWaiting(const QStringList &texts);

    /// The window's turn: status line and the state of fetches.
    void refreshed();

private:
    void settleArrivals();
    void tidyUp();

    GroupStore m_groups;
    Delivery m_delivery{m_groups};
    Clients m_clients{m_delivery};
    IdentityManager m_identities;
    AccountManager m_accounts;
    Outbox m_outbox{m_groups, m_accounts, m_identities};
    ReadReceipts m_receipts{m_groups, m_accounts, m_identities, m_outbox};
    Drafts m_drafts{m_groups, m_identities};
    Composer m_composer{m_groups, m_identities, m_accounts, m_drafts, m_outbox};
    Transfers m_transfers{m_accounts};
    ServerWishes m_serverWishes{m_groups, m_accounts, m_clients};
    ImageSenders m_imageSenders;
    RemoteImages m_remoteImages;
    QSet<int> m_repairing; ///< groups whose repair waits or works
    Tags m_tags;
    UndoJournal m_journal;
    TaskRunner m_tasks;
    MessageOperations m_operations{m_groups, m_tags, m_journal, m_tasks};
    QStringList m_errors;
    QPointer<Task> m_tidying;
    qint64 m_lastTidying = 0;
    int m_ticks = 0;
    bool m_accountsAreRead = true;
    bool m_down = false;
};
