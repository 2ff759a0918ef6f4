#include "engine/drafts.h"

#include "compose/editing.h"
#include "compose/messagebuilder.h"
#include "config/clock.h"
#include "config/directory.h"
#include "config/files.h"
#include "config/listfile.h"
#include "config/reporter.h"
#include "engine/draft.h"
#include "identity/identitymanager.h"
#include "message/address.h"
#include "store/groupstore.h"

#include <QDir>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int kPause = 2;           ///< milliseconds between two slices: the disk works meanwhile
constexpr int kNumbersAtOnce = 100; ///< given out before the file is written again
constexpr ListFileTexts kTexts = {"Unable to read drafts file", "Unable to write drafts file",
                                  "Unable to backup drafts file"};
const QLatin1String kReserved("reserved ");

ListFile indexFile()
{
    return ListFile(u"Drafts/Index"_s, kTexts);
}

int reservedNumber()
{
    const ListFile::Contents contents = indexFile().read();
    const auto line = std::find_if(contents.lines.begin(), contents.lines.end(),
                                   [](const QString &text) { return text.startsWith(kReserved); });
    return line == contents.lines.end() ? 0 : line->sliced(kReserved.size()).toInt();
}

} // namespace

Drafts::Drafts(GroupStore &store, IdentityManager &identities, QObject *parent)
    : QObject(parent)
    , m_store(store)
    , m_identities(identities)
{
    m_slices.setInterval(kPause);
    connect(&m_slices, &QTimer::timeout, this, &Drafts::keepOn);
}

Drafts::~Drafts() = default;

Draft *Drafts::find(int draft) const
{
    const auto found = m_drafts.find(draft);
    return found == m_drafts.end() ? nullptr : found->second.get();
}

Group &Drafts::group() const
{
    return *m_store.group(GroupRole::Drafts);
}

// --- The start ------------------------------------------------------------------------------------------

void Drafts::load()
{
    m_drafts.clear();
    if (QFile::exists(configPathOf(u"Drafts/Index"_s)))
        m_reserved = reservedNumber();
    m_lastNumber = m_reserved;
    const QDir directory(configPathOf(u"Drafts"_s));
    const QStringList names = directory.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &name : names) {
        bool isNumber = false;
        const int number = name.toInt(&isNumber);
        if (!isNumber || number <= 0)
            continue;
        m_lastNumber = qMax(m_lastNumber, number);
        auto draft = std::make_unique<Draft>(number);
        draft->read();
        settle(std::move(draft));
    }
}

/// Completes what a crash left half done, where this run may write, and drops what is over.
void Drafts::settle(std::unique_ptr<Draft> draft)
{
    if (storeAccess() == StoreAccess::ReadWrite) {
        settleStoring(*draft);
        if (draft->state().phase == DraftPhase::Open && draft->isLost())
            return setAside(*draft);
        if (isOver(*draft)) {
            const bool isDone = draft->state().phase == DraftPhase::Gone || wasSent(*draft);
            removeMessage(isDone ? draft->state().context.stored : MessageRef());
            draft->remove();
            return;
        }
    }
    draft->rest();
    const int number = draft->number();
    m_drafts.emplace(number, std::move(draft));
}

/// Nothing of it is read, and nothing is destroyed.
void Drafts::setAside(Draft &draft)
{
    const QString place = draft.setAside();
    if (place.isEmpty())
        report(ReportLevel::Warning, "Draft %d cannot be read", draft.number());
    else
        report(ReportLevel::Warning, "Draft %d cannot be read; what is left of it is kept in '%s'",
               draft.number(), qUtf8Printable(place));
}

/// A message that came into Drafts just before the end, and the one whose place it takes.
void Drafts::settleStoring(Draft &draft)
{
    DraftState state = draft.state();
    if (state.storing != 0) {
        const MessageRef added = placeInDrafts(state.messageId, state.storing);
        if (!added.isNull()) {
            state.replaced = state.context.stored;
            state.context.stored = added;
            state.storedVersion = draft.newestSerial();
        }
        state.storing = 0;
    }
    if (!state.replaced.isNull()) {
        removeMessage(state.replaced);
        state.replaced = {};
    }
    // It may have been deleted and brought back, which gave it another number.
    if (!isAlive(state.context.stored) && !state.messageId.isEmpty())
        state.context.stored = placeInDrafts(state.messageId, 1);
    draft.setState(state);
}

/// Whether nothing is left to be kept; what a crash left between two phases is put into one.
bool Drafts::isOver(Draft &draft)
{
    if (!groupsAreReadable())
        return false; // what seems to be gone may come back with the repair
    DraftState state = draft.state();
    const bool isStored = isAlive(state.context.stored);
    switch (state.phase) {
    case DraftPhase::Gone: return true;
    case DraftPhase::Open:
        if (draft.newestSerial() == 0)
            return true;
        if (isStored && draft.newestSerial() == state.storedVersion)
            state.phase = DraftPhase::Closed; // nothing was written since
        break;
    case DraftPhase::Closed:
        // In another group it may still be on its way back.
        return wasSent(draft) ||
               (!isStored && placesOf(state.messageId).empty() && placesOf(state.sentId).empty());
    case DraftPhase::HandingOver:
    case DraftPhase::HandedOver:
    case DraftPhase::TakingBack: return false; // settleWithOutbox()
    }
    draft.setState(state);
    return false;
}

/// False while one of the groups that tell what became of a draft waits for its repair.
bool Drafts::groupsAreReadable() const
{
    for (const GroupRole role : {GroupRole::Drafts, GroupRole::Outbox}) {
        Group *group = m_store.group(role);
        group->rowCount();
        if (!group->isOpen())
            return false;
    }
    return true;
}

std::vector<int> Drafts::recovered() const
{
    std::vector<int> numbers;
    for (const auto &[number, draft] : m_drafts) {
        if (draft->state().phase == DraftPhase::Open)
            numbers.push_back(number);
    }
    return numbers;
}

// --- Writing --------------------------------------------------------------------------------------------

int Drafts::nextNumber()
{
    if (++m_lastNumber > m_reserved) {
        m_reserved = m_lastNumber + kNumbersAtOnce - 1;
        if (!indexFile().write({kReserved + QString::number(m_reserved)}))
            m_reserved = m_lastNumber - 1; // it is tried again with the next one
    }
    return m_lastNumber;
}

int Drafts::begin(const DraftContext &context)
{
    auto draft = std::make_unique<Draft>(nextNumber());
    DraftState state;
    state.context = context;
    draft->setState(state);
    const int number = draft->number();
    m_drafts.emplace(number, std::move(draft));
    return number;
}

DraftContext Drafts::context(int number) const
{
    const Draft *draft = find(number);
    return draft ? draft->state().context : DraftContext();
}

bool Drafts::keep(int number, const Composition &composition)
{
    m_soon.erase(number);
    Draft *draft = find(number);
    return draft && draft->keep(composition);
}

void Drafts::keepSoon(int number, const Composition &composition)
{
    m_soon.insert_or_assign(number, composition);
    keepOn();
    if (!m_soon.empty())
        m_slices.start();
}

/// One slice.
void Drafts::keepOn()
{
    if (m_soon.empty())
        return m_slices.stop();
    const auto [number, composition] = *m_soon.begin();
    Draft *draft = find(number);
    const std::optional<Draft::Storing> storing =
        draft ? draft->keepAttachmentsOn(composition) : std::nullopt;
    if (storing)
        return emit keeping(number, storing->done, storing->total);
    const ReportSink before = setReportSink([](const Report &) {});
    const bool good = keep(number, composition);
    setReportSink(before);
    emit kept(number, good);
}

std::vector<DraftVersion> Drafts::versions(int number) const
{
    std::vector<DraftVersion> versions;
    if (Draft *draft = find(number)) {
        const auto &entries = draft->versions();
        std::transform(entries.rbegin(), entries.rend(), std::back_inserter(versions),
                       [](const DraftJournal::Entry &entry) {
                           DraftVersion version = entry.version;
                           version.serial = entry.serial;
                           return version;
                       });
    }
    return versions;
}

Composition Drafts::version(int number, int index) const
{
    Draft *draft = find(number);
    if (!draft || index < 0 || std::size_t(index) >= draft->versions().size())
        return {};
    const auto &entries = draft->versions();
    const Reading wanted = reading(number, entries[entries.size() - 1 - std::size_t(index)].serial);
    for (const QString &name : wanted.lost)
        report(ReportLevel::Warning, "Unable to attach file '%s'", qUtf8Printable(name));
    return wanted.composition;
}

Drafts::Reading Drafts::reading(int number, int serial) const
{
    Draft *draft = find(number);
    const DraftJournal::Entry *entry = draft ? draft->entry(serial) : nullptr;
    Reading reading;
    if (entry) {
        reading.isThere = true;
        reading.composition = draft->version(*entry, &reading.lost);
        reading.formerWriter = resolve(reading.composition);
    }
    return reading;
}

Composition Drafts::text(int number, int serial) const
{
    Draft *draft = find(number);
    const DraftJournal::Entry *entry = draft ? draft->entry(serial) : nullptr;
    return entry ? draft->textOf(*entry) : Composition();
}

/// The identity as it is now. Where it has another address, or is gone, nobody has agreed to write as that
/// one: the address as it was.
QString Drafts::resolve(Composition &composition) const
{
    const QString former = composition.identity.address;
    const Identity *own = m_identities.identity(composition.identity.number);
    const Identity *identity = own;
    if (!identity || identity->address != former)
        identity = m_identities.find(former);
    const bool isFormer = !identity;
    if (isFormer)
        identity = own ? own : m_identities.defaultIdentity();
    if (identity)
        composition.identity = *identity;
    return isFormer ? former : QString();
}

// --- The group Drafts -----------------------------------------------------------------------------------

bool Drafts::isAlive(MessageRef place) const
{
    return place.group == group().number() && group().overview(place.article).has_value();
}

/// Where a message with that identifier is, alive.
MessageRefs Drafts::placesOf(const QByteArray &messageId) const
{
    MessageRefs places;
    if (messageId.isEmpty())
        return places;
    for (const MessageIndex::Place &place : m_store.findMessage(messageId)) {
        Group *group = m_store.group(place.group);
        if (group && group->overview(place.article))
            places.push_back({place.group, place.article});
    }
    return places;
}

MessageRef Drafts::placeInDrafts(const QByteArray &messageId, quint32 fromArticle) const
{
    MessageRef latest;
    for (const MessageRef place : placesOf(messageId)) {
        if (place.group == group().number() && place.article >= qMax(fromArticle, latest.article))
            latest = place;
    }
    return latest;
}

bool Drafts::removeMessage(MessageRef place)
{
    return !isAlive(place) || (m_store.deleteMessages(group(), {place.article}, true) && group().flush());
}

bool Drafts::store(int number)
{
    Draft *draft = find(number);
    if (!draft || draft->newestSerial() == 0)
        return false;
    DraftState state = draft->state();
    const bool isStored = isAlive(state.context.stored);
    if (isStored && state.storedVersion == draft->newestSerial())
        return true;
    const Reading newest = reading(number, draft->newestSerial());
    if (!newest.lost.isEmpty()) { // the message that is there may have them
        report(ReportLevel::Warning, "Unable to attach file '%s'", qUtf8Printable(newest.lost.first()));
        return false;
    }
    const Composition &composition = newest.composition;
    if (state.messageId.isEmpty())
        state.messageId = newIdentifier(composition.identity);
    const QByteArray text = buildMessage(composition, {BuildFor::Draft, state.messageId, clockNow()});
    if (text.isEmpty())
        return false;
    group().rowCount(); // opens it
    state.storing = group().files().overviews().nextArticle();
    if (!draft->setState(state))
        return false;
    Marks marks = Mark::Read;
    quint32 tags = 0;
    if (const auto earlier = group().overview(isStored ? state.context.stored.article : 0)) {
        marks |= earlier->marks() & kMarksOfUse;
        tags = earlier->tags();
    }
    const quint32 article = m_store.add(group(), Message(text), marks, 0, clockSeconds());
    if (article != 0 && tags != 0)
        group().setTags({article}, tags, 0);
    state.storing = 0;
    if (article == 0 || !group().flush()) {
        removeMessage({group().number(), article});
        draft->setState(state);
        return false;
    }
    state.replaced = isStored ? state.context.stored : MessageRef();
    state.context.stored = {group().number(), article};
    state.storedVersion = draft->newestSerial();
    state.isForeign = false;
    draft->setState(state); // where this fails, the next start finds the message by the article it had
    removeMessage(state.replaced);
    return true;
}

/// The one that was stored there; or whose message was deleted and brought back, as another article.
Draft *Drafts::at(MessageRef place) const
{
    if (!isAlive(place))
        return nullptr;
    const QByteArray messageId = group().texts(*group().overview(place.article)).messageId.toLatin1();
    for (const auto &[number, draft] : m_drafts) {
        if (belongsTo(draft->state(), place, messageId) && draft->newestSerial() != 0)
            return draft.get();
    }
    return nullptr;
}

bool Drafts::belongsTo(const DraftState &state, MessageRef place, const QByteArray &messageId) const
{
    const bool isIt = state.context.stored == place ||
                      (!messageId.isEmpty() && (state.messageId == messageId || state.sentId == messageId) &&
                       !isAlive(state.context.stored));
    return isIt && state.phase != DraftPhase::Gone;
}

bool Drafts::knows(MessageRef place) const
{
    const Draft *draft = at(place);
    return draft && !draft->state().isForeign;
}

bool Drafts::waitsInOutbox(MessageRef place) const
{
    const Draft *draft = at(place);
    return draft && isOnItsWay(draft->state().phase);
}

int Drafts::open(MessageRef place)
{
    if (!isAlive(place))
        return 0;
    Draft *draft = at(place);
    if (!draft) {
        setLostAside(place);
        return openNew(place);
    }
    DraftState state = draft->state();
    if (isOnItsWay(state.phase))
        return 0;
    state.context.stored = place;
    state.phase = DraftPhase::Open;
    state.sentId.clear();
    draft->setState(state);
    return draft->number();
}

/// The versions of the message there, of which none can be read.
void Drafts::setLostAside(MessageRef place)
{
    const QByteArray messageId = group().texts(*group().overview(place.article)).messageId.toLatin1();
    const auto lost = std::find_if(m_drafts.begin(), m_drafts.end(), [&](const auto &each) {
        const DraftState &state = each.second->state();
        return !isOnItsWay(state.phase) && belongsTo(state, place, messageId) && each.second->isLost();
    });
    if (lost == m_drafts.end() || storeAccess() != StoreAccess::ReadWrite)
        return;
    setAside(*lost->second);
    m_drafts.erase(lost);
}

/// A draft of another program, of another machine, or of a time that is forgotten; or just a message that
/// somebody put there, whose sender may have written anything into it. Its hidden copies are kept, because
/// whoever wrote it meant them, and they are seen in the window.
int Drafts::openNew(MessageRef place)
{
    const QByteArray text = group().readMessage(*group().overview(place.article));
    if (text.isNull())
        return 0;
    const Message message(text);
    Composition composition = readComposition(message, false, [this](const QString &address) {
        const Identity *identity = m_identities.find(address);
        if (!identity)
            identity = m_identities.defaultIdentity();
        return identity ? *identity : Identity();
    });
    for (const Address &address : message.addresses("Bcc"))
        composition.bcc += (composition.bcc.isEmpty() ? ""_L1 : ", "_L1) + formatAddress(address);
    const int number = begin({});
    Draft &draft = *find(number);
    if (!draft.keep(composition)) {
        remove(number);
        return 0;
    }
    DraftState state = draft.state();
    state.context.stored = place;
    state.storedVersion = draft.newestSerial();
    state.messageId = message.messageId();
    state.isForeign = true;
    draft.setState(state);
    return number;
}

// --- The end --------------------------------------------------------------------------------------------

void Drafts::remove(int number)
{
    if (Draft *draft = find(number))
        draft->remove();
    m_drafts.erase(number);
    m_soon.erase(number);
}

void Drafts::discard(int number)
{
    Draft *draft = find(number);
    if (!draft)
        return;
    DraftState state = draft->state();
    state.phase = DraftPhase::Gone;
    draft->setState(state); // from here on the next start completes it
    removeMessage(state.context.stored);
    remove(number);
}

void Drafts::close(int number)
{
    m_soon.erase(number);
    Draft *draft = find(number);
    if (!draft || draft->state().phase != DraftPhase::Open)
        return;
    if (!groupsAreReadable())
        return; // it is found open at the next start
    DraftState state = draft->state();
    if (!isAlive(state.context.stored))
        return discard(number);
    if (draft->newestSerial() != state.storedVersion && draft->keepAgain(state.storedVersion))
        state.storedVersion = draft->newestSerial();
    state.phase = DraftPhase::Closed;
    draft->setState(state);
    draft->rest();
}
