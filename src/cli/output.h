#pragma once

#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QStringList>

#include <vector>

/// A result: named values in the order in which they are shown.
class Row
{
public:
    Row &add(const char *name, const QJsonValue &value);
    const std::vector<std::pair<const char *, QJsonValue>> &fields() const { return m_fields; }
    QJsonObject toJson() const;

private:
    std::vector<std::pair<const char *, QJsonValue>> m_fields;
};

/// Where a command's results go: JSON Lines, or text for people, aligned.
class Output
{
public:
    struct Options
    {
        bool json = false;
        bool quiet = false;
    };
    explicit Output(Options options);

    bool isJson() const { return m_options.json; }

    /// One result. As text the rows of one kind wait for the end of the table.
    void row(const Row &row);

    /// Writes and flushes the rows so far; more of the same kind may follow, without a second head.
    void endRows();

    /// The same, and ends the table.
    void endTable();

    /// Text for people, or bytes as they are.
    void text(const QString &text);
    void bytes(const QByteArray &bytes);

    /// A line on standard error.
    void complain(const QString &text);

    /// A progress bar on standard error, where that is a terminal; @p total 0: only the text.
    void progress(const QString &title, qint64 done, qint64 total);
    void endProgress();

    /// While on, there is none: somebody is being asked on the terminal.
    void holdProgress(bool held);

    /// Writes what is left; false when not everything could be written.
    bool finish();

private:
    void put(const QByteArray &bytes);

    Options m_options;
    std::vector<Row> m_table;
    bool m_hasHead = false;
    bool m_good = true;
    bool m_progressShown = false;
    bool m_progressHeld = false;
    bool m_terminal;
};

/// A value as people read it in a table.
QString shownValue(const QJsonValue &value);
