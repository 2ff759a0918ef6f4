#include "engine/draftcontents.h"

#include "config/files.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace {

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

std::optional<QByteArray> DraftContents::keep(const QByteArray &data)
{
    const auto known = std::find_if(m_known.cbegin(), m_known.cend(), [&](const Known &candidate) {
        return candidate.data.constData() == data.constData() && candidate.data.size() == data.size();
    });
    if (known != m_known.cend())
        return known->key;
    const QByteArray key = keyOf(data);
    const QFileInfo file(pathOf(key));
    if (!file.isFile() || file.size() != data.size()) {
        const bool isNew = !QFileInfo::exists(m_directory);
        if (isNew && (!QDir().mkpath(m_directory) || !syncDirectoryOf(m_directory)))
            return {};
        if (!writeReplacing(file.filePath(), data))
            return {};
    }
    m_known.append({data, key});
    return key;
}

std::optional<QByteArray> DraftContents::read(const QByteArray &key) const
{
    QFile file(pathOf(key));
    if (key.isEmpty() || !file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray data = file.readAll();
    return keyOf(data) == key ? std::optional(data) : std::nullopt;
}

void DraftContents::removeAllBut(const QList<QByteArray> &keys)
{
    QDir directory(m_directory);
    const QStringList names = directory.entryList(QDir::Files | QDir::Hidden);
    for (const QString &name : names) {
        if (!keys.contains(name.toLatin1()))
            directory.remove(name);
    }
    m_known.removeIf([&](const Known &known) { return !keys.contains(known.key); });
}

void DraftContents::forgetAllBut(const QList<QByteArray> &keys)
{
    m_known.removeIf([&](const Known &known) { return !keys.contains(known.key); });
}
