#include "engine/outboxrecord.h"

#include <QSet>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

using Fate = OutboxRecipient::Fate;

constexpr qsizetype kMostReasons = 50; ///< lines that people are shown

constexpr std::array kTransports = {"mail", "news"};
static_assert(kTransports.size() == std::size_t(OutboxTransport::News) + 1);

/// Bits of the field of flags in Add.
enum AddFlag : quint32 {
    AddReply = 1u << 0,
    AddForward = 1u << 1,
    AddBounce = 1u << 2,
    AddNoCopy = 1u << 3,
    AddAdopted = 1u << 4,
};

QByteArray decoded(const QByteArray &field)
{
    return QByteArray::fromPercentEncoding(field);
}

QString textOf(const QByteArray &field)
{
    return QString::fromUtf8(decoded(field));
}

QByteArray bytesField(const QByteArray &bytes)
{
    return bytes.toPercentEncoding("@!#$&'*+/=?^_`{|}:;()[]\"\\");
}

std::vector<int> indicesOf(const QByteArray &field)
{
    std::vector<int> indices;
    if (field.isEmpty())
        return indices;
    for (const QByteArray &one : field.split(','))
        indices.push_back(one.toInt());
    return indices;
}

/// Changes the recipients that a field names; those that are served stay so.
template <typename Change>
bool forRecipients(OutboxRecord &record, const QByteArray &field, Change change)
{
    bool known = true;
    for (const int index : indicesOf(field)) {
        known = known && index >= 0 && std::size_t(index) < record.recipients.size();
        if (known && record.recipients[std::size_t(index)].fate != Fate::Served)
            change(record.recipients[std::size_t(index)]);
    }
    return known;
}

bool wait(OutboxRecord &record, const OutboxFields &)
{
    record.hold = OutboxRecord::Hold::None;
    record.due = 0;
    record.attempts = 0;
    record.firstRefusal = 0;
    record.returns = 0;
    record.isGivenUp = false;
    record.isAsked = true;
    record.isTaken = record.isLetGo = false;
    record.restsUntil = 0;
    record.reason.clear();
    for (OutboxRecipient &recipient : record.recipients) {
        if (recipient.fate != Fate::Served)
            recipient = {recipient.address, Fate::Open, {}};
    }
    return true;
}

bool hold(OutboxRecord &record, const OutboxFields &fields)
{
    wait(record, {});
    record.isAsked = false;
    record.due = fields[0].toLongLong();
    record.hold = record.due == 0 ? OutboxRecord::Hold::Countdown : OutboxRecord::Hold::Date;
    return true;
}

bool account(OutboxRecord &record, const OutboxFields &fields)
{
    record.account = fields[0].toInt();
    return true;
}

bool sending(OutboxRecord &record, const OutboxFields &fields)
{
    record.date = fields[0].toLongLong();
    record.zone = fields[1].toInt();
    return forRecipients(record, fields[2], [](OutboxRecipient &one) { one.fate = Fate::Doubtful; });
}

bool accepted(OutboxRecord &record, const OutboxFields &fields)
{
    return forRecipients(record, fields[0], [](OutboxRecipient &one) {
        one.fate = Fate::Served;
        one.reason.clear();
    });
}

bool refused(OutboxRecord &record, const OutboxFields &fields)
{
    const int code = fields[0].toInt();
    const Fate fate = code >= 400 && code < 500 ? Fate::Open : Fate::Failed;
    return forRecipients(record, fields[1], [&](OutboxRecipient &one) {
        one.fate = fate;
        one.reason = textOf(fields[2]);
    });
}

bool retry(OutboxRecord &record, const OutboxFields &fields)
{
    record.hold = OutboxRecord::Hold::None;
    record.attempts = fields[0].toInt();
    record.due = fields[1].toLongLong();
    record.firstRefusal = fields[2].toLongLong();
    record.returns = 0;
    record.isGivenUp = record.due < 0;
    return true;
}

bool returned(OutboxRecord &record, const OutboxFields &fields)
{
    record.returns = fields[0].toInt();
    return true;
}

bool told(OutboxRecord &record, const OutboxFields &fields)
{
    record.reason = textOf(fields[0]);
    return true;
}

/// The user knows it.
bool settled(OutboxRecord &record, const OutboxFields &)
{
    for (OutboxRecipient &recipient : record.recipients) {
        if (recipient.fate == Fate::Doubtful)
            recipient.fate = Fate::Served;
    }
    record.reason.clear();
    return true;
}

bool copy(OutboxRecord &record, const OutboxFields &fields)
{
    record.copy = SentCopy{{fields[0].toInt(), fields[1].toUInt()}, fields[2].toUInt(), fields[3].toUInt()};
    return true;
}

/// Its copy is safe, but it may still go to others.
bool filed(OutboxRecord &record, const OutboxFields &)
{
    record.copy.reset();
    record.wish.keepsCopy = false;
    return true;
}

bool original(OutboxRecord &record, const OutboxFields &fields)
{
    record.originals.push_back({{fields[0].toInt(), fields[1].toUInt()}, decoded(fields[2])});
    return true;
}

bool taken(OutboxRecord &record, const OutboxFields &fields)
{
    record.isTaken = fields[0] != kNotTaken;
    record.isLetGo = fields[0] == kLetGo;
    return true;
}

bool away(OutboxRecord &record, const OutboxFields &fields)
{
    record.away = decoded(fields[0]);
    return true;
}

bool back(OutboxRecord &record, const OutboxFields &fields)
{
    record.place = {fields[0].toInt(), fields[1].toUInt()};
    record.away.reset();
    return true;
}

struct MarkRow
{
    OutboxVerb verb;
    qsizetype fields;
    bool (*apply)(OutboxRecord &record, const OutboxFields &fields);
};
constexpr std::array kMarks = {
    MarkRow{OutboxVerb::Add, 0, nullptr},       MarkRow{OutboxVerb::Hold, 1, hold},
    MarkRow{OutboxVerb::Wait, 0, wait},         MarkRow{OutboxVerb::Account, 1, account},
    MarkRow{OutboxVerb::Sending, 3, sending},   MarkRow{OutboxVerb::Accepted, 1, accepted},
    MarkRow{OutboxVerb::Refused, 3, refused},   MarkRow{OutboxVerb::Retry, 3, retry},
    MarkRow{OutboxVerb::Told, 1, told},         MarkRow{OutboxVerb::Settled, 0, settled},
    MarkRow{OutboxVerb::Copy, 4, copy},         MarkRow{OutboxVerb::Filed, 0, filed},
    MarkRow{OutboxVerb::Original, 3, original}, MarkRow{OutboxVerb::Taken, 1, taken},
    MarkRow{OutboxVerb::Away, 1, away},         MarkRow{OutboxVerb::Back, 2, back},
    MarkRow{OutboxVerb::Returned, 1, returned}, MarkRow{OutboxVerb::Gone, 0, nullptr},
};
static_assert(kMarks.size() == kOutboxVerbs.size());
static_assert([] {
    for (std::size_t i = 0; i < kMarks.size(); ++i) {
        if (std::size_t(kMarks[i].verb) != i)
            return false;
    }
    return true;
}());

QByteArray number(qint64 value)
{
    return QByteArray::number(value);
}

/// -1: it is not held; 0: it counts down, from its beginning after every start.
qint64 heldUntil(const OutboxRecord &record)
{
    switch (record.hold) {
    case OutboxRecord::Hold::None: break;
    case OutboxRecord::Hold::Countdown: return 0;
    case OutboxRecord::Hold::Date: return record.due;
    }
    return -1;
}

quint32 flagsOf(const OutboxRecord &record)
{
    return (record.wish.isReply ? AddReply : 0u) | (record.wish.isForward ? AddForward : 0u) |
           (record.wish.isBounce ? AddBounce : 0u) | (record.wish.keepsCopy ? 0u : AddNoCopy) |
           (record.isAdopted ? AddAdopted : 0u);
}

} // namespace

bool OutboxRecord::has(Fate fate) const
{
    return std::any_of(recipients.begin(), recipients.end(),
                       [fate](const OutboxRecipient &one) { return one.fate == fate; });
}

bool OutboxRecord::isServed() const
{
    return !recipients.empty() && !has(Fate::Open) && !has(Fate::Doubtful) && !has(Fate::Failed);
}

bool OutboxRecord::mayGo(qint64 now) const
{
    return !isLeased && !isTaken && !away && !isGivenUp && !copy && due <= now && restsUntil <= now &&
           !has(Fate::Doubtful) && has(Fate::Open);
}

OutboxState OutboxRecord::state(qint64 now) const
{
    if (isLeased || isServed())
        return OutboxState::Sending;
    if (has(Fate::Doubtful))
        return OutboxState::PerhapsSent;
    if (isGivenUp || isTaken || !has(Fate::Open))
        return OutboxState::Refused;
    if (due > now)
        return hold == Hold::None ? OutboxState::Retrying : OutboxState::Held;
    return OutboxState::Waiting;
}

OutboxEntry OutboxRecord::entry(qint64 now) const
{
    OutboxEntry entry;
    entry.ticket = ticket;
    entry.transport = transport;
    entry.place = place;
    entry.account = account;
    entry.identity = identity;
    entry.state = state(now);
    entry.due = due > now ? due : 0;
    entry.countsDown = entry.state == OutboxState::Held && hold == Hold::Countdown;
    entry.attempts = attempts;
    entry.draft = wish.draft;
    entry.isOwn = !isAdopted && !wish.isBounce;
    QStringList reasons;
    if (!reason.isEmpty())
        reasons += reason;
    const bool isServedInPart = has(Fate::Served);
    for (const OutboxRecipient &one : recipients) {
        if (one.fate != Fate::Served && isServedInPart)
            entry.remaining += one.address;
        if (one.reason.isEmpty() || reasons.size() > kMostReasons)
            continue;
        const QString line =
            one.address.isEmpty() ? one.reason : QString::fromUtf8(one.address) + u": "_s + one.reason;
        if (!reasons.contains(line))
            reasons += reasons.size() < kMostReasons ? line : u"..."_s;
    }
    entry.reason = reasons.join(u'\n');
    return entry;
}

std::vector<int> OutboxRecord::indices(const QList<QByteArray> &addresses) const
{
    const QSet<QByteArray> wanted(addresses.begin(), addresses.end());
    std::vector<int> indices;
    for (std::size_t i = 0; i < recipients.size(); ++i) {
        const OutboxRecipient &one = recipients[i];
        const bool isOpen = one.fate == Fate::Open || one.fate == Fate::Doubtful;
        if (wanted.isEmpty() ? isOpen : wanted.contains(one.address))
            indices.push_back(int(i));
    }
    return indices;
}

bool applyMark(OutboxRecord &record, OutboxVerb verb, const OutboxFields &fields)
{
    const MarkRow &row = kMarks[std::size_t(verb)];
    return row.apply && fields.size() == row.fields && row.apply(record, fields);
}

QByteArray indicesField(const std::vector<int> &indices)
{
    QByteArrayList list;
    for (const int index : indices)
        list += number(index);
    return list.join(',');
}

QByteArray textField(const QString &text)
{
    return bytesField(text.toUtf8());
}

OutboxFields originalFields(const OutboxOriginal &original)
{
    return {number(original.place.group), number(original.place.article), bytesField(original.messageId)};
}

OutboxFields awayFields(const QByteArray &messageId)
{
    return {bytesField(messageId)};
}

OutboxFields addFields(const OutboxRecord &record)
{
    OutboxFields fields = {kTransports[std::size_t(record.transport)],
                           number(record.place.group),
                           number(record.place.article),
                           number(record.length),
                           number(record.crc),
                           number(record.account),
                           number(record.identity),
                           number(flagsOf(record)),
                           number(record.wish.draft),
                           number(record.wish.original.group),
                           number(record.wish.original.article),
                           number(record.wish.sentGroup),
                           number(heldUntil(record))};
    QByteArrayList addresses;
    for (const OutboxRecipient &one : record.recipients)
        addresses += bytesField(one.address);
    return fields << addresses.join(',');
}

std::optional<OutboxRecord> recordOf(quint64 ticket, const OutboxFields &fields)
{
    if (fields.size() != 14)
        return {};
    OutboxRecord record;
    record.ticket = ticket;
    record.transport = fields[0] == kTransports[1] ? OutboxTransport::News : OutboxTransport::Mail;
    record.place = {fields[1].toInt(), fields[2].toUInt()};
    record.length = fields[3].toUInt();
    record.crc = fields[4].toUInt();
    record.account = fields[5].toInt();
    record.identity = fields[6].toInt();
    const quint32 flags = fields[7].toUInt();
    record.wish.isReply = (flags & AddReply) != 0;
    record.wish.isForward = (flags & AddForward) != 0;
    record.wish.isBounce = (flags & AddBounce) != 0;
    record.wish.keepsCopy = (flags & AddNoCopy) == 0;
    record.isAdopted = (flags & AddAdopted) != 0;
    record.wish.draft = fields[8].toInt();
    record.wish.original = {fields[9].toInt(), fields[10].toUInt()};
    record.wish.sentGroup = fields[11].toInt();
    if (const qint64 until = fields[12].toLongLong(); until >= 0)
        hold(record, {fields[12]});
    for (const QByteArray &address : fields[13].split(','))
        record.recipients.push_back({QByteArray::fromPercentEncoding(address), Fate::Open, {}});
    return record;
}

std::vector<std::pair<OutboxVerb, OutboxFields>> marksOf(const OutboxRecord &record)
{
    std::vector<std::pair<OutboxVerb, OutboxFields>> marks;
    const auto addressed = [&record](Fate fate) {
        std::vector<int> indices;
        for (std::size_t i = 0; i < record.recipients.size(); ++i) {
            if (record.recipients[i].fate == fate)
                indices.push_back(int(i));
        }
        return indicesField(indices);
    };
    if (record.isAsked)
        marks.push_back({OutboxVerb::Wait, {}});
    for (const OutboxOriginal &original : record.originals)
        marks.push_back({OutboxVerb::Original, originalFields(original)});
    for (std::size_t i = 0; i < record.recipients.size(); ++i) {
        const OutboxRecipient &one = record.recipients[i];
        if (!one.reason.isEmpty() || one.fate == Fate::Failed)
            marks.push_back(
                {OutboxVerb::Refused,
                 {one.fate == Fate::Failed ? "500" : "400", number(qint64(i)), textField(one.reason)}});
    }
    if (record.attempts > 0 || record.isGivenUp)
        marks.push_back(
            {OutboxVerb::Retry, {number(record.attempts), number(record.due), number(record.firstRefusal)}});
    if (record.returns > 0)
        marks.push_back({OutboxVerb::Returned, {number(record.returns)}});
    if (record.date != 0 || record.has(Fate::Doubtful)) // a doubt may have no time
        marks.push_back(
            {OutboxVerb::Sending, {number(record.date), number(record.zone), addressed(Fate::Doubtful)}});
    if (record.has(Fate::Served))
        marks.push_back({OutboxVerb::Accepted, {addressed(Fate::Served)}});
    if (!record.reason.isEmpty())
        marks.push_back({OutboxVerb::Told, {textField(record.reason)}});
    if (record.copy) {
        const SentCopy &copy = *record.copy;
        marks.push_back(
            {OutboxVerb::Copy,
             {number(copy.place.group), number(copy.place.article), number(copy.length), number(copy.crc)}});
    }
    if (record.isTaken)
        marks.push_back({OutboxVerb::Taken, {record.isLetGo ? kLetGo : kTaken}});
    if (record.away)
        marks.push_back({OutboxVerb::Away, awayFields(*record.away)});
    return marks;
}
