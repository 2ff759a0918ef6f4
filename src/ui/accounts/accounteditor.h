#pragma once

#include "net/accountdata.h"
#include "ui/look/editordialog.h"

#include <QPointer>

class AccountForm;
struct AccountOptions;
class AskingBar;
class Engine;
class LoginCheck;
class LoginTester;
class QPushButton;

/// All that can be set of one account. OK and Apply change it at once; what is wrong is said at its field.
class AccountEditor : public EditorDialog
{
    Q_OBJECT

public:
    /// @p account is one of the engine's, or with number 0 one that OK enters, with the certificates that the
    /// account @p copied trusts. @p tester tries logins; both must outlive this. Deletes itself when it is
    /// closed.
    AccountEditor(Engine &engine, const AccountData &account, LoginTester &tester, QWidget *parent = nullptr,
                  int copied = 0);

    int account() const { return m_number; }
    AccountForm &form() const { return *m_form; }

signals:
    void saved(int account);

private:
    void arrange(const AccountData &account, const AccountOptions &options);
    void showName(const AccountData &account);
    bool apply() override;
    bool enter(const AccountData &data);
    bool keepPassword(const AccountData &before, const QString &entered);
    void testLogin();

    Engine &m_engine;
    LoginTester &m_tester;
    int m_number;
    AccountForm *m_form = nullptr;
    AskingBar *m_notice = nullptr;
    QPushButton *m_test = nullptr;
    QPointer<LoginCheck> m_check;
};
