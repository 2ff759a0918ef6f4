#include "engine/draftcontents.h"

#include "config/files.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace {

constexpr qsizetype kPiece = 256 * 1024;
constexpr qint64 kSyncedTogether = 4 * kPiece;
constexpr int kSlice = 4; ///< milliseconds of hashing

QByteArray keyOf(const QByteArray &data)
{
    return QCryptographicHash::hash(data, QCryptographicHash::Blake2b_256).toHex();
}

} // namespace

DraftContents::DraftContents(QString directory)
    : m_directory(std::move(directory))
{}

QString DraftContents::pathOf(const QByteArray &key) const
{
    return m_directory + u'/' + QString::fromLatin1(key);
}

const DraftContents::Known *DraftContents::known(const QByteArray &data) const
{
    const auto found = std::find_if(m_known.cbegin(), m_known.cend(), [&](const Known &candidate) {
        return candidate.data.constData() == data.constData() && candidate.data.size() == data.size();
    });
    return found == m_known.cend() ? nullptr : &*found;
}

bool DraftContents::knows(const QByteArray &data) const
{
    return known(data) != nullptr;
}

std::optional<QByteArray> DraftContents::keep(const QByteArray &data)
{
    Progress progress = Progress::Working;
    while (progress == Progress::Working)
        progress = goOn(data, qMax(kPiece, data.size()));
    return progress == Progress::Done ? std::optional(known(data)->key) : std::nullopt;
}

DraftContents::Progress DraftContents::keepOn(const QByteArray &data)
{
    return goOn(data, kPiece);
}

DraftContents::Progress DraftContents::goOn(const QByteArray &data, qsizetype pieceSize)
{
    if (knows(data))
        return Progress::Done;
    if (!m_storing || m_storing->data.constData() != data.constData() ||
        m_storing->data.size() != data.size()) {
        ended(Progress::Failed);
        m_storing = std::make_unique<Storing>();
        m_storing->data = data;
    }
    const Progress progress = step(pieceSize);
    return progress == Progress::Working ? progress : ended(progress);
}

/// Syncing waits for the disk: it gets few pieces at a time, which it has had since the slices before.
DraftContents::Progress DraftContents::step(qsizetype pieceSize)
{
    Storing &storing = *m_storing;
    if (!hashOn())
        return Progress::Working;
    if (!storing.file.isOpen())
        return beginWriting(pieceSize);
    const bool isWritten = storing.written == storing.data.size();
    if (storing.written - storing.synced >= kSyncedTogether ||
        (isWritten && storing.synced < storing.written)) {
        if (!storing.file.sync())
            return Progress::Failed;
        storing.synced = storing.written;
    }
    if (isWritten)
        return putInPlace();
    const QByteArrayView piece = QByteArrayView(storing.data)
                                     .sliced(storing.written)
                                     .first(qMin(pieceSize, storing.data.size() - storing.written));
    if (!storing.file.writeAt(storing.written, piece))
        return Progress::Failed;
    storing.file.startWriting();
    storing.written += piece.size();
    return storing.data.size() > pieceSize ? Progress::Working : step(pieceSize);
}

/// True: the hash is known.
bool DraftContents::hashOn()
{
    Storing &storing = *m_storing;
    QElapsedTimer clock;
    clock.start();
    while (storing.hashed < storing.data.size()) {
        const QByteArrayView rest = QByteArrayView(storing.data).sliced(storing.hashed);
        const QByteArrayView piece = rest.first(qMin(kPiece, rest.size()));
        storing.hash.addData(piece);
        storing.hashed += piece.size();
        if (clock.hasExpired(kSlice) && storing.hashed < storing.data.size())
            return false;
    }
    if (storing.key.isEmpty())
        storing.key = storing.hash.result().toHex();
    return true;
}

DraftContents::Progress DraftContents::beginWriting(qsizetype pieceSize)
{
    Storing &storing = *m_storing;
    const QFileInfo file(pathOf(storing.key));
    if (file.isFile() && file.size() == storing.data.size())
        return Progress::Done;
    const bool isNew = !QFileInfo::exists(m_directory);
    if (isNew && (!QDir().mkpath(m_directory) || !syncDirectoryOf(m_directory)))
        return Progress::Failed;
    storing.file = FileHandle(pathOfNew(storing.key), FileHandle::Mode::Truncate);
    return storing.file.isOpen() ? step(pieceSize) : Progress::Failed;
}

DraftContents::Progress DraftContents::putInPlace()
{
    m_storing->file.close();
    return replaceFile(pathOfNew(m_storing->key), pathOf(m_storing->key)) ? Progress::Done : Progress::Failed;
}

/// It is known now; or what was begun goes.
DraftContents::Progress DraftContents::ended(Progress progress)
{
    const std::unique_ptr<Storing> storing = std::move(m_storing);
    if (storing && progress == Progress::Done)
        m_known.append({storing->data, storing->key});
    else if (storing && !storing->key.isEmpty())
        QFile::remove(pathOfNew(storing->key));
    return progress;
}

std::optional<QByteArray> DraftContents::read(const QByteArray &key)
{
    const auto found = std::find_if(m_known.cbegin(), m_known.cend(),
                                    [&](const Known &candidate) { return candidate.key == key; });
    if (found != m_known.cend())
        return found->data;
    QFile file(pathOf(key));
    if (key.isEmpty() || !file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray data = file.readAll();
    if (keyOf(data) != key)
        return {};
    m_known.append({data, key});
    return data;
}

void DraftContents::removeAllBut(const QList<QByteArray> &keys)
{
    QDir directory(m_directory);
    const QStringList names = directory.entryList(QDir::Files | QDir::Hidden);
    for (const QString &name : names) {
        const bool isBeingStored = m_storing && directory.filePath(name) == pathOfNew(m_storing->key);
        if (!isBeingStored && !keys.contains(name.toLatin1()))
            directory.remove(name);
    }
    m_known.removeIf([&](const Known &known) { return !keys.contains(known.key); });
}

void DraftContents::forgetAllBut(const QList<QByteArray> &keys)
{
    ended(Progress::Failed);
    m_known.removeIf([&](const Known &known) { return !keys.contains(known.key); });
}
