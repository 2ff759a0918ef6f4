#pragma once

#include "message/message.h"
#include "ui/reader/attachmentfiles.h"

#include <QObject>

class AskingBar;
class QWidget;

/// Opens and saves the attachments of the message that is shown. Questions and results appear in the bar of
/// the reader; nothing waits for an answer.
class AttachmentActions : public QObject
{
    Q_OBJECT

public:
    AttachmentActions(AskingBar *bar, QWidget *parent);

    void setMessage(const Message &message) { m_message = message; }

    /// Opens a copy with the desktop's program, after a question where that is a risk; a program is never
    /// opened.
    void open(int part);

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
    QString copyOf(int part) { return m_files.copyOf(m_message, part); }

private:
    void openNow(int part);
    bool write(const Message &message, int part, const QString &path);
    int writeAll(const Message &message, const QList<int> &parts, const QString &directory);
    void saveOne(int part);
    void saveMany(const QList<int> &parts);

    AskingBar *m_bar;
    QWidget *m_window;
    Message m_message;
    AttachmentFiles m_files;
    QString m_directory; ///< where was saved to last
};
