#pragma once

#include "net/accountlog.h"

#include <QAbstractListModel>
#include <QByteArray>

#include <vector>

struct AccountData;

/// The log of one account, the earlier file before the present one, line by line. The bytes are kept as they
/// lie on the disk and a line is taken apart when it is shown, so a log of 10 MB opens at once.
class AccountLogModel : public QAbstractListModel
{
    Q_OBJECT

public:
    explicit AccountLogModel(int account, QObject *parent = nullptr);

    /// Takes in what was written since; what was moved aside meanwhile makes it begin anew.
    void follow();

    /// Without what nobody may read.
    AccountLogLine line(int row) const;

    /// As the file has it, masked.
    QString text(int row) const;

    /// The next row behind @p from that holds @p words, or before it; it goes on at the other end. Letters of
    /// ASCII in either case. -1: none.
    int find(const QString &words, int from, bool forward) const;

    /// Characters of the longest line.
    int longest() const { return m_longest; }

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;

private:
    void reload();
    void take(const QByteArray &bytes);
    int rowAt(qsizetype position) const;

    QString m_path;
    QByteArray m_bytes;              ///< whole lines
    mutable QByteArray m_lower;      ///< the same in lower case, once somebody seeks
    std::vector<qsizetype> m_starts; ///< of the lines
    qint64 m_present = 0;            ///< bytes of the present file that are taken in
    int m_longest = 0;
};

/// @p text with the account's server, user and addresses replaced, for eyes that need not know them.
QString anonymousLog(QString text, const AccountData &account);
