#include "cli/arguments.h"
#include "cli/command.h"
#include "cli/describe.h"
#include "message/message.h"
#include "store/threads.h"

#include <QJsonArray>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

bool earlier(const Overview &a, const Overview &b)
{
    return a.date() != b.date() ? a.date() < b.date() : a.article() < b.article();
}

/// The rows of the live messages, by date.
std::vector<int> rowsByDate(Group &group)
{
    std::vector<int> rows;
    for (int row = 0; row < group.rowCount(); ++row) {
        if (!group.row(row).isDead())
            rows.push_back(row);
    }
    std::sort(rows.begin(), rows.end(), [&](int a, int b) { return earlier(group.row(a), group.row(b)); });
    return rows;
}

/// Threads in the order of their first messages, each with its answers below it.
void listThreads(Session &session, Group &group)
{
    const Threads threads(group);
    const std::vector<int> rows = rowsByDate(group);
    std::vector<std::vector<int>> answers(std::size_t(group.rowCount()));
    struct Waiting
    {
        int row;
        int depth;
        quint32 thread; ///< article of the topmost message
    };
    std::vector<Waiting> waiting; ///< the next one last
    for (auto row = rows.rbegin(); row != rows.rend(); ++row) {
        if (threads.parent(*row) == Threads::kNone)
            waiting.push_back({*row, 0, group.row(*row).article()});
        else
            answers[std::size_t(threads.parent(*row))].push_back(*row); // the latest first
    }
    while (!waiting.empty()) {
        const auto [row, depth, thread] = waiting.back();
        waiting.pop_back();
        const Overview overview = group.row(row);
        Row line = describeRow(group, overview);
        line.add("depth", depth).add("thread", qint64(thread));
        session.output().row(line);
        for (const int answer : answers[std::size_t(row)])
            waiting.push_back({answer, depth + 1, thread});
    }
}

/// A message that the window moved in its files meanwhile is looked up again.
QByteArray textOf(Group &group, quint32 article)
{
    const std::optional<Overview> overview = group.overview(article);
    return overview ? group.readMessage(*overview) : QByteArray();
}

} // namespace

ExitStatus runGroups(Session &session, const QStringList &words)
{
    if (!words.isEmpty())
        return wrongUsage(session, u"groups takes no arguments"_s);
    if (!session.open(Session::Purpose::Read))
        return ExitStatus::Failed;
    for (Group *group : session.groups().groups())
        session.output().row(describeGroup(session.groups(), *group));
    session.output().endTable();
    return ExitStatus::Done;
}

ExitStatus runList(Session &session, const QStringList &words)
{
    const Arguments arguments(words, {"--threads"}, {});
    if (!arguments.problem().isEmpty() || arguments.plain().size() != 1)
        return wrongUsage(session,
                          arguments.problem().isEmpty() ? u"list wants one group"_s : arguments.problem());
    if (!session.open(Session::Purpose::Read))
        return ExitStatus::Failed;
    Group *group = session.group(arguments.plain().first());
    if (!group)
        return ExitStatus::Failed;
    if (arguments.has("--threads")) {
        listThreads(session, *group);
    } else {
        for (const int row : rowsByDate(*group)) {
            const Overview overview = group->row(row);
            session.output().row(describeRow(*group, overview));
        }
    }
    session.output().endTable();
    return ExitStatus::Done;
}

ExitStatus runShow(Session &session, const QStringList &words)
{
    const Arguments arguments(words, {"--raw", "--headers", "--body"}, {});
    if (!arguments.problem().isEmpty() || arguments.plain().size() != 2)
        return wrongUsage(session, arguments.problem().isEmpty() ? u"show wants a group and a number"_s
                                                                 : arguments.problem());
    if (!session.open(Session::Purpose::Read))
        return ExitStatus::Failed;
    Group *group = session.group(arguments.plain()[0]);
    if (!group || !session.articles(*group, {arguments.plain()[1]}))
        return ExitStatus::Failed;
    const quint32 article = arguments.plain()[1].toUInt();
    const QByteArray text = textOf(*group, article);
    if (text.isNull())
        return ExitStatus::Failed;
    const Message message(text);
    Output &output = session.output();
    if (arguments.has("--raw")) {
        output.bytes(text);
    } else if (arguments.has("--headers")) {
        output.bytes(message.headerBlock().toByteArray());
    } else if (arguments.has("--body")) {
        output.text(readableBody(message));
    } else if (output.isJson()) {
        Row row = describeMessage(message, u"%1/%2"_s.arg(session.groups().pathOf(*group)).arg(article));
        row.add("body", readableBody(message));
        output.row(row);
    } else {
        output.text(message.headerSummary() + u'\n' + readableBody(message));
    }
    return ExitStatus::Done;
}
