#include "ui/reader/attachmentactions.h"

#include "config/directory.h"
#include "config/platform.h"
#include "message/mimecontext.h"
#include "ui/look/askingbar.h"

#include <QFileDialog>
#include <QFileInfo>

using namespace Qt::StringLiterals;

AttachmentActions::AttachmentActions(AskingBar *bar, QWidget *parent)
    : QObject(parent)
    , m_bar(bar)
    , m_window(parent)
{}

void AttachmentActions::open(int part)
{
    const QString name = attachmentName(m_message, part);
    const AskingBar::Answer saving{tr("Save…"), [this, part] { save({part}); }};
    switch (openRiskOf(name, m_message.mime().decodedBytes(part))) {
    case OpenRisk::None: return openNow(part);
    case OpenRisk::Ask:
        return m_bar->ask(MessageBar::Kind::Warning,
                          tr("“%1” may do harm if its sender means ill.").arg(name),
                          {tr("Open"), [this, part] { openNow(part); }}, saving);
    case OpenRisk::Never:
        return m_bar->ask(MessageBar::Kind::Warning,
                          tr("“%1” is a program. Programs are not opened from a message.").arg(name), saving);
    }
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
            [this, message = m_message, parts](const QString &path) { writeAll(message, parts, path); });
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
    m_directory = directory;
    int saved = 0;
    for (const int part : parts)
        saved += message.mime().savePart(part, freePath(directory, attachmentName(message, part))) ? 1 : 0;
    if (saved == parts.size())
        m_bar->tell(MessageBar::Kind::Good, tr("%1 attachments saved to %2.").arg(saved).arg(directory));
    else
        m_bar->tell(
            MessageBar::Kind::Error,
            tr("%1 of %2 attachments could be saved to %3.").arg(saved).arg(parts.size()).arg(directory));
    return saved;
}
