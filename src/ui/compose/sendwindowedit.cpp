#include "compose/editing.h"
#include "config/files.h"
#include "config/settings.h"
#include "identity/identitymanager.h"
#include "identity/signaturecommand.h"
#include "identity/signatures.h"
#include "identity/templates.h"
#include "ui/compose/composeattachments.h"
#include "ui/compose/composeeditor.h"
#include "ui/compose/composeheader.h"
#include "ui/compose/plaineditor.h"
#include "ui/compose/replacebar.h"
#include "ui/compose/richeditor.h"
#include "ui/compose/sendwindow.h"
#include "ui/look/askingbar.h"
#include "ui/look/messageboxes.h"
#include "ui/reader/findbar.h"

#include <QBuffer>
#include <QColorDialog>
#include <QDragEnterEvent>
#include <QFileDialog>
#include <QImage>
#include <QMimeData>

using namespace Qt::StringLiterals;

// What the compose window does to the message while it is written.

void SendWindow::changed()
{
    m_isChanged = true;
    m_isKept = false;
    m_typed.start();
    m_counting.start();
}

void SendWindow::identityChosen(int number)
{
    const Identity *chosen = m_services.identities.identity(number);
    if (!chosen)
        return;
    const Identity before = m_rest.identity;
    m_rest.identity = *chosen;
    if (before.signature != chosen->signature || before.number != number)
        takeSignature(chosen->signature);
    m_header->judgeAgain();
    m_attachments->setLimit(m_services.sizeLimit ? m_services.sizeLimit(number) : 0);
    changed();
}

/// The signature of that name takes the place of the one in the text; a command's comes when it has run.
void SendWindow::takeSignature(const QString &name)
{
    const std::optional<Signature> signature =
        name.isEmpty() ? std::optional(Signature()) : readSignature(m_header->identity(), name);
    if (!signature)
        return;
    if (signature->kind != Signature::Kind::Command) {
        putSignature(signature->text, signature->kind == Signature::Kind::Html);
        return;
    }
    runSignature(signature->text);
}

void SendWindow::runSignature(const QString &command)
{
    auto *run = new SignatureCommand(this);
    connect(run, &SignatureCommand::finished, this, [this, run](const QString &text, const QString &problem) {
        run->deleteLater();
        if (problem.isEmpty())
            putSignature(text, false);
        else
            m_bar->tell(MessageBar::Kind::Warning, problem);
    });
    run->start(command);
}

void SendWindow::putSignature(const QString &text, bool isHtml)
{
    Composition now = composition();
    m_signatureEnd = setSignature(now, text, isHtml, m_tagline, m_signatureEnd);
    if (!m_editor->isRich() && now.html.isEmpty())
        m_editor->plain()->replaceAll(now.text);
    else
        m_editor->show(now);
    changed();
}

void SendWindow::takeTemplate(const QString &name)
{
    const QString text = m_services.composer.expandedTemplate(name, m_context, m_rest.identity);
    if (!text.isEmpty())
        m_editor->insertText(text);
}

void SendWindow::attachFiles(const QStringList &paths)
{
    m_attachments->addFiles(paths);
}

void SendWindow::attachPicture(const QImage &image)
{
    Attachment picture;
    picture.name = tr("Picture") + u".png"_s;
    picture.contentType = "image/png";
    QBuffer buffer(&picture.data);
    if (image.save(&buffer, "PNG"))
        m_attachments->model().add(picture);
}

void SendWindow::askForFiles()
{
    auto *dialog = new QFileDialog(this, tr("Attach files"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::ExistingFiles);
    connect(dialog, &QFileDialog::filesSelected, this, &SendWindow::attachFiles);
    dialog->open();
}

void SendWindow::insertFile()
{
    auto *dialog = new QFileDialog(this, tr("Insert the text of a file"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::ExistingFile);
    connect(dialog, &QFileDialog::fileSelected, this, [this](const QString &path) {
        const QString text = readTextFile(path, this);
        if (!text.isEmpty())
            m_editor->insertText(text);
    });
    dialog->open();
}

void SendWindow::insertPicture()
{
    auto *dialog = new QFileDialog(this, tr("Insert a picture"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::ExistingFile);
    dialog->setNameFilter(tr("Pictures") + u" (*.png *.jpg *.jpeg *.gif *.webp *.bmp)"_s);
    connect(dialog, &QFileDialog::fileSelected, this, [this](const QString &path) {
        if (!m_editor->rich()->insertPictureFile(path))
            m_bar->tell(MessageBar::Kind::Warning, tr("This file is no picture that can be shown."));
    });
    dialog->open();
}

void SendWindow::chooseColour()
{
    auto *dialog = new QColorDialog(m_editor->rich()->textColor(), this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QColorDialog::colorSelected, this,
            [this](const QColor &colour) { m_editor->rich()->setColour(colour); });
    dialog->open();
}

void SendWindow::setRich(bool rich)
{
    if (rich || !m_editor->hasFormatting()) {
        m_editor->setRich(rich);
        return;
    }
    updateFormat(); // the boxes show what still is
    m_bar->ask(MessageBar::Kind::Warning,
               tr("Plain text has no formatting; what this text has of it is lost."),
               {tr("Make it plain"), [this] { m_editor->setRich(false); }}, {tr("Keep it"), [] {}});
}

void SendWindow::find(bool backwards, bool open)
{
    FindBar *bar = m_editor->isRich() ? m_findRich : m_findPlain;
    if (open || bar->isHidden())
        bar->open();
    else if (backwards)
        bar->findPrevious();
    else
        bar->findNext();
}

void SendWindow::dragEnterEvent(QDragEnterEvent *event)
{
    if (event->mimeData()->hasUrls())
        event->acceptProposedAction();
}

void SendWindow::dropEvent(QDropEvent *event)
{
    attachFiles(localFilesIn(event->mimeData()));
    event->acceptProposedAction();
}
