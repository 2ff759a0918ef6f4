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
    case InstanceLock::Outcome::Held:
        if (purpose == Purpose::Look)
            setStoreAccess(StoreAccess::ReadOnly);
        return true;
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
    bool isNumber = false;
    const int number = name.toInt(&isNumber);
    Group *group = isNumber && number > 0 ? groups().group(number) : groups().find(name);
    if (!group)
        m_output.complain(u"There is no group '%1'"_s.arg(name));
    return group;
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
        const quint32 article = word.toUInt();
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
    session.output().complain(problem);
    return ExitStatus::WrongUsage;
}
