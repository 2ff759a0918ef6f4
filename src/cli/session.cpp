#include "cli/command.h"

#include "config/directory.h"
#include "config/instancelock.h"
#include "config/terminationsignals.h"

using namespace Qt::StringLiterals;

Session::Session(Output &output)
    : m_output(output)
{}

Session::~Session() = default;

bool Session::open(Purpose purpose)
{
    if (!lock(purpose))
        return false;
    m_engine = std::make_unique<Engine>();
    m_engine->groups().setRepairsItself(purpose != Purpose::Check);
    if (m_engine->load())
        return true;
    m_engine.reset();
    return false;
}

bool Session::close()
{
    const bool saved = !m_engine || m_engine->shutDown();
    m_engine.reset();
    m_lock.reset();
    return saved;
}

bool Session::lock(Purpose purpose)
{
    setStoreAccess(StoreAccess::ReadWrite);
    QString directory = u"."_s;
    if (!configFile(directory, true))
        return false;
    m_lock = std::make_unique<InstanceLock>();
    switch (m_lock->tryLock(configDirectory())) {
    case InstanceLock::Outcome::Held: return true;
    case InstanceLock::Outcome::Busy:
        if (purpose == Purpose::Write) {
            m_output.complain(
                u"Velmar is running on %1: close it first, or use its window"_s.arg(configDirectory()));
            return false;
        }
        break;
    case InstanceLock::Outcome::Failed:
        if (purpose == Purpose::Write) {
            m_output.complain(u"%1 cannot be written"_s.arg(configDirectory()));
            return false;
        }
        break;
    }
    setStoreAccess(StoreAccess::ReadOnly);
    return true;
}

Group *Session::group(const QString &name)
{
    Group *group = isNumber(name) ? groups().group(name.toInt()) : groups().find(name);
    if (!group)
        m_output.complain(u"There is no group '%1'"_s.arg(name));
    return group;
}

bool Session::isNumber(const QString &name)
{
    return !name.isEmpty() &&
           std::all_of(name.begin(), name.end(), [](QChar c) { return c >= u'0' && c <= u'9'; });
}

Task::State Session::run(Task &task)
{
    const Task::State state = task.run([&] {
        m_output.progress(task.title(), task.done(), task.total());
        return !TerminationSignals::isRequested();
    });
    m_output.endProgress();
    if (!task.problem().isEmpty()) {
        const QStringList problems = task.problem().split(u'\n');
        for (const QString &problem : problems)
            m_output.complain(problem);
    }
    if (state == Task::State::Stopped)
        m_output.complain(u"Stopped: %1"_s.arg(task.result()));
    return state;
}

std::optional<Articles> Session::articles(Group &group, const QStringList &words)
{
    Articles articles;
    for (const QString &word : words) {
        const quint32 article = isNumber(word) ? word.toUInt() : 0;
        if (!group.overview(article)) {
            m_output.complain(u"There is no message %1 in '%2'"_s.arg(word, groups().pathOf(group)));
            return {};
        }
        articles.push_back(article);
    }
    return articles;
}

ExitStatus wrongUsage(Session &session, const QString &problem)
{
    return wrongUsage(session, QStringList{problem});
}

ExitStatus wrongUsage(Session &session, const QStringList &problems)
{
    for (const QString &problem : problems)
        session.output().complain(problem);
    return ExitStatus::WrongUsage;
}
