#pragma once

class Account;
class AccountEditor;
class AccountLogWindow;
class Engine;
class LoginTester;
class QWidget;

/// Opens the windows of single accounts over @p window; the one that is open already comes to the front.

/// Null when there is no account of that number.
AccountEditor *editAccount(Engine &engine, int account, LoginTester &tester, QWidget *window);

/// The editor of a new account that is like that one but for its name and password; null as above. Nothing is
/// saved before the user says so.
AccountEditor *copyAccount(Engine &engine, int account, LoginTester &tester, QWidget *window);
AccountLogWindow *showAccountLog(Account &account, QWidget *window);
