#pragma once

#include "config/settingids.h"

#include <QFile>
#include <QString>

#include <functional>

/// The program's log, or an account's: a text file in the configuration directory that only its owner may
/// read, one line per note behind the local date and time. A line longer than 4,096 characters is cut.
///
/// When it has grown to half of its bound (a setting in KB, `MainLogSize` for the program's; 0 or less:
/// without bound) it becomes NAME.old and a new one is begun, so that both together stay within that size.
/// Under `FlushLogs` every line is in the file before write() returns, otherwise by the next flush().
///
/// A log that cannot be written is said once; the program goes on without those lines.
/// With read-only access (config/directory.h) nothing is written.
class LogFile
{
public:
    /// @p name is relative to the configuration directory. Nothing is opened before the first line. @p tell
    /// says that it cannot be written; without it standard error does.
    explicit LogFile(QString name, Setting bound = Setting::MainLogSize, std::function<void()> tell = {});
    ~LogFile();
    LogFile(const LogFile &) = delete;
    LogFile &operator=(const LogFile &) = delete;

    /// Appends one line, which holds no line end of its own (config/reporter.h sees to that).
    void write(const QString &line);

    /// Hands what is still in memory to the system; the housekeeping calls it.
    void flush();

    QString path() const;

private:
    bool isReady(qint64 coming);
    bool open();
    void endLineThatWasCutOff();
    void moveAside();
    void giveUp();

    QString m_name;
    Setting m_bound;
    std::function<void()> m_tell;
    QFile m_file;
    bool m_toldOfFailure = false;
};
