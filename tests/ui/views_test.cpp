#include "config/directory.h"
#include "support/scratch.h"
#include "ui/main/views.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <algorithm>

using namespace Qt::StringLiterals;

class ViewsTest : public QObject
{
    Q_OBJECT

private slots:
    void viewsAreRemembered()
    {
        Scratch scratch;
        GroupView view;
        view.sort = {MessageColumn::From, Qt::AscendingOrder, false, false};
        std::reverse(view.order.begin(), view.order.end());
        view.widths[std::size_t(MessageColumn::From)] = 321;
        view.shown[std::size_t(MessageColumn::Size)] = true;
        {
            Views views;
            views.setGroup(12, view);
            views.setLayout(PaneLayout::Wide);
            views.setSingleKeysAct(false);
            views.setCollapsed({3, 4});
            QVERIFY(views.save());
        }
        Views views;
        views.load();
        QCOMPARE(views.group(12), view);
        QCOMPARE(views.group(13), GroupView());
        QCOMPARE(views.layout(), PaneLayout::Wide);
        QVERIFY(!views.singleKeysAct());
        QCOMPARE(views.collapsed(), (QList<int>{3, 4}));
    }

    void nonsenseInTheViewsFileHidesNothing()
    {
        Scratch scratch;
        const QByteArray file = "layout sideways\ngroup 5\nsort 99 1 1\nwidths -5 999999 x\nshown 0 0 0 0 0 "
                                "0 0 0\norder 6 6 -1 99 0\n"
                                "end\n";
        QDir().mkpath(configDirectory());
        QFile out(configPathOf(u"Views"_s));
        QVERIFY(out.open(QIODevice::WriteOnly) && out.write(file) == file.size());
        out.close();
        Views views;
        views.load();
        QCOMPARE(views.layout(), PaneLayout::Classic);
        QCOMPARE(views.group(5).sort, MessageSort());
        QVERIFY(views.group(5).shown[std::size_t(MessageColumn::Subject)]);
        QCOMPARE(views.group(5).widths[0], 0);
        QCOMPARE(views.group(5).order, (std::array{6, 0, 1, 2, 3, 4, 5, 7, 8}));
        QVERIFY(views.group(5).widths[1] <= 4000);
    }
};

QTEST_GUILESS_MAIN(ViewsTest)
#include "views_test.moc"
