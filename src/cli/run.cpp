#include "cli/run.h"

#include "cli/command.h"
#include "config/directory.h"
#include "config/logfile.h"
#include "config/reporter.h"
#include "config/terminationsignals.h"
#include "message/useragent.h"

using namespace Qt::StringLiterals;

namespace {

constexpr Command kCommands[] = {
    {"parse", "[FILE...]", "describe message files, or standard input", &runParse},
    {"account",
     "add --kind pop3|smtp|batch --name N --host H [--port P] [--user U] [--password-file F] [--tls "
     "none|starttls|tls] [--ca-file F] [--apop] [--leave-on-server] [--fingerprint HEX] [--identity N] | "
     "list "
     "| remove NAME",
     "set up accounts", &runAccount},
    {"identity",
     "add --name N --email A [--reply-to A] [--organisation O] [--host H] [--signature-file F] [--default] | "
     "list | remove N",
     "set up who writes", &runIdentity},
    {"template", "expand NAME|FILE [--message FILE] [--identity N]", "fill in the variables of a template",
     &runTemplate},
    {"compose",
     "--from IDENTITY --to A [--cc A] [--bcc A] [--newsgroups G] --subject S [--attach FILE]... [--html] "
     "[--charset C] [--reply-to GROUP/NUMBER] [--forward GROUP/NUMBER] [--template NAME] [--send|--print]",
     "write a message, its text from standard input", &runCompose},
    {"fetch", "[NAME...]", "fetch the mail of the named accounts, or of all", &runFetch},
    {"send", "", "send what waits in the outbox", &runSend},
    {"groups", "", "list the groups", &runGroups},
    {"list", "GROUP [--threads]", "list the messages of a group", &runList},
    {"show", "GROUP NUMBER [--raw|--headers|--body]", "show one message", &runShow},
    {"import", "GROUP PATH...", "bring in mbox files, message files and Maildirs", &runImport},
    {"export", "GROUP FILE", "write a group as an mbox", &runExport},
    {"move", "GROUP NUMBER... TARGET", "move messages to another group", &runMove},
    {"copy", "GROUP NUMBER... TARGET", "copy messages to another group", &runCopy},
    {"delete", "GROUP NUMBER...", "delete messages, to the waste basket first", &runDelete},
    {"mark", "GROUP NUMBER... --read|--unread|--flagged|--unflagged|--junk|--good", "mark messages",
     &runMark},
    {"check", "[--repair]", "compare every group with its bins and the indexes", &runCheck},
    {"compact", "[GROUP]", "drop what was deleted from the bins", &runCompact},
};

QString usageOf(const Command &command)
{
    return u"%1 %2"_s.arg(QLatin1String(command.name), QLatin1String(command.usage)).trimmed();
}

QString usage()
{
    QString text = u"usage: velmar-cli [--config DIR] [--json] [--quiet] COMMAND [ARGUMENTS]\n\n"_s;
    for (const Command &command : kCommands)
        text += u"  %1\n      %2\n"_s.arg(usageOf(command), QLatin1String(command.help));
    return text;
}

/// The options in front of the command.
struct Options
{
    Output::Options output;
    QString problem;
    bool help = false;
    bool version = false;
    QStringList rest; ///< the command and what stands behind it
};

Options takeOptions(const QStringList &words)
{
    Options options;
    qsizetype i = 0;
    for (; i < words.size() && words[i].startsWith(u'-'); ++i) {
        const QString &word = words[i];
        if (word == u"--json")
            options.output.json = true;
        else if (word == u"--quiet")
            options.output.quiet = true;
        else if (word == u"--help")
            options.help = true;
        else if (word == u"--version")
            options.version = true;
        else if (word.startsWith(u"--config="))
            setConfigDirectory(word.sliced(9));
        else if (word == u"--config" && i + 1 < words.size() && !words[i + 1].isEmpty())
            setConfigDirectory(words[++i]);
        else
            options.problem =
                word == u"--config" ? u"--config wants a directory"_s : u"unknown option %1"_s.arg(word);
    }
    options.rest = words.mid(i);
    return options;
}

/// The output options also behind the command, where people put them.
QStringList takeLateOptions(const QStringList &words, Output::Options &options)
{
    QStringList rest;
    for (qsizetype i = 0; i < words.size(); ++i) {
        if (words[i] == u"--")
            return rest + words.sliced(i);
        if (words[i] == u"--json")
            options.json = true;
        else if (words[i] == u"--quiet")
            options.quiet = true;
        else
            rest += words[i];
    }
    return rest;
}

} // namespace

int runCommandLine(const QStringList &words)
{
    Options options = takeOptions(words);
    const QString name = options.rest.value(0);
    const QStringList behind = takeLateOptions(options.rest.mid(1), options.output);
    Output output(options.output);
    if (options.help || options.version) {
        output.text(options.help ? usage() : u"velmar-cli %1\n"_s.arg(QLatin1String(versionText())));
        return int(ExitStatus::Done);
    }
    const auto command = std::find_if(std::begin(kCommands), std::end(kCommands), [&](const Command &known) {
        return name == QLatin1String(known.name);
    });
    if (!options.problem.isEmpty() || command == std::end(kCommands)) {
        output.complain(!options.problem.isEmpty() ? options.problem
                        : name.isEmpty()           ? u"a command is wanted; --help lists them"_s
                                                   : u"unknown command %1; --help lists them"_s.arg(name));
        return int(ExitStatus::WrongUsage);
    }

    TerminationSignals signals_;
    LogFile log(u"Log"_s);
    setReportSink([&output](const Report &report) { output.complain(report.text); });
    setNoteSink([&log](const QString &line) { log.write(line); });
    Session session(output);
    ExitStatus status = command->run(session, behind);
    if (status == ExitStatus::WrongUsage)
        output.complain(u"usage: velmar-cli "_s + usageOf(*command));
    if (!session.close() || !output.finish())
        status = qMax(status, ExitStatus::Failed);
    if (TerminationSignals::isRequested())
        status = ExitStatus::Failed;
    setReportSink({});
    setNoteSink({});
    return int(status);
}
