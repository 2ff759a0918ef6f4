#pragma once

#include "ui/accounts/accountdraft.h"

#include <QWidget>

class QRadioButton;
class QSpinBox;

/// What becomes of mail on the server once it is here.
class KeepOnServer : public QWidget
{
    Q_OBJECT

public:
    explicit KeepOnServer(QWidget *parent = nullptr);
    void putInto(AccountDraft &draft) const;

private:
    QRadioButton *m_stays;
    QRadioButton *m_forDays;
    QRadioButton *m_goes;
    QSpinBox *m_days;
};
