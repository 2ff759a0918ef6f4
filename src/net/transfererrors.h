#pragma once

#include "config/listfile.h"
#include "net/fetchreason.h"

#include <QObject>

#include <deque>

/// One failure of a transfer, as the list of errors shows it.
struct TransferError
{
    int account = 0;
    QString accountName;
    qint64 time = 0; ///< seconds since 1970 UTC
    AccountFetchReason reason = AccountFetchReason::None;
    QString detail; ///< the server's line, or the socket's text
    QString text;   ///< what a person is told, white space simplified
};

/// The failures of all accounts, the oldest first: the last 200, kept over the end of the program in the list
/// file "Accounts/Errors". No text in it holds a secret.
class TransferErrors : public QObject
{
    Q_OBJECT

public:
    static constexpr std::size_t kMost = 200;

    explicit TransferErrors(QObject *parent = nullptr);

    void load();

    /// Writes the list if it changed. False after a report.
    bool save();

    const std::deque<TransferError> &all() const { return m_errors; }

    void add(const TransferError &error);
    void clear();

signals:
    void added(const TransferError &error); ///< at the end
    void droppedOldest();                   ///< before one is added to a full list
    void cleared();

private:
    ListFile m_file;
    std::deque<TransferError> m_errors;
    bool m_changed = false;
};
