#pragma once

#include "cli/output.h"
#include "engine/engine.h"

#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

class InstanceLock;

/// How a command ended, as the program's exit status.
enum class ExitStatus { Done = 0, Failed = 1, WrongUsage = 2 };

/// What a command works with.
class Session
{
public:
    explicit Session(Output &output);
    ~Session();

    Output &output() { return m_output; }

    enum class Purpose {
        Read,  ///< beside another process the files are read where they lie
        Check, ///< the same, but what is damaged stays so and is seen
        Write,
    };

    /// Loads the engine. False after a complaint: another process holds the store, or it cannot be used.
    bool open(Purpose purpose);

    /// Saves and lets go; false when not everything could be saved.
    bool close();

    Engine &engine() { return *m_engine; }

    /// Whether the list of accounts could be read; a report came if not.
    bool hasAccounts() const { return m_engine->accountsAreRead(); }
    GroupStore &groups() { return m_engine->groups(); }

    /// The group that @p name means: digits are a number, everything else a full name. Null after a
    /// complaint.
    Group *group(const QString &name);

    /// Runs @p task to its end with a progress bar, or to its next safe point on SIGINT and SIGTERM.
    Task::State run(Task &task);

    /// Whether @p name stands for a group's number: digits alone.
    static bool isNumber(const QString &name);

    /// The articles that the words name and the group has; empty, after a complaint, when one is wrong.
    std::optional<Articles> articles(Group &group, const QStringList &words);

private:
    bool lock(Purpose purpose);

    Output &m_output;
    std::unique_ptr<InstanceLock> m_lock;
    std::unique_ptr<Engine> m_engine;
};

/// A command of the program.
struct Command
{
    const char *name;
    const char *usage; ///< what stands behind the name
    const char *help;
    ExitStatus (*run)(Session &session, const QStringList &words);
};

/// Complains about the usage of the command that is being run.
ExitStatus wrongUsage(Session &session, const QString &problem);
ExitStatus wrongUsage(Session &session, const QStringList &problems);

ExitStatus runParse(Session &session, const QStringList &words);
ExitStatus runAccount(Session &session, const QStringList &words);
ExitStatus runCompose(Session &session, const QStringList &words);
ExitStatus runIdentity(Session &session, const QStringList &words);
ExitStatus runTemplate(Session &session, const QStringList &words);
ExitStatus runFetch(Session &session, const QStringList &words);
ExitStatus runSend(Session &session, const QStringList &words);
ExitStatus runGroups(Session &session, const QStringList &words);
ExitStatus runList(Session &session, const QStringList &words);
ExitStatus runShow(Session &session, const QStringList &words);
ExitStatus runImport(Session &session, const QStringList &words);
ExitStatus runExport(Session &session, const QStringList &words);
ExitStatus runMove(Session &session, const QStringList &words);
ExitStatus runCopy(Session &session, const QStringList &words);
ExitStatus runDelete(Session &session, const QStringList &words);
ExitStatus runMark(Session &session, const QStringList &words);
ExitStatus runCheck(Session &session, const QStringList &words);
ExitStatus runCompact(Session &session, const QStringList &words);
