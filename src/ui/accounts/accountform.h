#pragma once

#include "ui/accounts/accountfields.h"

#include <QHash>
#include <QWidget>

class AccountManager;
class GroupStore;
class IdentityManager;
class QCheckBox;
class QComboBox;
class QGridLayout;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QSpinBox;

/// All fields of an account of one kind under their titles, labels to one column, each with its problem in
/// place. It changes nothing but itself.
class AccountForm : public QWidget
{
    Q_OBJECT

public:
    /// The first three must outlive this.
    AccountForm(AccountManager &accounts, const GroupStore &groups, const IdentityManager &identities,
                const AccountData &account, const AccountOptions &options, QWidget *parent = nullptr);

    /// What is entered; the password in it is the stored one.
    AccountData data() const;
    AccountOptions options() const;

    /// What is stored has changed; what is entered stays, but for a password, which was used up.
    void setStored(const AccountData &account, const AccountOptions &options);

    QString enteredPassword() const; ///< empty: it stays as it is
    KeepingChoice keeping() const;

    /// Offers the keyring; there is one on this desktop.
    void offerKeyring();

    /// Shows what is wrong in its place. False, and the first such field has the keyboard, when there is
    /// something.
    bool check();

    QWidget *control(AccountField field) const { return m_controls.value(field); }

signals:
    void changed();

private:
    void build();
    void addRow(QGridLayout *grid, const AccountFieldRow &row);
    QWidget *newControl(const AccountFieldRow &row);
    QWidget *newLine(const AccountFieldRow &row);
    QWidget *newCheck(const AccountFieldRow &row);
    QWidget *newAmount(const AccountFieldRow &row);
    QWidget *newChoice(const AccountFieldRow &row);
    QWidget *newOwn(const AccountFieldRow &row);
    QWidget *newEncryption();
    QWidget *newPort();
    QWidget *newPassword();
    QWidget *newKeeping();
    QWidget *newPath(AccountField field, const QString &path, const QString &title);
    QWidget *newAccepted();
    void fillChoice(QComboBox *box, AccountField field) const;
    void encryptionChanged();
    void showNotes(bool withProblems);
    void told();
    QStringList takenNames() const;

    template <typename Widget>
    Widget *as(AccountField field) const;

    AccountManager &m_accounts;
    const GroupStore &m_groups;
    const IdentityManager &m_identities;
    AccountData m_data;
    AccountOptions m_options;
    QHash<AccountField, QWidget *> m_controls;
    QHash<AccountField, QSpinBox *> m_amounts;
    QHash<AccountField, QLabel *> m_notes;
    Encryption m_encryption = Encryption::None;
    bool m_checked = false; ///< problems are shown from the first attempt on
};
