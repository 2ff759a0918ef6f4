#include "store/transfer.h"

#include "config/directory.h"
#include "config/reporter.h"
#include "store/groupstore.h"
#include "store/movejournal.h"

#include <QElapsedTimer>
#include <QSet>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kBatchBytes = 8 * 1024 * 1024; ///< what one sync makes safe
constexpr std::size_t kBatchMessages = 1000;    ///< the same: each dirties a page of the source's bin
constexpr qint64 kBytesBeside = 400;            ///< of a message's record, overview and cached texts
constexpr std::size_t kLetGoTogether = 64;
constexpr int kMostFailures = 10; ///< in a row: there is no sense in going on

} // namespace

Transfer::Transfer(GroupStore &store, Group &source, const Articles &articles, Group &target, Kind kind)
    : m_store(store)
    , m_source(&source)
    , m_target(&target)
    , m_kind(kind)
{
    QSet<quint32> taken;
    for (const quint32 article : articles) {
        if (!taken.contains(article))
            m_articles.push_back(article);
        taken.insert(article);
    }
    if (m_articles.empty() || (kind == Kind::Move && &source == &target)) {
        m_articles.clear();
        m_phase = Phase::Over;
    }
}

Transfer::~Transfer()
{
    settle();
    if (m_store.m_transfer == this)
        m_store.m_transfer = nullptr;
}

const Articles &Transfer::run()
{
    while (step(1000) == Progress::Working) {
    }
    return m_arrived;
}

Transfer::Progress Transfer::step(int milliseconds)
{
    if (m_phase != Phase::Over && !advance(milliseconds)) {
        m_phase = Phase::Over;
        m_store.m_transfer = m_store.m_transfer == this ? nullptr : m_store.m_transfer;
        return Progress::Failed;
    }
    if (m_phase != Phase::Over)
        return Progress::Working;
    return m_failures < kMostFailures ? Progress::Done : Progress::Failed;
}

void Transfer::settle()
{
    if (m_settling || m_phase == Phase::Begin)
        return;
    m_settling = true;
    if (m_phase == Phase::Copying)
        m_phase = Phase::SyncingCopies;
    Progress progress = Progress::Working;
    while (progress == Progress::Working && m_phase != Phase::Begin)
        progress = step(1000);
    m_settling = false;
}

/// One phase, or some of it: each file is forced to the disk in a slice of its own.
bool Transfer::advance(int milliseconds)
{
    if (!m_source || !m_target)
        return false;
    switch (m_phase) {
    case Phase::Begin: return begin();
    case Phase::Copying: copySome(milliseconds); return true;
    case Phase::SyncingCopies: return syncCopies();
    case Phase::Securing: return secure();
    case Phase::LettingGo: return letGo(milliseconds);
    case Phase::SyncingMarks: return syncMarks();
    case Phase::Ending: return endBatch();
    case Phase::Over: break;
    }
    return true;
}

bool Transfer::begin()
{
    m_phase = Phase::Copying;
    if (m_kind == Kind::Copy)
        return true;
    m_store.settleTransfer();
    if (!m_store.saveTree())
        return false;
    if (m_target->open() == Group::Opened::NeedsRepair)
        m_target->rowCount(); // repairs it
    if (!m_target->isOpen() || !finishInterrupted(m_store)) {
        report(ReportLevel::Warning, "Unable to open group '%s'", qUtf8Printable(m_target->name()));
        return false;
    }
    const auto rest = m_articles.begin() + std::ptrdiff_t(m_next);
    if (!MoveJournal::write({m_source->number(), m_target->number(),
                             m_target->files().overviews().nextArticle(),
                             QSet<quint32>(rest, m_articles.end())})) {
        report(ReportLevel::Warning, "Unable to write groups file");
        return false;
    }
    m_store.m_transfer = this;
    return true;
}

void Transfer::copySome(int milliseconds)
{
    QElapsedTimer timer;
    timer.start();
    Articles copies;
    bool isFull = false;
    while (m_next < m_articles.size() && !isFull && !timer.hasExpired(milliseconds)) {
        copyOne(m_articles[m_next++], copies);
        isFull =
            m_batchBytes >= kBatchBytes || m_batch.size() >= kBatchMessages || m_failures >= kMostFailures;
    }
    m_target->tellOfAdded(copies);
    if (m_next == m_articles.size() || isFull)
        m_phase = Phase::SyncingCopies;
    else
        m_target->files().startWriting();
}

void Transfer::copyOne(quint32 article, Articles &copies)
{
    const std::optional<Overview> overview = m_source->overview(article);
    if (!overview)
        return;
    const quint32 copy = m_target->addCopy(*m_source, *overview);
    if (copy == 0) {
        ++m_failures;
        return;
    }
    m_failures = 0;
    m_store.m_index.add(overview->idHash(), {m_target->number(), copy});
    m_batch.push_back({article, copy, overview->marks(), overview->tags()});
    m_batchBytes += overview->storedLength() + kBytesBeside;
    copies.push_back(copy);
}

bool Transfer::syncCopies()
{
    m_phase = Phase::Securing;
    if (m_target->files().syncBins())
        return true;
    takeBack();
    return false;
}

/// Only what is safe in the target may go from the source.
bool Transfer::secure()
{
    if (!m_target->flush()) {
        takeBack();
        return false;
    }
    m_phase = m_kind == Kind::Move ? Phase::LettingGo : Phase::Ending;
    return true;
}

void Transfer::takeBack()
{
    Articles copies;
    for (const OnItsWay &message : m_batch)
        copies.push_back(message.copy);
    m_store.dropFromIndex(*m_target, copies);
    m_target->remove(copies);
    if (m_kind == Kind::Move)
        MoveJournal::remove();
}

/// False: the journal stays, and the next move, or the next start, completes it.
bool Transfer::letGo(int milliseconds)
{
    QElapsedTimer timer;
    timer.start();
    while (m_nextToGo < m_batch.size() && !timer.hasExpired(milliseconds)) {
        const std::size_t end = std::min(m_nextToGo + kLetGoTogether, m_batch.size());
        Articles gone;
        Articles arrived;
        for (; m_nextToGo < end; ++m_nextToGo) {
            carryOver(m_batch[m_nextToGo]);
            gone.push_back(m_batch[m_nextToGo].article);
            arrived.push_back(m_batch[m_nextToGo].copy);
        }
        m_store.dropFromIndex(*m_source, gone);
        const bool removed = m_source->remove(gone);
        emit m_store.messagesMoved(m_source->number(), gone, m_target->number(), arrived);
        if (!removed)
            return false;
    }
    if (m_nextToGo == m_batch.size())
        m_phase = Phase::SyncingMarks;
    return true;
}

/// What the user did to the message after it was copied.
void Transfer::carryOver(const OnItsWay &message)
{
    const std::optional<Overview> now = m_source->overview(message.article);
    if (!now)
        return;
    if (now->marks() != message.marks)
        m_target->setMarks({message.copy}, now->marks() & ~message.marks, message.marks & ~now->marks());
    if (now->tags() != message.tags)
        m_target->setTags({message.copy}, now->tags() & ~message.tags, message.tags & ~now->tags());
}

bool Transfer::syncMarks()
{
    m_phase = Phase::Ending;
    return m_source->files().syncBins();
}

bool Transfer::endBatch()
{
    for (const OnItsWay &message : m_batch) {
        m_gone.push_back(message.article);
        m_arrived.push_back(message.copy);
    }
    m_batch.clear();
    m_nextToGo = 0;
    m_batchBytes = 0;
    if (m_kind == Kind::Move && !m_source->flush())
        return false;
    const bool isAll = m_next == m_articles.size() || m_failures >= kMostFailures;
    m_phase = isAll ? Phase::Over : m_settling ? Phase::Begin : Phase::Copying;
    if (m_phase != Phase::Copying && m_kind == Kind::Move) {
        MoveJournal::remove();
        m_store.m_transfer = nullptr;
    }
    return true;
}

bool Transfer::finishInterrupted(GroupStore &store)
{
    if (storeAccess() == StoreAccess::ReadOnly || !MoveJournal::exists())
        return true;
    const std::optional<MoveJournal::Move> move = MoveJournal::read();
    Group *source = move ? store.group(move->source) : nullptr;
    Group *target = move ? store.group(move->target) : nullptr;
    if (source && target) {
        Articles arrived;
        for (int row = 0; row < target->rowCount(); ++row) {
            const Overview &overview = target->row(row);
            if (overview.article() >= move->firstInTarget &&
                int(overview.originGroup()) == source->number() &&
                move->articles.contains(overview.originArticle()))
                arrived.push_back(overview.originArticle());
        }
        store.dropFromIndex(*source, arrived);
        if (!target->flush() || !source->remove(arrived) || !source->flush())
            return false;
        if (!arrived.empty())
            note(
                u"An interrupted move from '%1' to '%2' was completed"_s.arg(source->name(), target->name()));
    }
    MoveJournal::remove();
    return true;
}
