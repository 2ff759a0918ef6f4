#include "config/settings.h"
#include "engine/engine.h"
#include "net/fetcher.h"
#include "ui/look/askingbar.h"
#include "ui/look/icons.h"
#include "ui/look/messageboxes.h"
#include "ui/main/accountcommands.h"
#include "ui/main/listpane.h"
#include "ui/main/mainwindow.h"
#include "ui/main/statusline.h"
#include "ui/main/viewers.h"
#include "ui/texts/messagetexts.h"

using namespace Qt::StringLiterals;

// What the main window has to do with the network.

void MainWindow::connectTransfers()
{
    connect(m_accountCommands, &AccountCommands::progressed, m_status, &StatusLine::showTransfer);
    connect(m_accountCommands, &AccountCommands::transfersEnded, m_status, &StatusLine::endTransfer);
    connect(m_accountCommands, &AccountCommands::transfersBegan, this, &MainWindow::updateActions);
    connect(m_accountCommands, &AccountCommands::transfersEnded, this, &MainWindow::updateActions);
    connect(m_accountCommands, &AccountCommands::transfersEnded, this, &MainWindow::closeWhenIdle);
    connect(m_status, &StatusLine::transfersStopped, m_accountCommands, &AccountCommands::stopTransfers);
    connect(&m_engine.serverWishes(), &ServerWishes::told, this, [this](const QString &text) {
        viewer().pane()->bar().tell(MessageBar::Kind::Information, text);
    });
    connect(&m_engine.serverWishes(), &ServerWishes::failed, this,
            [this](const QString &text) { viewer().pane()->bar().tell(MessageBar::Kind::Warning, text); });
    connect(&m_engine.serverWishes(), &ServerWishes::deletionProposed, this, [this](int number, int count) {
        const Account *account = m_engine.accounts().account(number);
        viewer().pane()->bar().ask(
            MessageBar::Kind::Information,
            tr("Of %1 only the header was fetched: %2.")
                .arg(messagesInWords(count), account ? account->name() : QString()),
            {tr("Delete on the server"), [this, number] { m_engine.serverWishes().acceptProposal(number); }});
    });
    connect(&m_engine.serverWishes(), &ServerWishes::changed, this, [this] {
        for (const auto &each : m_viewers->all())
            each->showMarks();
    });
    connect(m_accountCommands, &AccountCommands::settled, m_status, &StatusLine::announce);
    connect(m_accountCommands, &AccountCommands::noticed, this,
            [this](const TransferError &error, const QString &text) {
                m_notices.addTrouble(error.account, text, error.text);
            });
    connect(m_accountCommands, &AccountCommands::troubleEnded, &m_notices, &Notices::endTrouble);
    connect(m_accountCommands, &AccountCommands::failed, this,
            [this](const QString &text, const QString &button, const std::function<void()> &mend) {
                m_failureBar = &viewer().pane()->bar();
                m_failureBar->ask(MessageBar::Kind::Warning, text, {button, mend},
                                  {tr("Show transfers"), [this] { m_accountCommands->showTransfers(); }});
            });
    connect(m_accountCommands, &AccountCommands::mended, this, [this] {
        if (m_failureBar && m_failureBar->kind() == MessageBar::Kind::Warning)
            m_failureBar->hide();
    });
    connect(m_accountCommands, &AccountCommands::onlineWanted, this, [this] {
        viewer().pane()->bar().ask(MessageBar::Kind::Information, tr("Velmar works offline."),
                                   {tr("Go online"), [this] {
                                        setOnlineWish(true);
                                        m_actions[Act::GetMail]->trigger();
                                    }});
    });
}

void MainWindow::offerFirstAccount()
{
    m_accountCommands->offerFirstAccount();
}

void MainWindow::getMail(bool thereIsAnAccount)
{
    if (!thereIsAnAccount)
        viewer().pane()->bar().ask(
            MessageBar::Kind::Information, tr("There is no account yet to get mail from."),
            {tr("Set up an account…"), [this] { m_actions[Act::NewAccount]->trigger(); }});
}

void MainWindow::setOnlineWish(bool online)
{
    setOnline(online);
    showOnline();
}

void MainWindow::showOnline()
{
    const bool online = isOnline();
    m_status->setOnline(online);
    QAction *action = m_actions[Act::Online];
    action->setText(online ? tr("Work &offline") : tr("Go &online"));
    action->setIcon(icon(online ? u"online"_s : u"offline"_s));
}
