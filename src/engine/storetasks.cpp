#include "engine/storetasks.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QLocale>
#include <QSet>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kCompactSlice = 256 * 1024; ///< bytes between two looks at the clock
constexpr std::size_t kMarkSlice = 200;
constexpr std::size_t kTransferSlice = 50; ///< messages that share the flushes of one step

QString leafOf(const QString &path)
{
    return QFileInfo(path).fileName();
}

} // namespace

QString messageCount(qint64 count)
{
    return count == 1 ? u"1 message"_s : u"%1 messages"_s.arg(QLocale().toString(count));
}

ImportTask::ImportTask(GroupStore &store, Group &target, const QStringList &paths)
    : m_store(store)
    , m_target(&target)
    , m_paths(paths)
{}

QString ImportTask::title() const
{
    return u"Importing %1"_s.arg(leafOf(m_path.isEmpty() ? m_paths.value(0) : m_path));
}

QString ImportTask::result() const
{
    QString text = u"%1 imported"_s.arg(messageCount(m_imported));
    if (m_skipped > 0)
        text += u", %1 skipped"_s.arg(m_skipped);
    return text;
}

Task::State ImportTask::work(int milliseconds)
{
    if (!m_target)
        return State::Stopped;
    if (!m_importer) {
        if (m_paths.isEmpty())
            return m_problems.isEmpty() ? State::Done : State::Failed;
        m_path = m_paths.takeFirst();
        m_importer = std::make_unique<Importer>(m_store, *m_target);
        if (!m_importer->begin(m_path)) {
            m_problems += m_importer->reason();
            m_importer.reset();
        }
        return State::Working;
    }
    switch (m_importer->step(milliseconds)) {
    case Importer::Progress::Working: return State::Working;
    case Importer::Progress::Done: endPath(); return State::Working;
    case Importer::Progress::Failed: break;
    }
    m_problems += u"%1: %2"_s.arg(
        m_path, m_importer->reason().isEmpty() ? u"not all of it could be imported"_s : m_importer->reason());
    endPath();
    return State::Failed;
}

Task::State ImportTask::halt()
{
    if (m_importer) {
        m_importer->stop();
        endPath();
    }
    return State::Stopped;
}

void ImportTask::endPath()
{
    m_imported += m_importer->imported();
    m_skipped += m_importer->skipped();
    m_importer.reset();
}

ExportTask::ExportTask(Group &group, const QString &path)
    : m_group(&group)
    , m_path(path)
    , m_exporter(group, path)
{}

QString ExportTask::title() const
{
    return u"Exporting to %1"_s.arg(leafOf(m_path));
}

QString ExportTask::result() const
{
    if (state() == State::Stopped)
        return u"%1 was not written"_s.arg(m_path);
    return u"%1 exported to %2"_s.arg(messageCount(m_exporter.exported()), m_path);
}

Task::State ExportTask::work(int milliseconds)
{
    if (!m_group)
        return State::Stopped;
    switch (m_exporter.step(milliseconds)) {
    case Exporter::Progress::Working: return State::Working;
    case Exporter::Progress::Done: return State::Done;
    case Exporter::Progress::Failed: break;
    }
    return State::Failed;
}

CompactTask::CompactTask(Group &group, Bins bins)
    : m_group(&group)
    , m_wanted(bins)
{}

QString CompactTask::title() const
{
    return m_group ? u"Compacting %1"_s.arg(m_group->name()) : QString();
}

QString CompactTask::result() const
{
    qint64 saved = 0;
    for (const Bin &bin : m_results)
        saved += bin.before - bin.after;
    return u"%1 freed"_s.arg(QLocale().formattedDataSize(saved, 1, QLocale::DataSizeTraditionalFormat));
}

Task::State CompactTask::work(int milliseconds)
{
    if (!m_group || (m_group->rowCount() == 0 && !m_group->isOpen()))
        return State::Stopped;
    if (!m_begun) {
        m_begun = true;
        connect(m_group, &Group::closing, this, [this] { m_compactor.reset(); });
        m_left = m_wanted == Bins::All ? m_group->files().bins() : BinCompactor::worthwhile(m_group->files());
        std::reverse(m_left.begin(), m_left.end());
        return State::Working;
    }
    if (!m_compactor) {
        if (m_left.empty())
            return m_group->tidy() ? State::Done : State::Failed;
        const int bin = m_left.back();
        m_left.pop_back();
        m_compactor = std::make_unique<BinCompactor>(m_group->files(), bin);
        return State::Working;
    }
    QElapsedTimer timer;
    timer.start();
    BinCompactor::Progress progress = BinCompactor::Progress::Working;
    while (progress == BinCompactor::Progress::Working && !timer.hasExpired(milliseconds))
        progress = m_compactor->step(kCompactSlice);
    if (progress == BinCompactor::Progress::Working)
        return State::Working;
    m_results.push_back({m_compactor->bin(), m_compactor->sizeBefore(), m_compactor->sizeAfter()});
    m_compactor.reset();
    return progress == BinCompactor::Progress::Done ? State::Working : State::Failed;
}

RepairTask::RepairTask(Group &group)
    : m_group(&group)
{}

QString RepairTask::title() const
{
    return m_group ? u"Repairing %1"_s.arg(m_group->name()) : QString();
}

QString RepairTask::result() const
{
    return m_ok && m_group
               ? u"%1 was repaired: %2"_s.arg(m_group->name(), messageCount(m_group->counts().total))
               : QString();
}

Task::State RepairTask::work(int milliseconds)
{
    if (!m_group)
        return State::Stopped;
    switch (m_group->repairStep(milliseconds)) {
    case Group::Repair::Working: return State::Working;
    case Group::Repair::Done: m_ok = true; return State::Done;
    case Group::Repair::Failed: break;
    }
    return State::Failed;
}

TransferTask::TransferTask(GroupStore &store, Group &source, const Articles &articles, Kind kind,
                           Group *target)
    : m_store(store)
    , m_source(&source)
    , m_target(target)
    , m_kind(kind)
{
    QSet<quint32> taken; // each but once, however often it is named
    for (const quint32 article : articles) {
        if (!taken.contains(article))
            m_articles.push_back(article);
        taken.insert(article);
    }
}

QString TransferTask::title() const
{
    static constexpr std::array s_titles = {"Moving %1", "Copying %1", "Deleting %1", "Deleting %1 for good"};
    return QString::fromLatin1(s_titles[std::size_t(m_kind)]).arg(messageCount(total()));
}

QString TransferTask::result() const
{
    static constexpr std::array s_results = {"%1 moved", "%1 copied", "%1 deleted", "%1 deleted for good"};
    return QString::fromLatin1(s_results[std::size_t(m_kind)]).arg(messageCount(done()));
}

Task::State TransferTask::work(int milliseconds)
{
    const bool needsTarget = m_kind == Kind::Move || m_kind == Kind::Copy;
    if (!m_source || (needsTarget && !m_target))
        return State::Stopped;
    QElapsedTimer timer;
    timer.start();
    while (m_next < m_articles.size()) {
        const std::size_t end = std::min(m_next + kTransferSlice, m_articles.size());
        const Articles some(m_articles.begin() + std::ptrdiff_t(m_next),
                            m_articles.begin() + std::ptrdiff_t(end));
        if (!transfer(some))
            return State::Failed;
        m_next = end;
        if (timer.hasExpired(milliseconds))
            break;
    }
    return m_next < m_articles.size() ? State::Working : State::Done;
}

bool TransferTask::transfer(const Articles &some)
{
    Articles arrived;
    switch (m_kind) {
    case Kind::Move: arrived = m_store.move(*m_source, some, *m_target); break;
    case Kind::Copy:
        arrived = m_store.copy(*m_source, some, *m_target);
        if (!m_target->flush())
            return false;
        break;
    case Kind::Delete:
    case Kind::DeleteForGood: return m_store.deleteMessages(*m_source, some, m_kind == Kind::DeleteForGood);
    }
    m_arrived.insert(m_arrived.end(), arrived.begin(), arrived.end());
    return arrived.size() == some.size();
}

MarkTask::MarkTask(Group &group, Articles articles, Marks set, Marks clear)
    : m_group(&group)
    , m_articles(std::move(articles))
    , m_set(set)
    , m_clear(clear)
{}

QString MarkTask::title() const
{
    return u"Marking %1"_s.arg(messageCount(total()));
}

Task::State MarkTask::work(int milliseconds)
{
    if (!m_group)
        return State::Stopped;
    QElapsedTimer timer;
    timer.start();
    while (m_next < m_articles.size() && !timer.hasExpired(milliseconds)) {
        const std::size_t end = std::min(m_next + kMarkSlice, m_articles.size());
        const auto first = m_articles.begin();
        if (!m_group->setMarks(Articles(first + std::ptrdiff_t(m_next), first + std::ptrdiff_t(end)), m_set,
                               m_clear))
            return State::Failed;
        m_next = end;
    }
    return m_next < m_articles.size() ? State::Working : State::Done;
}
