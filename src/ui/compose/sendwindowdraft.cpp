#include "compose/messagebuilder.h"
#include "config/clock.h"
#include "config/reporter.h"
#include "config/settings.h"
#include "message/safename.h"
#include "ui/compose/composeattachments.h"
#include "ui/compose/composeeditor.h"
#include "ui/compose/composeheader.h"
#include "ui/compose/drafthistory.h"
#include "ui/compose/sendwindow.h"
#include "ui/look/askingbar.h"
#include "ui/look/messageboxes.h"
#include "ui/reader/attachmentfiles.h"
#include "ui/texts/datetext.h"

#include <QCloseEvent>
#include <QFileDialog>
#include <QFileInfo>

using namespace Qt::StringLiterals;

// The draft that the compose window keeps.

namespace {

/// Catches what is reported while it lives: said once in the window, and not in a box after every pause.
class CaughtReports
{
public:
    CaughtReports()
        : m_before(setReportSink([this](const Report &report) { m_texts.append(report.text); }))
    {}
    ~CaughtReports() { setReportSink(m_before); }
    CaughtReports(const CaughtReports &) = delete;
    CaughtReports &operator=(const CaughtReports &) = delete;

    QString text() const { return m_texts.join(u' '); }

private:
    QStringList m_texts;
    ReportSink m_before;
};

} // namespace

bool SendWindow::keepNow()
{
    if (m_isOver || m_isKept)
        return true;
    QString why;
    {
        const CaughtReports reports;
        m_isKept = m_services.drafts.keep(m_draft, composition());
        why = reports.text();
    }
    m_savedText = m_isKept ? tr("Draft saved %1").arg(timeText(clockNow().time())) : tr("Not saved");
    if (!m_isKept)
        tellUnsaved(why);
    else if (m_isTold)
        m_bar->tell(MessageBar::Kind::Good, tr("The draft is saved again."));
    m_isTold = !m_isKept;
    updateHave();
    updateStatus();
    return m_isKept;
}

void SendWindow::tellUnsaved(const QString &why)
{
    const QString text = tr("This message could not be saved. %1").arg(why);
    if (m_isTold && m_bar->isVisible() && m_bar->text() == text)
        return; // said already
    m_bar->ask(MessageBar::Kind::Error, text, {tr("Try again"), [this] { keepNow(); }},
               {tr("Save elsewhere…"), [this] { saveElsewhere(); }});
}

/// The way out of a full disk: the whole message as a file of its own.
void SendWindow::saveElsewhere()
{
    auto *dialog = new QFileDialog(this, tr("Save the message"));
    dialog->setObjectName(u"saveElsewhere"_s);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave); // asks before it replaces a file
    dialog->setDefaultSuffix(u"eml"_s);
    const QString subject = m_header->text(ComposeHeader::Field::Subject).replace(u'/', u'-');
    dialog->selectFile(safeFileName((subject.isEmpty() ? tr("Draft") : subject) + u".eml"_s));
    connect(dialog, &QFileDialog::fileSelected, this, [this](const QString &path) {
        const QByteArray message = buildMessage(composition(), {BuildFor::Draft, {}, clockNow()});
        if (!message.isEmpty() && writeWholeFile(path, message))
            m_bar->tell(MessageBar::Kind::Good,
                        tr("A copy of the message is in %1.").arg(QFileInfo(path).fileName()));
        else
            tellUnsaved(tr("%1 cannot be written.").arg(QFileInfo(path).fileName()));
    });
    dialog->open();
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
    m_savedText = tr("Saved in Drafts %1").arg(timeText(clockNow().time()));
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
