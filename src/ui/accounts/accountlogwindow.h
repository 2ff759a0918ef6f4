#pragma once

#include <QPointer>
#include <QWidget>

class Account;
class AccountLogModel;
class AskingBar;
class EmptyState;
class QAction;
class QCheckBox;
class QTimer;
class QTreeView;
class SearchField;

/// "Log for account '...'": what was said between the program and a server, coloured by its direction, new
/// lines as they come.
class AccountLogWindow : public QWidget
{
    Q_OBJECT

public:
    /// Deletes itself when it is closed.
    explicit AccountLogWindow(Account &account, QWidget *parent = nullptr);

    Account *account() const;

    /// Takes in what is new; the window does so by itself while it is shown.
    void refresh();

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void build();
    QWidget *newBar();
    void find(bool forward);
    void copy();
    void copyReport();
    void showState();
    void measure();
    QString textOf(const QList<int> &rows) const;
    QList<int> selectedRows() const;

    QPointer<Account> m_account;
    AccountLogModel *m_model;
    QTreeView *m_list;
    SearchField *m_field;
    QCheckBox *m_anonymous;
    AskingBar *m_notice;
    EmptyState *m_empty;
    QTimer *m_timer;
};
