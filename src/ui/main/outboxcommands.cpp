#include "ui/main/outboxcommands.h"

#include "config/clock.h"
#include "config/settings.h"
#include "engine/engine.h"
#include "ui/compose/sendlater.h"
#include "ui/texts/harmless.h"
#include "ui/texts/messagetexts.h"

#include <QScopedValueRollback>
#include <QSet>

#include <algorithm>
#include <map>

using namespace Qt::StringLiterals;

namespace {

constexpr int kSecond = 1000;       ///< milliseconds
constexpr int kLongestSubject = 60; ///< characters of a subject in a bar

bool hasTime(const OutboxEntry &entry)
{
    return entry.state == OutboxState::Held || entry.state == OutboxState::Retrying;
}

} // namespace

OutboxCommands::OutboxCommands(Engine &engine, QWidget *window)
    : QObject(window)
    , m_engine(engine)
    , m_window(window)
{
    Outbox &outbox = m_engine.outbox();
    m_counting.setInterval(kSecond);
    connect(&m_counting, &QTimer::timeout, this, &OutboxCommands::count);
    connect(&outbox, &Outbox::changed, this, &OutboxCommands::count);
    connect(&outbox, &Outbox::accountMissing, this,
            [this](int identity) { emit accountWanted(identity, m_isWished); });
    connect(&m_engine.accounts(), &AccountManager::fetchEnded, this,
            [this](const Account *account, AccountFetchReason reason) {
                const bool isGood = reason == AccountFetchReason::None;
                if (account->kind() != AccountKind::Smtp || isGood || reason == AccountFetchReason::Stopped)
                    return; // who stopped it knows
                const auto tell = [this, number = account->number()] { sessionFailed(number); };
                QMetaObject::invokeMethod(this, tell, Qt::QueuedConnection); // when the outbox knows, too
            });
    connect(&outbox, &Outbox::failed, this, &OutboxCommands::failed);
    connect(&outbox, &Outbox::perhapsSent, this, &OutboxCommands::doubted);
    count(); // what was held when the program ended
}

void OutboxCommands::count()
{
    lookAtFresh();
    const auto &entries = m_engine.outbox().entries();
    if (std::any_of(entries.begin(), entries.end(), hasTime))
        m_counting.start();
    else
        m_counting.stop();
    emit changed();
}

// --- What waits -----------------------------------------------------------------------------------------

bool OutboxCommands::anythingWaits() const
{
    return !m_engine.outbox().entries().empty();
}

bool OutboxCommands::isWaiting(MessageRef place) const
{
    return !place.isNull() && m_engine.outbox().entryAt(place);
}

bool OutboxCommands::canSendNow(MessageRef place) const
{
    const OutboxEntry *entry = place.isNull() ? nullptr : m_engine.outbox().entryAt(place);
    return entry && entry->state != OutboxState::Sending;
}

std::vector<MessageRef> OutboxCommands::countingDown() const
{
    std::vector<MessageRef> places;
    for (const OutboxEntry &each : m_engine.outbox().entries()) {
        const bool counts = each.state == OutboxState::Held && each.countsDown;
        if (counts && std::find(places.begin(), places.end(), each.place) == places.end())
            places.push_back(each.place);
    }
    return places;
}

QString OutboxCommands::subjectOf(MessageRef place) const
{
    Group *group = m_engine.groups().group(place.group);
    const std::optional<Overview> overview = group ? group->overview(place.article) : std::nullopt;
    return overview ? harmlessLine(subjectOrNone(group->texts(*overview).subject), kLongestSubject)
                    : QString();
}

QString OutboxCommands::countdownOf(MessageRef place) const
{
    const OutboxEntry *entry = m_engine.outbox().entryAt(place);
    const qint64 left = entry ? entry->due - clockSeconds() : 0;
    const QString subject = subjectOf(place);
    if (entry && left > 0 && !goesByItself(*entry, false))
        return left == 1 ? tr("“%1” stays in the outbox; 1 second to take it back.").arg(subject)
                         : tr("“%1” stays in the outbox; %2 seconds to take it back.").arg(subject).arg(left);
    return left <= 0   ? tr("“%1” is sent now.").arg(subject)
           : left == 1 ? tr("“%1” is sent in 1 second.").arg(subject)
                       : tr("“%1” is sent in %2 seconds.").arg(subject).arg(left);
}

/// One that is both mailed and posted has two.
std::vector<quint64> OutboxCommands::ticketsAt(MessageRef place) const
{
    std::vector<quint64> tickets;
    for (const OutboxEntry &each : m_engine.outbox().entries())
        if (each.place == place)
            tickets.push_back(each.ticket);
    return tickets;
}

OutboxCommands::State OutboxCommands::stateOf(MessageRef place)
{
    const OutboxEntry *entry = place.isNull() ? nullptr : m_engine.outbox().entryAt(place);
    if (!entry)
        return {};
    State state;
    state.phase = int(entry->state);
    state.text = harmlessLine(m_engine.outbox().statusAt(place).replace(u'\n', u' '));
    const auto sendNow = [this, ticket = entry->ticket] { this->sendNow(ticket); };
    const AskingBar::Answer edit = {tr("Edit"), [this, place] { takeBack(place); }};
    switch (entry->state) {
    case OutboxState::Sending: return state;
    case OutboxState::PerhapsSent:
        state.kind = MessageBar::Kind::Warning;
        state.first = {tr("Send again"), sendNow};
        state.second = {tr("It was sent"), [this, place] { settleAsSent(place); }};
        return state;
    case OutboxState::Refused:
        state.kind = MessageBar::Kind::Warning;
        state.first = edit;
        state.second = {tr("Send again"), sendNow};
        return state;
    case OutboxState::Held:
    case OutboxState::Waiting:
    case OutboxState::Retrying:
        state.first = edit;
        state.second = {tr("Send now"), sendNow};
        return state;
    }
    return state;
}

// --- What the user does ---------------------------------------------------------------------------------

void OutboxCommands::sendWaiting()
{
    const auto sendAll = [this] {
        for (const OutboxEntry &each : m_engine.outbox().entries())
            if (each.state == OutboxState::Waiting)
                m_fresh.insert(each.ticket, true);
        wish([this] { m_engine.outbox().sendWaiting(true); });
        lookAtFresh();
    };
    if (isOnline())
        return sendAll();
    emit told(MessageBar::Kind::Information, tr("Velmar works offline: what is written waits in the outbox."),
              {tr("Go online and send"), [this, sendAll] {
                   emit onlineWanted();
                   sendAll();
               }});
}

/// What is sent now is sent because the user said so.
void OutboxCommands::wish(const std::function<void()> &send)
{
    const QScopedValueRollback wished(m_isWished, true);
    send();
}

void OutboxCommands::sendNow(const QList<quint64> &tickets)
{
    for (const quint64 ticket : tickets)
        m_fresh.insert(ticket, true);
    wish([this, &tickets] { m_engine.outbox().sendNow(tickets); });
}

/// Of what is both mailed and posted the outbox sends the other half along, but not one that may have gone.
void OutboxCommands::sendNow(MessageRef place)
{
    const std::vector<quint64> tickets = ticketsAt(place);
    const auto isDoubtful = [this](quint64 ticket) {
        const OutboxEntry *entry = m_engine.outbox().entry(ticket);
        return entry && entry->state == OutboxState::PerhapsSent;
    };
    const auto certain = std::find_if_not(tickets.begin(), tickets.end(), isDoubtful);
    if (certain != tickets.end())
        sendNow(*certain);
    else if (!tickets.empty())
        doubted(tickets.front());
}

void OutboxCommands::changeTime(MessageRef place)
{
    if (!canSendNow(place))
        return;
    const auto setTime = [this, place](qint64 due) {
        bool isHeld = false;
        for (const quint64 ticket : ticketsAt(place)) // a half that may have gone is not held
            isHeld = m_engine.outbox().holdUntil(ticket, due) || isHeld;
        if (!isHeld)
            emit told(MessageBar::Kind::Warning, tr("The time could not be changed."));
    };
    const OutboxEntry *entry = m_engine.outbox().entryAt(place);
    const bool isPlanned = entry->state == OutboxState::Held && !entry->countsDown;
    askSendingTime(m_window, setTime, isPlanned ? entry->due : 0);
}

void OutboxCommands::settleAsSent(MessageRef place)
{
    for (const quint64 ticket : ticketsAt(place)) {
        const OutboxEntry *entry = m_engine.outbox().entry(ticket);
        if (entry && entry->state == OutboxState::PerhapsSent)
            m_engine.outbox().settleAsSent(ticket);
    }
}

void OutboxCommands::takeBack(MessageRef place)
{
    if (const OutboxEntry *entry = m_engine.outbox().entryAt(place))
        takeBack(entry->ticket);
}

void OutboxCommands::takeLastBack()
{
    if (const std::vector<MessageRef> places = countingDown(); !places.empty())
        takeBack(places.back());
}

void OutboxCommands::takeBack(quint64 ticket)
{
    const OutboxEntry *entry = m_engine.outbox().entry(ticket);
    const QString subject = entry ? subjectOf(entry->place) : QString();
    const Composer::Started taken = m_engine.composer().takeBack(ticket);
    if (taken.draft == 0 && taken.error.isEmpty())
        emit resendTakenBack(ticket, subject);
    else
        emit takenBack(taken);
}

// --- What the user is told ------------------------------------------------------------------------------

void OutboxCommands::noteSent(quint64 ticket)
{
    const OutboxEntry *entry = m_engine.outbox().entry(ticket);
    if (!isOnline() && entry && (entry->state == OutboxState::Waiting || entry->countsDown))
        return sendWaiting();
    m_fresh.insert(ticket, false);
    lookAtFresh();
}

/// Of one that nothing of its own keeps.
bool OutboxCommands::goesByItself(const OutboxEntry &entry, bool isAsked) const
{
    return canGo(entry) && (isAsked || boolSetting(Setting::AutoSend));
}

bool OutboxCommands::canGo(MessageRef place) const
{
    const OutboxEntry *entry = m_engine.outbox().entryAt(place);
    return entry && canGo(*entry);
}

bool OutboxCommands::canGo(const OutboxEntry &entry) const
{
    const Account *account = m_engine.accounts().account(entry.account);
    return account && !account->data().has(AccountLeftOut) && isOnline();
}

/// Who wants a message sent learns where it stays behind: when its countdown is over, not before. Those that
/// stay for one reason are told of together.
void OutboxCommands::lookAtFresh()
{
    untellSettled();
    std::map<QString, QList<quint64>> staying;
    for (auto at = m_fresh.begin(); at != m_fresh.end();) {
        const OutboxEntry *entry = m_engine.outbox().entry(at.key());
        const bool isWaiting = entry && entry->state == OutboxState::Waiting;
        const bool isOnItsWay = entry && (entry->countsDown || entry->state == OutboxState::Sending);
        const bool stays = isWaiting && !goesByItself(*entry, at.value());
        if (stays)
            staying[m_engine.outbox().status(at.key())].append(at.key());
        at = stays || (!isWaiting && !isOnItsWay) ? m_fresh.erase(at) : std::next(at);
    }
    for (const auto &[why, tickets] : staying)
        tellThatTheyStay(tickets, why);
}

/// A sender could not do what it began for.
void OutboxCommands::sessionFailed(int account)
{
    QList<quint64> staying;
    for (auto at = m_fresh.begin(); at != m_fresh.end();) {
        const OutboxEntry *entry = m_engine.outbox().entry(at.key());
        const bool stays = entry && entry->account == account && entry->state == OutboxState::Waiting;
        if (stays)
            staying.append(at.key());
        at = stays ? m_fresh.erase(at) : std::next(at);
    }
    if (!staying.isEmpty())
        tellThatTheyStay(staying, m_engine.outbox().status(staying.first()));
}

void OutboxCommands::tellThatTheyStay(const QList<quint64> &tickets, const QString &why)
{
    const quint64 ticket = tickets.first();
    const OutboxEntry &entry = *m_engine.outbox().entry(ticket);
    const QString text =
        tickets.size() == 1
            ? tr("“%1” has not been sent. %2").arg(subjectOf(entry.place), harmlessLine(why))
            : tr("%1 messages have not been sent. %2").arg(tickets.size()).arg(harmlessLine(why));
    const AskingBar::Answer send = {entry.account != 0 ? tr("Send now") : tr("Set up…"),
                                    [this, tickets] { sendNow(tickets); }};
    const AskingBar::Answer edit = {tr("Edit"), [this, ticket] { takeBack(ticket); }};
    rememberTold(entry, text);
    emit told(MessageBar::Kind::Warning, text, send, tickets.size() == 1 ? edit : AskingBar::Answer());
}

void OutboxCommands::failed(quint64 ticket, const QString &why)
{
    const OutboxEntry *entry = m_engine.outbox().entry(ticket);
    if (!entry)
        return; // the user threw it away while it was on its way
    const QString text = tr("“%1” could not be sent: %2").arg(subjectOf(entry->place), harmlessLine(why));
    rememberTold(*entry, text);
    emit told(MessageBar::Kind::Error, text, {tr("Edit"), [this, ticket] { takeBack(ticket); }},
              {tr("Send again"), [this, ticket] { sendNow(ticket); }});
}

void OutboxCommands::doubted(quint64 ticket)
{
    const OutboxEntry *entry = m_engine.outbox().entry(ticket);
    if (!entry)
        return;
    const QString text = tr("Nobody knows whether “%1” was sent. %2")
                             .arg(subjectOf(entry->place), harmlessLine(entry->reason))
                             .trimmed();
    rememberTold(*entry, text);
    emit told(MessageBar::Kind::Warning, text, {tr("Send again"), [this, ticket] { sendNow(ticket); }},
              {tr("It was sent"), [this, ticket] { m_engine.outbox().settleAsSent(ticket); }});
}

// --- What is told no more ----------------------------------------------------------------------------------

void OutboxCommands::rememberTold(const OutboxEntry &entry, const QString &text)
{
    m_told.insert(entry.ticket, {entry.state, text});
}

/// However that came: by an answer of its bar, in the list of the outbox, or by itself.
void OutboxCommands::untellSettled()
{
    QSet<QString> standing;
    QSet<QString> settled;
    for (auto at = m_told.begin(); at != m_told.end();) {
        const OutboxEntry *entry = m_engine.outbox().entry(at.key());
        const bool stands = entry && entry->state == at->state;
        (stands ? standing : settled).insert(at->text);
        at = stands ? std::next(at) : m_told.erase(at);
    }
    settled.subtract(standing); // two may have one subject
    for (const QString &text : std::as_const(settled))
        emit untold(text);
}
