#pragma once

#include "ui/main/groupdialog.h"

#include <QString>

#include <functional>

class QDialog;
class QWidget;

/// The small dialogs of the main window. Each opens without an event loop of its own and deletes itself; what
/// was entered comes through the function that is handed in, not at all when the user cancels.

/// Asks for one line of text. @p check says what is wrong with it, empty for nothing.
struct NameRequest
{
    QString title;
    QString label;
    QString text;
    QString verb; ///< of the default button
    std::function<QString(const QString &)> check;
};
QDialog *askName(QWidget *parent, const NameRequest &request, std::function<void(const QString &)> done);

/// Which program this is.
QDialog *showAbout(QWidget *parent);

/// A list of texts to choose one from.
QDialog *askChoice(QWidget *parent, const QString &title, const QString &verb, const QStringList &choices,
                   std::function<void(int)> done);
