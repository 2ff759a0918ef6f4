#include "cli/arguments.h"
#include "cli/command.h"
#include "config/terminationsignals.h"
#include "engine/storetasks.h"
#include "store/storecheck.h"

#include <set>

using namespace Qt::StringLiterals;

namespace {

/// Everything that is wrong with the store as it lies there; nothing when it could not be opened.
std::optional<std::vector<Finding>> findings(Session &session)
{
    if (!session.open(Session::Purpose::Check))
        return {};
    std::vector<Finding> found;
    StoreCheck check(session.groups(), [&](const Finding &finding) { found.push_back(finding); });
    for (Group *group : session.groups().groups()) {
        session.output().progress(u"Checking %1"_s.arg(group->name()), 0, 0);
        check.checkGroup(*group);
        if (TerminationSignals::isRequested())
            break;
    }
    check.checkIndex();
    session.output().endProgress();
    session.close();
    return found;
}

/// Builds anew what the findings speak of. False: it could not be written.
bool mend(Session &session, const std::vector<Finding> &found)
{
    if (!session.open(Session::Purpose::Write))
        return false;
    std::set<int> numbers;
    for (const Finding &finding : found)
        numbers.insert(finding.group);
    bool mended = true;
    for (const int number : numbers) {
        Group *group = session.groups().group(number);
        if (!group)
            continue;
        mended = group->repair() && mended;
        CompactTask compaction(*group, CompactTask::Bins::All);
        mended = session.run(compaction) == Task::State::Done && mended;
    }
    session.groups().rebuildIndex();
    return session.close() && mended;
}

bool contains(const std::vector<Finding> &findings, const Finding &wanted)
{
    return std::any_of(findings.begin(), findings.end(), [&](const Finding &finding) {
        return finding.group == wanted.group && finding.what == wanted.what &&
               finding.detail == wanted.detail;
    });
}

void showFinding(Session &session, const Finding &finding, bool repaired)
{
    session.output().row(Row()
                             .add("group", finding.group)
                             .add("what", finding.what)
                             .add("detail", finding.detail)
                             .add("repaired", repaired));
}

} // namespace

ExitStatus runCheck(Session &session, const QStringList &words)
{
    const Arguments arguments(words, {"--repair"}, {});
    if (!arguments.problem().isEmpty() || !arguments.plain().isEmpty())
        return wrongUsage(session,
                          arguments.problem().isEmpty() ? u"check takes no group"_s : arguments.problem());
    const auto found = findings(session);
    if (!found)
        return ExitStatus::Failed;
    std::vector<Finding> left = *found;
    if (arguments.has("--repair") && !found->empty()) {
        if (!mend(session, *found))
            session.output().complain(u"Not everything could be repaired"_s);
        left = findings(session).value_or(*found);
    }
    for (const Finding &finding : *found)
        showFinding(session, finding, !contains(left, finding));
    for (const Finding &finding : left) {
        if (!contains(*found, finding)) // what came to light with the repair
            showFinding(session, finding, false);
    }
    session.output().endTable();
    return left.empty() ? ExitStatus::Done : ExitStatus::Failed;
}

ExitStatus runCompact(Session &session, const QStringList &words)
{
    if (words.size() > 1)
        return wrongUsage(session, u"compact takes one group, or none"_s);
    if (!session.open(Session::Purpose::Write))
        return ExitStatus::Failed;
    std::vector<Group *> groups = session.groups().groups();
    if (!words.isEmpty()) {
        Group *group = session.group(words.first());
        if (!group)
            return ExitStatus::Failed;
        groups = {group};
    }
    ExitStatus status = ExitStatus::Done;
    for (Group *group : groups) {
        if (TerminationSignals::isRequested())
            break;
        CompactTask task(*group, CompactTask::Bins::All);
        if (session.run(task) != Task::State::Done)
            status = ExitStatus::Failed;
        for (const CompactTask::Bin &bin : task.bins())
            session.output().row(Row()
                                     .add("group", session.groups().pathOf(*group))
                                     .add("bin", bin.number)
                                     .add("before", bin.before)
                                     .add("after", bin.after));
    }
    session.output().endTable();
    return status;
}
