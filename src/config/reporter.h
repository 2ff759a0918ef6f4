#pragma once

#include <QPointer>
#include <QString>

#include <functional>

class QObject;

/// What the user must know. The words are formatted printf-style into a buffer of 1,024 bytes and handed to
/// the sink that the program installed: a message box with the caption "Velmar" in the window, a line on
/// standard error in the command line, a record in a test. A message that begins "Unable to" is a warning.

enum class ReportLevel { Information = 1, Warning = 2, Critical = 3 };

/// Reports the formatted text, UTF-8; more than 1,023 bytes are cut, never inside a character. A level
/// outside the three reports nothing. @p parent is the window that the message belongs to, or null.
[[gnu::format(printf, 2, 3)]] void report(ReportLevel level, const char *format, ...);
[[gnu::format(printf, 3, 4)]] void report(QObject *parent, ReportLevel level, const char *format, ...);

struct Report
{
    ReportLevel level = ReportLevel::Information;
    QString text;
    QPointer<QObject> parent; ///< the window it belongs to, or null
};

using ReportSink = std::function<void(const Report &)>;

/// Installs @p sink and returns the one it replaces. Without a sink a report goes to standard error.
ReportSink setReportSink(ReportSink sink);

/// Notes in the program's log what was skipped, repaired or decided on its own. One line each: line breaks
/// and control characters in @p text are escaped. Never a password.
void note(const QString &text);

using NoteSink = std::function<void(const QString &line)>;

/// Installs the log that notes go to and returns the one it replaces. Without one a note is dropped.
NoteSink setNoteSink(NoteSink sink);

/// @p text with control characters and line separators as \n, \t or \xNN, for one line of a log or terminal.
QString onOneLine(const QString &text);
