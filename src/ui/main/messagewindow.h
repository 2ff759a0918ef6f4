#pragma once

#include "message/message.h"

#include <QMainWindow>

/// A message in a window of its own: one of a group, or out of a file.
class MessageWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit MessageWindow(const Message &message, QWidget *parent = nullptr);

signals:
    void linkActivated(const QString &target);
};
