#pragma once

#include "net/fetchreason.h"
#include "ui/transfers/transferexplanation.h"

#include <QDialog>
#include <QHash>
#include <QSet>

#include <vector>

class Account;
class AccountManager;
struct AccountData;
class EmptyState;
class FetcherErrorList;
class FetcherStatus;
class Panel;
class QCheckBox;
class QLabel;
class QPushButton;
class QScrollArea;
class QVBoxLayout;
class TransferErrorCard;

/// The window of transfers: a row for each account that fetched or sent in this run, or that fetches single
/// messages now, and below a card for each that needs the user. It watches from its making on, shown or not;
/// make it once, at the start.
///
/// Under `OpenStatusOnFetch` it shows itself, without taking the keyboard, when a transfer begins, and hides
/// again when the last one has ended.
class FetcherControl : public QDialog
{
    Q_OBJECT

public:
    /// @p accounts must outlive this.
    explicit FetcherControl(AccountManager &accounts, QWidget *parent = nullptr);

    /// Transfers that run now.
    int running() const { return int(m_running.size()); }

    FetcherStatus *row(int account) const;      ///< null when it has none
    TransferErrorCard *card(int account) const; ///< likewise

    /// Whether a fetch of the account has ended well, in this run or before it, with the server that it has.
    bool hasWorked(const AccountData &account) const;

    /// The list of errors; null before it was shown first.
    FetcherErrorList *errorList() const { return m_errorList; }

signals:
    /// What the user wants done about a failure, or about an account by and large.
    void mendWanted(MendAction action, int account);
    void getAllWanted();

public slots:
    void slotShowErrors();

protected:
    void hideEvent(QHideEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void build();
    QWidget *newHead();
    QWidget *newColumns();
    QWidget *newFooter();
    void started(Account *account);
    void ended(Account *account, AccountFetchReason reason);
    void serves(Account *account, bool does);
    void hideWhenDone();
    void failed(const TransferError &error);
    FetcherStatus *needRow(Account &account, const QString &title);
    void dropRow(FetcherStatus *row);
    void dropCard(int account);
    void pause(int account);
    void arrange();
    void fitColumns();

    AccountManager &m_accounts;
    std::vector<FetcherStatus *> m_rows;
    std::vector<TransferErrorCard *> m_cards;
    Panel *m_panel = nullptr;
    QVBoxLayout *m_list = nullptr;
    QVBoxLayout *m_attention = nullptr;
    QWidget *m_attentionPart = nullptr;
    EmptyState *m_empty = nullptr;
    QLabel *m_accountHead = nullptr;
    QLabel *m_typeHead = nullptr;
    QPushButton *m_stopAll = nullptr;
    QCheckBox *m_openItself = nullptr;
    FetcherErrorList *m_errorList = nullptr;
    QSet<int> m_running;          ///< numbers of the accounts that do something
    QHash<int, QString> m_worked; ///< by account: the server that it fetched from
    bool m_openedItself = false;
};
