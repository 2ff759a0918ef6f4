#pragma once

#include <QByteArray>
#include <QString>

#include <functional>

/// A binary index that is loaded whole and can be rebuilt from what it indexes.
///
/// Before it is read it is renamed to its name with ".crash" appended, and back when the reading has
/// finished: a ".crash" file found at the next load means that reading it killed the program, so it is
/// deleted and the index rebuilt by its owner. Writing goes through the name with "~" appended.
class IndexFile
{
public:
    enum class Outcome {
        Loaded,
        Missing, ///< nothing there: build it
        Crashed, ///< an earlier load died half-way; the file is gone, build it anew
        Refused, ///< the reader found it damaged: build it anew
        Aborted, ///< a file that must go or move cannot; the index may not be used
    };

    /// @p name is relative to the configuration directory.
    explicit IndexFile(QString name);

    /// Gives the whole file to @p reader, which returns false when it finds it damaged. With read-only access
    /// the file is read where it lies.
    Outcome load(const std::function<bool(const QByteArray &)> &reader);

    /// False: not written, what was there is untouched.
    [[nodiscard]] bool save(const QByteArray &contents);

    QString path() const;

private:
    QString m_name;
};
