#pragma once

#include "message/message.h"
#include "ui/reader/attachmentfiles.h"

#include <QObject>

#include <memory>
#include <vector>

class AskingBar;
class QTimer;
class QWidget;
struct DesktopApplication;

/// Previews, opens and saves the attachments of the message that is shown. Questions and results appear in
/// the bar of the reader; nothing waits for an answer.
class AttachmentActions : public QObject
{
    Q_OBJECT

public:
    AttachmentActions(AskingBar *bar, QWidget *parent);
    ~AttachmentActions() override;

    void setMessage(const Message &message) { m_message = message; }

    /// Shows it in a window of the reader's, from where one goes on to the other @p parts; opens it where
    /// that is not possible.
    void activate(int part, const QList<int> &parts);
    void preview(int part, const QList<int> &parts);

    /// Opens a copy with the desktop's program, after a question where that is a risk; a program is never
    /// opened.
    void open(int part);

    /// Asks which program is to open a copy; never for a program.
    void openWith(int part);
    /// An enclosed message, for a window of its own.
    void openMessage(int part);
    void copyPicture(int part);

    /// Asks where to, and saves.
    void save(const QList<int> &parts);

    /// Saves under @p path, over what is there. False after a warning.
    bool saveAs(int part, const QString &path) { return write(m_message, part, path); }
    /// Saves under names that are free in @p directory; returns how many could be saved.
    int saveInto(const QList<int> &parts, const QString &directory)
    {
        return writeAll(m_message, parts, directory);
    }

    /// A copy for others to read; empty when it cannot be written.
    QString copyOf(int part) { return m_files->copyOf(m_message, part); }

signals:
    /// An enclosed message shall have a window of its own.
    void messageWanted(const Message &message);
    /// A link in a preview was clicked and may be followed.
    void linkActivated(const QString &target);

private:
    struct Saving;

    void openNow(int part);
    void launch(const Message &message, int part, const DesktopApplication &application);
    bool refused(int part);
    void saveSlice();
    void tell(const Saving &saving);
    bool write(const Message &message, int part, const QString &path);
    int writeAll(const Message &message, const QList<int> &parts, const QString &directory);
    void saveOne(int part);
    void saveMany(const QList<int> &parts);

    AskingBar *m_bar;
    QWidget *m_window;
    Message m_message;
    std::shared_ptr<AttachmentFiles> m_files;
    QString m_directory; ///< where was saved to last
    std::vector<Saving> m_saving;
    QTimer *m_slices; ///< one file each
};
