#pragma once

#include "ui/look/panel.h"
#include "ui/transfers/transferexplanation.h"

class QLabel;
class QPushButton;

/// The last failure of one account, until a transfer of it goes well: what happened, whose fault it probably
/// is, that nothing was lost, what the server said, and the button that mends it.
class TransferErrorCard : public Panel
{
    Q_OBJECT

public:
    /// @p hasWorked: as of explainTransferError().
    TransferErrorCard(const TransferError &error, const AccountData &account, bool hasWorked,
                      QWidget *parent = nullptr);

    int account() const { return m_account; }

    /// The next failure of the same account: the same one again is counted.
    void setError(const TransferError &error, const AccountData &account, bool hasWorked);

    /// Of several cards only the first has the accent on its button.
    void setFirst(bool first);

signals:
    void mendWanted(MendAction action, int account);
    void pauseWanted(int account);

private:
    void build();
    void say(const TransferError &error, const AccountData &account, const TransferExplanation &told);

    int m_account;
    int m_times = 0;
    TransferExplanation m_told;
    QLabel *m_title;
    QLabel *m_time;
    QLabel *m_words;
    Panel *m_protocol;
    QLabel *m_line;
    QPushButton *m_mend;
    QPushButton *m_other;
    QPushButton *m_log;
    QPushButton *m_pause;
};
