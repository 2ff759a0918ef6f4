#pragma once

#include "store/messageref.h"

#include <QWidget>

#include <map>

class AskingBar;
class OutboxCommands;

/// A bar for each message that is about to go, in which it can be taken back; of many those that were sent
/// last, and one for the others. There is nothing to see while none counts down.
class CountdownBars : public QWidget
{
    Q_OBJECT

public:
    /// @p outbox must outlive this.
    explicit CountdownBars(OutboxCommands &outbox, QWidget *parent = nullptr);

signals:
    void outboxWanted(); ///< to be shown

private:
    void refresh();
    AskingBar *newBar(MessageRef place);
    void showRest(int count);

    OutboxCommands &m_outbox;
    std::map<MessageRef, AskingBar *> m_bars; ///< those that the user closed are hidden
    AskingBar *m_rest;
};
