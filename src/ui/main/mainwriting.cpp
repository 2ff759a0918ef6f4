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
#include "ui/main/viewers.h"
#include "ui/reader/messageview.h"

using namespace Qt::StringLiterals;

// What the main window has to do with messages that are written here.

void MainWindow::connectWriting()
{
    const auto on = [this](Act act, auto then) { connect(m_actions[act], &QAction::triggered, this, then); };
    on(Act::Compose, [this] { write(); });
    on(Act::Reply, [this] { reply(ReplyKind::Sender); });
    on(Act::ReplyAll, [this] { reply(ReplyKind::All); });
    on(Act::FollowUp, [this] {
        const bool isNews = group() && group()->kind() == GroupKind::Newsgroup;
        reply(isNews ? ReplyKind::Followup : ReplyKind::List);
    });
    on(Act::Forward, [this] { forward(false); });
    on(Act::ForwardAttached, [this] { forward(true); });
    on(Act::EditAsNew, [this] { m_composeCommands->editAsNew(viewer().list().current()); });
    on(Act::Resend, [this] { m_composeCommands->resend(viewer().list().current()); });
    on(Act::EditOwn, [this] { m_composeCommands->editOwn(viewer().list().current()); });
    on(Act::SendWaiting, [this] { m_composeCommands->sendWaiting(); });
    on(Act::Identities, [this] { openIdentityManager(m_engine, this); });
    on(Act::Templates, [this] { openTemplateManager(m_engine, this, viewer().reader()->message()); });
}

void MainWindow::connectComposing()
{
    connectWriting();
    connect(m_composeCommands, &ComposeCommands::told, this,
            [this](MessageBar::Kind kind, const QString &text, const QString &first,
                   const std::function<void()> &onFirst, const QString &second,
                   const std::function<void()> &onSecond) {
                m_writingBar = &viewer().pane()->bar();
                m_writingBar->ask(kind, text, {first, onFirst}, {second, onSecond});
                m_writingText = text;
            });
    connect(m_composeCommands, &ComposeCommands::toldAgain, this, [this](const QString &text) {
        if (m_writingBar && m_writingBar->text() == m_writingText) {
            m_writingBar->changeText(text);
            m_writingText = m_writingBar->text();
        }
    });
    connect(m_composeCommands, &ComposeCommands::untold, this, [this] {
        if (m_writingBar && m_writingBar->text() == m_writingText)
            m_writingBar->hide();
    });
    connect(m_composeCommands, &ComposeCommands::accountWanted, m_accountCommands,
            &AccountCommands::offerOutgoingAccount);
    connect(m_composeCommands, &ComposeCommands::answered, this, [this](MessageRef original) {
        if (boolSetting(Setting::CloseMessageOnReply) && m_messageWindow &&
            m_messageWindow->ref() == original)
            m_messageWindow->close();
    });
    connect(m_composeCommands, &ComposeCommands::waitingChanged, this, [this] {
        updateActions();
        showOwnMessage();
    });
}

void MainWindow::write(const QString &mailto, const QStringList &attachments)
{
    m_composeCommands->write(mailto, attachments);
}

void MainWindow::reopenWriting()
{
    m_composeCommands->reopen();
}

void MainWindow::keepWriting()
{
    m_composeCommands->closeAll();
}

void MainWindow::reply(ReplyKind kind)
{
    m_composeCommands->reply(viewer().list().current(), kind, viewer().reader()->selectedText());
}

void MainWindow::forward(bool attached)
{
    const MessageRefs chosen = viewer().list().selected();
    m_composeCommands->forward(chosen, attached ? ForwardKind::Attached : ForwardKind::Inline,
                               viewer().reader()->selectedText());
}

/// Of a message in the outbox: where it stands, and what can be done.
void MainWindow::showOwnMessage()
{
    const MessageRef current = viewer().list().current();
    const QString state = m_composeCommands->stateOf(current);
    if (state.isEmpty()) {
        if (m_showsOwnMessage && m_writingBar && m_writingBar->text() == m_writingText)
            m_writingBar->hide();
        m_showsOwnMessage = false;
        return;
    }
    const AskingBar::Answer sendNow = {tr("Send now"),
                                       [this, current] { m_composeCommands->sendNow(current); }};
    const AskingBar::Answer edit = {tr("Edit"), [this, current] { m_composeCommands->editOwn(current); }};
    const AskingBar::Answer wasSent = {tr("It was sent"),
                                       [this, current] { m_composeCommands->settleAsSent(current); }};
    m_writingBar = &viewer().pane()->bar();
    if (m_composeCommands->isPerhapsSent(current))
        m_writingBar->ask(MessageBar::Kind::Warning, state, sendNow, wasSent);
    else
        m_writingBar->ask(MessageBar::Kind::Information, state, edit, sendNow);
    m_writingText = m_writingBar->text();
    m_showsOwnMessage = true;
}

/// A message that is being written and cannot be kept is lost with its window.
void MainWindow::askBeforeLosingText()
{
    m_boxes->ask({tr("A message that is being written could not be saved."),
                  tr("It is lost when Velmar closes now."),
                  {tr("&Close and lose it"), tr("&Stay")},
                  true,
                  ReportLevel::Warning},
                 this, [this](int button) {
                     m_losesText = button == 0;
                     if (m_losesText)
                         close();
                 });
}
