#pragma once

#include <QDialog>

class DialogFooter;
class QLabel;
class QPushButton;

/// The window that edits one object: its name and kind above a line, a form that scrolls, and OK and Apply,
/// which save it at once. It deletes itself when it is closed.
class EditorDialog : public QDialog
{
    Q_OBJECT

protected:
    explicit EditorDialog(QWidget *parent);

    /// To be called once; @p notice, if any, stands between the head and the line.
    void build(QWidget *form, QWidget *notice = nullptr);

    /// The name, and beside it, quieter, what else tells which one it is. Any text is shown as it stands.
    void showHead(const QString &title, const QString &beside);

    DialogFooter *footer() const { return m_footer; }

    /// Whether there is something to apply.
    void setChanged(bool isChanged);

    /// Saves what was entered. False: what is wrong was said, and the window stays.
    virtual bool apply() = 0;

private:
    QWidget *newHead();

    QLabel *m_title;
    QLabel *m_beside;
    DialogFooter *m_footer;
    QPushButton *m_apply;
};
