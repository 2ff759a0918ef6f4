#pragma once

#include <QtGlobal>

#include <functional>

class QDialog;
class QWidget;

/// Asks when a message is to go: some proposals and a date of one's own, which begins with @p planned where
/// the message has a time already (0: none). Times are in seconds since 1970 UTC. @p done gets one that is
/// still to come, and is not called when the user cancels.
QDialog *askSendingTime(QWidget *parent, std::function<void(qint64)> done, qint64 planned = 0);
