#pragma once

#include "net/questions.h"

#include <QDialog>

class QCheckBox;
class QComboBox;
class QLineEdit;

/// Asks for the password of an account: with what the server said to the last one, and where it is kept.
class PasswordDialog : public QDialog
{
    Q_OBJECT

public:
    explicit PasswordDialog(const PasswordQuestion &question, QWidget *parent = nullptr);

    /// Empty when the user gave none.
    QString password() const;
    PasswordKeeping keeping() const;

private:
    QWidget *newForm(const PasswordQuestion &question);
    QWidget *newFooter();

    QLineEdit *m_password;
    QCheckBox *m_show;
    QComboBox *m_keeping;
};
