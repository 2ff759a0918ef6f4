#pragma once

#include "message/message.h"
#include "store/group.h"
#include "store/summary.h"
#include "support/mail.h"
#include "support/scratch.h"

#include <QDir>

#include <memory>

inline void overwrite(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("the test cannot write %s", qPrintable(path));
}

/// Everything in a directory, to put it back as it was: what a kill at that moment would leave.
using Snapshot = QHash<QString, QByteArray>;

inline Snapshot snapshotOf(const QString &directory)
{
    Snapshot files;
    const QStringList names = QDir(directory).entryList(QDir::Files | QDir::Hidden);
    for (const QString &name : names)
        files.insert(name, Scratch::read(directory + u'/' + name));
    return files;
}

inline void restore(const QString &directory, const Snapshot &files)
{
    QDir(directory).removeRecursively();
    QDir().mkpath(directory);
    for (auto it = files.begin(); it != files.end(); ++it)
        overwrite(directory + u'/' + it.key(), it.value());
}

/// A group of five messages: 2 is deleted, 3 read, 4 flagged.
struct Fixture
{
    explicit Fixture(int count = 5)
    {
        QString name = QStringLiteral("Groups");
        configFile(name, true);
        open();
        for (int i = 1; i <= count; ++i)
            add(QByteArray::number(i));
        if (count >= 5) {
            group->remove({2});
            group->setMarks({3}, Mark::Read, {});
            group->setMarks({4}, Mark::Flagged, {});
        }
        if (!group->flush())
            qFatal("the test cannot make its group");
    }
    void open()
    {
        GroupRecord record;
        record.number = 1;
        record.name = QStringLiteral("Test");
        group = std::make_unique<Group>(record, directory);
    }
    void reopen()
    {
        group->close();
        open();
    }
    quint32 add(const QByteArray &id, const QByteArray &more = {})
    {
        const QByteArray text = mailText(id, "Number " + id, more, "Body of " + id + "\n");
        return group->add(text, summaryOf(Message(text), 1000));
    }

    /// The live messages as "article:subject flags", read from their texts.
    QStringList contents()
    {
        QStringList list;
        const int rows = group->rowCount();
        for (int row = 0; row < rows; ++row) {
            const Overview overview = group->row(row);
            if (overview.isDead())
                continue;
            const Message message(group->readMessage(overview));
            const QString flags = QString(overview.has(Mark::Read) ? QStringLiteral("R") : QString()) +
                                  (overview.has(Mark::Flagged) ? QStringLiteral("F") : QString());
            list += QStringLiteral("%1:%2%3")
                        .arg(overview.article())
                        .arg(message.subject().section(u' ', 1), flags);
        }
        return list;
    }
    bool countsAreRight()
    {
        OverviewFile::Counts right;
        for (int row = 0; row < group->rowCount(); ++row) {
            const Overview &overview = group->row(row);
            right.total += overview.isDead() ? 0 : 1;
            right.unread += overview.isDead() || overview.has(Mark::Read) ? 0 : 1;
            right.flagged += !overview.isDead() && overview.has(Mark::Flagged) ? 1 : 0;
        }
        return right == group->counts();
    }
    QString file(const QString &name) const { return directory + u'/' + name; }

    Scratch scratch;
    QString directory = configPathOf(QStringLiteral("Groups/1"));
    std::unique_ptr<Group> group;
    const QStringList whole = {QStringLiteral("1:1"), QStringLiteral("3:3R"), QStringLiteral("4:4F"),
                               QStringLiteral("5:5")};
};

inline constexpr int kRecord = int(sizeof(Overview));
