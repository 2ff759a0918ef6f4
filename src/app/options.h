#pragma once

#include "app/desktop/commandline.h"

#include <QString>
#include <QStringList>

/// What a start was asked for besides the message for the running instance.
struct ProgramOptions
{
    StartOptions start;
    bool demo = false;          ///< --demo: the invented mailbox in a directory of its own
    QString pictures;           ///< --pictures DIR: save pictures of the windows and end
    bool exitWhenShown = false; ///< --exit-when-shown: end when the list was painted for the first time
    bool help = false;
    bool version = false;
    QString problem; ///< for standard error; empty when all is well
};

/// Takes the options out of @p arguments (without the program's name). What follows -url, -email, -file or
/// -attach is never one.
ProgramOptions takeProgramOptions(QStringList &arguments);

/// The text of --help.
QString helpText();
