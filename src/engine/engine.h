#pragma once

#include "engine/delivery.h"
#include "engine/imagesenders.h"
#include "engine/messageoperations.h"
#include "engine/remoteimages.h"
#include "engine/tags.h"
#include "engine/taskrunner.h"
#include "net/accountmanager.h"
#include "store/groupstore.h"

#include <QHash>
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

    /// The end of a run, once: stops what is under way and saves everything with force.
    bool shutDown();

    GroupStore &groups() { return m_groups; }
    AccountManager &accounts() { return m_accounts; }

    /// Where everything goes that is received, and who tells of new mail.
    Delivery &delivery() { return m_delivery; }
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
    void fetchAll();
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
    void fetchWhatIsDue();

    GroupStore m_groups;
    Delivery m_delivery{m_groups};
    AccountManager m_accounts;
    ImageSenders m_imageSenders;
    RemoteImages m_remoteImages;
    QSet<int> m_repairing; ///< groups whose repair waits or works
    Tags m_tags;
    UndoJournal m_journal;
    TaskRunner m_tasks;
    MessageOperations m_operations{m_groups, m_tags, m_journal, m_tasks};
    QStringList m_errors;
    QHash<int, qint64> m_lastFetch; ///< by account number, seconds since 1970
    QSet<int> m_fetching;           ///< numbers of the accounts whose fetch waits or runs
    QPointer<Task> m_tidying;
    qint64 m_lastTidying = 0;
    int m_ticks = 0;
    bool m_down = false;
};
