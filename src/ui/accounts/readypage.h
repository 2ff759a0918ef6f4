#pragma once

#include "ui/accounts/accountdraft.h"

#include <QWidget>

class AccountManager;
class Notice;
class QCheckBox;
class QComboBox;
class QFormLayout;
class QLabel;
class QLineEdit;

/// The last look at an account before it is made: its name, how often it fetches, and whether at once.
class ReadyPage : public QWidget
{
    Q_OBJECT

public:
    /// @p accounts must outlive this.
    explicit ReadyPage(const AccountManager &accounts, QWidget *parent = nullptr);

    /// @p works: signing in has been tried and went well. The same of what sends, where that is set up along.
    void begin(const AccountDraft &draft, bool works,
               const std::optional<AccountDraft> &outgoing = std::nullopt, bool sends = false);

    void putInto(AccountDraft &draft) const;
    bool isComplete() const;
    bool fetchesAtOnce() const;
    void focusFirst();

signals:
    void changed();

private:
    void check();
    QString sentence(const AccountDraft &draft, bool works) const;

    const AccountManager &m_accounts;
    AccountDraft m_draft;
    QString m_proposed; ///< the name that was put into the field
    Notice *m_summary;
    QFormLayout *m_form;
    QLineEdit *m_name;
    QLabel *m_problem;
    QComboBox *m_interval;
    QCheckBox *m_atOnce;
};
