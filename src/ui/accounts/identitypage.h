#pragma once

#include "identity/identity.h"
#include "ui/accounts/accountdraft.h"

#include <QWidget>

class QCheckBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;

/// As whom one writes with the account that is set up: what is known by now, and the little that is worth
/// asking for at once.
class IdentityPage : public QWidget
{
    Q_OBJECT

public:
    explicit IdentityPage(QWidget *parent = nullptr);

    /// Proposes what @p draft knows; what was typed stays.
    void begin(const AccountDraft &draft);

    bool isWanted() const;
    Identity identity() const;
    QString signature() const; ///< empty: none

    bool isComplete() const;
    void focusFirst();

signals:
    void changed();

private:
    void showSample();

    QString m_proposedName;
    QString m_proposedAddress;
    QCheckBox *m_wanted;
    QWidget *m_fields;
    QLineEdit *m_name;
    QLineEdit *m_address;
    QLineEdit *m_organisation;
    QPlainTextEdit *m_signature;
    QLabel *m_sample;
};
