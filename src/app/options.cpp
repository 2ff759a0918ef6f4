#include "app/options.h"

using namespace Qt::StringLiterals;

namespace {

bool takesValue(const QString &word)
{
    return word == u"-url" || word == u"-email" || word == u"-file" || word == u"-attach";
}

/// What the toolkit takes for itself, with one hyphen or two.
bool isForToolkit(const QString &word)
{
    static const QStringList kOptions = {u"platform"_s,        u"platformpluginpath"_s,
                                         u"platformtheme"_s,   u"plugin"_s,
                                         u"qmljsdebugger"_s,   u"display"_s,
                                         u"qwindowgeometry"_s, u"qwindowicon"_s,
                                         u"qwindowtitle"_s,    u"reverse"_s,
                                         u"session"_s,         u"style"_s,
                                         u"stylesheet"_s,      u"widgetcount"_s,
                                         u"geometry"_s};
    return kOptions.contains(word.sliced(2).section(u'=', 0, 0));
}

} // namespace

ProgramOptions takeProgramOptions(QStringList &arguments)
{
    ProgramOptions options;
    options.start = takeStartOptions(arguments);
    options.problem = options.start.problem;
    QStringList rest;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString &word = arguments[i];
        if (takesValue(word)) {
            rest += word;
            if (i + 1 < arguments.size())
                rest += arguments[++i];
        } else if (word == u"--demo") {
            options.demo = true;
        } else if (word == u"--exit-when-shown") {
            options.exitWhenShown = true;
        } else if (word == u"--help") {
            options.help = true;
        } else if (word == u"--version") {
            options.version = true;
        } else if (word == u"--pictures") {
            options.pictures = arguments.value(++i);
            if (options.pictures.isEmpty())
                options.problem = u"--pictures wants a directory"_s;
        } else {
            if (word.startsWith(u"--") && word.size() > 2 && !isForToolkit(word) && options.problem.isEmpty())
                options.problem = u"unknown option %1; --help lists them"_s.arg(word);
            rest += word;
        }
    }
    arguments = rest;
    if (!options.pictures.isEmpty() && !options.demo)
        options.problem = u"--pictures goes with --demo"_s;
    return options;
}

QString helpText()
{
    return u"usage: velmar [--config DIR] [--install DIR] [-url URL] [-email ADDRESS] [-file FILE] [-attach "
           u"FILE] [FILE...]\n"
           u"       velmar --demo [--pictures DIR]\n\n"
           u"  --config DIR    the configuration directory\n"
           u"  --install DIR   the installation directory\n"
           u"  --demo          an invented mailbox in a directory of its own; nothing of yours is read or "
           u"changed\n"
           u"  --pictures DIR  save pictures of the demo's windows and end\n"
           u"  -url URL        open a link (file:, mailto:, velmar:, news:, nntp:)\n"
           u"  -email ADDRESS  write to an address\n"
           u"  -file FILE      open a message file\n"
           u"  -attach FILE    attach a file to a new message, as the name of a file alone does\n"_s;
}
