#pragma once

#include <QDialog>
#include <QStringList>

class DialogFooter;
class QListWidget;
class QPlainTextEdit;
class QPushButton;

/// The taglines of one identity; each may have several lines. Save writes them, Cancel forgets.
class TaglinesDialog : public QDialog
{
    Q_OBJECT

public:
    /// Deletes itself when it is closed.
    explicit TaglinesDialog(int identity, QWidget *parent = nullptr);

private:
    void build();
    QStringList taglines() const;
    void add();
    void removeCurrent();
    void showCurrent();
    void take();
    void save();

    const int m_identity;
    QListWidget *m_list;
    QPlainTextEdit *m_text;
    QPushButton *m_remove;
    DialogFooter *m_footer;
    bool m_isShowing = false;
};
