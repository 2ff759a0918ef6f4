#pragma once

#include <QtGlobal>

#include <functional>

class QDialog;
class QWidget;

/// Asks when a message is to go: some proposals and a date of one's own. @p done gets seconds since 1970 UTC,
/// always in the future, and is not called when the user cancels.
QDialog *askSendingTime(QWidget *parent, std::function<void(qint64)> done);
