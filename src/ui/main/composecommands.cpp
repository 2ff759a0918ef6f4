#include "ui/main/composecommands.h"

#include "config/clock.h"
#include "engine/engine.h"
#include "ui/compose/composeattachments.h"
#include "ui/compose/sendwindow.h"
#include "ui/look/messageboxes.h"
#include "ui/main/dialogs.h"
#include "ui/texts/harmless.h"
#include "ui/texts/messagetexts.h"

#include <QLocale>

using namespace Qt::StringLiterals;

namespace {

constexpr int kSecond = 1000;       ///< milliseconds
constexpr int kLongestSubject = 60; ///< characters of a subject in a bar

QString timeInWords(qint64 seconds)
{
    return QLocale().toString(QDateTime::fromSecsSinceEpoch(seconds), QLocale::ShortFormat);
}

} // namespace

ComposeCommands::ComposeCommands(Engine &engine, MessageBoxes &boxes, QWidget *window)
    : QObject(window)
    , m_engine(engine)
    , m_boxes(boxes)
    , m_window(window)
{
    Outbox &outbox = m_engine.outbox();
    m_counting.setInterval(kSecond);
    connect(&m_counting, &QTimer::timeout, this, &ComposeCommands::count);
    connect(&outbox, &Outbox::changed, this, &ComposeCommands::count);
    connect(&outbox, &Outbox::changed, this, &ComposeCommands::waitingChanged);
    connect(&outbox, &Outbox::accountMissing, this, &ComposeCommands::accountWanted);
    connect(&outbox, &Outbox::failed, this, &ComposeCommands::failed);
    connect(&outbox, &Outbox::perhapsSent, this, [this](quint64 ticket) {
        emit told(
            MessageBar::Kind::Warning,
            tr("Nobody knows whether “%1” was sent: the program ended while it was on its way.")
                .arg(subjectOf(ticket)),
            tr("Send again"), [this, ticket] { m_engine.outbox().sendNow(ticket); }, tr("It was sent"),
            [this, ticket] { m_engine.outbox().settleAsSent(ticket); });
    });
}

ComposeCommands::~ComposeCommands()
{
    for (const QPointer<SendWindow> &each : std::as_const(m_windows))
        delete each;
}

// --- Windows -----------------------------------------------------------------------------------------------

SendWindow *ComposeCommands::open(const Composer::Started &started)
{
    if (!started.error.isEmpty()) {
        emit told(MessageBar::Kind::Warning, started.error, {}, {}, {}, {});
        return nullptr;
    }
    if (SendWindow *there = started.draft != 0 ? windowOf(started.draft) : nullptr) {
        there->comeForward();
        return there;
    }
    const auto isSubscribed = [this](const QString &name) {
        const std::vector<Group *> groups = m_engine.groups().groups();
        return std::any_of(groups.begin(), groups.end(), [&name](const Group *each) {
            return each->kind() == GroupKind::Newsgroup && each->name() == name;
        });
    };
    const ComposeServices services = {m_engine.composer(),   m_engine.drafts(), m_engine.outbox(),
                                      m_engine.identities(), m_boxes,           isSubscribed};
    auto *window = new SendWindow(services, started, started.draft);
    m_windows.removeAll(nullptr);
    m_windows.append(window);
    connect(window, &SendWindow::sent, this, &ComposeCommands::sent);
    if (started.context.deed == DraftContext::Deed::Reply)
        connect(window, &SendWindow::sent, this,
                [this, original = started.context.original] { emit answered(original); });
    window->comeForward();
    return window;
}

SendWindow *ComposeCommands::windowOf(int draft) const
{
    for (const QPointer<SendWindow> &each : m_windows)
        if (each && each->draft() == draft)
            return each;
    return nullptr;
}

void ComposeCommands::start(const ComposeWish &wish)
{
    open(m_engine.composer().start(wish));
}

void ComposeCommands::write(const QString &mailto, const QStringList &attachments)
{
    ComposeWish wish;
    if (!mailto.isEmpty()) {
        wish.kind = ComposeWish::Kind::Mailto;
        wish.mailto = mailto;
    }
    Composer::Started started = m_engine.composer().start(wish);
    for (const QString &path : attachments) // of the command line, which the user wrote; never of a link
        if (const std::optional<Attachment> read = readAttachment(path))
            started.composition.attachments.append(*read);
    open(started);
}

void ComposeCommands::reply(MessageRef original, ReplyKind kind, const QString &selectedText)
{
    ComposeWish wish;
    wish.kind = ComposeWish::Kind::Reply;
    wish.originals = {original};
    wish.reply = kind;
    wish.selectedText = selectedText;
    start(wish);
}

void ComposeCommands::forward(const MessageRefs &originals, ForwardKind kind, const QString &selectedText)
{
    ComposeWish wish;
    wish.kind = ComposeWish::Kind::Forward;
    wish.originals = originals;
    wish.forward = originals.size() > 1 ? ForwardKind::Attached : kind;
    wish.selectedText = selectedText;
    start(wish);
}

void ComposeCommands::editAsNew(MessageRef original)
{
    ComposeWish wish;
    wish.kind = ComposeWish::Kind::EditAsNew;
    wish.originals = {original};
    start(wish);
}

void ComposeCommands::resend(MessageRef original)
{
    ComposeWish wish;
    wish.kind = ComposeWish::Kind::Resend;
    wish.originals = {original};
    const Composer::Started started = m_engine.composer().start(wish);
    if (!started.error.isEmpty())
        return (void)open(started);
    NameRequest request;
    request.title = tr("Send on unchanged");
    request.label = tr("To");
    request.verb = tr("Send on");
    request.check = [](const QString &text) {
        for (const Address &each : parseAddresses(text))
            if (!isValidAddress(each.address))
                return tr("“%1” is no address.").arg(harmlessLine(formatAddress(each), kLongestSubject));
        return parseAddresses(text).isEmpty() ? tr("Nobody is named yet.") : QString();
    };
    askName(m_window, request, [this, original, identity = started.composition.identity](const QString &to) {
        if (const quint64 ticket = m_engine.composer().resend(original, identity, to))
            sent(ticket);
    });
}

bool ComposeCommands::isOwn(MessageRef place) const
{
    const Group *group = place.isNull() ? nullptr : m_engine.groups().group(place.group);
    return group && (group->role() == GroupRole::Drafts || group->role() == GroupRole::Outbox);
}

bool ComposeCommands::editOwn(MessageRef place)
{
    if (const OutboxEntry *waiting = m_engine.outbox().entryAt(place)) {
        takeBack(waiting->ticket);
        return true;
    }
    const Group *group = m_engine.groups().group(place.group);
    if (!group || group->role() != GroupRole::Drafts)
        return false;
    ComposeWish wish;
    wish.kind = ComposeWish::Kind::Draft;
    wish.originals = {place};
    start(wish);
    return true;
}

void ComposeCommands::reopen()
{
    int opened = 0;
    for (const int draft : m_engine.drafts().recovered()) {
        Composer::Started started;
        started.draft = draft;
        started.context = m_engine.drafts().context(draft);
        started.composition = m_engine.drafts().version(draft, 0);
        if (SendWindow *window = open(started)) {
            window->markUnsaved();
            ++opened;
        }
    }
    if (opened > 0)
        emit told(MessageBar::Kind::Information,
                  opened == 1 ? tr("The message that was being written is open again.")
                              : tr("%1 messages that were being written are open again.").arg(opened),
                  {}, {}, {}, {});
}

bool ComposeCommands::keepAll()
{
    bool kept = true;
    for (const QPointer<SendWindow> &each : std::as_const(m_windows))
        kept = (!each || each->keepNow()) && kept;
    return kept;
}

void ComposeCommands::closeAll()
{
    keepAll();
    for (const QPointer<SendWindow> &each : std::as_const(m_windows))
        delete each;
    m_windows.clear();
}

// --- The outbox --------------------------------------------------------------------------------------------

void ComposeCommands::sendWaiting()
{
    m_engine.outbox().sendWaiting(true);
}

void ComposeCommands::sendNow(MessageRef place)
{
    if (const OutboxEntry *entry = m_engine.outbox().entryAt(place))
        m_engine.outbox().sendNow(entry->ticket);
}

void ComposeCommands::settleAsSent(MessageRef place)
{
    if (const OutboxEntry *entry = m_engine.outbox().entryAt(place))
        m_engine.outbox().settleAsSent(entry->ticket);
}

bool ComposeCommands::isPerhapsSent(MessageRef place) const
{
    const OutboxEntry *entry = m_engine.outbox().entryAt(place);
    return entry && entry->state == OutboxState::PerhapsSent;
}

bool ComposeCommands::isDraft(MessageRef place) const
{
    const Group *group = place.isNull() ? nullptr : m_engine.groups().group(place.group);
    return group && group->role() == GroupRole::Drafts;
}

bool ComposeCommands::anythingWaits() const
{
    return !m_engine.outbox().entries().empty();
}

QString ComposeCommands::subjectOf(quint64 ticket) const
{
    const OutboxEntry *entry = m_engine.outbox().entry(ticket);
    Group *group = entry ? m_engine.groups().group(entry->place.group) : nullptr;
    const std::optional<Overview> overview = group ? group->overview(entry->place.article) : std::nullopt;
    return overview ? harmlessLine(subjectOrNone(group->texts(*overview).subject), kLongestSubject)
                    : QString();
}

void ComposeCommands::sent(quint64 ticket)
{
    m_counted = ticket;
    const OutboxEntry *entry = m_engine.outbox().entry(ticket);
    if (!entry || entry->state != OutboxState::Held) {
        m_counted = 0;
        return;
    }
    emit told(
        MessageBar::Kind::Information, stateOf(entry->place), tr("Undo"),
        [this, ticket] { takeBack(ticket); }, tr("Send now"),
        [this, ticket] { m_engine.outbox().sendNow(ticket); });
    m_counting.start();
}

/// The countdown goes on, or is over.
void ComposeCommands::count()
{
    if (m_counted == 0)
        return;
    const OutboxEntry *entry = m_engine.outbox().entry(m_counted);
    if (entry && entry->state == OutboxState::Held) {
        emit toldAgain(stateOf(entry->place));
        return;
    }
    m_counted = 0;
    m_counting.stop();
    emit untold();
}

void ComposeCommands::takeBack(quint64 ticket)
{
    ComposeWish wish;
    wish.kind = ComposeWish::Kind::EditAsNew;
    wish.text = m_engine.outbox().takeBack(ticket);
    if (wish.text.isNull())
        emit told(MessageBar::Kind::Warning, tr("The message is on its way already."), {}, {}, {}, {});
    else if (SendWindow *window = open(m_engine.composer().start(wish)))
        window->markUnsaved(); // it lies in the outbox no more
}

void ComposeCommands::failed(quint64 ticket, const QString &why)
{
    emit told(
        MessageBar::Kind::Error, tr("“%1” could not be sent: %2").arg(subjectOf(ticket), why), tr("Edit"),
        [this, ticket] { takeBack(ticket); }, tr("Send again"),
        [this, ticket] { m_engine.outbox().sendNow(ticket); });
}

QString ComposeCommands::stateOf(MessageRef place) const
{
    const OutboxEntry *entry = m_engine.outbox().entryAt(place);
    if (!entry)
        return {};
    const qint64 left = entry->due - clockSeconds();
    switch (entry->state) {
    case OutboxState::Held:
        return !entry->countsDown ? tr("The message is sent on %1.").arg(timeInWords(entry->due))
               : left <= 0        ? tr("The message is sent now.")
               : left == 1        ? tr("The message is sent in 1 second.")
                                  : tr("The message is sent in %1 seconds.").arg(left);
    case OutboxState::Waiting:
        return entry->account == 0 ? tr("The message waits for an account that sends it.")
                                   : tr("The message waits to be sent.");
    case OutboxState::Sending: return tr("The message is being sent.");
    case OutboxState::PerhapsSent:
        return tr("Nobody knows whether the message was sent. %1").arg(entry->reason);
    case OutboxState::Retrying:
        return tr("It could not be sent (%1) and is tried again at %2.")
            .arg(entry->reason, timeInWords(entry->due));
    case OutboxState::Refused: return tr("It could not be sent: %1").arg(entry->reason);
    }
    return {};
}
