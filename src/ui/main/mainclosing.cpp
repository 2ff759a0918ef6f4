#include "net/fetcher.h"
#include "ui/look/messageboxes.h"
#include "ui/main/accountcommands.h"
#include "ui/main/composecommands.h"
#include "ui/main/mainwindow.h"
#include "ui/main/outboxcommands.h"

#include <QCloseEvent>

#include <algorithm>

using namespace Qt::StringLiterals;

// How the main window closes: what is on its way comes to a safe point, and nothing that is written is lost.

void MainWindow::closeEvent(QCloseEvent *event)
{
    if (Fetcher::busyCount() > 0 && isVisible()) {
        event->ignore();
        return askBeforeClosing();
    }
    if (!m_isEnding && isVisible() && !m_leavesWaiting && !m_outboxCommands->countingDown().empty()) {
        event->ignore();
        return askAboutCountdowns();
    }
    if (!m_composeCommands->keepAll() && !m_losesText && isVisible()) {
        event->ignore();
        return askBeforeLosingText();
    }
    remember();
    keepWriting();
    QMainWindow::closeEvent(event);
}

/// The window closes when all clients have come to a safe point, those too that fetch the rest of single
/// messages.
void MainWindow::askBeforeClosing()
{
    const auto stopAndClose = [this] {
        m_closesWhenIdle = true;
        m_accountCommands->stopTransfers();
        closeWhenIdle();
    };
    if (!m_accountCommands->isSending())
        return m_boxes->ask({tr("Mail is being transferred."),
                             tr("What has arrived is safe; the rest comes the next time."),
                             {tr("&Stop and close"), tr("&Wait")},
                             false,
                             ReportLevel::Information},
                            this, [stopAndClose](int button) {
                                if (button == 0)
                                    stopAndClose();
                            });
    m_boxes->ask({tr("Mail is being sent."),
                  tr("What has not gone yet stays in the outbox and goes the next time."),
                  {tr("&Close when it is sent"), tr("&Stop and close"), tr("&Wait")},
                  false,
                  ReportLevel::Information},
                 this, [this, stopAndClose](int button) {
                     if (button == 1)
                         return stopAndClose();
                     m_closesWhenIdle = button == 0;
                     closeWhenIdle();
                 });
}

void MainWindow::closeWhenIdle()
{
    if (!m_closesWhenIdle || Fetcher::busyCount() > 0)
        return;
    m_closesWhenIdle = false;
    QMetaObject::invokeMethod(this, &QWidget::close, Qt::QueuedConnection);
}

/// What can still be taken back is held in the outbox when the program ends, and goes after the next start.
void MainWindow::askAboutCountdowns()
{
    const std::vector<MessageRef> waiting = m_outboxCommands->countingDown();
    const qsizetype count = qsizetype(waiting.size());
    const auto canGo = [this](MessageRef place) { return m_outboxCommands->canGo(place); };
    const bool canSend = std::all_of(waiting.begin(), waiting.end(), canGo);
    const QString later = count == 1 ? tr("It goes after the next start of Velmar, when it can be sent.")
                                     : tr("They go after the next start of Velmar, when they can be sent.");
    const QString now = count == 1 ? tr("It can go now, or after the next start of Velmar.")
                                   : tr("They can go now, or after the next start of Velmar.");
    const auto close = [this] {
        m_leavesWaiting = true;
        this->close();
        m_leavesWaiting = false;
    };
    const auto sendAndClose = [this, waiting] {
        for (const MessageRef place : waiting)
            m_outboxCommands->sendNow(place);
        m_closesWhenIdle = true;
        closeWhenIdle();
    };
    std::vector<std::function<void()>> deeds = {close};
    QStringList buttons = {tr("&Close"), tr("&Stay")};
    if (canSend) {
        deeds.insert(deeds.begin(), sendAndClose);
        buttons.prepend(tr("&Send and close"));
    }
    m_boxes->ask({count == 1 ? tr("A message is about to be sent.")
                             : tr("%1 messages are about to be sent.").arg(count),
                  canSend ? now : later, buttons, false, ReportLevel::Information},
                 this, [deeds](int button) {
                     if (button >= 0 && std::size_t(button) < deeds.size())
                         deeds[std::size_t(button)]();
                 });
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

void MainWindow::keepWriting()
{
    m_isEnding = true;
    m_composeCommands->closeAll();
}
