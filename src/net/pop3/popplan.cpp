#include "net/pop3/popplan.h"

#include "config/clock.h"
#include "config/settings.h"
#include "net/accountdata.h"
#include "net/pop3/dottext.h"

namespace {

qint64 kilobytes(int number)
{
    return qint64(std::max(number, 0)) * 1024;
}

} // namespace

PopRules PopRules::of(const AccountData &account)
{
    PopRules rules;
    rules.leavesOnServer = account.has(AccountLeaveOnServer);
    rules.daysOnServer = account.daysOnServer;
    rules.sizeLimit = kilobytes(account.sizeLimit);
    rules.previewMailbox = kilobytes(intSetting(Setting::PreviewMailboxSize));
    rules.previewMessage = kilobytes(intSetting(Setting::PreviewMessageSize));
    rules.proposeDeletion = kilobytes(intSetting(Setting::PreviewDeleteSize));
    return rules;
}

PopPlan::PopPlan(const PopListing &listing, PopMemory &memory, const IdentifierList &toFetch,
                 const IdentifierList &toDelete, const PopRules &rules)
    : m_memory(memory)
    , m_toFetch(toFetch)
    , m_toDelete(toDelete)
    , m_rules(rules)
{
    QSet<QByteArray> listed;
    for (const PopMessage &message : listing.messages())
        listed.insert(message.identifier);
    m_memory.setListed(listed);
    m_items.reserve(listing.messages().size());
    for (const PopMessage &message : listing.messages()) {
        m_items.emplace_back().message = message;
        const PopRecord *record = m_memory.find(message.identifier);
        if (!record || !record->isFetched)
            m_newBytes += std::max<qint64>(message.size, 0);
    }
    for (PopItem &item : m_items)
        decide(item, {});
}

void PopPlan::decide(PopItem &item, const QByteArray &header)
{
    item.deletesAfter = false;
    item.isTooLarge = false;
    item.place.reset();
    item.action = actionFor(item, header);
}

void PopPlan::setCannotLook()
{
    m_rules.canLook = false;
    for (PopItem &item : m_items) {
        if (item.action == PopAction::Look || item.action == PopAction::Header)
            decide(item, {});
    }
}

PopAction PopPlan::actionFor(PopItem &item, const QByteArray &header)
{
    if (!settleName(item, header))
        return look(item);
    const PopRecord *record = known(item, header);
    if (!record && header.isEmpty() && m_memory.hasGone(item.message.size))
        return look(item);
    if (record && record->isFetched)
        return actionForKnown(item, *record, header);
    return m_toFetch.contains(item.name) ? whole(item) : fresh(item);
}

PopAction PopPlan::actionForKnown(PopItem &item, const PopRecord &record, const QByteArray &header)
{
    const bool toFetch = isRestWanted(record);
    if (!record.isKnownInDetail())
        return toFetch ? rest(item, record) : PopAction::Leave;
    const bool sizeAgrees = record.size == item.message.size;
    const bool toDelete = isDue(record) || m_toDelete.contains(record.storeName());
    // what was gone may be another one: there are servers that give a name twice
    const bool isBack = record.isDeleted || (record.absentSince != 0 && m_rules.canLook);
    if (sizeAgrees && !toFetch && !toDelete && !isBack)
        return PopAction::Leave;
    if (header.isEmpty() && !toFetch)
        return look(item);
    if (!header.isEmpty() && header != record.header)
        return fresh(item);
    if (toFetch)
        return rest(item, record);
    return sizeAgrees && toDelete ? PopAction::Delete : PopAction::Leave;
}

/// What is remembered of the item; with its header also what has been given a new name, or what was taken
/// while it had none of its own.
const PopRecord *PopPlan::known(PopItem &item, const QByteArray &header)
{
    const qint64 size = item.message.size;
    const PopRecord *record = m_memory.find(item.name);
    if (record)
        m_memory.claim(*record);
    if (record || header.isEmpty())
        return record;
    if (m_memory.exchange(size, header, item.name))
        return m_memory.find(item.name);
    if (item.name != item.message.identifier)
        return nullptr;
    const QByteArray made = madeIdentifier(size, header, 1);
    record = m_memory.find(made);
    if (record)
        item.name = made;
    return record;
}

PopAction PopPlan::fresh(PopItem &item)
{
    const PopRecord *refused = m_memory.find(nameForRefusals(item));
    if (refused && refused->isSetAside())
        return PopAction::Leave;
    if (isPreviewed(item) && m_rules.canLook)
        return PopAction::Header;
    return whole(item);
}

PopAction PopPlan::whole(PopItem &item)
{
    item.isTooLarge = item.message.size > DotText::kMostBytes;
    return item.isTooLarge ? PopAction::Leave : PopAction::Whole;
}

/// A damaged line of the list may have lost its place, and names a message that is here whole: it means
/// nothing then. What the server refuses again and again is not wanted any more.
bool PopPlan::isRestWanted(const PopRecord &record) const
{
    if (record.isSetAside() || !m_toFetch.contains(record.storeName()))
        return false;
    return record.isHeaderOnly || m_toFetch.find(record.storeName()).place.group != 0;
}

/// A message that the user asked for goes to the place that waits for it; without one the store looks for its
/// header.
PopAction PopPlan::rest(PopItem &item, const PopRecord &record)
{
    item.place = m_toFetch.find(record.storeName()).place;
    return whole(item);
}

QByteArray PopPlan::storeName(const PopItem &item) const
{
    const PopRecord *record = m_memory.find(item.name);
    return record ? record->storeName() : item.name;
}

bool PopPlan::deletesWhole(const PopItem &item, const QByteArray &header) const
{
    if (!m_rules.leavesOnServer)
        return true;
    const PopRecord *record = m_memory.find(item.name);
    return record && record->header == header && m_toDelete.contains(record->storeName());
}

PopAction PopPlan::look(PopItem &item)
{
    const bool knowsNoName = item.name.isEmpty() && !m_rules.leavesOnServer && !isPreviewed(item);
    if (m_rules.canLook && !knowsNoName)
        return PopAction::Look;
    return item.message.size > DotText::kMostBytes ? PopAction::Leave : PopAction::Whole;
}

/// False: the server has no name for it, and its header is not known yet.
bool PopPlan::settleName(PopItem &item, const QByteArray &header)
{
    const PopMessage &message = item.message;
    if (!item.name.isEmpty())
        return true;
    if (!message.isDoubled && !message.identifier.isEmpty()) {
        item.name = message.identifier;
        return true;
    }
    if (header.isEmpty())
        return false;
    const PopRecord *record = m_memory.find(message.identifier);
    if (record && record->size == message.size && record->header == header &&
        !m_claimed.contains(message.identifier)) {
        m_claimed.insert(message.identifier);
        item.name = message.identifier;
        return true;
    }
    const int ordinal = ++m_alike[madeIdentifier(message.size, header, 0)];
    item.name = madeIdentifier(message.size, header, ordinal);
    return true;
}

bool PopPlan::isPreviewed(const PopItem &item) const
{
    const qint64 size = item.message.size;
    if (size > DotText::kMostBytes || (m_rules.sizeLimit > 0 && size > m_rules.sizeLimit))
        return true;
    if (m_newBytes <= m_rules.previewMailbox)
        return false;
    return m_rules.previewMessage > 0 ? size > m_rules.previewMessage : m_rules.previewMailbox > 0;
}

/// Whether what is here may go from the server.
bool PopPlan::isDue(const PopRecord &record) const
{
    if (record.isHeaderOnly)
        return false;
    if (!m_rules.leavesOnServer)
        return true;
    const qint64 age = clockSeconds() - record.taken;
    return m_rules.daysOnServer > 0 && age >= qint64(m_rules.daysOnServer) * 24 * 3600;
}

PopRecord PopPlan::recordOf(const PopItem &item, const QByteArray &header) const
{
    const PopRecord *before = m_memory.find(item.name);
    PopRecord record;
    record.identifier = item.name;
    record.size = item.message.size;
    record.header = header;
    record.isFetched = true;
    record.isHeaderOnly = item.action == PopAction::Header;
    const bool isHere = before && before->isFetched;
    const bool isSame = isHere && (before->header == header || !before->isKnownInDetail());
    record.taken = isSame ? before->taken : clockSeconds();
    const PopRecord *namesake = m_memory.findStored(item.name);
    if (isSame)
        record.storedAs = before->storedAs;
    else if (isHere || (namesake && namesake->isFetched)) // wishes must not mean two messages
        record.storedAs = laterIdentifier(item.name, record.taken);
    return record;
}

/// Without a name of its own it is remembered by its place.
QByteArray PopPlan::nameForRefusals(const PopItem &item) const
{
    return item.name.isEmpty() ? madeIdentifier(item.message.size, {}, item.message.number) : item.name;
}

bool PopPlan::noteRefusal(PopItem &item)
{
    const PopRecord *before = m_memory.find(nameForRefusals(item));
    noteRefusals(item, (before ? before->refusals : 0) + 1);
    return item.action == PopAction::Leave;
}

void PopPlan::setAside(PopItem &item)
{
    noteRefusals(item, PopRecord::kMostRefusals);
}

void PopPlan::noteRefusals(PopItem &item, int refusals)
{
    const QByteArray name = nameForRefusals(item);
    const PopRecord *before = m_memory.find(name);
    PopRecord record = before ? *before : PopRecord();
    record.identifier = name;
    record.refusals = refusals;
    m_memory.remember(record);
    if (record.isSetAside())
        item.action = PopAction::Leave;
}

std::optional<QSet<QByteArray>> PopPlan::names() const
{
    QSet<QByteArray> names;
    for (const PopItem &item : m_items) {
        if (item.name.isEmpty())
            return {};
        names.insert(item.name);
    }
    return names;
}
