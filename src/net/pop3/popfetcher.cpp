#include "net/pop3/popfetcher.h"

#include "config/reporter.h"
#include "config/settings.h"
#include "net/account.h"
#include "net/identifierlist.h"
#include "net/pop3/popbatch.h"
#include "net/pop3/popmemory.h"
#include "net/pop3/popplan.h"
#include "net/pop3/poptransfer.h"

#include <algorithm>

// The dialogue: what is awaited, how lines are said and heard, and the end. The login, the fetch and the
// requests for single messages have files of their own.

using namespace Qt::StringLiterals;

namespace {

/// Reading goes on in the next pass of the event loop after so long.
constexpr int kSliceMilliseconds = 8;

constexpr int kIdleMilliseconds = 60 * 1000;

QByteArray withoutLineEnd(QByteArray line)
{
    while (line.endsWith('\n') || line.endsWith('\r'))
        line.chop(1);
    return line;
}

} // namespace

constexpr std::array<POPFetcher::Step, std::size_t(POPFetcher::State::Ended) + 1> POPFetcher::s_steps = {{
    {State::Connecting, QT_TRANSLATE_NOOP("POPFetcher", "a connection"), &POPFetcher::ignore},
    {State::Greeting, QT_TRANSLATE_NOOP("POPFetcher", "the greeting"), &POPFetcher::greeting},
    {State::Capa, QT_TRANSLATE_NOOP("POPFetcher", "the reply to CAPA"), &POPFetcher::capaReply},
    {State::CapaList, QT_TRANSLATE_NOOP("POPFetcher", "the list of capabilities"), &POPFetcher::capaLine},
    {State::Stls, QT_TRANSLATE_NOOP("POPFetcher", "the reply to STLS"), &POPFetcher::stlsReply},
    {State::Handshake, QT_TRANSLATE_NOOP("POPFetcher", "encryption"), &POPFetcher::ignore},
    {State::Apop, QT_TRANSLATE_NOOP("POPFetcher", "the reply to APOP"), &POPFetcher::apopReply},
    {State::User, QT_TRANSLATE_NOOP("POPFetcher", "the reply to USER"), &POPFetcher::userReply},
    {State::Pass, QT_TRANSLATE_NOOP("POPFetcher", "the reply to PASS"), &POPFetcher::passReply},
    {State::Stat, QT_TRANSLATE_NOOP("POPFetcher", "the reply to STAT"), &POPFetcher::statReply},
    {State::Uidl, QT_TRANSLATE_NOOP("POPFetcher", "the reply to UIDL"), &POPFetcher::uidlReply},
    {State::UidlList, QT_TRANSLATE_NOOP("POPFetcher", "the list of identifiers"), &POPFetcher::uidlLine},
    {State::List, QT_TRANSLATE_NOOP("POPFetcher", "the reply to LIST"), &POPFetcher::listReply},
    {State::SizeList, QT_TRANSLATE_NOOP("POPFetcher", "the list of sizes"), &POPFetcher::sizeLine},
    {State::Transfer, QT_TRANSLATE_NOOP("POPFetcher", "messages"), &POPFetcher::transferReply},
    {State::Idle, QT_TRANSLATE_NOOP("POPFetcher", "nothing"), &POPFetcher::nothingAwaited},
    {State::BodyUidl, QT_TRANSLATE_NOOP("POPFetcher", "the reply to UIDL"), &POPFetcher::bodyUidlReply},
    {State::BodyUidlList, QT_TRANSLATE_NOOP("POPFetcher", "the list of identifiers"),
     &POPFetcher::bodyUidlLine},
    {State::BodySizes, QT_TRANSLATE_NOOP("POPFetcher", "the reply to LIST"), &POPFetcher::bodySizesReply},
    {State::BodySizeList, QT_TRANSLATE_NOOP("POPFetcher", "the list of sizes"), &POPFetcher::bodySizesLine},
    {State::BodySize, QT_TRANSLATE_NOOP("POPFetcher", "the size of a message"), &POPFetcher::bodySizeReply},
    {State::BodyText, QT_TRANSLATE_NOOP("POPFetcher", "a message"), &POPFetcher::bodyReply},
    {State::Quit, QT_TRANSLATE_NOOP("POPFetcher", "the reply to QUIT"), &POPFetcher::quitReply},
    {State::Ended, QT_TRANSLATE_NOOP("POPFetcher", "nothing"), &POPFetcher::ignore},
}};

POPFetcher::POPFetcher(Account &account, PopTask task, std::unique_ptr<MailReceiver> receiver,
                       QObject *parent)
    : Fetcher(account, parent)
    , m_task(task)
    , m_receiver(std::move(receiver))
{
    static_assert([] {
        for (std::size_t row = 0; row < s_steps.size(); ++row) {
            if (std::size_t(s_steps[row].state) != row)
                return false;
        }
        return true;
    }());
    for (QTimer *timer : {&m_slice, &m_batchTime, &m_idleTime})
        timer->setSingleShot(true);
    connect(&m_slice, &QTimer::timeout, this, &POPFetcher::readBlocks);
    connect(&m_batchTime, &QTimer::timeout, this, &POPFetcher::slotBatchIsOld);
    connect(&m_idleTime, &QTimer::timeout, this, &POPFetcher::slotIdleForLong);
    m_batchTime.setInterval(PopBatch::kMostMilliseconds);
    m_idleTime.setInterval(kIdleMilliseconds);
}

POPFetcher::~POPFetcher() = default;

bool POPFetcher::start()
{
    if (!account() || (m_task != PopTask::LoginTest && !loadMemory()))
        return false;
    m_user = account()->data().user.toUtf8();
    m_password = account()->password().toUtf8();
    m_patience = std::clamp(intSetting(Setting::POPTimeout), 1, 24 * 3600) * 1000;
    setTimeLimit(m_patience);
    openConnection();
    return true;
}

bool POPFetcher::loadMemory()
{
    const AccountData &data = account()->data();
    m_memory = std::make_unique<PopMemory>(data.number, data.user, data.host);
    if (!m_memory->load()) {
        setLastError(tr("What was fetched before cannot be read"));
        return false;
    }
    const std::optional<QList<QByteArray>> recovered = m_receiver->recover();
    if (!recovered) {
        setLastError(tr("Mail cannot be stored now"));
        return false;
    }
    m_memory->addRecovered(*recovered);
    if (!m_memory->commit()) {
        setLastError(tr("What was fetched cannot be remembered"));
        return false;
    }
    if (!recovered->isEmpty())
        m_receiver->remembered();
    if (!m_memory->settleMailbox()) {
        setLastError(tr("What was fetched before cannot be read"));
        return false;
    }
    m_batch = std::make_unique<PopBatch>(*m_receiver, *m_memory);
    for (const POPFetcherBodyRequest &request : m_requests)
        m_wantedBytes += sizeOf(request);
    return true;
}

/// The one place that speaks: @p shown is what the log gets to see of a secret.
void POPFetcher::say(const QByteArray &command, State next, const QByteArray &shown)
{
    m_state = next;
    logLine(">>>> ", shown.isEmpty() ? command : shown);
    const QByteArray line = command + "\r\n";
    socket()->writeBlock(line.constData(), line.size());
}

void POPFetcher::hear(const QByteArray &line)
{
    m_bareLineEnds = !line.endsWith("\r\n");
    const QByteArray text = withoutLineEnd(line);
    logLine("<<<< ", text);
    (this->*step().onLine)(text);
}

void POPFetcher::slotLineAvailable(const QString &line)
{
    if (m_state != State::Ended)
        hear(line.toLatin1());
}

void POPFetcher::slotBlockAvailable(const QByteArray &block)
{
    m_input.add(block);
    if (!m_slice.isActive())
        readBlocks();
}

/// From the first text on everything comes in blocks, and replies are cut out of them here.
void POPFetcher::readBlocks()
{
    QElapsedTimer time;
    time.start();
    while (m_state != State::Ended && !m_input.isEmpty() && time.elapsed() < kSliceMilliseconds) {
        if (!m_inText) {
            const QByteArray line = m_input.takeLine();
            if (!line.isNull())
                hear(line);
            else if (m_input.isLineTooLong())
                slotLineTooLong();
            continue;
        }
        QByteArrayView rest = m_input.rest();
        const bool complete = m_text.take(rest);
        m_input.setRest(rest);
        if (m_text.isTooLong())
            return textTooLong();
        if (complete)
            textComplete();
    }
    if (m_state == State::Ended)
        return;
    showProgress(false);
    socket()->setPaused(!m_input.isEmpty());
    if (!m_input.isEmpty())
        m_slice.start(0);
    else if (m_isClosed)
        slotConnectionClosed();
}

void POPFetcher::beginText(qint64 size)
{
    m_text.begin(size, m_bareLineEnds);
    m_inText = true;
}

void POPFetcher::textComplete()
{
    m_inText = false;
    logLine("<<<< ", '(' + QByteArray::number(m_text.lines()) + " lines, " +
                         QByteArray::number(m_text.octets()) + " bytes)");
    QByteArray text = m_text.takeText();
    if (m_state == State::Transfer)
        transferText(text);
    else
        bodyText(text);
    m_text.giveBack(std::move(text));
}

/// It counts as a refusal, so that a message without an end does not end every session to come.
void POPFetcher::textTooLong()
{
    if (m_state == State::Transfer)
        m_plan->noteRefusal(m_plan->items()[std::size_t(m_transfer->current().item)]);
    end(AccountFetchReason::Unexpected, tr("The server sent a message of more than 1 GB"));
}

/// The one place that ends: what has arrived is made safe first.
void POPFetcher::end(AccountFetchReason reason, const QString &detail)
{
    if (std::exchange(m_state, State::Ended) == State::Ended || hasEnded())
        return;
    m_slice.stop();
    m_idleTime.stop();
    showProgress(true);
    if (m_batch && !m_batch->isBroken()) {
        if (m_task == PopTask::Bodies)
            finishBodies();
        else
            finishBatch();
    }
    keepMemory();
    closeConnection();
    failAll(detail.isEmpty() ? tr("The connection has ended") : detail);
    if (reason == AccountFetchReason::None) {
        setStatus(tr("Transfer complete"), true);
        return complete(m_received);
    }
    setLastError(detail);
    fail(reason, detail, m_received);
}

/// Of a batch that broke, what was announced is still needed: its messages may be in the store.
void POPFetcher::keepMemory()
{
    const bool isBroken = m_batch && m_batch->isBroken();
    if (m_memory && !(isBroken ? m_memory->commit() : m_memory->save()))
        note(u"What is remembered of the server is not up to date"_s);
}

void POPFetcher::endWithReply(const QByteArray &line)
{
    end(AccountFetchReason::Unexpected, QString::fromUtf8(line.left(1000)));
}

/// What does not end the session but is told when it ends.
void POPFetcher::addTrouble(const QString &text)
{
    m_reason = AccountFetchReason::WithErrors;
    m_detail += (m_detail.isEmpty() ? QString() : u"\n"_s) + text;
}

void POPFetcher::quit()
{
    setStatus(tr("Disconnecting..."), true);
    setTimeLimit(m_patience);
    say("QUIT", State::Quit);
}

void POPFetcher::quitReply(const QByteArray &line)
{
    if (isPositive(line))
        confirmDeletions();
    end(m_reason, m_detail);
}

void POPFetcher::nothingAwaited(const QByteArray &line)
{
    endWithReply(line);
}

void POPFetcher::stop()
{
    if (m_state == State::Ended || m_state == State::Quit)
        return;
    m_reason = AccountFetchReason::Stopped;
    m_detail.clear();
    const bool isFree = m_state == State::Idle || (m_state == State::Transfer && !m_transfer->isWaiting());
    if (isFree && finishBatch())
        quit();
    else
        end(AccountFetchReason::Stopped);
}

void POPFetcher::slotConnectionError(int code)
{
    if (m_state == State::Quit)
        return end(m_reason, m_detail); // some servers do not close, they break off
    end(AccountFetchReason::Unreachable, connectionFailure(code));
}

void POPFetcher::slotLineTooLong()
{
    end(AccountFetchReason::Unexpected, tr("The server sent a line of more than 64 MB"));
}

/// What arrived before it is read first.
void POPFetcher::slotConnectionClosed()
{
    m_isClosed = true;
    if (!m_input.isEmpty() && m_state != State::Ended)
        return;
    if (m_state == State::Quit)
        return end(m_reason, m_detail);
    const QString setAside = hungUpAtMessage();
    if (!setAside.isEmpty())
        return end(AccountFetchReason::WithErrors, setAside);
    end(AccountFetchReason::ConnectionClosed, tr("Awaited was: %1").arg(tr(step().awaits)));
}

void POPFetcher::slotTimeout()
{
    end(AccountFetchReason::TimedOut, tr("Awaited was: %1").arg(tr(step().awaits)));
}
