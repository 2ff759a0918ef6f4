#include "net/pop3/popfetcher.h"

#include "config/clock.h"
#include "config/reporter.h"
#include "net/account.h"
#include "net/identifierlist.h"
#include "net/pop3/popbatch.h"
#include "net/pop3/popheader.h"
#include "net/pop3/popmemory.h"
#include "net/pop3/popplan.h"
#include "net/pop3/poptransfer.h"

#include <QLocale>

#include <algorithm>

// A fetch, from the listing to the last deletion.

using namespace Qt::StringLiterals;

namespace {

/// A status is not shown anew within this time: nobody can read so fast.
constexpr int kStatusMilliseconds = 50;

/// A reply with the numbers of a mailbox is not longer; what is behind might be millions of words.
constexpr qsizetype kLongestReply = 512;

/// Whether it is time to show something again.
bool isTime(QElapsedTimer &since)
{
    if (since.isValid() && since.elapsed() < kStatusMilliseconds)
        return false;
    since.start();
    return true;
}

} // namespace

void POPFetcher::statReply(const QByteArray &line)
{
    bool isNumber = false;
    const int count = line.left(kLongestReply).simplified().split(' ').value(1).toInt(&isNumber);
    if (!isPositive(line) || !isNumber || count < 0)
        return endWithReply(line);
    m_count = count;
    if (m_task == PopTask::LoginTest)
        return quit();
    m_listing.begin(count);
    if (count == 0)
        return beginTransfer();
    setStatus(tr("Listing mailbox contents..."), false);
    say("UIDL", State::Uidl);
}

void POPFetcher::uidlReply(const QByteArray &line)
{
    if (!isPositive(line))
        return say("LIST", State::List); // the server has no identifiers
    m_state = State::UidlList;
}

void POPFetcher::uidlLine(const QByteArray &line)
{
    if (line == ".")
        return say("LIST", State::List);
    m_listing.addIdentifier(line);
    if (m_listing.isEndless())
        endOfEndless();
}

void POPFetcher::endOfEndless()
{
    end(AccountFetchReason::Unexpected, tr("The server's listing does not end"));
}

void POPFetcher::listReply(const QByteArray &line)
{
    if (!isPositive(line))
        return endWithReply(line);
    m_state = State::SizeList;
}

void POPFetcher::sizeLine(const QByteArray &line)
{
    if (line == ".")
        return beginTransfer();
    m_listing.addSize(line);
    if (m_listing.isEndless())
        endOfEndless();
}

void POPFetcher::beginTransfer()
{
    if (!account())
        return end(AccountFetchReason::Stopped);
    m_listing.finish();
    const AccountData &data = account()->data();
    m_toFetch = std::make_unique<IdentifierList>(data.number, IdentifierList::Purpose::Fetch);
    m_toDelete = std::make_unique<IdentifierList>(data.number, IdentifierList::Purpose::Delete);
    m_plan = std::make_unique<PopPlan>(m_listing, *m_memory, *m_toFetch, *m_toDelete, PopRules::of(data));
    m_transfer = std::make_unique<PopTransfer>(*m_plan, m_capabilities.contains("PIPELINING"));
    m_state = State::Transfer;
    socket()->setBlockMode(true);
    goOn();
}

/// Says what may be said now. When nothing is left, the last batch is made safe, which may bring deletions.
void POPFetcher::goOn()
{
    while (m_state == State::Transfer) {
        const bool wasLooking = m_transfer->isLooking();
        if (const std::optional<PopCommand> command = m_transfer->next()) {
            if (wasLooking && !m_transfer->isLooking())
                m_done = 0;
            sayNext(*command);
        } else if (!m_transfer->isDone()) {
            return;
        } else if (m_batch->isEmpty()) {
            settle();
            return quit();
        } else if (!finishBatch()) {
            return;
        }
    }
}

void POPFetcher::sayNext(const PopCommand &command)
{
    const QByteArray number = QByteArray::number(m_plan->items()[std::size_t(command.item)].message.number);
    switch (command.kind) {
    case PopCommandKind::Top: return say("TOP " + number + " 0", State::Transfer);
    case PopCommandKind::Retr: return say("RETR " + number, State::Transfer);
    case PopCommandKind::Dele: break;
    }
    if (!m_memory->commit()) // what was given a new identifier is known by it first
        return end(AccountFetchReason::WithErrors, tr("What was fetched cannot be remembered"));
    say("DELE " + number, State::Transfer);
}

void POPFetcher::transferReply(const QByteArray &line)
{
    if (!m_transfer->isWaiting() || (!isPositive(line) && !line.startsWith("-ERR")))
        return endWithReply(line);
    const PopCommand command = m_transfer->current();
    showTransfer(command);
    if (command.kind == PopCommandKind::Top)
        return isPositive(line) ? beginText(0) : topRefused();
    if (command.kind == PopCommandKind::Retr)
        return isPositive(line) ? beginText(command.bytes) : retrRefused(line);
    if (!isPositive(line))
        return endWithReply(line);
    m_deleted.push_back(command.item);
    m_transfer->finishCurrent();
    goOn();
}

/// The server has no TOP. Those under way will be refused as well, and taken up anew one by one.
void POPFetcher::topRefused()
{
    const int item = m_transfer->current().item;
    m_transfer->finishCurrent();
    if (m_plan->rules().canLook)
        m_plan->setCannotLook();
    m_transfer->addAgain(item);
    goOn();
}

void POPFetcher::retrRefused(const QByteArray &line)
{
    PopItem &item = m_plan->items()[std::size_t(m_transfer->current().item)];
    const bool isSetAside = m_plan->noteRefusal(item);
    m_transfer->finishCurrent();
    if (!isSetAside)
        return endWithReply(line);
    addTrouble(tr("The server refused message %1 for the third time. It is not asked for again.\n%2")
                   .arg(item.message.number)
                   .arg(QString::fromUtf8(line.left(1000))));
    goOn();
}

void POPFetcher::transferText(const QByteArray &text)
{
    const PopCommand command = m_transfer->current();
    m_transfer->finishCurrent();
    ++m_done;
    m_doneBytes += command.bytes;
    PopItem &item = m_plan->items()[std::size_t(command.item)];
    const QByteArray header = headerDigest(text);
    const bool isHeader = command.kind == PopCommandKind::Top;
    if (isHeader && item.action == PopAction::Look) {
        m_plan->decide(item, header);
    } else if (isHeader && item.action != PopAction::Header) {
        m_transfer->addAgain(command.item); // another TOP was refused meanwhile
    } else if (!keep(command.item, text, header, isHeader)) {
        return;
    }
    goOn();
}

/// False: the session has ended.
bool POPFetcher::keep(int number, const QByteArray &text, const QByteArray &header, bool isHeader)
{
    PopItem &item = m_plan->items()[std::size_t(number)];
    m_plan->decide(item, header);
    if (item.action == PopAction::Delete) {
        item.deletesAfter = true;
        m_batch->addKnown(number);
    }
    if (item.action == PopAction::Leave || item.action == PopAction::Delete)
        return !m_batch->isFull() || finishBatch();
    item.action = isHeader ? PopAction::Header : PopAction::Whole;
    item.deletesAfter = !isHeader && m_plan->deletesWhole(item, header);
    const PopRecord record = m_plan->recordOf(item, header);
    const ReceivedMessage message{text, record.storeName(), isHeader, std::max<qint64>(item.message.size, 0)};
    const bool kept = item.place && !isHeader ? m_batch->complete(number, *item.place, message, record)
                                              : m_batch->store(number, message, record);
    if (!kept) {
        end(AccountFetchReason::WithErrors, tr("The mail could not be stored"));
        return false;
    }
    if (isHeader && item.message.size > DotText::kMostBytes)
        addTrouble(
            tr("Message %1 is larger than 1 GB; only its header was fetched").arg(item.message.number));
    if (!m_batchTime.isActive())
        m_batchTime.start();
    return !m_batch->isFull() || finishBatch();
}

void POPFetcher::slotBatchIsOld()
{
    if (m_state == State::Transfer && finishBatch())
        goOn();
}

/// False: the session has ended, or has to.
bool POPFetcher::finishBatch()
{
    m_batchTime.stop();
    if (m_task == PopTask::Bodies)
        return finishBodies();
    if (!m_batch || m_batch->isEmpty())
        return true;
    std::vector<int> safe;
    if (!m_batch->finish(safe)) {
        end(AccountFetchReason::WithErrors, tr("The mail could not be stored"));
        return false;
    }
    QList<QByteArray> completed;
    for (const int number : safe) {
        const PopItem &item = m_plan->items()[std::size_t(number)];
        const QByteArray name = m_plan->storeName(item);
        m_received |= item.action == PopAction::Header || item.action == PopAction::Whole;
        if (item.deletesAfter)
            m_transfer->addDeletion(number);
        if (item.action == PopAction::Whole && m_toFetch->contains(name))
            completed.append(name);
        if (item.action == PopAction::Header && m_plan->rules().proposeDeletion > 0 &&
            item.message.size > m_plan->rules().proposeDeletion)
            emit deletionProposed(name, item.message.size);
    }
    if (completed.isEmpty() || !account())
        return true;
    m_fulfilled += QSet<QByteArray>(completed.begin(), completed.end());
    IdentifierList toFetch(account()->number(), IdentifierList::Purpose::Fetch);
    if (!toFetch.remove(completed))
        note(u"What was fetched will be fetched again: the list cannot be written"_s);
    return true;
}

/// All that the listing asked for is done: what is missing from it is missed, and wishes that nobody can
/// fulfil are told and taken back.
void POPFetcher::settle()
{
    const bool isComplete =
        m_listing.hasAllSizes() && (m_listing.hasAllIdentifiers() || m_listing.hasNoIdentifiers());
    const std::optional<QSet<QByteArray>> names = isComplete ? m_plan->names() : std::nullopt;
    if (names)
        m_memory->setPresent(*names);
    else
        note(u"The listing of account %1 was not complete; nothing is taken for gone"_s.arg(
            account() ? account()->name() : QString()));
    for (PopItem &item : m_plan->items()) {
        if (!item.isTooLarge)
            continue;
        m_plan->setAside(item);
        addTrouble(tr("Message %1 is larger than 1 GB and stays on the server").arg(item.message.number));
    }
    if (!names || !account())
        return;
    m_isSettled = true;
    QList<QByteArray> over;
    for (const IdentifierList::Entry &wish : m_toFetch->entries()) {
        if (m_fulfilled.contains(wish.identifier))
            continue;
        over.append(wish.identifier);
        const PopRecord *here = m_memory->findStored(wish.identifier);
        if (!here || !here->isFetched || here->isHeaderOnly)
            addTrouble(tr("Message %1 could not be retrieved").arg(QString::fromLatin1(wish.identifier)));
    }
    IdentifierList toFetch(account()->number(), IdentifierList::Purpose::Fetch);
    if (!over.isEmpty() && !toFetch.remove(over))
        note(u"Wishes that nobody can fulfil stay"_s);
}

/// The wishes that are fulfilled; after a complete listing also those that nobody can fulfil, and of what is
/// on the server all the same that is told.
QList<QByteArray> POPFetcher::deletionsDone()
{
    QSet<QByteArray> deleted;
    for (const int number : m_deleted)
        deleted.insert(m_plan->storeName(m_plan->items()[std::size_t(number)]));
    QList<QByteArray> wishes;
    QStringList undone;
    for (const IdentifierList::Entry &wish : m_toDelete->entries()) {
        const bool isDone = deleted.contains(wish.identifier);
        if (m_isSettled || isDone)
            wishes.append(wish.identifier);
        const PopRecord *known = m_memory->findStored(wish.identifier);
        if (m_isSettled && !isDone && known && known->absentSince == 0)
            undone += QString::fromLatin1(wish.identifier);
    }
    tellOfUndone(undone);
    return wishes;
}

void POPFetcher::tellOfUndone(const QStringList &names)
{
    if (names.isEmpty())
        return;
    addTrouble(names.size() == 1
                   ? tr("Message %1 was not deleted on the server: it is not certain that it is the one that "
                        "was received")
                         .arg(names.first())
                   : tr("%1 messages were not deleted on the server: it is not certain that they are those "
                        "that were received")
                         .arg(names.size()));
    for (const QString &name : names)
        account()->log(tr("Not deleted on the server: %1").arg(name));
}

/// The server has deleted what it was told to.
void POPFetcher::confirmDeletions()
{
    if (m_task != PopTask::Fetch || !m_plan || !account())
        return;
    for (const int number : m_deleted) {
        const PopRecord *known = m_memory->find(m_plan->items()[std::size_t(number)].name);
        if (!known)
            continue;
        PopRecord record = *known;
        record.isDeleted = true;
        record.absentSince = clockSeconds();
        m_memory->remember(record);
    }
    const QList<QByteArray> wishes = deletionsDone();
    if (wishes.isEmpty())
        return;
    IdentifierList toDelete(account()->number(), IdentifierList::Purpose::Delete);
    if (!toDelete.remove(wishes))
        note(u"Deletions that were done will be asked for again"_s);
}

void POPFetcher::showTransfer(const PopCommand &command)
{
    if (!isTime(m_sinceStatus))
        return;
    const QString number = QString::number(m_plan->items()[std::size_t(command.item)].message.number);
    const QString at = QString::number(std::min(m_done + 1, m_transfer->total()));
    const QString total = QString::number(m_transfer->total());
    const qint64 bytes = m_transfer->totalBytes();
    switch (command.kind) {
    case PopCommandKind::Top: return setStatus(tr("Fetching header %1 of %2...").arg(at, total), false);
    case PopCommandKind::Dele: return setStatus(tr("Deleting message %1...").arg(number), false);
    case PopCommandKind::Retr: break;
    }
    const QString percent = QString::number(bytes > 0 ? std::min<qint64>(m_doneBytes * 100 / bytes, 100) : 0);
    setStatus(tr("Fetching message %1 of %2 (%3% of %4)...")
                  .arg(at, total, percent, QLocale().formattedDataSize(bytes, 1, QLocale::DataSizeSIFormat)),
              false);
}

/// The server hung up while a message was awaited: it counts as a refusal, or one that it cannot read would
/// end every session before those behind it. Empty: it is not the third time.
QString POPFetcher::hungUpAtMessage()
{
    if (m_state == State::BodyText)
        noteBodyRefused(); // the next fetch tells of it
    if (m_state != State::Transfer || !m_transfer->isWaiting())
        return {};
    const PopCommand command = m_transfer->current();
    PopItem &item = m_plan->items()[std::size_t(command.item)];
    const bool brings = command.kind == PopCommandKind::Retr ||
                        (command.kind == PopCommandKind::Top && item.action == PopAction::Header);
    if (!brings || !m_plan->noteRefusal(item))
        return {};
    return tr("The server hung up at message %1 for the third time. It is not asked for again.")
        .arg(item.message.number);
}

void POPFetcher::showProgress(bool now)
{
    if (m_task == PopTask::Bodies)
        return showBodies(now);
    if (!m_transfer || m_transfer->isLooking() || (!now && !isTime(m_sinceProgress)))
        return;
    const qint64 bytes = m_doneBytes + (m_inText ? m_text.octets() : 0);
    emit progressed(std::min(bytes, m_transfer->totalBytes()), m_transfer->totalBytes(),
                    std::min(m_done, m_transfer->total()), m_transfer->total());
}
