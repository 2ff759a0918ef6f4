#pragma once

#include "compose/sendchecks.h"
#include "config/settingids.h"

#include <QVariant>

#include <span>

/// What the user can set, as one table: a row is a setting with its words, its control and its range. A new
/// option is a new row, a new page one more in the table of pages.

enum class OptionPage { Writing, Replies, Sending, Format };
constexpr int kOptionPageCount = int(OptionPage::Format) + 1;

struct OptionPageRow
{
    OptionPage page;
    const char *icon;
    const char *title;
};
const OptionPageRow &rowOf(OptionPage page);

enum class OptionKind {
    Check,  ///< bool
    Number, ///< int from least to most
    Line,   ///< text
    Choice, ///< int, one of choicesOf()
    Font,   ///< text: Qt's description of a font; the default is "Automatic"
    Colour, ///< int: 24-bit RGB; the default is "Automatic"
};

/// Where a value is kept.
enum class OptionStore {
    Table,     ///< the settings table
    Warning,   ///< a bit of `DisabledWarnings`, which is set while the box is not
    UndoDelay, ///< the outbox: seconds
    MailFiles, ///< `UseMIMEForMail`, `UseUUCodeForMail`: an AttachmentForm
    NewsFiles, ///< `UseMIMEForNews`, `UseYEncForNews`, `UseUUCodeForNews`
};

struct OptionChoice
{
    int value;
    QString text;
};

/// Texts are not yet translated; optionWords() does that.
struct OptionRow
{
    OptionPage page;
    OptionKind kind;
    Setting setting;          ///< the key; where several hold the value, the first of them
    const char *section = ""; ///< the title above it; empty: the section goes on
    const char *label = "";   ///< in the column of labels; empty: the one above stands for it, too
    const char *text = "";    ///< beside the box, or the unit behind a number
    const char *hint = "";    ///< what else is to be known, below
    OptionStore store = OptionStore::Table;
    SendProblem problem = {}; ///< Warning
    int least = 0;            ///< Number
    int most = 0;             //
    QList<OptionChoice> (*choices)() = nullptr;
    QString (*preview)(const QString &text) = nullptr; ///< what a Line comes to, a line for people
};

std::span<const OptionRow> optionRows();

QString optionWords(const char *text);

/// What the rows above it, or the row itself, call it: "Warn about: No subject".
QString optionName(const OptionRow &row);

/// @name The value of a row: a bool, an int or a text, by its kind
/// @{
QVariant optionValue(const OptionRow &row);
QVariant defaultOption(const OptionRow &row);
/// Not on the disk before saveConfig().
void setOption(const OptionRow &row, const QVariant &value);
/// @}
