#include "engine/engine.h"

#include "config/clock.h"
#include "config/directory.h"
#include "config/reporter.h"
#include "config/settings.h"
#include "engine/batchfetch.h"
#include "engine/storetasks.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int kTicksBetweenSaves = 5;
constexpr qint64 kSecondsBetweenTidyings = 600;

} // namespace

Engine::Engine(QObject *parent)
    : QObject(parent)
{
    connect(&m_tasks, &TaskRunner::ended, this, [this](Task *task) {
        if (task == m_tidying && task->state() == Task::State::Done)
            m_lastTidying = 0; // on to the next group
        if (task->state() == Task::State::Failed && !task->problem().isEmpty())
            queueError(task->problem());
    });
    m_clients.setOutgoing(&m_outbox);
    m_accounts.setFactory(&m_clients);
    connect(&m_serverWishes, &ServerWishes::failed, this, &Engine::queueError);
    connect(&m_tags, &Tags::removed, this, [this](int bit) { m_operations.dropTags(1u << bit); });
    connect(&m_operations, &MessageOperations::tagsDropped, &m_tags, &Tags::release);
    connect(&m_outbox, &Outbox::draftSettled, &m_drafts, &Drafts::settled);
    connect(&m_outbox, &Outbox::draftLacksCopy, &m_drafts, &Drafts::sentWithoutCopy);
    connect(&m_outbox, &Outbox::draftReturned, &m_drafts, &Drafts::givenUp);
}

/// What is under way must not outlive what it works with.
Engine::~Engine()
{
    m_accounts.shutDown();
}

bool Engine::load()
{
    if (!createStoreDirectories() || !loadConfig(false))
        return false;
    m_identities.load();
    m_accountsAreRead = m_accounts.load();
    m_imageSenders.load();
    m_tags.load();
    if (!m_groups.load())
        return false;
    if (storeAccess() == StoreAccess::ReadWrite) {
        if (m_tags.resting() != 0)
            m_operations.dropTags(m_tags.resting());
        settleArrivals();
    }
    m_drafts.load();
    m_outbox.load(); // what it files lets drafts go
    if (m_outbox.isReadable())
        m_drafts.settleWithOutbox([this](int draft) { return m_outbox.holdsDraft(draft); },
                                  [this](MessageRef place) { return m_outbox.hasLetGo(place); });
    return true;
}

/// What an interrupted fetch stored is looked up before anything else changes the groups.
void Engine::settleArrivals()
{
    const auto groupOf = [this](int number) { return m_groups.group(number); };
    for (const AccountData &account : m_accounts.all()) {
        if (account.kind == AccountKind::BatchFile)
            BatchFetch::recover(m_groups, account.number);
        else if (!ArrivalJournal(account.number).settle(groupOf))
            note(u"What account '%1' received last could not be looked up yet"_s.arg(account.name));
    }
}

bool Engine::save(bool force)
{
    bool saved = m_groups.save(force);
    saved = (force ? m_identities.save() : m_identities.saveInPassing()) && saved;
    saved = m_accounts.save() && saved;
    saved = m_tags.save() && saved;
    saved = m_imageSenders.save() && saved;
    return saveConfig(force) && saved;
}

bool Engine::shutDown()
{
    if (std::exchange(m_down, true))
        return true;
    m_accounts.shutDown();
    m_tasks.stopAll();
    m_delivery.finish();
    m_outbox.finish();
    bool saved = m_groups.close();
    saved = m_identities.save() && saved;
    saved = m_accounts.save() && saved;
    saved = m_tags.save() && saved;
    saved = m_imageSenders.save() && saved;
    return saveConfig(true) && saved;
}

void Engine::queueError(const QString &text)
{
    m_errors += text;
}

void Engine::tick()
{
    if (!m_errors.isEmpty())
        emit errorsWaiting(std::exchange(m_errors, {}));
    if (m_ticks % kTicksBetweenSaves == 0) {
        save(false);
        tidyUp();
    }
    if (boolSetting(Setting::AutoFetch))
        m_accounts.fetchWhatIsDue();
    m_outbox.tick();
    emit refreshed();
    ++m_ticks;
}

/// The second pass over the groups: bins that are mostly dead are compacted, a group at a time.
void Engine::tidyUp()
{
    const qint64 now = clockSeconds();
    if (m_tasks.isBusy() || now - m_lastTidying < kSecondsBetweenTidyings)
        return;
    m_lastTidying = now; // where a compaction fails, it is not tried again at once
    for (Group *group : m_groups.groups()) {
        if (!group->isOpen())
            continue;
        if (BinCompactor::worthwhile(group->files()).empty())
            continue;
        auto task = std::make_unique<CompactTask>(*group, CompactTask::Bins::WhereWorthwhile);
        m_tidying = task.get();
        m_tasks.add(std::move(task));
        return;
    }
}

void Engine::importMail(const QStringList &paths, Group &target)
{
    m_tasks.add(std::make_unique<ImportTask>(m_groups, target, paths));
}

void Engine::exportGroup(Group &group, const QString &path)
{
    m_tasks.add(std::make_unique<ExportTask>(group, path));
}

void Engine::compact(Group &group)
{
    m_tasks.add(std::make_unique<CompactTask>(group, CompactTask::Bins::All));
}

void Engine::repair(Group &group)
{
    const int number = group.number();
    if (m_repairing.contains(number))
        return;
    m_repairing.insert(number);
    auto task = std::make_unique<RepairTask>(group);
    connect(task.get(), &QObject::destroyed, this, [this, number] { m_repairing.remove(number); });
    m_tasks.add(std::move(task));
}

void Engine::deleteMessages(Group &source, const Articles &articles, bool forGood)
{
    const auto kind = forGood ? TransferTask::Kind::DeleteForGood : TransferTask::Kind::Delete;
    m_tasks.add(std::make_unique<TransferTask>(m_groups, source, articles, kind, nullptr));
}

void Engine::fetchAll()
{
    m_outbox.sendWaiting(true);
    m_accounts.fetchAll(true);
}

void Engine::fetch(int number)
{
    if (Account *account = m_accounts.account(number))
        account->fetch(true, true);
}
