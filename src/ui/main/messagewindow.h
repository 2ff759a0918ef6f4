#pragma once

#include "message/message.h"
#include "ui/actions/actionregistry.h"
#include "ui/reader/readeractions.h"

#include <QMainWindow>

class MessageView;
class RemoteContent;

/// A message in a window of its own: one of a group, or out of a file. Deletes itself when it is closed.
class MessageWindow : public QMainWindow
{
    Q_OBJECT

public:
    /// @p remote must outlive this.
    explicit MessageWindow(RemoteContent &remote);

    void showMessage(const Message &message);
    void comeForward();

signals:
    void linkActivated(const QString &target);
    void messageWanted(const Message &message);
    void findFromWanted(const QString &address);

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    ActionRegistry m_registry;
    ReaderActions m_actions;
    MessageView *m_view;
};
