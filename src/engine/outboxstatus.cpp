#include "config/clock.h"
#include "config/settings.h"
#include "engine/outbox.h"
#include "identity/identitymanager.h"
#include "store/groupstore.h"

#include <QLocale>

// What people are told of a waiting message.

using namespace Qt::StringLiterals;

namespace {

/// The time alone where it is today.
QString timeInWords(qint64 seconds)
{
    const QDateTime time = QDateTime::fromSecsSinceEpoch(seconds);
    const QLocale locale;
    return time.date() == clockNow().date() ? locale.toString(time.time(), QLocale::ShortFormat)
                                            : locale.toString(time, QLocale::ShortFormat);
}

QString sentence(const QString &text)
{
    const QString line = text.simplified();
    return line.isEmpty() || line.endsWith(u'.') ? line : line + u'.';
}

} // namespace

QString Outbox::status(quint64 ticket) const
{
    const OutboxRecord *record = m_file.find(ticket);
    if (!record || record->away || record->isLetGo)
        return {};
    const qint64 now = clockSeconds();
    const OutboxEntry entry = record->entry(now);
    const qint64 left = record->due - now;
    switch (entry.state) {
    case OutboxState::Held:
        return !entry.countsDown ? tr("The message is held until %1.").arg(timeInWords(entry.due))
               : left == 1       ? tr("The message is sent in 1 second.")
                                 : tr("The message is sent in %1 seconds.").arg(left);
    case OutboxState::Waiting: return waitingStatus(*record);
    case OutboxState::Sending:
        return record->isServed() ? tr("The message was sent and is being filed.")
                                  : tr("The message is being sent.");
    case OutboxState::PerhapsSent:
        return tr("Nobody knows whether the message was sent. %1").arg(sentence(entry.reason)).trimmed();
    case OutboxState::Retrying:
        return tr("It could not be sent and is tried again at %1: %2")
            .arg(timeInWords(entry.due), sentence(entry.reason));
    case OutboxState::Refused:
        return record->isTaken ? tr("The message was about to be edited again.")
                               : tr("It could not be sent: %1").arg(sentence(entry.reason));
    }
    return {};
}

QString Outbox::statusAt(MessageRef place) const
{
    QStringList lines;
    for (const OutboxEntry &entry : entries()) {
        if (entry.place == place)
            lines += status(entry.ticket);
    }
    lines.removeDuplicates();
    return lines.join(u'\n');
}

/// Nothing of its own keeps it: why it has not gone all the same.
QString Outbox::waitingStatus(const OutboxRecord &record) const
{
    if (group().needsRepair())
        return tr("The message waits until the outbox is repaired.");
    if (!m_identities.isReadable())
        return tr("The message waits: the list of your identities cannot be read.");
    if (!isWanted(record))
        return tr("The message waits until you send it.");
    if (record.account == 0 && record.transport == OutboxTransport::News)
        return tr("The message waits for an account for news.");
    const Identity *identity = m_identities.identity(record.identity);
    if (record.account == 0 && identity)
        return tr("The message waits for an account that sends for %1.").arg(identity->display());
    if (record.account == 0)
        return tr("The message waits for an account that sends it.");
    return accountStatus(record);
}

QString Outbox::accountStatus(const OutboxRecord &record) const
{
    const Account *account = m_accounts.account(record.account);
    if (!account)
        return tr("The message waits for an account that sends it.");
    const QString name = account->name();
    if (account->data().has(AccountLeftOut))
        return tr("The message waits: account “%1” is held back.").arg(name);
    if (!isOnline())
        return tr("The message waits until Velmar is online again.");
    if (account->isFetching())
        return tr("The message is sent next; “%1” is at work.").arg(name);
    const Sendoff::Trouble trouble = m_sendoff.trouble(record.account);
    const bool waitsForUser =
        account->mark() == AccountMark::PasswordWanted || account->mark() == AccountMark::LoginRefused;
    if (waitsForUser && !account->markText().isEmpty())
        return tr("The message waits for you: %1").arg(sentence(account->markText()));
    if (trouble.isStopped)
        return tr("The message waits: sending through “%1” was stopped.").arg(name);
    if (trouble.notBefore > clockSeconds())
        return tr("It is tried again at %1: %2").arg(timeInWords(trouble.notBefore), sentence(trouble.said));
    if (!record.reason.isEmpty())
        return tr("The message waits to be sent again: %1").arg(sentence(record.reason));
    if (record.transport == OutboxTransport::News)
        return tr("The message waits until “%1” is fetched.").arg(name);
    return tr("The message waits to be sent.");
}
