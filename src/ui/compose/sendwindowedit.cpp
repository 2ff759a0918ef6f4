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
#include <QFileInfo>
#include <QImage>
#include <QMimeData>

using namespace Qt::StringLiterals;

// What the compose window does to the message while it is written.

void SendWindow::changed()
{
    m_isChanged = true;
    m_isKept = false;
    ++m_changes;
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
    limitSize(number);
    changed();
}

/// The signature of that name takes the place of the one in the text; a command's comes when it has run.
/// Where it cannot be read, what is in the text stays.
void SendWindow::takeSignature(const QString &name)
{
    delete m_signing; // what was chosen before comes no more
    const std::optional<Signature> signature =
        name.isEmpty() ? std::optional(Signature()) : readSignature(m_header->identity(), name);
    if (!signature || signature->text.contains(QChar::ReplacementCharacter) ||
        signature->text.contains(QChar::Null)) {
        m_bar->tell(MessageBar::Kind::Warning,
                    tr("The signature “%1” cannot be read; the text stays as it is.").arg(name));
        return;
    }
    if (signature->kind == Signature::Kind::Command)
        return runSignature(name, signature->text);
    m_signature = name;
    putSignature(signature->text, signature->kind == Signature::Kind::Html);
}

void SendWindow::runSignature(const QString &name, const QString &command)
{
    delete m_signing;
    m_signing = new SignatureCommand(this);
    connect(m_signing, &SignatureCommand::finished, this,
            [this, name](const QString &text, const QString &problem) {
                m_signing->deleteLater();
                m_signing = nullptr;
                if (!problem.isEmpty())
                    return m_bar->tell(MessageBar::Kind::Warning, problem);
                m_signature = name;
                putSignature(text, false);
            });
    m_signing->start(command);
}

/// A step to undo of its own, wherever the cursor is. In a window in which nobody has done anything yet it is
/// how the message began.
void SendWindow::putSignature(const QString &text, bool isHtml)
{
    const bool wasTouched = m_isChanged;
    const QString before = m_signatureEnd;
    Composition now = composition();
    m_signatureEnd = setSignature(now, text, isHtml, m_tagline, before);
    m_editor->changeTo(now);
    Composition atFirst;
    atFirst.identity = now.identity;
    atFirst.text = m_textAtFirst;
    setSignature(atFirst, text, isHtml, m_tagline, before);
    m_textAtFirst = wasTouched ? atFirst.text : m_editor->plainForm();
    if (wasTouched) {
        changed();
        return;
    }
    m_editor->forgetHistory();
    m_isChanged = false;
    m_isKept = true;
    m_typed.stop();
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
    connect(dialog, &QFileDialog::fileSelected, this, &SendWindow::insertTextOf);
    dialog->open();
}

void SendWindow::insertTextOf(const QString &path)
{
    constexpr qint64 kMostBytes = 4'000'000;
    const QFileInfo file(path);
    const QString text = file.isFile() && file.size() <= kMostBytes ? readTextFile(path, this) : QString();
    const auto isNoText = [](QChar c) { return c.isNull() || c == QChar::ReplacementCharacter; };
    if (text.isEmpty() && file.size() > 0)
        m_bar->tell(MessageBar::Kind::Warning, tr("This file is too large for a text; it can be attached."));
    else if (std::any_of(text.begin(), text.end(), isNoText))
        m_bar->tell(MessageBar::Kind::Warning, tr("This file is no text; it can be attached."));
    else
        m_editor->insertText(text);
}

/// What was pasted goes along, but not into the text.
void SendWindow::attachPasted(const QString &text, const QString &html)
{
    Attachment pasted;
    pasted.name = html.isEmpty() ? tr("Pasted text") + u".txt"_s : tr("Pasted text") + u".html"_s;
    pasted.contentType = html.isEmpty() ? "text/plain; charset=UTF-8" : "text/html; charset=UTF-8";
    pasted.data = (html.isEmpty() ? text : html).toUtf8();
    m_attachments->model().add(pasted);
    const QString told = tr("This is too long to be written in; it is attached as “%1”.").arg(pasted.name);
    m_bar->tell(MessageBar::Kind::Information,
                html.isEmpty() ? told : told + u' ' + tr("“Paste without format” takes its words alone."));
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
