#pragma once

#include "ui/reader/desktopapplications.h"

#include <QDialog>

class DialogFooter;
class QListWidget;

/// Asks which program is to open a file: those the desktop knows for its type, what was chosen before first,
/// or any other one.
class OpenWithDialog : public QDialog
{
    Q_OBJECT

public:
    /// @p warning is shown above the list unless it is empty.
    OpenWithDialog(const QString &fileName, const QByteArray &contentType, const QString &warning,
                   QWidget *parent);

signals:
    void chosen(const DesktopApplication &application);

private:
    void fill();
    void add(const DesktopApplication &application);
    void chooseOther();
    void acceptCurrent();

    QByteArray m_type;
    QList<DesktopApplication> m_applications; ///< by row
    QListWidget *m_list;
    DialogFooter *m_footer;
};
