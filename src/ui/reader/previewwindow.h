#pragma once

#include "message/message.h"

#include <QWidget>

class AskingBar;
class AttachmentActions;
class ElidedLabel;
class QAction;
class QLabel;
class QVBoxLayout;

/// Shows one attachment after the other without any other program: pictures, texts, enclosed messages,
/// contacts and events. The arrow keys with Alt go from one to the next, Esc closes.
class PreviewWindow : public QWidget
{
    Q_OBJECT

public:
    /// Of @p parts those that can be previewed; @p part is shown first.
    PreviewWindow(const Message &message, const QList<int> &parts, int part, QWidget *parent);

    int part() const { return m_parts.value(m_at, -1); }
    void showNext() { go(m_at + 1); }
    void showPrevious() { go(m_at - 1); }

signals:
    /// The enclosed message shall have a window of its own.
    void messageWanted(const Message &message);
    void linkActivated(const QString &target);

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void build();
    QAction *newAction(const char *name, const QString &text, const QString &icon, const QKeySequence &key,
                       void (PreviewWindow::*slot)());
    void go(int index);
    void connectContent();
    void copyPicture();
    void openPart();
    void openPartWith();
    void savePart();
    void requestWindow();
    void find();
    void findNext();
    void findPrevious();

    Message m_message;
    QList<int> m_parts;
    int m_at = -1;
    QVBoxLayout *m_layout;
    AskingBar *m_bar;
    AttachmentActions *m_actions;
    QWidget *m_content = nullptr;
    ElidedLabel *m_name;
    QLabel *m_count;
    QAction *m_previous = nullptr;
    QAction *m_next = nullptr;
    QAction *m_copy = nullptr;
    QAction *m_ownWindow = nullptr;
};
