#include "store/groupstore.h"

#include "config/clock.h"
#include "config/directory.h"
#include "config/files.h"
#include "config/reporter.h"
#include "config/settings.h"
#include "store/bincompactor.h"
#include "store/binfile.h"
#include "store/compression.h"
#include "store/summary.h"
#include "store/transfer.h"

#include <QFile>

#include <map>
#include <set>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kSecondsBetweenIndexSaves = 300;

const QString kRunningName = u"Groups/Running"_s;

Summary arrivingSummary(const Message &message, const Arrival &arrival)
{
    Summary summary = summaryOf(message, arrival.time);
    Overview &overview = summary.overview;
    overview.setMarks(overview.marks() | arrival.marks);
    overview.setAccount(arrival.account);
    if (overview.has(Mark::HeaderOnly))
        overview.setServerSize(arrival.serverSize);
    else
        overview.setServerHash(arrival.serverHash);
    return summary;
}

} // namespace

GroupStore::GroupStore(QObject *parent)
    : QObject(parent)
{}

GroupStore::~GroupStore() = default;

bool GroupStore::load()
{
    QString directory = u"Groups"_s;
    if (!configFile(directory, true))
        return false;
    const GroupsFile::Contents contents = m_file.read();
    m_nextNumber = contents.nextNumber;
    for (const GroupRecord &record : contents.records)
        enter(record);
    if (contents.outcome == ListFile::Outcome::Whole)
        m_saved = contents.records;
    const bool mayWrite = contents.outcome != ListFile::Outcome::Unreadable;
    adoptStrayDirectories();
    straightenParents();
    makeRoleGroups();
    if (!mayWrite)
        m_saved = records(); // it was told already; nothing is written over what may be whole
    saveTree();
    m_unclean = noteUncleanEnd();
    Transfer::finishInterrupted(*this);
    updateIndex();
    m_lastIndexSave = clockSeconds();
    return true;
}

bool GroupStore::save(bool force)
{
    bool saved = true;
    for (const auto &group : m_groups)
        saved = group->flush() && saved;
    saved = saveTree() && saved;
    if (force || clockSeconds() - m_lastIndexSave >= kSecondsBetweenIndexSaves) {
        m_lastIndexSave = clockSeconds();
        QHash<int, quint64> generations;
        for (const auto &group : m_groups)
            generations.insert(group->number(), group->generation());
        saved = m_index.save(generations) && saved;
    }
    return saved;
}

bool GroupStore::saveTree()
{
    std::vector<GroupRecord> now = records();
    if (now == m_saved)
        return true;
    if (!m_file.write(m_nextNumber, now))
        return false;
    m_saved = std::move(now);
    return true;
}

std::vector<GroupRecord> GroupStore::records() const
{
    std::vector<GroupRecord> records;
    for (const auto &group : m_groups)
        records.push_back(group->record());
    return records;
}

bool GroupStore::close()
{
    settleTransfer();
    const bool saved = save(true);
    for (const auto &group : m_groups)
        group->close();
    if (saved && storeAccess() == StoreAccess::ReadWrite)
        QFile::remove(configPathOf(kRunningName));
    return saved;
}

quint32 GroupStore::add(Group &group, const Message &message, Marks marks, int account, qint64 arrival)
{
    const quint32 article = addQuietly(group, message, {.account = account, .time = arrival, .marks = marks});
    if (article != 0)
        group.tellOfAdded({article});
    return article;
}

quint32 GroupStore::addQuietly(Group &group, const Message &message, const Arrival &arrival)
{
    const Summary summary = arrivingSummary(message, arrival);
    return entered(group, group.addQuietly(message.text(), summary), summary);
}

PackedMessage GroupStore::pack(const Group &target, const Message &message, const Arrival &arrival) const
{
    PackedMessage packed = {{}, arrivingSummary(message, arrival)};
    Overview &overview = packed.summary.overview;
    packed.data = packText(message.text(), overview, target.compresses());
    overview.setTextCrc(crc32Of(message.text()));
    return packed;
}

quint32 GroupStore::addQuietly(Group &group, const PackedMessage &message)
{
    return entered(group, group.addQuietly(message), message.summary);
}

quint32 GroupStore::entered(const Group &group, quint32 article, const Summary &summary)
{
    if (article != 0)
        m_index.add(summary.overview.idHash(), {group.number(), article});
    return article;
}

bool GroupStore::complete(std::vector<WholeMessage> &messages)
{
    settleTransfer();
    std::map<int, std::vector<Group::Whole>> byGroup;
    for (const WholeMessage &message : messages) {
        Summary summary = summaryOf(message.text, clockSeconds());
        summary.overview.setServerHash(message.serverHash);
        byGroup[message.place.group].push_back({message.place.article, message.text.text(), summary});
    }
    std::set<MessageRef> completed;
    bool good = true;
    for (const auto &[number, wanted] : byGroup) {
        Articles done;
        Group *group = this->group(number);
        good = (!group || group->complete(wanted, done)) && good;
        for (const quint32 article : done)
            completed.insert({number, article});
    }
    std::erase_if(messages, [&](const WholeMessage &message) { return completed.erase(message.place) == 0; });
    return good;
}

Articles GroupStore::copy(Group &source, const Articles &articles, Group &target)
{
    return Transfer(*this, source, articles, target, Transfer::Kind::Copy).run();
}

Articles GroupStore::move(Group &source, const Articles &articles, Group &target)
{
    return Transfer(*this, source, articles, target, Transfer::Kind::Move).run();
}

bool GroupStore::deleteMessages(Group &source, const Articles &articles, bool forGood)
{
    if (!forGood && usesWasteBasket(source)) {
        Group &basket = *group(GroupRole::WasteBasket);
        const Articles arrived = move(source, articles, basket);
        if (boolSetting(Setting::MarkWasteAsRead))
            basket.setMarks(arrived, Mark::Read, {});
        return arrived.size() == articles.size();
    }
    emit messagesDeleting(&source, articles);
    dropFromIndex(source, articles);
    return source.remove(articles) && source.flush();
}

bool GroupStore::usesWasteBasket(const Group &group) const
{
    if (group.role() == GroupRole::WasteBasket || !boolSetting(Setting::UseWasteBasket))
        return false;
    return group.kind() != GroupKind::Newsgroup || boolSetting(Setting::UseWasteBasketForNews);
}

std::vector<MessageIndex::Place> GroupStore::findMessage(const QByteArray &messageId) const
{
    return m_index.find(identifierHash(messageId));
}

bool GroupStore::compactBin(Group &group, int bin)
{
    if (group.rowCount() == 0 && !group.isOpen())
        return false;
    return BinCompactor(group.files(), bin).run() == BinCompactor::Progress::Done;
}

void GroupStore::rebuildIndex()
{
    for (const auto &group : m_groups)
        group->rowCount(); // one that is repaired now enters itself
    m_index.clear();
    for (const auto &group : m_groups)
        indexGroup(*group);
}

/// Counts in settled files can be off after a power cut, so after an unclean end every group counts again.
bool GroupStore::noteUncleanEnd()
{
    if (storeAccess() == StoreAccess::ReadOnly)
        return false;
    const QString path = configPathOf(kRunningName);
    if (!QFile::exists(path)) {
        if (!writeReplacing(path, "running\n"))
            note(u"%1 could not be written"_s.arg(path));
        return false;
    }
    note(u"The last run did not come to its end: every group is looked over"_s);
    for (const auto &group : m_groups)
        group->recount();
    return true;
}

void GroupStore::updateIndex()
{
    m_index.load();
    if (m_unclean)
        return rebuildIndex();
    for (const auto &group : m_groups) {
        const quint64 generation = group->generation();
        if (generation != 0 && m_index.generationOf(group->number()) == generation)
            continue;
        group->rowCount(); // one that is repaired now enters itself
        m_index.removeGroup(group->number());
        indexGroup(*group);
    }
}

void GroupStore::indexGroup(Group &group)
{
    const int rows = group.rowCount();
    for (int row = 0; row < rows; ++row) {
        const Overview &overview = group.row(row);
        if (!overview.isDead())
            m_index.add(overview.idHash(), {group.number(), overview.article()});
    }
}

void GroupStore::settleTransfer()
{
    if (m_transfer)
        m_transfer->settle();
}

void GroupStore::dropFromIndex(Group &group, const Articles &articles)
{
    for (const quint32 article : articles) {
        if (const std::optional<Overview> overview = group.overview(article))
            m_index.remove(overview->idHash(), {group.number(), article});
    }
}
