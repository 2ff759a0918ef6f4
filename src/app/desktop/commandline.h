#pragma once

#include <QString>
#include <QStringList>

/// The command line, from the arguments of one process to what the running instance makes of them. In between
/// it is one text whose pieces are separated by blanks, in which form a later start hands it to the first.

/// What is taken out before anything else looks at the arguments.
struct StartOptions
{
    QString configDirectory;  ///< of --config DIR or --config=DIR; empty without
    QString installDirectory; ///< of --install DIR or --install=DIR
    QString problem;          ///< what is wrong with them, for standard error; empty when all is well
};

/// Takes the options out of @p arguments (without the program's name); the last of several counts. What
/// follows -url, -email, -file or -attach comes from a link or a file name and is never an option.
StartOptions takeStartOptions(QStringList &arguments);

/// Joins the arguments with single blanks, each made safe first, so that one argument is one piece whatever
/// it holds:
/// - the relative name of an existing file becomes absolute, since the other instance runs elsewhere;
/// - the value of -url that names an existing file and is no URL becomes its file: URL;
/// - the value of -file or -attach that names an existing file whose name could not stand as it is (blanks,
///   quotes, backslashes) becomes its file: URL;
/// - in every other argument blanks and control characters are written %XX.
QString messageFromArguments(const QStringList &arguments);

struct CommandLine
{
    QString url;             ///< empty: nothing is to be done
    QStringList attachments; ///< names of files that exist
};

/// The grammar of that text:
/// - -url URL; -email ADDRESS (the URL is "mailto:" and the address, which is then looked at once more as if
/// it
///   were a file name); -file FILE (its file: URL, ahead of -url and -email); -attach FILE; a bare FILE is
///   attached, a bare mailto: URL is the URL; the last of several counts, and other words that begin with "-"
///   are passed over;
/// - a pair of enclosing double quotes is taken off and backslashes in file names become "/";
/// - quotes do not hold blanks together: such a name is in pieces, each of which counts only if it names a
/// file;
/// - attachments without a URL go with "mailto:".
/// An attachment that names no file is left out and noted in the log.
CommandLine parseMessage(const QString &message);
