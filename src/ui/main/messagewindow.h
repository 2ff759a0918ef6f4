#pragma once

#include "message/message.h"
#include "store/messageref.h"
#include "ui/actions/actionregistry.h"
#include "ui/reader/readeractions.h"

#include <QMainWindow>

class MessageView;
class RemoteContent;
struct ReaderMarks;

/// A message in a window of its own: one of a group, or out of a file. Deletes itself when it is closed.
class MessageWindow : public QMainWindow
{
    Q_OBJECT

public:
    /// @p remote must outlive this.
    explicit MessageWindow(RemoteContent &remote);

    /// @p ref is null for a message that is in no group: nothing can be done to that but reading it.
    void showMessage(const Message &message, MessageRef ref, const ReaderMarks &marks);
    void setMarks(const ReaderMarks &marks);
    MessageRef ref() const { return m_ref; }
    MessageView &reader() const { return *m_view; }
    void comeForward();

signals:
    void linkActivated(const QString &target);
    void messageWanted(const Message &message);
    void findFromWanted(const QString &address);

    /// The main window's action of that name is to be done to the message that is shown.
    void deedWanted(const QString &action);

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void addDeeds();
    void updateHave();

    ActionRegistry m_registry;
    ReaderActions m_actions;
    MessageView *m_view;
    MessageRef m_ref;
};
