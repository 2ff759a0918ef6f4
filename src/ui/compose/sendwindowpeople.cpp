#include "compose/similaraddress.h"
#include "ui/compose/composeattachments.h"
#include "ui/compose/composeheader.h"
#include "ui/compose/sendwindow.h"
#include "ui/look/askingbar.h"
#include "ui/texts/harmless.h"
#include "ui/texts/sizetext.h"

using namespace Qt::StringLiterals;

// What the compose window notices while it is written: addresses, secrecy, size.

namespace {

constexpr int kMostLookedAt = 20; ///< new addresses at once: a longer list was not typed
constexpr int kLongestName = 40;  ///< of a person or an address in the bar

constexpr ComposeHeader::Field kPeople[] = {ComposeHeader::Field::To, ComposeHeader::Field::Cc,
                                            ComposeHeader::Field::Bcc};

QString shortened(const QString &text)
{
    return harmlessLine(text, kLongestName);
}

} // namespace

/// What is no address, and what is one slip of a key away from one that is known.
QString SendWindow::doubtAbout(const Address &address) const
{
    if (address.address.isEmpty())
        return tr("There is no address.");
    if (!isValidAddress(address.address))
        return tr("This is not an address.");
    const QString meant = m_doubts.value(address.address.toLower());
    return meant.isEmpty() ? QString() : tr("It is new here. Did you mean %1?").arg(shortened(meant));
}

/// Those that were not looked at yet. Before all who are known have been found, nobody is new.
QStringList SendWindow::newPeople()
{
    QStringList fresh;
    for (const ComposeHeader::Field field : kPeople)
        for (const RecipientPill &pill : m_header->recipients(field)->pills().all()) {
            const QString address = pill.address.address;
            const bool wasSeen = m_seenPeople.contains(address.toLower());
            const bool isNew = !wasSeen && m_services.composer.isNew(address);
            if (isNew)
                fresh.append(address);
            if (isNew || (!wasSeen && m_services.composer.isKnown(address)))
                m_seenPeople.insert(address.toLower());
        }
    return fresh;
}

/// Tells of the first new address that looks like a known one, as soon as it is a pill.
void SendWindow::lookAtNewPeople()
{
    if (isTurnedOff(SendProblem::NewAddress) || m_isSending)
        return;
    const QStringList fresh = newPeople();
    if (fresh.isEmpty() || fresh.size() > kMostLookedAt)
        return;
    const QStringList known = m_services.composer.knownAddresses();
    for (const QString &address : fresh) {
        const QString meant = similarAddress(address, known);
        if (meant.isEmpty())
            continue;
        m_doubts.insert(address.toLower(), meant);
        m_header->judgeAgain();
        m_bar->ask(
            MessageBar::Kind::Warning,
            tr("%1 is new and one letter away from %2.").arg(shortened(address), shortened(meant)),
            {tr("Use %1").arg(nameOf(meant)), [this, address, meant] { replacePerson(address, meant); }},
            {tr("Keep"), [this, address] {
                 m_doubts.remove(address.toLower());
                 m_kept.insert(address.toLower());
                 m_header->judgeAgain();
             }});
        return;
    }
}

QString SendWindow::similarTo(const QString &address) const
{
    return similarAddress(address, m_services.composer.knownAddresses());
}

/// "Hanna's address", or the address itself.
QString SendWindow::nameOf(const QString &address) const
{
    for (const Composer::KnownAddress &each : m_services.composer.complete(address, 1))
        if (each.address.address.compare(address, Qt::CaseInsensitive) == 0 && !each.address.name.isEmpty())
            return tr("%1's address").arg(shortened(each.address.name.section(u' ', 0, 0)));
    return shortened(address);
}

void SendWindow::replacePerson(const QString &address, const QString &better)
{
    Address person{QString(), better};
    for (const Composer::KnownAddress &each : m_services.composer.complete(better, 1))
        if (each.address.address.compare(better, Qt::CaseInsensitive) == 0)
            person = each.address;
    for (const ComposeHeader::Field field : kPeople)
        m_header->recipients(field)->replace(address, person);
    m_doubts.remove(address.toLower());
    changed();
}

void SendWindow::moveToBcc()
{
    const QString to = m_header->text(ComposeHeader::Field::To);
    const QString cc = m_header->text(ComposeHeader::Field::Cc);
    const QString bcc = m_header->text(ComposeHeader::Field::Bcc);
    m_header->moveToBcc();
    m_bar->ask(MessageBar::Kind::Good, tr("Nobody sees the others now: all recipients are in Bcc."),
               {tr("Undo"), [this, to, cc, bcc] {
                    m_header->setText(ComposeHeader::Field::To, to);
                    m_header->setText(ComposeHeader::Field::Cc, cc);
                    m_header->setText(ComposeHeader::Field::Bcc, bcc);
                }});
}

/// It cannot leave like this, and the writer learns of it before the work is done.
void SendWindow::warnOfEncryption()
{
    m_bar->ask(MessageBar::Kind::Warning,
               tr("This message is to be encrypted, which is not possible yet. It cannot be sent like this."),
               {tr("Do not encrypt"), [this] {
                    m_rest.encrypt = false;
                    changed();
                }});
}

void SendWindow::warnOfSize()
{
    const QString files = sizeText(m_attachments->sum());
    m_bar->tell(MessageBar::Kind::Warning,
                m_attachments->limit() > 0
                    ? tr("The server takes no messages as large as this one with its %1 of files.").arg(files)
                    : tr("Many servers refuse a message with %1 of files.").arg(files));
}
