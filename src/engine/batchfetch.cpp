#include "engine/batchfetch.h"

#include "config/clock.h"
#include "config/directory.h"
#include "config/files.h"
#include "config/reporter.h"
#include "config/settings.h"
#include "message/message.h"
#include "store/marksofflags.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QLocale>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kBatchBytes = 32 * 1024 * 1024; ///< imported between two flushes
const QString kPendingSuffix = u".pending"_s;

QString batchPath(int account, int n)
{
    return configPathOf(u"Batches/%1-%2"_s.arg(account).arg(n)) + kPendingSuffix;
}

QString positionPath(const QString &batch)
{
    return batch + u".position"_s;
}

/// The number n of "<account>-<n>..."; 0 when the name is of another account.
int batchNumber(const QString &name, int account)
{
    const QString prefix = u"%1-"_s.arg(account);
    return name.startsWith(prefix)
               ? name.sliced(prefix.size()).section(u'.', 0, 0).section(u'~', 0, 0).toInt()
               : 0;
}

QStringList pendingBatches(int account)
{
    std::vector<int> numbers;
    const QStringList names =
        QDir(configPathOf(u"Batches"_s)).entryList({u'*' + kPendingSuffix}, QDir::Files);
    for (const QString &name : names) {
        if (const int n = batchNumber(name, account); n > 0)
            numbers.push_back(n);
    }
    std::sort(numbers.begin(), numbers.end());
    QStringList paths;
    for (const int n : numbers)
        paths += batchPath(account, n);
    return paths;
}

/// A number that no file of the account has, finished, pending or half moved.
int freeBatchNumber(int account)
{
    int highest = 0;
    const QStringList names = QDir(configPathOf(u"Batches"_s)).entryList(QDir::Files);
    for (const QString &name : names)
        highest = qMax(highest, batchNumber(name, account));
    return highest + 1;
}

/// A move into "Batches" that a crash cut short has to go on to the same place.
QString halfTakenBatch(int account)
{
    const int end = freeBatchNumber(account);
    for (int n = 1; n < end; ++n) {
        if (isHalfTaken(batchPath(account, n)))
            return batchPath(account, n);
    }
    return {};
}

qint64 readPosition(const QString &batch)
{
    QFile file(positionPath(batch));
    return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed().toLongLong() : 0;
}

bool writePosition(const QString &batch, qint64 position)
{
    return writeReplacing(positionPath(batch), QByteArray::number(position) + '\n');
}

/// What a run that was killed left beside a batch that is gone: its position, the lock held while it was
/// deleted, or a copy that did not come to its end.
void removeStrays(int account)
{
    const QDir directory(configPathOf(u"Batches"_s));
    const QStringList names = directory.entryList({u'*' + kPendingSuffix + u".*"_s}, QDir::Files);
    for (const QString &name : names) {
        const QString batch = directory.filePath(name.first(name.indexOf(kPendingSuffix)) + kPendingSuffix);
        if (batchNumber(name, account) > 0 && !QFile::exists(batch) && !isHalfTaken(batch))
            QFile::remove(directory.filePath(name));
    }
}

/// How the journal names a message: its batch file's number and the position behind it.
QByteArray identifierOf(const QString &batch, int account, qint64 end)
{
    return QByteArray::number(batchNumber(QFileInfo(batch).fileName(), account)) + ':' +
           QByteArray::number(end);
}

} // namespace

BatchFetch::BatchFetch(Delivery &delivery, const AccountData &account, QObject *parent)
    : Task(parent)
    , m_delivery(delivery)
    , m_account(account)
    , m_batch(delivery, account)
{}

BatchFetch::~BatchFetch() = default;

QString BatchFetch::title() const
{
    return u"Fetching %1"_s.arg(m_account.name);
}

qint64 BatchFetch::done() const
{
    return m_reader ? m_reader->position() : 0;
}

qint64 BatchFetch::total() const
{
    return m_reader ? m_reader->size() : 0;
}

QString BatchFetch::result() const
{
    return m_received == 1 ? u"%1: 1 message"_s.arg(m_account.name)
                           : u"%1: %2 messages"_s.arg(m_account.name, QLocale().toString(m_received));
}

bool BatchFetch::recover(GroupStore &store, int account)
{
    removeStrays(account);
    ArrivalJournal journal(account);
    const auto found = journal.read([&store](int number) { return store.group(number); });
    if (!found)
        return true;
    if (!found->isKnown)
        return false;
    if (!found->arrived.empty()) {
        const QList<QByteArray> last = found->arrived.back().identifier.split(':');
        const QString batch = batchPath(account, last.first().toInt());
        Group *group = store.group(found->group);
        if ((group && !group->flush()) ||
            (QFile::exists(batch) && !writePosition(batch, last.last().toLongLong())))
            return false; // the journal stays for the next try
        note(u"%1 messages of an interrupted fetch had arrived already"_s.arg(found->arrived.size()));
    }
    journal.done();
    return true;
}

Task::State BatchFetch::work(int milliseconds)
{
    if (!m_moved)
        return moveAway();
    return m_reader ? import(milliseconds) : nextFile();
}

Task::State BatchFetch::halt()
{
    const bool isSafe = endBatch();
    m_delivery.announce();
    return isSafe ? State::Stopped : State::Failed;
}

/// Moves the account's file into "Batches", a slice at a time, after what an earlier move left half done.
Task::State BatchFetch::moveAway()
{
    if (!m_move) {
        QString directory = u"Batches"_s;
        if (!configFile(directory, true))
            return fail({});
        // What an earlier fetch of this run could not bring to its end.
        if (!recover(m_delivery.store(), m_account.number))
            return fail(u"The messages could not be stored"_s);
        QString target = halfTakenBatch(m_account.number);
        if (target.isEmpty() && QFileInfo(m_account.host).size() == 0) {
            m_moved = true;
            m_pending = pendingBatches(m_account.number);
            return State::Working;
        }
        if (target.isEmpty())
            target = batchPath(m_account.number, freeBatchNumber(m_account.number));
        m_move = std::make_unique<MailboxMove>(m_account.host, target);
    }
    switch (m_move->step()) {
    case MailboxMove::Outcome::Going: return State::Working;
    case MailboxMove::Outcome::Taken:
    case MailboxMove::Outcome::Nothing: break;
    case MailboxMove::Outcome::Busy:
        // What waits already is imported all the same; the new mail comes with the next fetch.
        m_problem = u"The batch file '%1' is in use by another program"_s.arg(m_account.host);
        break;
    case MailboxMove::Outcome::Failed:
        m_problem = u"The batch file '%1' could not be moved"_s.arg(m_account.host);
        break;
    }
    m_move.reset();
    m_moved = true;
    m_pending = pendingBatches(m_account.number);
    return State::Working;
}

Task::State BatchFetch::nextFile()
{
    if (m_pending.isEmpty()) {
        m_delivery.announce();
        return m_problem.isEmpty() ? State::Done : State::Failed;
    }
    m_file.setFileName(m_pending.takeFirst());
    if (!m_file.open(QIODevice::ReadOnly)) { // the others do not wait for it
        m_problem = u"The batch file '%1' cannot be read"_s.arg(m_file.fileName());
        return State::Working;
    }
    m_reader.emplace(m_file);
    if (const qint64 position = readPosition(m_file.fileName()); position > 0)
        m_reader->goOnAt(position);
    return State::Working;
}

Task::State BatchFetch::import(int milliseconds)
{
    QElapsedTimer timer;
    timer.start();
    MboxMessage message;
    do {
        switch (m_reader->next(message)) {
        case MboxReader::Outcome::Message:
            if (!storeMessage(message)) {
                endBatch(); // what came before it is safe, and must not come again
                return fail(u"The messages could not be stored"_s);
            }
            break;
        case MboxReader::Outcome::Failed:
            endBatch();
            return fail(u"The batch file '%1' could not be read to its end"_s.arg(m_file.fileName()));
        case MboxReader::Outcome::End: return finishFile() ? State::Working : fail({});
        }
    } while (!timer.hasExpired(milliseconds));
    return State::Working;
}

bool BatchFetch::storeMessage(const MboxMessage &message)
{
    if (!m_batch.isOpen())
        m_batchStart = m_stored = message.start;
    const Message text(message.text);
    const QByteArray identifier = identifierOf(m_file.fileName(), m_account.number, message.end);
    if (!m_batch.store(identifier, text, {.marks = marksOf(message.flags)}))
        return false;
    m_stored = message.end;
    ++m_waiting;
    m_bytes += text.text().size();
    return message.end - m_batchStart < kBatchBytes || endBatch();
}

/// Makes safe what was stored: first the journal, then the group, then how far the file is done.
bool BatchFetch::endBatch()
{
    if (!m_batch.isOpen())
        return true;
    if (!m_batch.flush() || !writePosition(m_file.fileName(), m_stored))
        return false;
    m_batch.done();
    m_received += m_waiting;
    m_waiting = 0;
    return true;
}

/// The file is imported: it goes, or is kept without its suffix, as is one in which not everything was mail.
/// One that somebody still appended to stays pending.
bool BatchFetch::finishFile()
{
    if (!endBatch())
        return false;
    const QString path = m_file.fileName();
    const qint64 size = m_reader->size();
    const int skipped = m_reader->skipped();
    m_reader.reset();
    m_file.close();
    if (QFileInfo(path).size() > size) {
        m_pending.prepend(path);
        return writePosition(path, size);
    }
    const bool keep = boolSetting(Setting::KeepMailBatches) || skipped > 0;
    if (skipped > 0)
        note(u"%1: not everything in it was mail, so it is kept"_s.arg(path));
    const bool gone = keep ? replaceFile(path, path.chopped(kPendingSuffix.size())) : removeTaken(path, size);
    if (gone)
        QFile::remove(positionPath(path));
    else
        report(ReportLevel::Warning, "Unable to delete batch file");
    return true;
}

Task::State BatchFetch::fail(const QString &problem)
{
    if (m_problem.isEmpty())
        m_problem = problem;
    m_reader.reset();
    m_file.close();
    m_delivery.announce();
    return State::Failed;
}
