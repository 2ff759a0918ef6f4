#pragma once

#include "net/discovery/mailsettings.h"
#include "ui/look/panel.h"

class QComboBox;
class QGridLayout;
class QLabel;
class QLineEdit;
class QPushButton;
class QSpinBox;
class SignLabel;

/// One server on a card: what it is, how it is reached and what came of trying it; the same card changes it
/// by hand.
class ServerCard : public Panel
{
    Q_OBJECT

public:
    explicit ServerCard(QWidget *parent = nullptr);

    void setServer(const MailServer &server);

    /// As it is shown, or as it was entered.
    MailServer server() const;

    /// @name A password of its own, where there is a server that has one already
    /// @{
    void setPasswordOffered(bool isOffered);
    bool isPasswordOffered() const { return m_isPasswordOffered; }
    QString password() const; ///< empty: that of the other one
    void focusPassword();
    /// @}

    /// Whether it can be tried as it stands.
    bool isWhole() const;

    /// Fields in the place of words.
    void setEditing(bool editing);
    bool isEditing() const { return m_isEditing; }

    enum class Trying { NotYet, Now, Works, Fails };

    /// Beside a sign: what was done, and what came of it.
    void setResult(Trying trying, const QString &word = {}, const QString &text = {});

    void focusFirst();

signals:
    void edited(); ///< a field was changed by the user
    void changeWanted();

private:
    void fillFacts();
    void fillFields();
    QLabel *addField(QGridLayout *grid, const QString &label, QWidget *field);
    void showFacts();
    void encryptionChosen();
    void fieldEdited();

    MailServer m_server;
    SignLabel *m_sign;
    QLabel *m_title;
    QPushButton *m_change;
    QWidget *m_facts;
    QWidget *m_fields;
    QLabel *m_where;
    QLabel *m_encryption;
    QLabel *m_user;
    QLineEdit *m_hostField;
    QSpinBox *m_portField;
    QComboBox *m_encryptionField;
    QLineEdit *m_userField;
    QLabel *m_passwordName = nullptr;
    QLineEdit *m_passwordField;
    QLabel *m_warning;
    QWidget *m_result;
    SignLabel *m_resultSign;
    QLabel *m_resultWord;
    QLabel *m_resultText;
    bool m_isFilling = false;
    bool m_isEditing = false;
    bool m_isPasswordOffered = false;
};
