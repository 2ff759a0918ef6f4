#include "ui/reader/attachmentactions.h"

#include "config/directory.h"
#include "config/platform.h"
#include "message/mimecontext.h"
#include "ui/look/askingbar.h"
#include "ui/reader/openwithdialog.h"
#include "ui/reader/picturepane.h"
#include "ui/reader/previewcontent.h"
#include "ui/reader/previewwindow.h"
#include "ui/texts/harmless.h"
#include "ui/texts/messagetexts.h"

#include <QApplication>
#include <QClipboard>
#include <QFileDialog>
#include <QFileInfo>
#include <QProcess>
#include <QTimer>

using namespace Qt::StringLiterals;

/// Attachments on their way into a directory.
struct AttachmentActions::Saving
{
    Message message;
    QList<int> parts;
    QString directory;
    qsizetype next = 0;
    int saved = 0;
    QStringList failed;

    /// Writes one; false when it was the last.
    bool writeNext()
    {
        if (next >= parts.size())
            return false;
        const int part = parts[next++];
        const QString name = attachmentName(message, part);
        if (message.mime().savePart(part, freePath(directory, name)))
            ++saved;
        else
            failed.append(name);
        return next < parts.size();
    }
};

AttachmentActions::AttachmentActions(AskingBar *bar, QWidget *parent)
    : QObject(parent)
    , m_bar(bar)
    , m_window(parent)
    , m_files(AttachmentFiles::common())
    , m_slices(new QTimer(this))
{
    connect(m_slices, &QTimer::timeout, this, &AttachmentActions::saveSlice);
    QTimer::singleShot(0, this, [] { AttachmentFiles::removeAbandoned(); });
}

AttachmentActions::~AttachmentActions() = default;

void AttachmentActions::activate(int part, const QList<int> &parts)
{
    const bool isProgram = openRiskOf(m_message, part) == OpenRisk::Never;
    if (isProgram || previewKindOf(m_message, part) == PreviewKind::None)
        open(part);
    else
        preview(part, parts);
}

void AttachmentActions::preview(int part, const QList<int> &parts)
{
    if (previewKindOf(m_message, part) == PreviewKind::None)
        return;
    auto *window = new PreviewWindow(m_message, parts, part, m_window);
    connect(window, &PreviewWindow::messageWanted, this, &AttachmentActions::messageWanted);
    connect(window, &PreviewWindow::linkActivated, this, &AttachmentActions::linkActivated);
    window->show();
}

void AttachmentActions::openMessage(int part)
{
    emit messageWanted(Message(m_message.mime().decodedBytes(part)));
}

void AttachmentActions::copyPicture(int part)
{
    const PicturePane picture(m_message, part, nullptr);
    if (!picture.image().isNull())
        QApplication::clipboard()->setImage(picture.image());
}

/// True, with the reason in the bar, for what is never opened.
bool AttachmentActions::refused(int part)
{
    const QString name = attachmentName(m_message, part);
    if (openRiskOf(m_message, part) != OpenRisk::Never)
        return false;
    m_bar->ask(MessageBar::Kind::Warning,
               tr("“%1” is a program. Programs are not opened from a message.").arg(name),
               {tr("Save…"), [this, part] { save({part}); }});
    return true;
}

void AttachmentActions::open(int part)
{
    if (refused(part))
        return;
    const QString name = attachmentName(m_message, part);
    if (openRiskOf(m_message, part) == OpenRisk::None)
        return openNow(part);
    m_bar->ask(MessageBar::Kind::Warning, tr("“%1” may do harm if its sender means ill.").arg(name),
               {tr("Open"), [this, part] { openNow(part); }}, {tr("Save…"), [this, part] { save({part}); }});
}

void AttachmentActions::openWith(int part)
{
    if (refused(part))
        return;
    const QString name = attachmentName(m_message, part);
    const bool isSafe = openRiskOf(m_message, part) == OpenRisk::None;
    auto *dialog =
        new OpenWithDialog(name, attachmentType(m_message.mime().part(part)),
                           isSafe ? QString() : tr("It may do harm if its sender means ill."), m_window);
    connect(dialog, &OpenWithDialog::chosen, this,
            [this, message = m_message, part](const DesktopApplication &application) {
                launch(message, part, application); // the one it was asked for, whatever is shown by now
            });
    dialog->open();
}

void AttachmentActions::launch(const Message &message, int part, const DesktopApplication &application)
{
    const QString path = m_files->copyOf(message, part);
    if (path.isEmpty())
        return;
    QStringList command = commandFor(application, path);
    QProcess process;
    process.setProgram(command.isEmpty() ? QString() : command.takeFirst());
    process.setArguments(command);
    process.setWorkingDirectory(QFileInfo(path).absolutePath());
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    if (process.program().isEmpty() || !process.startDetached())
        return m_bar->tell(MessageBar::Kind::Error, tr("%1 could not be started.").arg(application.name));
    rememberOpened(attachmentType(message.mime().part(part)), application.id);
}

void AttachmentActions::openNow(int part)
{
    const QString path = copyOf(part);
    if (!path.isEmpty() && !openWithShell(path))
        m_bar->tell(MessageBar::Kind::Error,
                    tr("No program could be started for “%1”.").arg(QFileInfo(path).fileName()));
}

void AttachmentActions::save(const QList<int> &parts)
{
    if (m_directory.isEmpty())
        m_directory = documentsDirectory();
    if (parts.size() == 1)
        saveOne(parts.first());
    else if (!parts.isEmpty())
        saveMany(parts);
}

void AttachmentActions::saveOne(int part)
{
    auto *dialog = new QFileDialog(m_window, tr("Save attachment"), m_directory);
    dialog->setObjectName(u"saveAttachment"_s);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave); // asks before it replaces a file
    dialog->selectFile(QFileInfo(freePath(m_directory, attachmentName(m_message, part))).fileName());
    connect(dialog, &QFileDialog::fileSelected, this, [this, message = m_message, part](const QString &path) {
        write(message, part, path); // the one it was asked for, whatever is shown by now
    });
    dialog->open();
}

void AttachmentActions::saveMany(const QList<int> &parts)
{
    auto *dialog = new QFileDialog(m_window, tr("Save attachments to"), m_directory);
    dialog->setObjectName(u"saveAttachments"_s);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::Directory);
    dialog->setOption(QFileDialog::ShowDirsOnly);
    connect(dialog, &QFileDialog::fileSelected, this,
            [this, message = m_message, parts](const QString &path) {
                m_directory = path;
                m_saving.push_back({message, parts, path, 0, 0, {}});
                m_slices->start(0);
            });
    dialog->open();
}

bool AttachmentActions::write(const Message &message, int part, const QString &path)
{
    m_directory = QFileInfo(path).absolutePath();
    if (!message.mime().savePart(part, path))
        return false;
    m_bar->tell(MessageBar::Kind::Good, tr("Saved as %1.").arg(path));
    return true;
}

int AttachmentActions::writeAll(const Message &message, const QList<int> &parts, const QString &directory)
{
    Saving saving{message, parts, directory, 0, 0, {}};
    m_directory = directory;
    while (saving.writeNext()) {
    }
    tell(saving);
    return saving.saved;
}

void AttachmentActions::saveSlice()
{
    if (m_saving.front().writeNext())
        return;
    tell(m_saving.front());
    m_saving.erase(m_saving.begin());
    if (m_saving.empty())
        m_slices->stop();
}

void AttachmentActions::tell(const Saving &saving)
{
    const qsizetype all = saving.parts.size();
    if (saving.saved == all)
        return m_bar->tell(MessageBar::Kind::Good,
                           tr("%1 saved to %2.").arg(attachmentsInWords(all), saving.directory));
    const QString which = harmlessLine(saving.failed.join(u", "_s), 200);
    m_bar->tell(MessageBar::Kind::Error, tr("%1 of %2 could be saved to %3, but not %4.")
                                             .arg(saving.saved)
                                             .arg(attachmentsInWords(all), saving.directory, which));
}
