#include "engine/storetasks.h"

#include "config/settings.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QLocale>
#include <QSet>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kCompactSlice = 256 * 1024;   ///< bytes between two looks at the clock
constexpr std::size_t kRemovedTogether = 1000; ///< messages that one sync takes away

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
    , m_total(qint64(QSet<quint32>(articles.begin(), articles.end()).size()))
    , m_kind(kind)
{
    if (kind == Kind::Delete) {
        target = store.usesWasteBasket(source) ? store.group(GroupRole::WasteBasket) : nullptr;
        m_kind = target ? Kind::Delete : Kind::DeleteForGood;
    }
    m_target = target;
    if (target)
        m_transfer.emplace(store, source, articles, *target,
                           kind == Kind::Copy ? Transfer::Kind::Copy : Transfer::Kind::Move);
    else
        m_left = articles;
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

qint64 TransferTask::done() const
{
    return m_transfer ? qint64(m_transfer->done()) : m_total - qint64(m_left.size());
}

Task::State TransferTask::work(int milliseconds)
{
    if (!m_source || (m_transfer && !m_target))
        return State::Stopped;
    return m_transfer ? transfer(milliseconds) : remove(milliseconds);
}

Task::State TransferTask::transfer(int milliseconds)
{
    const std::size_t before = m_transfer->arrived().size();
    const Transfer::Progress progress = m_transfer->step(milliseconds);
    const Articles &arrived = m_transfer->arrived();
    if (m_kind == Kind::Delete && arrived.size() > before && boolSetting(Setting::MarkWasteAsRead))
        m_target->setMarks(Articles(arrived.begin() + std::ptrdiff_t(before), arrived.end()), Mark::Read, {});
    if (progress == Transfer::Progress::Working)
        return State::Working;
    return qint64(arrived.size()) == m_total ? State::Done : State::Failed;
}

Task::State TransferTask::remove(int milliseconds)
{
    QElapsedTimer timer;
    timer.start();
    bool removed = true;
    while (!m_left.empty() && removed && !timer.hasExpired(milliseconds)) {
        const std::size_t count = std::min(m_left.size(), kRemovedTogether);
        removed = m_store.deleteMessages(*m_source,
                                         Articles(m_left.end() - std::ptrdiff_t(count), m_left.end()), true);
        m_left.resize(m_left.size() - count);
    }
    if (!removed)
        return State::Failed;
    return m_left.empty() ? State::Done : State::Working;
}

Task::State TransferTask::halt()
{
    if (m_transfer)
        m_transfer->settle();
    return State::Stopped;
}
