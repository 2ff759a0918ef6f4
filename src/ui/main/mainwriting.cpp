#include "config/settings.h"
#include "engine/engine.h"
#include "ui/identities/identitywindows.h"
#include "ui/list/messagelist.h"
#include "ui/look/askingbar.h"
#include "ui/look/messageboxes.h"
#include "ui/main/accountcommands.h"
#include "ui/main/composecommands.h"
#include "ui/main/listpane.h"
#include "ui/main/mainwindow.h"
#include "ui/main/messagewindow.h"
#include "ui/main/outboxcommands.h"
#include "ui/main/viewers.h"
#include "ui/options/optionswindow.h"
#include "ui/reader/messageview.h"
#include "ui/texts/harmless.h"

#include <QDropEvent>
#include <QMimeData>
#include <QUrl>

using namespace Qt::StringLiterals;

// What the main window has to do with messages that are written here, and with receipts.

namespace {
constexpr int kLongestName = 60; ///< characters of a name or an address in a bar

/// The mailto: URL in what is dragged; empty without one.
QString mailtoIn(const QMimeData &data)
{
    for (const QUrl &url : data.urls())
        if (url.scheme() == u"mailto")
            return QString::fromLatin1(url.toEncoded());
    const QString text = data.text().trimmed();
    return text.startsWith(u"mailto:", Qt::CaseInsensitive) && !text.contains(u'\n') ? text : QString();
}

} // namespace

void MainWindow::connectWriting()
{
    const auto on = [this](Act act, auto then) { connect(m_actions[act], &QAction::triggered, this, then); };
    const auto current = [this] { return viewer().list().current(); };
    on(Act::Compose, [this] { write(); });
    on(Act::ComposeArticle, [this] {
        const bool isNews = group() && group()->kind() == GroupKind::Newsgroup;
        m_composeCommands->writeArticle(isNews ? group()->name() : QString());
    });
    on(Act::ComposeTemplate, [this] { m_composeCommands->writeFromTemplate(); });
    on(Act::Reply, [this] { reply(ReplyKind::Sender); });
    on(Act::ReplyAll, [this] { reply(ReplyKind::All); });
    on(Act::FollowUp, [this, current] { m_composeCommands->followUp(current(), selectedText()); });
    on(Act::ReplyTemplate, [this, current] {
        m_composeCommands->replyFromTemplate(current(), ReplyKind::Sender, selectedText());
    });
    on(Act::ReplyAllTemplate,
       [this, current] { m_composeCommands->replyFromTemplate(current(), ReplyKind::All, selectedText()); });
    on(Act::Forward, [this] { forward(ForwardKind::Inline, ForwardMark::Front); });
    on(Act::ForwardAttached, [this] { forward(ForwardKind::Attached, ForwardMark::Front); });
    on(Act::ForwardBehind, [this] { forward(ForwardKind::Inline, ForwardMark::Behind); });
    on(Act::ForwardTemplate,
       [this] { m_composeCommands->forwardFromTemplate(viewer().list().selected(), selectedText()); });
    on(Act::EditAsNew, [this, current] { m_composeCommands->editAsNew(current()); });
    on(Act::Resend, [this, current] { m_composeCommands->resend(current()); });
    on(Act::EditOwn, [this, current] { editOwn(current()); });
    on(Act::SendNow, [this, current] { m_outboxCommands->sendNow(current()); });
    on(Act::ChangeTime, [this, current] { m_outboxCommands->changeTime(current()); });
    on(Act::TakeLastBack, [this] { m_outboxCommands->takeLastBack(); });
    on(Act::SendWaiting, [this] { m_outboxCommands->sendWaiting(); });
    on(Act::Identities, [this] { openIdentityManager(m_engine, this); });
    on(Act::Options, [this] { openOptions(this); });
    on(Act::Templates, [this] { openTemplateManager(m_engine, this, viewer().reader()->message()); });
}

void MainWindow::connectComposing()
{
    connectWriting();
    const auto tell = [this](MessageBar::Kind kind, const QString &text, const AskingBar::Answer &first,
                             const AskingBar::Answer &second) {
        viewer().pane()->bar().ask(kind, text, first, second);
        if (kind != MessageBar::Kind::Information) // the bar may be taken by the next one
            m_notices.add(ReportLevel::Warning, text);
        m_closesWhenIdle = m_closesWhenIdle && kind != MessageBar::Kind::Error;
    };
    connect(m_composeCommands, &ComposeCommands::told, this, tell);
    connect(m_outboxCommands, &OutboxCommands::told, this, tell);
    connect(m_outboxCommands, &OutboxCommands::untold, this, [this](const QString &text) {
        for (const auto &each : m_viewers->all())
            if (each->pane()->bar().text() == text)
                each->pane()->bar().hide();
    });
    connect(m_outboxCommands, &OutboxCommands::changed, this, [this] {
        updateActions();
        showWaiting();
    });
    connect(m_outboxCommands, &OutboxCommands::takenBack, m_composeCommands, &ComposeCommands::goOnWith);
    connect(m_outboxCommands, &OutboxCommands::resendTakenBack, m_composeCommands,
            &ComposeCommands::resendTakenBack);
    connect(m_outboxCommands, &OutboxCommands::accountWanted, m_accountCommands,
            &AccountCommands::offerOutgoingAccount);
    connect(m_outboxCommands, &OutboxCommands::onlineWanted, this, [this] { setOnlineWish(true); });
    connect(m_composeCommands, &ComposeCommands::sent, m_outboxCommands, &OutboxCommands::noteSent);
    connect(m_composeCommands, &ComposeCommands::templatesWanted, m_actions[Act::Templates],
            &QAction::trigger);
    connect(m_composeCommands, &ComposeCommands::identityWanted, m_actions[Act::Identities],
            &QAction::trigger);
    connect(m_composeCommands, &ComposeCommands::restWanted, this,
            [this](const MessageRefs &messages) { m_engine.serverWishes().fetchRest(messages); });
    connect(m_composeCommands, &ComposeCommands::messageWanted, this, &MainWindow::openMessage);
    connect(m_composeCommands, &ComposeCommands::linkActivated, this, &MainWindow::followLink);
    connect(m_composeCommands, &ComposeCommands::answered, this, [this](MessageRef original) {
        if (boolSetting(Setting::CloseMessageOnReply) && m_messageWindow &&
            m_messageWindow->ref() == original)
            m_messageWindow->close();
    });
    m_engine.receipts().setAsk(
        [this](const ReceiptQuestion &question, const std::function<void(ReceiptAnswer)> &answer) {
            if (m_lastReader)
                askForReceipt(*m_lastReader, question, answer);
            else
                answer(ReceiptAnswer::None);
        });
}

void MainWindow::write(const QString &mailto, const QStringList &attachments)
{
    m_composeCommands->write(mailto, attachments);
}

/// An address is dropped to write to it; what else is dropped is for the panes.
void MainWindow::dragEnterEvent(QDragEnterEvent *event)
{
    if (!mailtoIn(*event->mimeData()).isEmpty())
        event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent *event)
{
    write(mailtoIn(*event->mimeData()));
    event->acceptProposedAction();
}

void MainWindow::reopenWriting()
{
    m_composeCommands->reopen();
}

/// Of the message that is acted on, in whichever window it is shown.
QString MainWindow::selectedText() const
{
    const MessageView *reader = m_actingWindow ? &m_actingWindow->reader() : viewer().reader();
    return m_actingWindow || viewer().showsCurrent() ? reader->selectedText() : QString();
}

void MainWindow::reply(ReplyKind kind)
{
    m_composeCommands->reply(viewer().list().current(), kind, selectedText());
}

void MainWindow::forward(ForwardKind kind, ForwardMark mark)
{
    m_composeCommands->forward(viewer().list().selected(), kind, mark, selectedText());
}

bool MainWindow::isDraft(MessageRef message) const
{
    const Group *home = message.isNull() ? nullptr : m_engine.groups().group(message.group);
    return home && home->role() == GroupRole::Drafts;
}

/// Goes on with a draft, or takes a message back out of the outbox.
void MainWindow::editOwn(MessageRef message)
{
    if (isDraft(message))
        m_composeCommands->openDraft(message);
    else
        m_outboxCommands->takeBack(message);
}

/// Of the current message, where it is in the outbox: why it waits and until when, and what can be done.
/// What the user has closed comes again when it stands elsewhere.
void MainWindow::showWaiting()
{
    const MessageRef current = viewer().list().current();
    const OutboxCommands::State state = m_outboxCommands->stateOf(current);
    AskingBar &bar = viewer().pane()->bar();
    const bool isOurs = m_waitingBar == &bar && bar.text() == m_waitingText;
    const bool isSame = m_waiting == current && m_waitingPhase == state.phase;
    if (state.text.isEmpty()) {
        if (m_waitingBar && m_waitingBar->text() == m_waitingText && !m_waiting.isNull())
            m_waitingBar->hide();
        m_waiting = {};
        return;
    }
    if (isSame && !isOurs)
        return;
    if (isSame)
        bar.changeText(state.text);
    else
        bar.ask(state.kind, state.text, state.first, state.second);
    m_waitingBar = &bar;
    m_waitingText = bar.text();
    m_waiting = current;
    m_waitingPhase = state.phase;
}

// --- Receipts -------------------------------------------------------------------------------------------

void MainWindow::noteShown(MessageRef message, MessageView &reader)
{
    m_lastReader = &reader;
    m_engine.receipts().shown(message);
}

void MainWindow::askForReceipt(MessageView &reader, const ReceiptQuestion &question,
                               const std::function<void(ReceiptAnswer)> &answer)
{
    const Address sender = parseAddresses(question.sender).value(0);
    const QString name = harmlessLine(shortPerson(sender), kLongestName);
    const QString wish = tr("%1 would like a receipt that says you have read this.").arg(name);
    const QString elsewhere =
        question.isElsewhere
            ? u' ' + tr("It would go to %1.").arg(harmlessLine(question.receiver, kLongestName))
            : QString();
    reader.ask(wish + elsewhere, {tr("Send receipt"), [answer] { answer(ReceiptAnswer::Send); }},
               {tr("Never"), [answer] { answer(ReceiptAnswer::Refuse); }},
               [answer](bool isClosed) { answer(isClosed ? ReceiptAnswer::Later : ReceiptAnswer::None); });
}
