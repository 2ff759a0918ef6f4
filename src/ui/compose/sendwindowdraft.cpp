#include "compose/editing.h"
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
#include "ui/texts/harmless.h"

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
    if (!m_isOver)
        m_attachments->finishReading();
    return keepVersion();
}

/// At once and whole.
bool SendWindow::keepVersion()
{
    if (m_isOver || m_isKept)
        return true;
    m_keptChanges = m_changes;
    const CaughtReports reports;
    const bool good = m_services.drafts.keep(m_draft, composition());
    keptVersion(good, reports.text());
    return m_isKept;
}

/// Large attachments between events, so that nobody who writes on waits for them.
void SendWindow::keepSoon()
{
    if (m_isOver || m_isKept)
        return;
    const CaughtReports reports; // keptSoon() finds out what is wrong
    m_keptChanges = m_changes;
    m_services.drafts.keepSoon(m_draft, composition());
}

/// What could not be saved is tried at once and whole: then it is known why, which is said in the window.
void SendWindow::keptSoon(int draft, bool good)
{
    if (draft != m_draft)
        return;
    if (good)
        keptVersion(true, {});
    else
        keepVersion();
}

void SendWindow::keptVersion(bool good, const QString &why)
{
    if (m_isOver)
        return;
    m_isKept = good && m_keptChanges == m_changes;
    m_savedText = good ? tr("Draft saved %1").arg(timeText(clockNow().time())) : tr("Not saved");
    if (!good)
        tellUnsaved(why);
    else if (m_isTold)
        m_bar->tell(MessageBar::Kind::Good, tr("The draft is saved again."));
    m_isTold = !good;
    updateHave();
    updateStatus();
}

void SendWindow::tellUnsaved(const QString &why)
{
    const QString text = tr("This message could not be saved. %1").arg(why);
    if (m_isTold && m_bar->isVisible() && m_bar->text() == text)
        return; // said already
    m_bar->ask(MessageBar::Kind::Error, text, {tr("Try again"), [this] { keepVersion(); }},
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
    keepVersion();
}

void SendWindow::saveDraft()
{
    m_isKept = false;
    if (!keepVersion() || !m_services.drafts.store(m_draft))
        return;
    m_isChanged = false;
    m_savedText = tr("Saved in Drafts %1").arg(timeText(clockNow().time()));
    updateStatus();
}

void SendWindow::showHistory()
{
    keepVersion();
    showDraftHistory(this, m_services.drafts, m_draft, [this](int serial) { restore(serial); });
}

/// The version takes the place of what there is, which is a version itself and can be had again.
void SendWindow::restore(int serial)
{
    const Drafts::Reading version = m_services.drafts.reading(m_draft, serial); // a new one drops the oldest
    if (!version.isThere)
        return m_bar->tell(MessageBar::Kind::Warning, tr("This version is not there any more."));
    if (!keepVersion())
        return; // what would be lost is what is shown
    Composer::Started shown;
    shown.composition = version.composition;
    Composer::recogniseSignature(shown);
    if (!shown.signatureEnd.isEmpty() || findSignature(shown.composition.text, m_signatureEnd).start < 0) {
        m_signature = shown.signature;
        m_signatureEnd = shown.signatureEnd;
        m_tagline = shown.tagline;
    }
    QStringList told = {tr("An earlier version is shown; the later ones are kept.")};
    if (!version.lost.isEmpty())
        told.append(tr("These attachments are lost: %1.").arg(harmlessLine(version.lost.join(u", "_s))));
    if (!version.formerWriter.isEmpty())
        told.append(tr("No identity writes as %1 any more.").arg(harmlessLine(version.formerWriter)));
    show(shown.composition);
    changed();
    m_bar->tell(told.size() > 1 ? MessageBar::Kind::Warning : MessageBar::Kind::Information, told.join(u' '));
}

/// The window goes out of sight for a moment: whatever happens there, nothing is lost.
void SendWindow::changeEvent(QEvent *event)
{
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::ActivationChange && !isActiveWindow())
        keepSoon();
}

void SendWindow::closeEvent(QCloseEvent *event)
{
    if (!m_isOver && (m_isChanged || m_attachments->isReading())) {
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
