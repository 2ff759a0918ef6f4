#pragma once

#include <QDialog>
#include <QPointer>

#include <memory>

class Account;
class AccountListModel;
class AskingBar;
class EmptyState;
class Engine;
class LoginCheck;
class LoginTester;
class QListView;
class QPushButton;

/// The accounts: makes, changes, copies, tries and removes them.
class AccountsDialog : public QDialog
{
    Q_OBJECT

public:
    /// @p engine must outlive this.
    explicit AccountsDialog(Engine &engine, QWidget *parent = nullptr);
    ~AccountsDialog() override;

    /// Instead of the program's own; for tests. Must outlive this.
    void setTester(LoginTester &tester) { m_tester = &tester; }

    /// Chooses the account of that number in the list.
    void select(int account);

public slots:
    void editAccount(int account);
    void showLog(int account);

signals:
    /// Somebody wants the wizard.
    void newAccountWanted();

private:
    void build();
    QWidget *newButtons();
    QPushButton *addButton(class QVBoxLayout *column, const QString &text, const char *name,
                           void (AccountsDialog::*deed)());
    Account *current() const;
    void edit();
    void copy();
    void askDelete();
    void moveUp() { move(-1); }
    void moveDown() { move(1); }
    void move(int by);
    void fetch();
    void testLogin();
    void log();
    void showState();

    Engine &m_engine;
    std::unique_ptr<LoginTester> m_ownTester;
    LoginTester *m_tester;
    AccountListModel *m_model;
    QListView *m_list;
    EmptyState *m_empty;
    AskingBar *m_notice;
    QPointer<LoginCheck> m_check;
    QList<QPushButton *> m_forOne; ///< buttons that need an account
    QPushButton *m_up = nullptr;
    QPushButton *m_down = nullptr;
    QPushButton *m_fetch = nullptr;
    QPushButton *m_test = nullptr;
};
