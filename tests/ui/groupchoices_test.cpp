#include "store/groupstore.h"
#include "support/scratch.h"
#include "ui/main/groupchoices.h"
#include "ui/main/groupdialog.h"

#include <QDialog>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QListView>
#include <QPointer>
#include <QPushButton>
#include <QTest>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// A store with some folders, and the dialog over it.
class Asked
{
public:
    Asked()
    {
        if (!store.load())
            qFatal("the store of the test cannot be loaded");
        for (const char *path : {"Home/Sailing club", "Home/Bills", "Work/Club bills", "Zoo"})
            store.make(QString::fromUtf8(path));
    }

    int number(const QString &path) { return store.find(path)->number(); }

    void ask(const GroupRequest &request)
    {
        window.show();
        dialog = askGroup(&window, store, request, [this](int group) { answers.append(group); });
        field = dialog->findChild<QLineEdit *>(u"filter"_s);
        list = dialog->findChild<QListView *>(u"groups"_s);
        if (!QTest::qWaitForWindowActive(dialog))
            qFatal("the dialog cannot be shown");
    }

    QStringList rows() const
    {
        QStringList rows;
        for (int row = 0; row < list->model()->rowCount(); ++row)
            rows.append(list->model()->index(row, 0).data().toString());
        return rows;
    }

    Scratch scratch;
    GroupStore store;
    QWidget window;
    QPointer<QDialog> dialog;
    QLineEdit *field = nullptr;
    QListView *list = nullptr;
    QList<int> answers;
};

} // namespace

class GroupChoicesTest : public QObject
{
    Q_OBJECT

private slots:
    void narrows_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QStringList>("rows");
        const auto row = [](const char *name, const QString &typed, const QStringList &rows) {
            QTest::newRow(name) << typed << rows;
        };
        const QString club = u"Home/Sailing club"_s;
        const QString bills = u"Home/Bills"_s;
        const QString clubBills = u"Work/Club bills"_s;
        row("start of a name before a later word", u"bills"_s, {bills, clubBills});
        row("words in any order", u"club home"_s, {club});
        row("first letters", u"hsc"_s, {club});
        row("case makes no difference", u"ZOO"_s, {u"Zoo"_s});
        row("levels above", u"work"_s, {u"Work"_s, clubBills});
        row("nothing", u"qqq"_s, {});
    }

    void narrows()
    {
        QFETCH(QString, typed);
        Asked asked;
        asked.ask({u"Go to group"_s, u"Go there"_s});
        QTest::keyClicks(asked.field, typed);
        QTEST(asked.rows(), "rows");
        const bool any = !asked.rows().isEmpty();
        const QList<QPushButton *> buttons = asked.dialog->findChildren<QPushButton *>();
        const auto it = std::find_if(buttons.begin(), buttons.end(),
                                     [](const QPushButton *button) { return button->isDefault(); });
        QVERIFY(it != buttons.end());
        QCOMPARE((*it)->isEnabled(), any);
        QCOMPARE(asked.list->currentIndex().row(), any ? 0 : -1);
    }

    void keysChoose()
    {
        Asked asked;
        asked.ask({u"Go to group"_s, u"Go there"_s});
        QTest::keyClicks(asked.field, u"bills"_s);
        QTest::keyClick(asked.field, Qt::Key_Down);
        QTest::keyClick(asked.field, Qt::Key_Return);
        QCOMPARE(asked.answers, QList<int>{asked.number(u"Work/Club bills"_s)});
        QTRY_VERIFY(!asked.dialog);

        asked.ask({u"Go to group"_s, u"Go there"_s});
        asked.list->setFocus();
        QTest::keyClick(asked.list, Qt::Key_Return);
        QCOMPARE(asked.answers.size(), 2); // once, though the list and the dialog both know the key
        QTRY_VERIFY(!asked.dialog);

        asked.ask({u"Go to group"_s, u"Go there"_s});
        QTest::keyClicks(asked.field, u"zoo"_s);
        QTest::keyClick(asked.field, Qt::Key_Escape);
        QTRY_VERIFY(!asked.dialog);
        QCOMPARE(asked.answers.size(), 2);
    }

    void offersWhatFits()
    {
        Asked asked;
        GroupRequest request = {u"Move"_s, u"Move"_s, asked.number(u"Zoo"_s)};
        request.offers = takesMessages;
        request.recent = {asked.number(u"Work"_s), asked.number(u"Home/Bills"_s)};
        request.top = u"The top"_s;
        asked.ask(request);
        QVERIFY(!asked.rows().contains(u"Zoo"_s));
        QVERIFY(!asked.rows().contains(u"Outbox"_s));
        QCOMPARE(asked.rows().first(4), (QStringList{u"Work"_s, u"Home/Bills"_s, u"The top"_s, u"Inbox"_s}));
        QTest::keyClicks(asked.field, u"top"_s);
        QTest::keyClick(asked.field, Qt::Key_Return);
        QCOMPARE(asked.answers, QList<int>{0});
    }

    void remembersTheLastEight()
    {
        RecentGroups recent;
        for (int number = 1; number <= 10; ++number)
            recent.note(number);
        recent.note(5);
        QCOMPARE(recent.numbers(), (QList<int>{5, 10, 9, 8, 7, 6, 4, 3}));
    }

    void thousandsAreNarrowed()
    {
        Asked asked;
        for (int i = 0; i < 2000; ++i)
            asked.store.make(u"Archive %1/Project %2"_s.arg(i % 10).arg(i));
        QElapsedTimer timer;
        timer.start();
        GroupChoices choices(asked.store, [](const Group &) { return true; }, {}, {});
        const qint64 made = timer.restart();
        choices.narrow(u"proj 77"_s);
        qInfo("%d choices made in %lld ms, narrowed in %lld ms", int(asked.store.groups().size()), made,
              timer.elapsed());
        QCOMPARE(choices.at(0).path, u"Archive 7/Project 77"_s);
        QVERIFY(choices.rowCount() < 100);
    }
};

QTEST_MAIN(GroupChoicesTest)
#include "groupchoices_test.moc"
