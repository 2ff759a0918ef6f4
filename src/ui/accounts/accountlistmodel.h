#pragma once

#include <QAbstractListModel>
#include <QStyledItemDelegate>

class Account;
class AccountManager;

/// The accounts in their order, for a list with two lines a row.
class AccountListModel : public QAbstractListModel
{
    Q_OBJECT

public:
    /// @p accounts must outlive this.
    explicit AccountListModel(AccountManager &accounts, QObject *parent = nullptr);

    Account *at(int row) const;
    int rowOf(int account) const; ///< -1: not there

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;

private:
    void follow(Account *account);
    void changed(const Account *account);

    AccountManager &m_accounts;
};

/// What stands at the end of an account's row: what it does, what went wrong, when it fetched last.
struct AccountState
{
    QString text;
    bool isWrong = false;
};
AccountState stateOf(const Account &account);

/// "Mail (POP3), pop.example.org, port 995, TLS".
QString accountSummary(const Account &account);

/// Draws icon, name and summary, the state at the trailing edge.
class AccountDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    AccountDelegate(const AccountListModel &model, QObject *parent);

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;

private:
    const AccountListModel &m_model;
};
