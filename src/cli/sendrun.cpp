#include "cli/sendrun.h"

#include "cli/terminalquestions.h"
#include "config/settings.h"
#include "config/terminationsignals.h"
#include "net/fetchreason.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int kLook = 50;            ///< milliseconds between two looks at how far it is
constexpr int kLongestStop = 10'000; ///< milliseconds that servers get to say goodbye

} // namespace

SendRun::SendRun(Session &session)
    : m_session(session)
    , m_outbox(session.engine().outbox())
    , m_accounts(session.engine().accounts())
{
    m_timer.setInterval(kLook);
    connect(&m_timer, &QTimer::timeout, this, &SendRun::look);
    connect(&m_accounts, &AccountManager::fetchEnded, this,
            [this](const Account *account, AccountFetchReason reason, const QString &detail) {
                ended(*account, reason, detail);
            });
}

bool SendRun::run()
{
    std::vector<OutboxEntry> wanted = m_outbox.entries();
    std::erase_if(wanted, [](const OutboxEntry &entry) {
        return entry.state == OutboxState::Held || entry.transport != OutboxTransport::Mail;
    });
    m_outbox.sendWaiting(true);
    m_timer.start();
    if (m_accounts.isBusy())
        m_loop.exec();
    m_timer.stop();
    m_accounts.shutDown();
    m_outbox.finish();
    m_session.output().endProgress();
    const auto sent = std::count_if(wanted.begin(), wanted.end(),
                                    [this](const OutboxEntry &before) { return tell(before); });
    const auto failed = std::ptrdiff_t(wanted.size()) - sent;
    m_session.output().endTable();
    Row sum;
    sum.add("sent", qint64(sent)).add("failed", qint64(failed));
    m_session.output().row(sum);
    m_session.output().endTable();
    return failed == 0 && !m_isStopping;
}

void SendRun::look()
{
    if (!m_accounts.isBusy())
        return m_loop.quit();
    const TransferProgress progress = m_session.engine().transfers().progress();
    m_session.output().progress(progress.status.isEmpty() ? u"Sending"_s : progress.status, progress.bytes,
                                progress.totalBytes);
    if (!TerminationSignals::isRequested() || std::exchange(m_isStopping, true))
        return;
    m_accounts.setFetchesBlocked(true);
    m_accounts.stopAll();
    QTimer::singleShot(kLongestStop, &m_loop, &QEventLoop::quit);
}

/// In the product's own words, where those were not said already; what a server said of a message is told
/// with that.
void SendRun::ended(const Account &account, AccountFetchReason reason, const QString &detail)
{
    if (reason == AccountFetchReason::None || reason == AccountFetchReason::WithErrors)
        return;
    const QString message = fetchMessage(reason, account.name(), detail).simplified();
    m_troubles.insert(account.number(), message.isEmpty() ? u"The transfer was stopped"_s : message);
    if (!message.isEmpty() && boolSetting(Setting::SilentTransferErrors))
        m_session.output().complain(message);
    if (account.mark() == AccountMark::CertificateRefused && !account.markText().isEmpty())
        m_session.output().complain(account.markText());
    if (account.mark() == AccountMark::CertificateRefused && !account.refusedCertificate().isEmpty())
        m_session.output().complain(howToTrust(account.refusedCertificate()));
}

/// A row for what was there before; true when it was sent. What every server took, and stays because it could
/// not be filed, was: nobody may send it again.
bool SendRun::tell(const OutboxEntry &before)
{
    const OutboxEntry *left = m_outbox.entry(before.ticket);
    const bool isUnfiled = left && left->state == OutboxState::Sending; // no sender is left by now
    const bool isSent = !left || isUnfiled;
    const QString detail = isUnfiled ? u"sent; its copy is not stored yet"_s
                           : left    ? reasonOf(*left)
                                     : QString();
    Row row;
    row.add("number", qint64(before.place.article)).add("ok", isSent).add("detail", detail);
    m_session.output().row(row);
    if (!isSent)
        m_session.output().complain(u"Message %1 was not sent: %2"_s.arg(before.place.article).arg(detail));
    else if (isUnfiled)
        m_session.output().complain(
            u"Message %1 was sent; its copy is not stored yet"_s.arg(before.place.article));
    return isSent;
}

QString SendRun::reasonOf(const OutboxEntry &left) const
{
    const QString reason = left.reason.simplified();
    if (left.state == OutboxState::PerhapsSent)
        return u"It may have been sent already, and waits for you: %1"_s.arg(reason);
    if (left.state == OutboxState::Retrying)
        return u"%1; tried again at %2"_s.arg(reason,
                                              QDateTime::fromSecsSinceEpoch(left.due).toString(Qt::ISODate));
    if (!reason.isEmpty())
        return reason;
    if (const QString trouble = m_troubles.value(left.account); !trouble.isEmpty())
        return trouble;
    return left.account == 0 ? u"There is no outgoing account"_s
           : isOnline()      ? u"Its account cannot send now"_s
                             : u"Velmar is set to work offline"_s;
}
