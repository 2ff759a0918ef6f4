#include "net/pop3/popmemory.h"

#include "config/clock.h"
#include "config/directory.h"
#include "config/files.h"
#include "config/reporter.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kSecondsOfAbsence = PopMemory::kDaysOfAbsence * 24 * 3600;

QByteArray mailboxLine(const QByteArray &mailbox)
{
    PopRecord named;
    named.identifier = mailbox;
    return popLine(PopLineKind::Mailbox, named);
}

bool unableToRead()
{
    report(ReportLevel::Warning, "Unable to read UIDLs file");
    return false;
}

bool unableToWrite()
{
    report(ReportLevel::Warning, "Unable to write UIDLs file");
    return false;
}

} // namespace

PopMemory::PopMemory(int account, const QString &user, const QString &host)
    : m_path(u"Accounts/%1/Fetched"_s.arg(account))
    , m_uidls(account)
    , m_mailbox(popIdentifier(user.toUtf8() + '@' + host.toLower().toUtf8()))
{
    configFile(m_path, false);
}

bool PopMemory::load()
{
    if (!readFetched(m_path))
        return unableToRead();
    const std::optional<QList<UidlsEntry>> listed = m_uidls.read();
    if (!listed)
        return false;
    addFromUidls(*listed);
    return true;
}

bool PopMemory::settleMailbox()
{
    if (!m_owner.isEmpty() && m_owner != m_mailbox && !setAside())
        return false;
    return m_owner == m_mailbox || bringBack();
}

/// False: it is there and cannot be read.
bool PopMemory::readFetched(const QString &path)
{
    QFile file(path);
    if (!file.exists())
        return true;
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly)) // a pipe would be waited for
        return false;
    m_isNew = false;
    int damaged = 0;
    QByteArray line;
    while (!(line = file.readLine()).isEmpty()) {
        m_endsInLine = !line.endsWith('\n');
        if (!m_endsInLine)
            line.chop(1);
        if (const std::optional<PopLine> read = readPopLine(line))
            addLine(*read);
        else if (!line.isEmpty())
            ++damaged;
    }
    if (damaged > 0)
        note(u"%1 lines of %2 were damaged and are skipped"_s.arg(damaged).arg(path));
    m_changed = damaged > 0;
    return file.error() == QFileDevice::NoError;
}

void PopMemory::addLine(const PopLine &line)
{
    switch (line.kind) {
    case PopLineKind::Mailbox: m_owner = line.record.identifier; break;
    case PopLineKind::Message: put(line.record); break;
    case PopLineKind::Arriving: m_announced.insert(line.record.storeName(), line.record); break;
    case PopLineKind::Forgotten: m_records.remove(line.record.identifier); break;
    }
}

void PopMemory::put(const PopRecord &record)
{
    m_records.insert(record.identifier, record);
    if (!record.storedAs.isEmpty())
        m_renamed.insert(record.storedAs, record.identifier);
}

void PopMemory::addFromUidls(const QList<UidlsEntry> &entries)
{
    for (const UidlsEntry &entry : entries) {
        const PopRecord *renamed = findStored(entry.identifier);
        if (renamed && renamed->identifier != entry.identifier)
            continue; // its former name: the session that learnt the new one was interrupted
        PopRecord &record = m_records[entry.identifier];
        if (record.isFetched)
            continue;
        record.identifier = entry.identifier;
        record.taken = std::clamp<qint64>(entry.taken, 1, clockSeconds()); // a day in the future is no day
        record.isFetched = true;
        m_changed = true;
    }
}

QString PopMemory::asideOf(const QByteArray &mailbox) const
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData(mailbox);
    return m_path + u'-' + QString::fromLatin1(hash.result().toHex().first(16));
}

/// The copy first, what it was made from last: a crash between them only repeats it.
bool PopMemory::setAside()
{
    note(u"What was remembered of %1 is set aside: the account now is %2"_s.arg(
        QString::fromLatin1(m_owner), QString::fromLatin1(m_mailbox)));
    if (!writeFetched(asideOf(m_owner)))
        return unableToWrite();
    m_uidls.remove();
    m_file.close();
    QFile::remove(m_path);
    m_records.clear();
    m_renamed.clear();
    m_announced.clear();
    m_pending.clear();
    m_owner.clear();
    m_isNew = true;
    m_endsInLine = false;
    m_changed = true;
    return true;
}

/// What was set aside of this mailbox, where the file at hand does not say whose it is. It is written at
/// once: from the first line that is added, that file counts for all there is.
bool PopMemory::bringBack()
{
    const QString aside = asideOf(m_mailbox);
    if (!QFile::exists(aside))
        return true;
    const QHash<QByteArray, PopRecord> newer = std::exchange(m_records, {});
    if (!readFetched(aside))
        return unableToRead();
    m_records.insert(newer);
    m_owner = m_mailbox;
    m_file.close();
    if (!writeFetched(m_path))
        return unableToWrite();
    m_isNew = false;
    m_endsInLine = false;
    m_changed = true;
    return true;
}

void PopMemory::addRecovered(const QList<QByteArray> &names)
{
    for (const QByteArray &name : names) {
        const PopRecord *known = findStored(name);
        PopRecord record = m_announced.value(name, known ? *known : PopRecord());
        if (record.identifier.isEmpty())
            record.identifier = name;
        record.isFetched = true;
        if (record.taken == 0)
            record.taken = clockSeconds();
        remember(record);
    }
}

const PopRecord *PopMemory::find(const QByteArray &identifier) const
{
    const auto found = m_records.constFind(identifier);
    return found == m_records.constEnd() ? nullptr : &*found;
}

const PopRecord *PopMemory::findStored(const QByteArray &name) const
{
    const PopRecord *renamed = find(m_renamed.value(name));
    if (renamed && renamed->storedAs == name)
        return renamed;
    const PopRecord *record = find(name);
    return record && record->storedAs.isEmpty() ? record : nullptr;
}

QList<QByteArray> PopMemory::readStoreNames()
{
    QList<QByteArray> names;
    const Names kind = lookForRenamed();
    if (kind == Names::AsListed) {
        for (const UidlsEntry &entry : m_uidls.read().value_or(QList<UidlsEntry>()))
            names.append(entry.identifier);
    }
    if (kind != Names::Renamed || !load())
        return names;
    for (const PopRecord &record : std::as_const(m_records)) {
        if (record.isFetched && record.absentSince == 0)
            names.append(record.storeName());
    }
    return names;
}

/// Without taking the lines apart. An identifier may look like the mark; then they are, for nothing.
PopMemory::Names PopMemory::lookForRenamed() const
{
    QFile file(m_path);
    if (!QFileInfo(m_path).isFile() || !file.open(QIODevice::ReadOnly)) // a pipe would be waited for
        return Names::AsListed;
    const QByteArray bytes = file.readAll();
    const auto first = QByteArrayView(bytes).first(std::max<qsizetype>(bytes.indexOf('\n'), 0));
    const std::optional<PopLine> owner = readPopLine(first);
    if (owner && owner->kind == PopLineKind::Mailbox && owner->record.identifier != m_mailbox)
        return Names::OfAnother;
    return bytes.contains(kStoredAsMark) ? Names::Renamed : Names::AsListed;
}

void PopMemory::setListed(const QSet<QByteArray> &identifiers)
{
    qsizetype known = 0;
    m_gone.clear();
    for (const PopRecord &record : std::as_const(m_records)) {
        if (!record.isKnownInDetail() || record.isDeleted)
            continue;
        ++known;
        if (!identifiers.contains(record.identifier))
            m_gone.insert(record.size, record.identifier);
    }
    m_renumbered = m_gone.size() * 2 > known;
}

bool PopMemory::exchange(qint64 size, const QByteArray &header, const QByteArray &identifier)
{
    if (!m_renumbered)
        return false;
    for (auto gone = m_gone.find(size); gone != m_gone.end() && gone.key() == size; ++gone) {
        PopRecord record = m_records.value(gone.value());
        if (record.header != header)
            continue;
        const QByteArray forgotten = popLine(PopLineKind::Forgotten, record);
        m_records.remove(gone.value());
        m_gone.erase(gone);
        record.storedAs = record.storeName() == identifier ? QByteArray() : record.storeName();
        record.identifier = identifier;
        record.absentSince = 0;
        remember(record);
        m_pending += forgotten; // behind it: a line that is cut off must not be the one that counts
        return true;
    }
    return false;
}

void PopMemory::setPresent(const QSet<QByteArray> &identifiers)
{
    const qint64 now = clockSeconds();
    m_records.removeIf([&](QHash<QByteArray, PopRecord>::iterator entry) {
        PopRecord &record = entry.value();
        const bool present = identifiers.contains(record.identifier);
        if (present != (record.absentSince == 0)) {
            record.absentSince = present ? 0 : now;
            m_changed = true;
        }
        record.isDeleted = record.isDeleted && !present; // a deletion that did not happen
        const bool forgotten = !present && now - record.absentSince > kSecondsOfAbsence;
        m_changed |= forgotten;
        return forgotten;
    });
}

void PopMemory::remember(const PopRecord &record)
{
    put(record);
    m_pending += popLine(PopLineKind::Message, record);
    m_changed = true;
}

bool PopMemory::announce(const PopRecord &record)
{
    return append(popLine(PopLineKind::Arriving, record), false) || unableToWrite();
}

bool PopMemory::commit()
{
    if (m_pending.isEmpty())
        return true;
    if (!append(m_pending, true))
        return unableToWrite();
    m_pending.clear();
    return true;
}

bool PopMemory::openFile()
{
    m_file.setFileName(m_path);
    return m_file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered,
                       QFile::ReadOwner | QFile::WriteOwner);
}

bool PopMemory::append(const QByteArray &lines, bool synced)
{
    if (!m_file.isOpen() && !openFile())
        return false;
    QByteArray bytes = m_endsInLine ? QByteArray("\n") : QByteArray();
    if (m_isNew)
        bytes += mailboxLine(m_mailbox);
    bytes += lines;
    m_endsInLine = true; // until it is known to be whole
    if (m_file.write(bytes) != bytes.size() || (synced && !syncFile(m_file)))
        return false;
    if (m_isNew)
        syncDirectoryOf(m_path);
    m_isNew = false;
    m_endsInLine = false;
    return true;
}

bool PopMemory::save()
{
    if (!m_changed)
        return true;
    QList<UidlsEntry> present;
    for (const PopRecord &record : std::as_const(m_records)) {
        if (record.isFetched && record.absentSince == 0)
            present.append({record.taken, record.identifier});
    }
    std::sort(present.begin(), present.end(), [](const UidlsEntry &one, const UidlsEntry &other) {
        return std::tie(one.taken, one.identifier) < std::tie(other.taken, other.identifier);
    });
    m_owner = m_mailbox;
    m_file.close();
    if (!writeFetched(m_path))
        return unableToWrite();
    m_pending.clear();
    m_announced.clear();
    m_isNew = false;
    m_endsInLine = false;
    m_changed = !m_uidls.write(present);
    return !m_changed;
}

bool PopMemory::writeFetched(const QString &path)
{
    return writeReplacing(path, [this](QFileDevice &file) {
        file.write(mailboxLine(m_owner));
        for (const PopRecord &record : std::as_const(m_records))
            file.write(popLine(PopLineKind::Message, record));
        return file.error() == QFileDevice::NoError;
    });
}
