#pragma once

#include "ui/accounts/accountdraft.h"

#include <QWidget>

class PasswordKeeper;
class QComboBox;
class QLabel;
class QLineEdit;

/// Whose mail it is: address, password, and where that is kept.
class PersonPage : public QWidget
{
    Q_OBJECT

public:
    /// @p keeper: the desktop's keyring; null: there is none.
    explicit PersonPage(PasswordKeeper *keeper, QWidget *parent = nullptr);

    /// Proposes what is known already; what was typed stays.
    void proposePerson(const QString &name, const QString &address = {});

    void putInto(AccountDraft &draft) const;
    bool isComplete() const;
    void focusFirst();
    void focusPassword();

signals:
    void changed();

private:
    void offerKeyring();
    void addressEdited();
    void addressLeft();

    QLineEdit *m_person;
    QLineEdit *m_address;
    QLabel *m_problem;
    QLineEdit *m_password;
    QComboBox *m_keeping;
    bool m_keepingChosen = false; ///< by the user
};
