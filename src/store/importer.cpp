#include "store/importer.h"

#include "config/clock.h"
#include "message/message.h"
#include "store/groupstore.h"

#include <QElapsedTimer>

using namespace Qt::StringLiterals;

namespace {
constexpr qint64 kBatchBytes = 64 * 1024 * 1024; ///< stored between two flushes
}

Importer::Importer(GroupStore &store, Group &target)
    : m_store(store)
    , m_target(target)
{}

Importer::~Importer() = default;

bool Importer::begin(const QString &path)
{
    m_imported = m_waiting = 0;
    m_source = MessageSource::open(path, m_reason);
    return m_source != nullptr;
}

Importer::Progress Importer::step(int milliseconds)
{
    QElapsedTimer timer;
    timer.start();
    IncomingMessage message;
    do {
        switch (m_source->next(message)) {
        case MessageSource::Outcome::Message:
            if (!store(message)) {
                flush();
                return Progress::Failed;
            }
            break;
        case MessageSource::Outcome::End: return flush() ? Progress::Done : Progress::Failed;
        case MessageSource::Outcome::Failed:
            m_reason = u"the file could not be read to its end"_s;
            flush();
            return Progress::Failed;
        }
    } while (!timer.hasExpired(milliseconds));
    return Progress::Working;
}

bool Importer::stop()
{
    return flush();
}

int Importer::skipped() const
{
    return m_source ? m_source->skipped() : 0;
}

qint64 Importer::done() const
{
    return m_source ? m_source->done() : 0;
}

qint64 Importer::total() const
{
    return m_source ? m_source->total() : 0;
}

Group *Importer::groupFor(const QString &folder)
{
    if (folder.isEmpty())
        return &m_target;
    return m_store.make(m_store.pathOf(m_target) + u'/' + folder);
}

bool Importer::store(const IncomingMessage &message)
{
    Group *group = groupFor(message.folder);
    if (!group)
        group = &m_target; // the folder's name cannot be a group's
    const qint64 arrival = message.arrival.value_or(clockSeconds());
    if (m_store.add(*group, Message(message.text), message.marks, 0, arrival) == 0)
        return false;
    m_touched.insert(group->number());
    ++m_waiting;
    m_waitingBytes += message.text.size();
    return m_waitingBytes < kBatchBytes || flush();
}

bool Importer::flush()
{
    if (!m_store.saveTree()) // a group made on the way must be known by its name before its mail is safe
        return false;
    for (const int number : m_touched) {
        Group *group = m_store.group(number);
        if (group && !group->flush())
            return false;
    }
    m_touched.clear();
    m_imported += m_waiting;
    m_waiting = 0;
    m_waitingBytes = 0;
    return true;
}
