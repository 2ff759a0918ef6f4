#pragma once

#include <QByteArrayView>
#include <QString>
#include <QStringList>

#include <optional>

/// A folder with one small file for each name that a person gave to something. Whatever is typed as a name is
/// safe: characters that mean something to a file system are percent-escaped in the file's name, and a file
/// is found by the name that it shows, so that no name leads out of the folder. Names are one line, without
/// blanks around them.
class NameFolder
{
public:
    /// @p folder is relative to the configuration directory; made when first written to.
    explicit NameFolder(QString folder);

    /// False: there is a folder, and nobody can look into it.
    bool isReadable() const;

    QStringList names() const; ///< sorted as people sort
    bool has(const QString &name) const;

    /// The contents of the file, at most 1 MB; empty when there is none, or it cannot be read or is larger.
    std::optional<QByteArray> read(const QString &name) const;

    /// Puts the file in place in one step. False: the name is empty or too long (about 200 bytes), or the
    /// disk refused; an earlier file is untouched.
    [[nodiscard]] bool write(const QString &name, QByteArrayView contents) const;

    /// Gives the file @p from the name @p to, which may differ in case alone. False: there is none, there is
    /// another one of the new name, or the disk refused.
    [[nodiscard]] bool rename(const QString &from, const QString &to) const;

    /// True also when there was none.
    bool remove(const QString &name) const;

    QString path() const; ///< of the folder

private:
    QString fileOf(const QString &name) const;

    QString m_folder;
};

/// The name of a file for @p name as it is typed, and the name that such a file shows.
QString escapedFileName(const QString &name);
QString shownFileName(const QString &fileName);
