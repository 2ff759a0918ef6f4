#include "ui/main/composecommands.h"

#include "compose/bodypart.h"
#include "engine/engine.h"
#include "identity/identitymanager.h"
#include "identity/templates.h"
#include "ui/compose/sendwindow.h"
#include "ui/look/messageboxes.h"
#include "ui/main/dialogs.h"
#include "ui/reader/attachmentactions.h"
#include "ui/texts/harmless.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int kLongestAddress = 60; ///< characters of an address in a line

/// Nothing but that file, as if it had come by mail.
Message messageWith(const Attachment &attachment)
{
    QByteArray text = "MIME-Version: 1.0\n";
    appendPart(text, attachmentPart(attachment, Disposition::Attachment, {"UTF-8"}));
    return Message(text);
}

} // namespace

ComposeCommands::ComposeCommands(Engine &engine, MessageBoxes &boxes, QWidget *window)
    : QObject(window)
    , m_engine(engine)
    , m_boxes(boxes)
    , m_window(window)
{}

ComposeCommands::~ComposeCommands()
{
    for (const QPointer<SendWindow> &each : std::as_const(m_windows))
        delete each;
}

// --- Windows -----------------------------------------------------------------------------------------------

SendWindow *ComposeCommands::open(const Composer::Started &started)
{
    if (!started.error.isEmpty()) {
        tellFailure(started);
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
    const auto sizeLimit = [this](int identity) {
        const Account *account = m_engine.accounts().account(m_engine.outbox().accountFor(identity));
        return account ? account->largestMail() : 0;
    };
    const ComposeServices services = {
        m_engine.composer(), m_engine.drafts(), m_engine.outbox(), m_engine.identities(), m_boxes,
        isSubscribed,        sizeLimit};
    auto *window = new SendWindow(services, started, started.draft);
    m_windows.removeAll(nullptr);
    m_windows.append(window);
    connect(window, &SendWindow::sent, this, &ComposeCommands::sent);
    if (started.context.deed == DraftContext::Deed::Reply)
        connect(window, &SendWindow::sent, this,
                [this, original = started.context.original] { emit answered(original); });
    connect(window, &SendWindow::attachmentOpened, this,
            [this, window](const Attachment &attachment) { openAttachment(*window, attachment); });
    window->comeForward();
    tellNotice(*window, started);
    return window;
}

/// The way to what is missing for it; none where nothing is.
AskingBar::Answer ComposeCommands::fetchingRest(const Composer::Started &started)
{
    if (started.headersOnly.empty())
        return {};
    return {tr("Fetch the rest"), [this, messages = started.headersOnly] { emit restWanted(messages); }};
}

void ComposeCommands::tellFailure(const Composer::Started &started)
{
    AskingBar::Answer mend = fetchingRest(started);
    if (m_engine.identities().all().empty())
        mend = {tr("Identities…"), [this] { emit identityWanted(); }};
    emit told(MessageBar::Kind::Warning, started.error, mend);
}

void ComposeCommands::tellNotice(SendWindow &window, const Composer::Started &started)
{
    if (started.notice.isEmpty())
        return;
    const AskingBar::Answer remove = {tr("Delete draft"), [&window] { window.askBeforeDiscarding(); }};
    window.bar().ask(MessageBar::Kind::Warning, started.notice,
                     started.context.wasSent ? remove : fetchingRest(started));
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
    SendWindow *window = open(m_engine.composer().start(wish));
    if (window && !attachments.isEmpty()) // of the command line, which the user wrote; never of a link
        window->attachFiles(attachments);
}

void ComposeCommands::writeArticle(const QString &newsgroup)
{
    ComposeWish wish;
    wish.article = true;
    wish.newsgroups = newsgroup;
    start(wish);
}

void ComposeCommands::startWithTemplate(const QString &title, ComposeWish wish)
{
    const QStringList names = templateNames();
    if (names.isEmpty())
        return emit told(MessageBar::Kind::Information, tr("No templates defined"),
                         {tr("Templates…"), [this] { emit templatesWanted(); }});
    askChoice(m_window, title, tr("Write"), names, [this, names, wish](int chosen) {
        ComposeWish filled = wish;
        filled.templateName = names.value(chosen);
        if (!filled.templateName.isEmpty())
            start(filled);
    });
}

void ComposeCommands::writeFromTemplate()
{
    startWithTemplate(tr("New message from a template"), {});
}

namespace {

ComposeWish wishToReply(MessageRef original, ReplyKind kind, const QString &selectedText)
{
    ComposeWish wish;
    wish.kind = ComposeWish::Kind::Reply;
    wish.originals = {original};
    wish.reply = kind;
    wish.selectedText = selectedText;
    wish.isTyped = true;
    return wish;
}

} // namespace

void ComposeCommands::reply(MessageRef original, ReplyKind kind, const QString &selectedText)
{
    start(wishToReply(original, kind, selectedText));
}

void ComposeCommands::replyFromTemplate(MessageRef original, ReplyKind kind, const QString &selectedText)
{
    startWithTemplate(kind == ReplyKind::All ? tr("Reply to all with a template")
                                             : tr("Reply with a template"),
                      wishToReply(original, kind, selectedText));
}

void ComposeCommands::followUp(MessageRef original, const QString &selectedText)
{
    Group *group = m_engine.groups().group(original.group);
    const std::optional<Overview> overview = group ? group->overview(original.article) : std::nullopt;
    const Message message(overview ? group->readMessage(*overview) : QByteArray());
    for (const ReplyKind kind : {ReplyKind::Followup, ReplyKind::List})
        if (canReplyTo(message, kind, {}))
            return reply(original, kind, selectedText);
    emit told(MessageBar::Kind::Information, tr("This message came from no mailing list or newsgroup."),
              {tr("Reply to all"),
               [this, original, selectedText] { reply(original, ReplyKind::All, selectedText); }});
}

namespace {

ComposeWish wishToForward(const MessageRefs &originals, ForwardKind kind, ForwardMark mark,
                          const QString &selectedText)
{
    ComposeWish wish;
    wish.kind = ComposeWish::Kind::Forward;
    wish.originals = originals;
    wish.forward = originals.size() > 1 ? ForwardKind::Attached : kind;
    wish.mark = mark;
    wish.selectedText = selectedText;
    wish.isTyped = true;
    return wish;
}

} // namespace

void ComposeCommands::forward(const MessageRefs &originals, ForwardKind kind, ForwardMark mark,
                              const QString &selectedText)
{
    start(wishToForward(originals, kind, mark, selectedText));
}

void ComposeCommands::forwardFromTemplate(const MessageRefs &originals, const QString &selectedText)
{
    startWithTemplate(tr("Forward with a template"),
                      wishToForward(originals, ForwardKind::Inline, ForwardMark::Front, selectedText));
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
                return tr("“%1” is no address.").arg(harmlessLine(formatAddress(each), kLongestAddress));
        return parseAddresses(text).isEmpty() ? tr("Nobody is named yet.") : QString();
    };
    askName(m_window, request, [this, original, identity = started.composition.identity](const QString &to) {
        const quint64 ticket = m_engine.composer().resend(original, identity, to);
        if (ticket == 0)
            return;
        m_resent.insert(ticket, original);
        emit sent(ticket);
    });
}

void ComposeCommands::resendTakenBack(quint64 ticket, const QString &subject)
{
    const MessageRef original = m_resent.take(ticket);
    AskingBar::Answer again;
    if (!original.isNull())
        again = {tr("Send on…"), [this, original] { resend(original); }};
    emit told(MessageBar::Kind::Information, tr("“%1” is not sent on.").arg(subject), again);
}

void ComposeCommands::openDraft(MessageRef place)
{
    ComposeWish wish;
    wish.kind = ComposeWish::Kind::Draft;
    wish.originals = {place};
    start(wish);
}

void ComposeCommands::goOnWith(const Composer::Started &taken)
{
    if (SendWindow *window = open(taken))
        window->markUnsaved(); // it lies in the outbox no more
}

/// As the reader opens what it has received: a copy that nobody else can read or change, after a question
/// where that is a risk, and never a program. The user may have it from somebody else.
void ComposeCommands::openAttachment(SendWindow &window, const Attachment &attachment)
{
    auto *actions = window.findChild<AttachmentActions *>(QString(), Qt::FindDirectChildrenOnly);
    if (!actions) {
        actions = new AttachmentActions(&window.bar(), &window);
        connect(actions, &AttachmentActions::messageWanted, this, &ComposeCommands::messageWanted);
        connect(actions, &AttachmentActions::linkActivated, this, &ComposeCommands::linkActivated);
    }
    actions->setMessage(messageWith(attachment));
    actions->activate(0, {0});
}

void ComposeCommands::reopen()
{
    int opened = 0;
    for (const int draft : m_engine.drafts().recovered()) {
        if (SendWindow *window = open(m_engine.composer().goOnWith(draft))) {
            window->markUnsaved();
            ++opened;
        }
    }
    if (opened > 0)
        emit told(MessageBar::Kind::Information,
                  opened == 1 ? tr("The message that was being written is open again.")
                              : tr("%1 messages that were being written are open again.").arg(opened));
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
