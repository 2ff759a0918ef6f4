#include "store/groupstore.h"

#include "message/message.h"
#include "store/movejournal.h"
#include "store/storecheck.h"
#include "support/mail.h"
#include "support/memory.h"
#include "support/scratch.h"

#include <QDir>
#include <QDirIterator>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

void overwrite(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("the test cannot write %s", qPrintable(path));
}

/// Copies the configuration directory as it is now: what a kill at this moment would leave.
void copyTree(const QString &from, const QString &to)
{
    QDir(to).removeRecursively();
    QDir().mkpath(to);
    QDirIterator files(from, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString path = files.next();
        overwrite(to + path.sliced(from.size()), Scratch::read(path));
    }
}

struct Fixture
{
    Fixture() { start(); }
    void start()
    {
        store.reset();
        store = std::make_unique<GroupStore>();
        if (!createStoreDirectories() || !store->load())
            qFatal("the test cannot load its store");
    }
    /// Ends the run properly, or as a kill would.
    void restart(bool killed = false)
    {
        const QString now = configDirectory();
        if (killed) {
            copyTree(now, scratch.path(u"killed"_s));
            store.reset();
            copyTree(scratch.path(u"killed"_s), now);
        } else if (!store->close()) {
            qFatal("the test cannot close its store");
        }
        start();
    }
    Group &inbox() { return *store->group(GroupRole::Inbox); }
    Group &drafts() { return *store->group(GroupRole::Drafts); }
    quint32 add(Group &group, const QByteArray &id)
    {
        return store->add(group, Message(mailText(id, "Number " + id)), {}, 0, 1000);
    }
    void fill(int count)
    {
        for (int i = 1; i <= count; ++i)
            add(inbox(), QByteArray::number(i));
        if (!inbox().flush())
            qFatal("the test cannot store");
    }
    QStringList subjects(Group &group)
    {
        QStringList list;
        for (int row = 0; row < group.rowCount(); ++row) {
            if (!group.row(row).isDead())
                list += Message(group.readMessage(group.row(row))).subject().section(u' ', 1);
        }
        return list;
    }
    QStringList names()
    {
        QStringList list;
        for (Group *group : store->groups())
            list += store->pathOf(*group);
        return list;
    }
    /// Everything that is wrong by the store's own check.
    QStringList wrong()
    {
        QStringList found;
        StoreCheck check(*store, [&](const Finding &finding) { found += finding.detail; });
        for (Group *group : store->groups())
            check.checkGroup(*group);
        check.checkIndex();
        return found;
    }
    std::size_t placesOf(const QByteArray &id) { return store->findMessage('<' + id + '>').size(); }

    Scratch scratch;
    std::unique_ptr<GroupStore> store;
};

const QStringList kRoles = {u"Inbox"_s,        u"Outbox"_s, u"Sent mail"_s, u"Sent news"_s,
                            u"Waste basket"_s, u"Drafts"_s, u"Junk"_s};

} // namespace

class GroupStoreTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void theFirstStart();
    void namesAndPaths();
    void groupsFileIs_data();
    void groupsFileIs();
    void aLineOfTheGroupsFile_data();
    void aLineOfTheGroupsFile();
    void groupsFileThatCannotBeOpened();
    void parentsInACircle();
    void removedGroups();
    void aRemovalCutShort_data();
    void aRemovalCutShort();
    void theIndexIs_data();
    void theIndexIs();
    void theIndexIsOlder();
    void anIndexThatCannotBeWritten_data();
    void anIndexThatCannotBeWritten();
    void movesCutShort_data();
    void movesCutShort();
    void aCopyOfLongAgoIsNoMove();
    void moveNamesAMessageTwice();
    void moveToWhatCannotBeWritten();
    void deleting();
    void aKilledRun();
    void readOnlyChangesNothing();
};

void GroupStoreTest::theFirstStart()
{
    Fixture f;
    QCOMPARE(f.names(), kRoles);
    QVERIFY(QFile::exists(configPathOf(u"Groups/Index"_s))); // before any mail can be in one of them
    f.restart();
    QCOMPARE(f.names(), kRoles);
    QCOMPARE(f.scratch.reports + f.scratch.notes, QStringList());
}

void GroupStoreTest::namesAndPaths()
{
    Fixture f;
    QSignalSpy added(f.store.get(), &GroupStore::groupAdded);
    Group *kernel = f.store->make(u"Lists/Kernel"_s, GroupKind::List);
    QCOMPARE(added.size(), 2);
    QCOMPARE(f.store->make(u"/Lists/Kernel"_s), kernel);
    QCOMPARE(f.store->pathOf(*kernel), u"Lists/Kernel"_s);
    QCOMPARE(kernel->kind(), GroupKind::List);
    for (const QString &bad : {u""_s, u"/"_s, u"a//b"_s, u" "_s, u"a\nb"_s})
        QCOMPARE(f.store->make(bad), nullptr);
    QVERIFY(!f.store->rename(*kernel, u"a/b"_s));
    f.store->make(u"Lists/Taken"_s);
    QVERIFY(!f.store->rename(*kernel, u"Taken"_s));
    QVERIFY(f.store->rename(*kernel, u"Tab\u00fa"_s));
    f.restart();
    QVERIFY(f.store->find(u"Lists/Tab\u00fa"_s));
}

void GroupStoreTest::groupsFileIs_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("backup"); ///< the backup is whole
    for (const bool backup : {true, false}) {
        const QByteArray also = backup ? ", the backup whole" : ", and so the backup";
        QTest::addRow("%s", QByteArray("missing" + also).constData()) << QByteArray() << backup;
        QTest::addRow("%s", QByteArray("garbage" + also).constData())
            << QByteArray("\x80garbage\0\tnumber x\n", 20) << backup;
        QTest::addRow("%s", QByteArray("cut" + also).constData())
            << QByteArray("next 9\nnumber 1\tname Inbox\tkind fo") << backup;
    }
}

void GroupStoreTest::groupsFileIs()
{
    QFETCH(QByteArray, bytes);
    QFETCH(bool, backup);
    Fixture f;
    Group *mine = f.store->make(u"Mine"_s);
    const int number = mine->number();
    QVERIFY(f.add(*mine, "kept") > 0);
    f.restart(); // the backup knows the group
    QVERIFY(f.store->close());
    const QString path = configPathOf(u"Groups/Index"_s);
    for (const QString &file : {path, path + u".backup"_s}) {
        if (file != path && backup)
            continue;
        if (bytes.isNull())
            QFile::remove(file);
        else
            overwrite(file, bytes);
    }
    f.start();
    Group *found = f.store->group(number);
    QVERIFY(found);
    QCOMPARE(found->name(), backup ? u"Mine"_s : u"Recovered %1"_s.arg(number));
    QCOMPARE(f.subjects(*found), QStringList{u"kept"_s});
    for (int role = int(GroupRole::Inbox); role <= int(GroupRole::Junk); ++role)
        QVERIFY(f.store->group(GroupRole(role)));
    QVERIFY(f.store->make(u"New"_s)->number() > number);
    QVERIFY(!f.scratch.notes.isEmpty());
    f.restart();
    QCOMPARE(f.subjects(*f.store->group(number)), QStringList{u"kept"_s});
    QCOMPARE(f.wrong(), QStringList());
}

void GroupStoreTest::aLineOfTheGroupsFile_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QStringList>("more"); ///< besides the groups with a role
    QTest::newRow("an unknown field") << QByteArray("number 20\tname A\tzzz 5") << QStringList{u"A"_s};
    QTest::newRow("an unknown kind and role")
        << QByteArray("number 20\tname A\tkind x\trole y") << QStringList{u"A"_s};
    QTest::newRow("no number") << QByteArray("name A") << QStringList();
    QTest::newRow("no name") << QByteArray("number 20") << QStringList();
    QTest::newRow("a number twice") << QByteArray("number 20\tname A\nnumber 20\tname B")
                                    << QStringList{u"A"_s};
    QTest::newRow("a negative number") << QByteArray("number -3\tname A") << QStringList();
    QTest::newRow("the greatest number") << QByteArray("number 2147483647\tname A") << QStringList();
    QTest::newRow("more than a number") << QByteArray("number 4294967316\tname A") << QStringList();
    QTest::newRow("a next number that ends them all")
        << QByteArray("next 2147483647\nnumber 20\tname A") << QStringList{u"A"_s};
    QTest::newRow("a name with a slash") << QByteArray("number 20\tname A/B") << QStringList{u"A_B"_s};
    QTest::newRow("a role twice") << QByteArray("number 20\tname A\trole inbox") << QStringList{u"A"_s};
    QTest::newRow("a parent that is not there")
        << QByteArray("number 20\tname A\tparent 77") << QStringList{u"A"_s};
    QTest::newRow("its own parent") << QByteArray("number 20\tname A\tparent 20") << QStringList{u"A"_s};
}

void GroupStoreTest::aLineOfTheGroupsFile()
{
    QFETCH(QByteArray, line);
    QFETCH(QStringList, more);
    Fixture f;
    QVERIFY(f.store->close());
    const QString path = configPathOf(u"Groups/Index"_s);
    QByteArray bytes = Scratch::read(path);
    overwrite(path, bytes.replace("end\n", line + "\nend\n"));
    f.start();
    QCOMPARE(f.names(), kRoles + more);
    QCOMPARE(f.inbox().number(), 1);
    QVERIFY(f.store->make(u"New"_s)->number() > (more.isEmpty() ? 7 : 20));
    f.restart();
    QCOMPARE(f.names(), kRoles + more + QStringList{u"New"_s});
}

void GroupStoreTest::groupsFileThatCannotBeOpened()
{
    Fixture f;
    QVERIFY(f.add(*f.store->make(u"Mine"_s), "kept") > 0);
    QVERIFY(f.store->close());
    const QString path = configPathOf(u"Groups/Index"_s);
    QVERIFY(QFile::rename(path, path + u".aside"_s));
    QVERIFY(QDir().mkdir(path)); // opens for nobody
    f.start();
    QCOMPARE(f.scratch.reports.takeFirst(), u"Unable to read groups file"_s);
    f.store->make(u"New"_s);
    QVERIFY(!f.store->save(false));
    QCOMPARE(f.scratch.reports.takeLast(), u"Unable to write groups file"_s);
    QVERIFY(!f.store->close());
    QVERIFY(QDir().rmdir(path));
    QVERIFY(QFile::rename(path + u".aside"_s, path));
    f.start();
    QCOMPARE(f.subjects(*f.store->find(u"Mine"_s)), QStringList{u"kept"_s});
}

void GroupStoreTest::parentsInACircle()
{
    Fixture f;
    QVERIFY(f.store->close());
    const QString path = configPathOf(u"Groups/Index"_s);
    QByteArray bytes = Scratch::read(path);
    overwrite(path,
              bytes.replace("end\n", "number 20\tname A\tparent 21\nnumber 21\tname B\tparent 20\nend\n"));
    f.start();
    const QStringList names = f.names();
    QVERIFY(names.contains(u"A"_s) && names.contains(u"A/B"_s));
}

void GroupStoreTest::removedGroups()
{
    Fixture f;
    Group *below = f.store->make(u"A/B/C"_s);
    const int number = below->number();
    f.add(*below, "gone");
    QVERIFY(below->flush());
    QSignalSpy removed(f.store.get(), &GroupStore::groupRemoved);
    QVERIFY(f.store->remove(*f.store->find(u"A"_s)));
    QCOMPARE(removed.size(), 3);
    QVERIFY(!QDir(configPathOf(u"Groups/%1"_s.arg(number))).exists());
    QCOMPARE(f.placesOf("gone"), 0u);
    QVERIFY(!f.store->remove(f.inbox()));
    // A group with a role somewhere below stays whole.
    Group *top = f.store->make(u"Top/Other"_s);
    QVERIFY(f.store->close());
    const QString path = configPathOf(u"Groups/Index"_s);
    QByteArray bytes = Scratch::read(path);
    overwrite(path, bytes.replace("role junk\tparent 0",
                                  "role junk\tparent " + QByteArray::number(top->record().parent)));
    f.start();
    QVERIFY(!f.store->remove(*f.store->find(u"Top"_s)));
    QVERIFY(f.store->find(u"Top/Other"_s));
    f.restart(true);
    QVERIFY(f.store->find(u"Top/Other"_s));
    QVERIFY(!f.store->find(u"A"_s));
    QVERIFY(f.store->make(u"New"_s)->number() > number);
}

void GroupStoreTest::aRemovalCutShort_data()
{
    QTest::addColumn<bool>("listed");
    QTest::newRow("before the groups file") << true;
    QTest::newRow("behind the groups file") << false;
}

void GroupStoreTest::aRemovalCutShort()
{
    QFETCH(bool, listed);
    Fixture f;
    Group *mine = f.store->make(u"Mine"_s);
    const QString directory = configPathOf(u"Groups/%1"_s.arg(mine->number()));
    f.add(*mine, "1");
    QVERIFY(f.store->close());
    overwrite(directory + u"/Removed"_s, "removed\n");
    if (!listed) {
        const QString path = configPathOf(u"Groups/Index"_s);
        QByteArray bytes = Scratch::read(path);
        const qsizetype at = bytes.indexOf("number 8\t");
        bytes.remove(at, bytes.indexOf('\n', at) + 1 - at);
        overwrite(path, bytes);
    }
    f.start();
    QCOMPARE(f.store->find(u"Mine"_s) != nullptr, listed);
    QCOMPARE(f.names().size(), kRoles.size() + (listed ? 1 : 0)); // and none that was "recovered"
    QCOMPARE(QDir(directory).exists(), listed);
    QVERIFY(!QFile::exists(directory + u"/Removed"_s));
}

void GroupStoreTest::theIndexIs_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QByteArray>("bytes"); ///< null: missing
    for (const QString &file : {u"MsgIDs"_s, u"MsgIDIndex"_s}) {
        const QByteArray name = file.toUtf8();
        QTest::addRow("%s%s", name.constData(), " missing") << file << QByteArray();
        QTest::addRow("%s%s", name.constData(), " empty") << file << QByteArray("");
        QTest::addRow("%s%s", name.constData(), " garbage") << file << QByteArray(5000, 'V');
        QTest::addRow("%s%s", name.constData(), " killed its reader")
            << file + u".crash"_s << QByteArray("x");
    }
}

void GroupStoreTest::theIndexIs()
{
    QFETCH(QString, file);
    QFETCH(QByteArray, bytes);
    Fixture f;
    f.fill(20);
    QVERIFY(f.store->close());
    if (bytes.isNull())
        QFile::remove(configPathOf(file));
    else
        overwrite(configPathOf(file), bytes);
    f.start();
    for (int i = 1; i <= 20; ++i)
        QCOMPARE(f.placesOf(QByteArray::number(i)), 1u);
    QCOMPARE(f.wrong(), QStringList());
    f.restart();
    QCOMPARE(f.wrong(), QStringList());
    QCOMPARE(f.scratch.reports, QStringList());
}

void GroupStoreTest::theIndexIsOlder()
{
    Fixture f;
    f.fill(5);
    QVERIFY(f.store->save(true)); // the index on the disk knows these
    f.fill(5);                    // the same identifiers again
    QVERIFY(f.store->deleteMessages(f.inbox(), {1}, true));
    f.restart(true);
    QCOMPARE(f.placesOf("1"), 1u);
    QCOMPARE(f.placesOf("2"), 2u);
    QCOMPARE(f.wrong(), QStringList());
}

void GroupStoreTest::anIndexThatCannotBeWritten_data()
{
    QTest::addColumn<QString>("file");
    QTest::newRow("the list") << u"MsgIDs~"_s;
    QTest::newRow("the table") << u"MsgIDIndex~"_s;
}

void GroupStoreTest::anIndexThatCannotBeWritten()
{
    QFETCH(QString, file);
    Fixture f;
    f.fill(2);
    QVERIFY(QDir().mkdir(configPathOf(file)));
    QVERIFY(!f.store->save(true));
    QCOMPARE(f.scratch.reports, QStringList{u"Unable to write message index"_s});
    QVERIFY(QDir().rmdir(configPathOf(file)));
    QVERIFY(f.store->save(true)); // tried again, since it is still to be written
    QVERIFY(QFile::exists(configPathOf(u"MsgIDIndex"_s)));
}

void GroupStoreTest::movesCutShort_data()
{
    QTest::addColumn<int>("copied");   ///< of the messages 2, 3 and 4
    QTest::addColumn<bool>("flushed"); ///< the target
    QTest::addColumn<int>("removed");  ///< from the source
    QTest::newRow("before the first") << 0 << false << 0;
    QTest::newRow("one is copied") << 1 << false << 0;
    QTest::newRow("all are copied") << 3 << false << 0;
    QTest::newRow("the target is safe") << 3 << true << 0;
    QTest::newRow("one is gone from the source") << 3 << true << 1;
    QTest::newRow("all are gone from the source") << 3 << true << 3;
}

void GroupStoreTest::movesCutShort()
{
    QFETCH(int, copied);
    QFETCH(bool, flushed);
    QFETCH(int, removed);
    Fixture f;
    f.fill(5);
    QCOMPARE(f.drafts().rowCount(), 0);
    QVERIFY(MoveJournal::write({f.inbox().number(), f.drafts().number(), 1, {2, 3, 4}}));
    for (int i = 0; i < copied; ++i)
        f.store->copy(f.inbox(), {quint32(i) + 2}, f.drafts());
    QVERIFY(!flushed || f.drafts().flush());
    for (int i = 0; i < removed; ++i)
        QVERIFY(f.inbox().remove({quint32(i) + 2}));
    f.restart(true);
    const QStringList moved = QStringList{u"2"_s, u"3"_s, u"4"_s}.first(copied);
    QStringList stayed = {u"1"_s, u"2"_s, u"3"_s, u"4"_s, u"5"_s};
    for (const QString &gone : moved)
        stayed.removeAll(gone);
    QCOMPARE(f.subjects(f.drafts()), moved);
    QCOMPARE(f.subjects(f.inbox()), stayed);
    QCOMPARE(f.inbox().counts().total, quint32(stayed.size()));
    QVERIFY(!MoveJournal::exists());
    QCOMPARE(f.wrong(), QStringList());
    // Not even a rebuild from the bins brings a moved one back.
    QVERIFY(f.store->close());
    QFile::remove(configPathOf(u"Groups/1/Overview"_s));
    f.start();
    QCOMPARE(f.subjects(f.inbox()), stayed);
}

void GroupStoreTest::aCopyOfLongAgoIsNoMove()
{
    Fixture f;
    f.fill(2);
    QCOMPARE(f.store->copy(f.inbox(), {1}, f.drafts()), Articles{1});
    QVERIFY(f.drafts().flush());
    QVERIFY(MoveJournal::write({f.inbox().number(), f.drafts().number(), 2, {1}}));
    f.restart(true);
    QCOMPARE(f.subjects(f.inbox()), (QStringList{u"1"_s, u"2"_s}));
    QCOMPARE(f.subjects(f.drafts()), QStringList{u"1"_s});
    overwrite(configPathOf(u"Groups/Moving"_s), "1 6 1\n1\n"); // cut: such a move had not begun
    f.restart(true);
    QCOMPARE(f.subjects(f.inbox()).size(), 2);
}

void GroupStoreTest::moveNamesAMessageTwice()
{
    Fixture f;
    f.fill(3);
    QCOMPARE(f.store->move(f.inbox(), {2, 2, 77, 2}, f.drafts()), Articles{1});
    QCOMPARE(f.subjects(f.drafts()), QStringList{u"2"_s});
    QCOMPARE(f.subjects(f.inbox()), (QStringList{u"1"_s, u"3"_s}));
    QCOMPARE(f.drafts().overview(1)->originArticle(), 2u);
    QCOMPARE(f.store->move(f.drafts(), {1}, f.drafts()), Articles());
    QCOMPARE(f.wrong(), QStringList());
}

void GroupStoreTest::moveToWhatCannotBeWritten()
{
    Fixture f;
    f.fill(3);
    QCOMPARE(f.drafts().rowCount(), 0);
    const QString bin = f.drafts().files().directory() + u"/Bin0"_s;
    QVERIFY(QFile::link(u"/dev/full"_s, bin));
    QCOMPARE(f.store->move(f.inbox(), {1, 2}, f.drafts()), Articles());
    QCOMPARE(f.scratch.reports.first(), u"Failed to write to message bin file"_s);
    QCOMPARE(f.subjects(f.inbox()).size(), 3);
    QVERIFY(QFile::remove(bin));
    f.drafts().close();
    QCOMPARE(f.store->move(f.inbox(), {1, 2}, f.drafts()).size(), 2u);
    QCOMPARE(f.wrong(), QStringList());
}

void GroupStoreTest::deleting()
{
    Fixture f;
    f.fill(4);
    Group &basket = *f.store->group(GroupRole::WasteBasket);
    const int basketNumber = basket.number();
    QVERIFY(f.store->deleteMessages(f.inbox(), {1}));
    QCOMPARE(f.subjects(basket), QStringList{u"1"_s});
    QVERIFY(f.store->deleteMessages(f.inbox(), {2}, true));
    QVERIFY(f.store->deleteMessages(basket, {1}));
    QCOMPARE(f.subjects(basket), QStringList());
    setBoolSetting(Setting::UseWasteBasket, false);
    QVERIFY(f.store->deleteMessages(f.inbox(), {3}));
    QCOMPARE(f.subjects(f.inbox()), QStringList{u"4"_s});
    for (const char *id : {"1", "2", "3"})
        QCOMPARE(f.placesOf(id), 0u);
    f.restart(true);
    for (const int number : {1, basketNumber})
        QFile::remove(configPathOf(u"Groups/%1/Overview"_s.arg(number)));
    f.restart();
    QCOMPARE(f.subjects(f.inbox()), QStringList{u"4"_s});
    QCOMPARE(f.wrong(), QStringList());
}

void GroupStoreTest::aKilledRun()
{
    Fixture f;
    f.fill(3);
    f.restart(true);
    QVERIFY(f.scratch.notes.join(u'\n').contains(u"did not come to its end"_s));
    f.add(f.inbox(), "unsafe");
    f.inbox().setMarks({1}, Mark::Read, {});
    f.restart(true);
    QCOMPARE(f.inbox().counts(), (OverviewFile::Counts{4, 3, 0}));
    QCOMPARE(f.wrong(), QStringList());
    QCOMPARE(f.add(f.inbox(), "new"), 5u);
}

void GroupStoreTest::readOnlyChangesNothing()
{
    Fixture f;
    f.fill(3);
    f.add(f.inbox(), "waiting"); // the overviews are unsettled, as beside a running window
    const QString before = f.scratch.path(u"before"_s);
    copyTree(configDirectory(), before);
    setStoreAccess(StoreAccess::ReadOnly);
    {
        GroupStore reader;
        QVERIFY(reader.load());
        QCOMPARE(reader.group(GroupRole::Inbox)->counts().total, 4u);
        QCOMPARE(f.subjects(*reader.group(GroupRole::Inbox)).size(), 4);
        QCOMPARE(reader.findMessage("<waiting>").size(), 1u);
        QVERIFY(reader.close());
    }
    setStoreAccess(StoreAccess::ReadWrite);
    QDirIterator files(configDirectory(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    int count = 0;
    for (; files.hasNext(); ++count) {
        const QString path = files.next();
        QCOMPARE(Scratch::read(path), Scratch::read(before + path.sliced(configDirectory().size())));
    }
    QVERIFY(count > 3);
    QCOMPARE(f.scratch.reports, QStringList());
}

QTEST_GUILESS_MAIN(GroupStoreTest)
#include "groupstore_test.moc"
