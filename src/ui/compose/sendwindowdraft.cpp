#include "config/clock.h"
#include "config/settings.h"
#include "ui/compose/composeattachments.h"
#include "ui/compose/composeeditor.h"
#include "ui/compose/composeheader.h"
#include "ui/compose/drafthistory.h"
#include "ui/compose/sendwindow.h"
#include "ui/look/askingbar.h"
#include "ui/look/messageboxes.h"

#include <QCloseEvent>
#include <QLocale>

using namespace Qt::StringLiterals;

// The draft that the compose window keeps.

bool SendWindow::keepNow()
{
    if (m_isOver || m_isKept)
        return true;
    const bool kept = m_services.drafts.keep(m_draft, composition());
    m_isKept = kept;
    m_savedText = kept ? tr("Draft saved %1").arg(QLocale().toString(clockNow().time(), QLocale::ShortFormat))
                       : tr("The draft could not be saved");
    updateHave();
    updateStatus();
    return kept;
}

void SendWindow::markUnsaved()
{
    m_isChanged = true;
    m_isKept = false;
    keepNow();
}

void SendWindow::keepSoon()
{
    keepNow();
}

void SendWindow::saveDraft()
{
    m_isKept = false;
    if (!keepNow() || !m_services.drafts.store(m_draft))
        return;
    m_isChanged = false;
    m_savedText = tr("Saved in Drafts %1").arg(QLocale().toString(clockNow().time(), QLocale::ShortFormat));
    updateStatus();
}

void SendWindow::showHistory()
{
    keepNow();
    showDraftHistory(this, m_services.drafts, m_draft,
                     [this](const Composition &version) { restore(version); });
}

/// The version takes the place of what there is, which is a version itself and can be had again.
void SendWindow::restore(const Composition &version)
{
    keepNow();
    show(version);
    changed();
    m_bar->tell(MessageBar::Kind::Information, tr("An earlier version is shown; the later ones are kept."));
}

/// The window goes out of sight for a moment: whatever happens there, nothing is lost.
void SendWindow::changeEvent(QEvent *event)
{
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::ActivationChange && !isActiveWindow())
        keepNow();
}

void SendWindow::closeEvent(QCloseEvent *event)
{
    if (!m_isOver && m_isChanged) {
        event->ignore();
        askBeforeClosing();
        return;
    }
    if (!m_isOver)
        m_services.drafts.close(m_draft);
    m_isOver = true;
    if (normalGeometry().isValid())
        setWindowGeometry(Setting::WindowSizeSend, normalGeometry());
    QMainWindow::closeEvent(event);
}

void SendWindow::askBeforeClosing()
{
    if (m_isSending)
        return;
    MessageBoxes::Question question;
    question.text = tr("You have made changes to this message.\nPlease confirm that you wish to close\nthis "
                       "message without sending it.");
    question.buttons = {tr("&Discard Changes and Close"), tr("&Resume Editing")};
    question.dangerous = true;
    m_services.boxes.ask(question, this, [this](int button) {
        if (button == 0)
            discard();
        else
            m_editor->setFocus();
    });
}

void SendWindow::askBeforeDiscarding()
{
    if (m_isSending)
        return;
    MessageBoxes::Question question;
    question.text = tr("Delete this draft and its earlier versions?");
    question.buttons = {tr("&Delete draft"), tr("&Keep it")};
    question.dangerous = true;
    m_services.boxes.ask(question, this, [this](int button) {
        if (button != 0)
            return;
        m_services.drafts.discard(m_draft);
        m_isOver = true;
        close();
    });
}

void SendWindow::discard()
{
    m_services.drafts.close(m_draft); // what was saved in Drafts stays
    m_isOver = true;
    close();
}
