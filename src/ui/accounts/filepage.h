#pragma once

#include "ui/accounts/accountdraft.h"

#include <QWidget>

class QLineEdit;

/// The mailbox file that another program fills.
class FilePage : public QWidget
{
    Q_OBJECT

public:
    explicit FilePage(QWidget *parent = nullptr);

    void putInto(AccountDraft &draft) const;
    bool isComplete() const;
    void focusFirst();

signals:
    void changed();

private:
    void chooseFile();

    QLineEdit *m_path;
};
