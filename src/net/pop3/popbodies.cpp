#include "net/pop3/popfetcher.h"

#include "config/clock.h"
#include "net/pop3/popbatch.h"
#include "net/pop3/popheader.h"
#include "net/pop3/popmemory.h"

#include <algorithm>
#include <utility>

// Requests for single messages, on a connection that stays.

using namespace Qt::StringLiterals;

namespace {
constexpr qsizetype kLongestReply = 512;  ///< bytes; what is behind might be millions of words
constexpr int kProgressMilliseconds = 50; ///< between two words about it: nobody can read so fast
} // namespace

bool POPFetcher::request(const POPFetcherBodyRequest &request)
{
    if (m_task != PopTask::Bodies || m_state == State::Quit || m_state == State::Ended || hasEnded())
        return false;
    m_requests.push_back(request);
    ++m_wanted;
    if (m_memory)
        m_wantedBytes += sizeOf(request);
    if (m_state == State::Idle)
        serveNext();
    return true;
}

void POPFetcher::forget(const QByteArray &identifier)
{
    const auto found = std::find_if(m_requests.begin(), m_requests.end(),
                                    [&](const auto &request) { return request.identifier == identifier; });
    if (found == m_requests.end())
        return;
    --m_wanted;
    m_wantedBytes -= sizeOf(*found);
    m_requests.erase(found);
}

/// What is remembered of the message that is being asked for; null: nothing.
const PopRecord *POPFetcher::wanted() const
{
    return m_memory->findStored(m_request.identifier);
}

/// 0: nobody knows.
qint64 POPFetcher::sizeOf(const POPFetcherBodyRequest &request) const
{
    const PopRecord *known = m_memory ? m_memory->findStored(request.identifier) : nullptr;
    return std::max<qint64>(known ? known->size : sizeInMadeIdentifier(request.identifier), 0);
}

void POPFetcher::serveNext()
{
    if (m_requests.empty() || m_batch->isFull()) {
        if (!finishBodies())
            return;
    }
    m_isServing = !m_requests.empty();
    if (!m_isServing) {
        m_state = State::Idle;
        setTimeLimit(0);
        m_idleTime.start();
        m_wanted = m_done = 0;
        m_wantedBytes = m_doneBytes = 0;
        setStatus(tr("Idle"), true); // perhaps somebody has a request then
        emit idleChanged();
        return;
    }
    m_request = m_requests.front();
    m_requests.pop_front();
    beginServing();
    if (m_state == State::Ended) // stopped by who heard of it
        return;
    const PopRecord *known = wanted();
    if (sizeInMadeIdentifier(known ? known->identifier : m_request.identifier) >= 0)
        return say("LIST", State::BodySizes); // the server has no name for it
    say("UIDL", State::BodyUidl);
}

void POPFetcher::beginServing()
{
    const bool wasIdle = m_state == State::Idle;
    m_state = State::BodyUidl;
    m_idleTime.stop();
    setTimeLimit(m_patience);
    m_candidates.clear();
    m_listedNames.clear();
    if (wasIdle)
        emit idleChanged();
    setStatus(tr("Listing mailbox contents..."), true);
}

void POPFetcher::slotIdleForLong()
{
    if (m_state == State::Idle)
        quit();
}

void POPFetcher::bodyUidlReply(const QByteArray &line)
{
    if (!isPositive(line))
        return tryCandidate(); // there is none: the server has no identifiers any more
    m_listed = 0;
    m_state = State::BodyUidlList;
}

void POPFetcher::bodyUidlLine(const QByteArray &line)
{
    const PopRecord *known = wanted();
    if (line == ".") {
        m_memory->setListed(m_listedNames);
        // Perhaps it has another name now: it is looked for by its size, and known by its header.
        if (m_candidates.empty() && known && known->isKnownInDetail() && m_memory->isRenumbered())
            return say("LIST", State::BodySizes);
        return tryCandidate();
    }
    if (++m_listed > PopListing::kMostMessages)
        return endOfEndless();
    const auto entry = PopListing::numbered(line);
    if (!entry)
        return;
    const QByteArray name = popIdentifier(entry->second);
    m_listedNames.insert(name);
    if (name == (known ? known->identifier : m_request.identifier))
        m_candidates.push_back(entry->first);
}

void POPFetcher::bodySizesReply(const QByteArray &line)
{
    if (!isPositive(line))
        return endWithReply(line);
    m_listed = 0;
    m_state = State::BodySizeList;
}

void POPFetcher::bodySizesLine(const QByteArray &line)
{
    if (line == ".")
        return tryCandidate();
    if (++m_listed > PopListing::kMostMessages)
        return endOfEndless();
    const auto entry = PopListing::numbered(line);
    if (entry && entry->second.toByteArray().trimmed().toLongLong() == soughtSize())
        m_candidates.push_back(entry->first);
}

qint64 POPFetcher::soughtSize() const
{
    const PopRecord *known = wanted();
    return known && known->size >= 0 ? known->size : sizeInMadeIdentifier(m_request.identifier);
}

/// Takes the next message that may be the one. What nobody remembers is of another mailbox: whatever has its
/// name there is not what waits.
void POPFetcher::tryCandidate()
{
    const PopRecord *known = wanted();
    const bool isOfThis =
        (known && known->isFetched) || !headerInMadeIdentifier(m_request.identifier).isEmpty();
    if (m_candidates.empty() || !isOfThis)
        return failRequest(tr("Message no longer exists"));
    const QByteArray number = QByteArray::number(m_candidates.front());
    setStatus(tr("Fetching message %1...").arg(m_candidates.front()), true);
    say("LIST " + number, State::BodySize);
}

/// The size is asked for so that a message of another size is not fetched, nor one that is too large.
void POPFetcher::bodySizeReply(const QByteArray &line)
{
    bool isNumber = false;
    m_bodySize = line.left(kLongestReply).simplified().split(' ').value(2).toLongLong(&isNumber);
    if (!isPositive(line) || !isNumber)
        m_bodySize = -1;
    const PopRecord *record = wanted();
    const bool isAnother =
        record && record->isKnownInDetail() && m_bodySize >= 0 && m_bodySize != record->size;
    if (isAnother) {
        m_candidates.pop_front();
        return tryCandidate();
    }
    if (m_bodySize > DotText::kMostBytes)
        return failRequest(tr("The message is larger than 1 GB and stays on the server"));
    socket()->setBlockMode(true);
    say("RETR " + QByteArray::number(m_candidates.front()), State::BodyText);
}

void POPFetcher::bodyReply(const QByteArray &line)
{
    if (isPositive(line)) {
        beginText(m_bodySize);
        return;
    }
    const PopRecord record = noteBodyRefused();
    if (!record.isSetAside() || !line.startsWith("-ERR"))
        return endWithReply(line);
    failRequest(QString::fromUtf8(line.left(1000)));
}

/// What is remembered of it then.
PopRecord POPFetcher::noteBodyRefused()
{
    const PopRecord *known = wanted();
    PopRecord record = known ? *known : PopRecord();
    if (!known)
        record.identifier = m_request.identifier;
    ++record.refusals;
    m_memory->remember(record);
    return record;
}

void POPFetcher::bodyText(const QByteArray &text)
{
    const QByteArray header = headerDigest(text);
    const PopRecord *known = wanted();
    const QByteArray awaited =
        known && known->isKnownInDetail() ? known->header : headerInMadeIdentifier(m_request.identifier);
    if (!awaited.isEmpty() && awaited != header) {
        m_candidates.pop_front();
        return tryCandidate();
    }
    PopRecord record = known ? *known : PopRecord();
    if (!known)
        record.identifier = m_request.identifier;
    record.refusals = 0;
    record.size = m_bodySize >= 0 ? m_bodySize : record.size;
    record.header = header;
    record.isFetched = true;
    record.isHeaderOnly = false;
    if (record.taken == 0)
        record.taken = clockSeconds();
    const ReceivedMessage message{text, m_request.identifier, false, std::max<qint64>(record.size, 0)};
    if (!m_batch->complete(int(m_inBatch.size()), m_request.place, message, record))
        return end(AccountFetchReason::WithErrors, tr("The mail could not be stored"));
    m_inBatch.push_back(m_request);
    served();
    serveNext();
}

void POPFetcher::served()
{
    m_isServing = false;
    ++m_done;
    m_doneBytes += sizeOf(m_request);
    showBodies(true);
}

void POPFetcher::showBodies(bool now)
{
    if (m_wanted == 0 ||
        (!now && m_sinceProgress.isValid() && m_sinceProgress.elapsed() < kProgressMilliseconds))
        return;
    m_sinceProgress.start();
    const qint64 total = std::max<qint64>(m_wantedBytes, 0);
    const qint64 bytes = m_doneBytes + (m_inText ? m_text.octets() : 0);
    emit progressed(std::min(bytes, total), total, std::min(m_done, m_wanted), m_wanted);
}

void POPFetcher::failRequest(const QString &reason)
{
    served();
    emit bodyFailed(m_request, reason);
    if (m_state != State::Ended)
        serveNext();
}

/// False: the session has ended, or has to.
bool POPFetcher::finishBodies()
{
    std::vector<int> safe;
    const bool finished = m_batch->isEmpty() || m_batch->finish(safe);
    const std::vector<POPFetcherBodyRequest> requests = std::exchange(m_inBatch, {});
    for (const POPFetcherBodyRequest &request : requests) {
        if (finished)
            emit bodyFetched(request);
        else
            m_requests.push_back(request); // it fails with those that wait
    }
    m_received |= finished && !requests.empty();
    if (!finished)
        end(AccountFetchReason::WithErrors, tr("The mail could not be stored"));
    return finished;
}

void POPFetcher::failAll(const QString &reason)
{
    if (m_isServing)
        m_requests.push_front(m_request);
    m_isServing = false;
    for (const POPFetcherBodyRequest &request : std::exchange(m_requests, {}))
        emit bodyFailed(request, reason);
}
