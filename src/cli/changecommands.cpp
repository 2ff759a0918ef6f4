#include "cli/arguments.h"
#include "cli/command.h"
#include "cli/describe.h"
#include "config/terminationsignals.h"
#include "engine/storetasks.h"

#include <QElapsedTimer>

using namespace Qt::StringLiterals;

namespace {

/// Brings one path into @p target. The line comes when its messages are safe.
ExitStatus importPath(Session &session, Group &target, const QString &path)
{
    QElapsedTimer timer;
    timer.start();
    ImportTask task(session.groups(), target, {path});
    const Task::State state = session.run(task);
    Row row;
    row.add("path", path)
        .add("imported", task.imported())
        .add("skipped", task.skipped())
        .add("seconds", double(timer.elapsed()) / 1000);
    session.output().row(row);
    session.output().endRows();
    return state == Task::State::Done ? ExitStatus::Done : ExitStatus::Failed;
}

/// The rows of messages after they were changed or have come to @p group.
void showRows(Session &session, Group &group, const Articles &articles)
{
    for (const quint32 article : articles) {
        if (const std::optional<Overview> overview = group.overview(article))
            session.output().row(describeRow(group, *overview));
    }
    session.output().endTable();
}

ExitStatus transfer(Session &session, const QStringList &words, TransferTask::Kind kind)
{
    const Arguments arguments(words, {}, {});
    QStringList plain = arguments.plain();
    if (!arguments.problem().isEmpty() || plain.size() < 3)
        return wrongUsage(session, arguments.problem().isEmpty()
                                       ? u"a group, numbers and a target are wanted"_s
                                       : arguments.problem());
    if (!session.open(Session::Purpose::Write))
        return ExitStatus::Failed;
    Group *source = session.group(plain.takeFirst());
    Group *target = session.group(plain.takeLast());
    const std::optional<Articles> articles =
        source && target ? session.articles(*source, plain) : std::nullopt;
    if (!articles)
        return ExitStatus::Failed;
    if (source == target && kind == TransferTask::Kind::Move) {
        session.output().complain(
            u"The messages are in '%1' already"_s.arg(session.groups().pathOf(*target)));
        return ExitStatus::Failed;
    }
    TransferTask task(session.groups(), *source, *articles, kind, target);
    const Task::State state = session.run(task);
    showRows(session, *target, task.arrived());
    return state == Task::State::Done ? ExitStatus::Done : ExitStatus::Failed;
}

struct MarkOption
{
    const char *option;
    Marks set;
    Marks clear;
};
const MarkOption kMarkOptions[] = {
    {"--read", Mark::Read, {}},         {"--unread", {}, Mark::Read}, {"--flagged", Mark::Flagged, {}},
    {"--unflagged", {}, Mark::Flagged}, {"--junk", Mark::Junk, {}},   {"--good", {}, Mark::Junk},
};

} // namespace

ExitStatus runImport(Session &session, const QStringList &words)
{
    const Arguments arguments(words, {}, {});
    if (!arguments.problem().isEmpty() || arguments.plain().size() < 2)
        return wrongUsage(session, arguments.problem().isEmpty() ? u"import wants a group and paths"_s
                                                                 : arguments.problem());
    if (!session.open(Session::Purpose::Write))
        return ExitStatus::Failed;
    const QString name = arguments.plain().first();
    const bool isNumber = Session::isNumber(name);
    const bool isNew = !isNumber && !session.groups().find(name);
    Group *group = isNumber ? session.group(name) : session.groups().make(name);
    if (!group) {
        if (!isNumber)
            session.output().complain(u"'%1' cannot be the name of a group"_s.arg(name));
        return ExitStatus::Failed;
    }
    ExitStatus status = ExitStatus::Done;
    for (const QString &path : arguments.plain().sliced(1)) {
        if (TerminationSignals::isRequested())
            break;
        if (importPath(session, *group, path) != ExitStatus::Done)
            status = ExitStatus::Failed;
    }
    session.output().endTable();
    // What turned out to be no mail leaves no group behind.
    const bool isEmpty = group->counts().total == 0 && session.groups().children(group->number()).empty();
    if (isNew && isEmpty && status == ExitStatus::Failed && !session.groups().remove(*group))
        return ExitStatus::Failed;
    return status;
}

ExitStatus runExport(Session &session, const QStringList &words)
{
    const Arguments arguments(words, {}, {});
    if (!arguments.problem().isEmpty() || arguments.plain().size() != 2)
        return wrongUsage(session, arguments.problem().isEmpty() ? u"export wants a group and a file"_s
                                                                 : arguments.problem());
    if (!session.open(Session::Purpose::Read))
        return ExitStatus::Failed;
    Group *group = session.group(arguments.plain()[0]);
    if (!group)
        return ExitStatus::Failed;
    ExportTask task(*group, arguments.plain()[1]);
    if (session.run(task) != Task::State::Done)
        return ExitStatus::Failed;
    session.output().row(Row().add("exported", task.exported()));
    session.output().endTable();
    return ExitStatus::Done;
}

ExitStatus runMove(Session &session, const QStringList &words)
{
    return transfer(session, words, TransferTask::Kind::Move);
}

ExitStatus runCopy(Session &session, const QStringList &words)
{
    return transfer(session, words, TransferTask::Kind::Copy);
}

ExitStatus runDelete(Session &session, const QStringList &words)
{
    const Arguments arguments(words, {}, {});
    if (!arguments.problem().isEmpty() || arguments.plain().size() < 2)
        return wrongUsage(session, arguments.problem().isEmpty() ? u"delete wants a group and numbers"_s
                                                                 : arguments.problem());
    if (!session.open(Session::Purpose::Write))
        return ExitStatus::Failed;
    Group *group = session.group(arguments.plain().first());
    const auto articles = group ? session.articles(*group, arguments.plain().sliced(1)) : std::nullopt;
    if (!articles)
        return ExitStatus::Failed;
    for (const quint32 article : *articles) // shown as they were: afterwards they are elsewhere, or nowhere
        session.output().row(describeRow(*group, *group->overview(article)));
    TransferTask task(session.groups(), *group, *articles, TransferTask::Kind::Delete, nullptr);
    const Task::State state = session.run(task);
    session.output().endTable();
    return state == Task::State::Done ? ExitStatus::Done : ExitStatus::Failed;
}

ExitStatus runMark(Session &session, const QStringList &words)
{
    const Arguments arguments(words, {"--read", "--unread", "--flagged", "--unflagged", "--junk", "--good"},
                              {});
    Marks set;
    Marks clear;
    for (const MarkOption &option : kMarkOptions) {
        if (arguments.has(option.option)) {
            set |= option.set;
            clear |= option.clear;
        }
    }
    if (!arguments.problem().isEmpty())
        return wrongUsage(session, arguments.problem());
    if (arguments.plain().size() < 2 || (!set && !clear) || (set & clear))
        return wrongUsage(session,
                          u"mark wants a group, numbers and marks that do not contradict each other"_s);
    if (!session.open(Session::Purpose::Write))
        return ExitStatus::Failed;
    Group *group = session.group(arguments.plain().first());
    const auto articles = group ? session.articles(*group, arguments.plain().sliced(1)) : std::nullopt;
    if (!articles || !group->setMarks(*articles, set, clear) || !group->flush())
        return ExitStatus::Failed;
    showRows(session, *group, *articles);
    return ExitStatus::Done;
}
