#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

/// A program that the desktop knows, or one that the user named.
struct DesktopApplication
{
    QString id;   ///< "org.example.Viewer.desktop", or the full path of a program
    QString name; ///< in the user's language
    QString icon; ///< of the desktop's theme; may be empty
    QString exec; ///< the command line of the entry; empty for a plain program

    bool operator==(const DesktopApplication &) const = default;
};

/// The programs that say they open @p contentType, by name: those of the XDG data directories, the user's own
/// entries before the system's. Entries that are hidden, need a terminal or whose program is missing are left
/// out. Reads each entry anew.
QList<DesktopApplication> applicationsFor(const QByteArray &contentType);

/// Any program, by its path.
DesktopApplication applicationAt(const QString &path);

/// The program and its arguments that open the file at @p path: what "%f" and the like in the entry stand
/// for, each a single argument; no shell has a hand in it. Empty when the entry cannot be understood.
QStringList commandFor(const DesktopApplication &application, const QString &path);

/// @name `OpenWithHistory`: what was chosen for which type, the latest first
/// @{
QStringList openedBefore(const QByteArray &contentType);
void rememberOpened(const QByteArray &contentType, const QString &id);
/// @}
