#pragma once

#include <QString>
#include <QStringList>

/// The words of one list when its files fail; the product's own, shown as they stand.
struct ListFileTexts
{
    const char *unableToRead;
    const char *unableToWrite;
    const char *unableToBackUp;
};

/// The protocol by which every list of the program is kept: a text file of records, UTF-8, whose last line is
/// "end". It is written whole to its name with "~" appended, synced and put in place; after each good reading
/// it is copied to ".backup", from which it is read when it is missing or lacks its "end".
///
/// A record must never hold a line "end"; texts inside a record are escaped by its owner (listtext.h).
class ListFile
{
public:
    enum class Outcome {
        Whole,      ///< read to its end
        Backup,     ///< missing or damaged; the backup was whole
        Damaged,    ///< whole in neither: what can be read is given, the file is kept as NAME.damaged-SECONDS
        Missing,    ///< no file and no backup: an empty list
        Unreadable, ///< could not be opened, after the warning; the list will not be written in this run
    };

    /// @p name is relative to the configuration directory.
    ListFile(QString name, const ListFileTexts &texts);

    struct Contents
    {
        Outcome outcome = Outcome::Missing;
        QStringList lines; ///< without line ends and without the line "end"
    };

    /// Reads the list. Anything but Whole and Missing is noted in the log.
    Contents read();

    /// Writes the list with its "end" line. False after the warning: the old file is untouched. Refuses,
    /// again with the warning, a list that could not be opened in this run.
    [[nodiscard]] bool write(const QStringList &lines);

    QString path() const;

private:
    void keepDamaged(const QString &path) const;
    Contents unreadable();

    QString m_name;
    ListFileTexts m_texts;
    bool m_unreadable = false;
};
