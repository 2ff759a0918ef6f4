#pragma once

#include <QDialog>

class DialogFooter;
class QLabel;
class QVBoxLayout;

/// What the small dialogs have in common: title, contents, a line for what is wrong, footer. It deletes
/// itself when it is closed.
class SmallDialog : public QDialog
{
    Q_OBJECT

public:
    SmallDialog(QWidget *parent, const QString &title, const QString &verb);

    QVBoxLayout *contents() const { return m_contents; }
    DialogFooter *footer() const { return m_footer; }

    /// Says what is wrong, empty for nothing; the default button works only without a problem.
    void setProblem(const QString &problem);

private:
    QVBoxLayout *m_contents;
    QLabel *m_problem;
    DialogFooter *m_footer;
};
