#pragma once

#include <QList>
#include <QString>

class Account;

/// One line of an account's log, as the viewer shows it.
struct AccountLogLine
{
    enum class Direction { None, Sent, Received };
    QString time; ///< "yyyy-MM-dd hh:mm:ss.zzz"; empty where the line has none
    Direction direction = Direction::None;
    QString text; ///< without the marks of its direction
};

/// @p text, a line of the file, in its parts.
AccountLogLine accountLogLine(const QString &text);

/// The newest lines of the log of account @p number, the oldest first, from the earlier log as well where the
/// present one is shorter than @p bytes. What Account::flushLog() has not brought to the disk is not among
/// them. Empty: there is no log.
QList<AccountLogLine> readAccountLog(int number, qint64 bytes = 512 * 1024);

/// @p line of a log without what nobody may read there: of a command that carries a password or an answer to
/// a challenge only its name stays.
QString withoutCredentials(const QString &line);

/// @p text without @p password, should a server repeat it: also as the log shows its bytes, and where a long
/// text was cut within it. A password of less than 4 characters would tear holes into every text and stays.
QString withoutPassword(const QString &text, const QString &password);
