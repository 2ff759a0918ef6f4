#include "ui/main/outboxcommands.h"

#include "config/clock.h"
#include "config/settings.h"
#include "engine/engine.h"
#include "ui/compose/sendlater.h"
#include "ui/texts/harmless.h"
#include "ui/texts/messagetexts.h"

#include <algorithm>

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
    connect(&outbox, &Outbox::accountMissing, this, &OutboxCommands::accountWanted);
    connect(&outbox, &Outbox::failed, this, &OutboxCommands::failed);
    connect(&outbox, &Outbox::perhapsSent, this, &OutboxCommands::doubted);
    count(); // what was held when the program ended
}

void OutboxCommands::count()
{
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
    const auto sendNow = [this, place] { this->sendNow(place); };
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
    if (isOnline())
        return m_engine.outbox().sendWaiting(true);
    emit told(MessageBar::Kind::Information, tr("Velmar works offline: what is written waits in the outbox."),
              {tr("Go online and send"), [this] {
                   emit onlineWanted();
                   m_engine.outbox().sendWaiting(true);
               }});
}

void OutboxCommands::sendNow(MessageRef place)
{
    for (const quint64 ticket : ticketsAt(place))
        m_engine.outbox().sendNow(ticket);
}

void OutboxCommands::changeTime(MessageRef place)
{
    if (!canSendNow(place))
        return;
    askSendingTime(m_window, [this, place](qint64 due) {
        for (const quint64 ticket : ticketsAt(place))
            if (!m_engine.outbox().holdUntil(ticket, due))
                emit told(MessageBar::Kind::Warning, tr("The time could not be changed."));
    });
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
        sendWaiting();
}

void OutboxCommands::failed(quint64 ticket, const QString &why)
{
    const OutboxEntry *entry = m_engine.outbox().entry(ticket);
    const MessageRef place = entry ? entry->place : MessageRef();
    emit told(MessageBar::Kind::Error,
              tr("“%1” could not be sent: %2").arg(subjectOf(place), harmlessLine(why)),
              {tr("Edit"), [this, ticket] { takeBack(ticket); }},
              {tr("Send again"), [this, ticket] { m_engine.outbox().sendNow(ticket); }});
}

void OutboxCommands::doubted(quint64 ticket)
{
    const OutboxEntry *entry = m_engine.outbox().entry(ticket);
    if (!entry)
        return;
    emit told(MessageBar::Kind::Warning,
              tr("Nobody knows whether “%1” was sent: the program ended while it was on its way.")
                  .arg(subjectOf(entry->place)),
              {tr("Send again"), [this, ticket] { m_engine.outbox().sendNow(ticket); }},
              {tr("It was sent"), [this, ticket] { m_engine.outbox().settleAsSent(ticket); }});
}
