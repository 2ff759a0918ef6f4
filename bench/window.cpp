// The program's window off screen, driven as its user drives it.
//
//   folder DIRECTORY GROUP    a large group: to it, sorted by each column, narrowed by typing, all selected,
//                             10,000 messages deleted and that undone
//   next DIRECTORY GROUP N    N messages one after the other, each until it is drawn
//   arrive DIRECTORY GROUP ACCOUNT
//                             the mail of an account arrives in the group that is shown
//
// Of each deed: the milliseconds until its result was to be seen, and the longest that the event loop was
// held.

#include "syncs.h"

#include "config/directory.h"
#include "config/reporter.h"
#include "engine/engine.h"
#include "engine/stallwatch.h"
#include "ui/list/messagelist.h"
#include "ui/list/quickfilterbar.h"
#include "ui/look/looks.h"
#include "ui/main/mainwindow.h"
#include "ui/reader/messageview.h"

#include <QAbstractEventDispatcher>
#include <QAbstractScrollArea>
#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QLineEdit>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

constexpr int kDeleted = 10'000;
constexpr int kLongestWait = 60'000; // milliseconds

double millisecondsOf(const QElapsedTimer &timer)
{
    return double(timer.nsecsElapsed()) / 1e6;
}

/// What the process holds in memory of its own and of files.
double residentMegabytes()
{
    QFile file(u"/proc/self/status"_s);
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : file.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.sliced(6).simplified().split(' ').value(0).toDouble() / 1024;
    }
    return 0;
}

/// Tells when a widget has been painted: what a long text still has to write behind the screen is not waited
/// for.
class Painted : public QObject
{
public:
    explicit Painted(QWidget *widget) { widget->installEventFilter(this); }

    void begin()
    {
        m_took = -1;
        m_timer.start();
    }
    bool isDone() const { return m_took >= 0; }
    double milliseconds() const { return m_took; }

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::Paint && !isDone()) // the event after it finds the picture complete
            QTimer::singleShot(0, this, [this] { m_took = isDone() ? m_took : millisecondsOf(m_timer); });
        return false;
    }

private:
    QElapsedTimer m_timer;
    double m_took = 0;
};

/// The program without its application's own services: the engine, ticking, and the window.
class Program
{
public:
    explicit Program(const QString &directory)
    {
        setConfigDirectory(directory);
        if (!engine.load())
            qFatal("the store cannot be opened");
        looks.start();
        QObject::connect(&tick, &QTimer::timeout, &engine, &Engine::tick);
        tick.start(1000);
    }
    ~Program()
    {
        window.reset();
        if (!engine.shutDown())
            qFatal("not all could be saved");
    }

    void open()
    {
        window = std::make_unique<MainWindow>(engine, looks);
        window->resize(1280, 800);
        window->show();
        until([] { return false; }, 200);
    }

    /// The one that is seen, for there may be others behind it; null when there is none.
    template <typename Widget>
    Widget *seen() const
    {
        const QList<Widget *> all = window->findChildren<Widget *>();
        const auto found =
            std::find_if(all.begin(), all.end(), [](Widget *each) { return each->isVisible(); });
        return found == all.end() ? nullptr : *found;
    }
    MessageList &list() const
    {
        if (auto *list = seen<MessageList>())
            return *list;
        qFatal("the window shows no list");
    }
    bool shows(int group) const
    {
        auto *list = seen<MessageList>();
        const Group *shown = list ? list->messages().group() : nullptr;
        return shown && shown->number() == group && list->messages().totalCount() > 0;
    }

    /// Lets the event loop run until @p isDone, @p milliseconds at most. False: it did not come to that.
    bool until(const std::function<bool()> &isDone, int milliseconds = kLongestWait)
    {
        QElapsedTimer timer;
        timer.start();
        QTimer wake; // so that the clock is looked at when nothing else happens
        wake.start(20);
        while (!isDone()) {
            if (timer.elapsed() > milliseconds)
                return false;
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        return true;
    }

    /// Does @p deed as an event, waits for @p isShown and for the list to be painted after that, and for the
    /// event loop to come round. Prints one line.
    void measure(const QByteArray &name, const std::function<void()> &deed,
                 const std::function<bool()> &isShown)
    {
        QElapsedTimer timer;
        double shown = 0;
        watch.forget();
        timer.start();
        QMetaObject::invokeMethod(window.get(), deed, Qt::QueuedConnection);
        if (!until(isShown))
            qFatal("%s: that takes too long", name.constData());
        Painted painted(list().viewport());
        painted.begin();
        list().viewport()->update();
        until([&] { return painted.isDone(); });
        shown = millisecondsOf(timer);
        until([this] { return !engine.tasks().isBusy(); });
        until([] { return false; }, 100); // what comes after it is held against it, too
        std::printf("%s %.1f %.1f %s\n", name.constData(), shown, watch.longest().milliseconds,
                    qPrintable(watch.longest().event));
    }

    Engine engine;
    Looks looks;
    StallWatch watch;
    QTimer tick;
    std::unique_ptr<MainWindow> window;
};

/// The first so many messages of the list.
void select(MessageList &list, int count)
{
    MessageListModel &model = list.messages();
    int last = 0;
    for (int found = 0; found < count; ++last)
        found += model.isHeading(last) ? 0 : 1;
    list.selectionModel()->select({model.index(0, 0), model.index(last - 1, model.columnCount() - 1)},
                                  QItemSelectionModel::ClearAndSelect);
}

/// Text is sorted the first time in slices, while the list stays as it was; all else at once.
void sortByEachColumn(Program &program)
{
    MessageListModel &model = program.list().messages();
    for (int column = 0; column < kMessageColumnCount; ++column) {
        const bool isText = isTextColumn(MessageColumn(column));
        for (const Qt::SortOrder order : {Qt::AscendingOrder, Qt::DescendingOrder}) {
            bool changed = false;
            QObject context;
            const bool isSliced = isText && order == Qt::AscendingOrder;
            QObject::connect(&model, isSliced ? &MessageListModel::sortingEnded : &MessageListModel::relaid,
                             &context, [&] { changed = true; });
            const QByteArray name = QByteArray("sort-") + kMessageColumns[std::size_t(column)].name +
                                    (order == Qt::AscendingOrder ? "-up" : "-down");
            program.measure(
                name, [&] { program.list().sortByColumn(column, order); }, [&] { return changed; });
        }
    }
}

/// A key a time, as fast as the list can show what it has found.
void narrow(Program &program)
{
    MessageListModel &model = program.list().messages();
    auto *field = program.window->findChild<QLineEdit *>(u"quickFilterField"_s);
    if (!field)
        field = (new QuickFilterBar(program.list(), program.window.get()))
                    ->findChild<QLineEdit *>(u"quickFilterField"_s);
    const int all = model.totalCount();
    QString typed;
    for (const QChar letter : u"with 7"_s) {
        typed += letter;
        program.measure(
            "filter-" + typed.toLatin1().replace(' ', '_'), [&] { field->setText(typed); },
            [&] { return model.filter().text == typed && !model.isFiltering(); });
    }
    if (model.shownCount() == 0 || model.shownCount() == all)
        qFatal("the filter finds %d of %d", model.shownCount(), all);
    program.measure(
        "filter-off", [&] { field->clear(); }, [&] { return model.shownCount() == all; });
}

void selectAndDelete(Program &program)
{
    MessageList &list = program.list();
    MessageListModel &model = list.messages();
    const int all = model.totalCount();
    const auto press = [&list](Qt::Key key, Qt::KeyboardModifiers modifiers) {
        QTest::keyClick(&list, key, modifiers);
    };
    program.measure(
        "select-all", [&] { press(Qt::Key_A, Qt::ControlModifier); },
        [&] { return list.selectedCount() == model.messagesBetween(0, model.rowCount() - 1); });
    model.setAllExpanded(true);
    program.measure(
        "select-10000", [&] { select(list, kDeleted); }, [&] { return list.selectedCount() == kDeleted; });
    program.measure(
        "delete-10000", [&] { press(Qt::Key_Delete, {}); },
        [&] { return model.totalCount() == all - kDeleted; });
    program.measure(
        "undo-10000", [&] { press(Qt::Key_Z, Qt::ControlModifier); },
        [&] { return model.totalCount() == all; });
}

int folder(Program &program, int group)
{
    std::printf("rss-before %.1f\n", residentMegabytes());
    program.measure(
        "switch", [&] { program.window->selectGroup(group); }, [&] { return program.shows(group); });
    std::printf("rows %d\nrss %.1f\n", program.list().messages().totalCount(), residentMegabytes());
    sortByEachColumn(program);
    program.list().sortByColumn(int(MessageColumn::Date), Qt::DescendingOrder);
    narrow(program);
    selectAndDelete(program);
    std::printf("rss-at-the-end %.1f\n", residentMegabytes());
    return 0;
}

/// Until nothing is left to do at once.
void settle()
{
    while (QAbstractEventDispatcher::instance()->processEvents(QEventLoop::AllEvents)) {
    }
}

/// Messages one after the other from the top of the list, each by a key, until it is drawn.
int next(Program &program, int group, int count)
{
    program.window->selectGroup(group);
    program.until([&] { return program.shows(group); });
    MessageList &list = program.list();
    MessageListModel &model = list.messages();
    model.setAllExpanded(true);
    list.setCurrent(model.refAt(model.messageNear(0, 1)));
    settle();
    const auto *reader = program.seen<MessageView>();
    Painted painted(reader->findChild<QAbstractScrollArea *>(u"body"_s)->viewport());
    std::vector<double> taken;
    for (int i = 1; i < std::min(count, model.shownCount()); ++i) {
        const MessageRef before = list.current();
        painted.begin();
        QTest::keyClick(&list, Qt::Key_Down);
        settle();
        const bool isDrawn = program.until([&] { return painted.isDone(); }, 2000);
        taken.push_back(painted.milliseconds());
        if (!isDrawn || list.current() == before || reader->isEmpty())
            qFatal("message %d is not shown", i);
    }
    std::sort(taken.begin(), taken.end());
    const auto at = [&taken](double share) { return taken[std::size_t(share * double(taken.size() - 1))]; };
    std::printf("messages %zu\nmedian %.2f\np99 %.2f\nworst %.2f\nheld %.1f %s\n", taken.size(), at(0.5),
                at(0.99), taken.back(), program.watch.longest().milliseconds,
                qPrintable(program.watch.longest().event));
    return 0;
}

/// Fetches while the window is open. What the disk takes is told apart: a clock that stands still meanwhile
/// shows how long the program itself held the loop.
int arrive(Program &program, int group, const QString &name)
{
    Account *account = program.engine.accounts().find(name);
    if (!account)
        qFatal("there is no such account");
    program.window->selectGroup(group);
    QElapsedTimer timer;
    timer.start();
    StallWatch own(nullptr, [timer] { return timer.nsecsElapsed() - syncsSoFar().nanoseconds; });
    QObject context;
    bool isOver = false;
    QObject::connect(account, &Account::fetchEnded, &context,
                     [&](AccountFetchReason reason, const QString &detail) {
                         isOver = true;
                         if (reason != AccountFetchReason::None)
                             qFatal("the fetch ends with reason %d: %s", int(reason), qPrintable(detail));
                     });
    const Syncs before = syncsSoFar();
    program.watch.forget();
    own.forget();
    timer.restart();
    QMetaObject::invokeMethod(
        program.window.get(), [&] { account->fetch(true, true); }, Qt::QueuedConnection);
    const auto isShown = [&] {
        return isOver && program.shows(group) &&
               quint32(program.list().messages().totalCount()) ==
                   program.engine.groups().group(group)->counts().total;
    };
    if (!program.until(isShown))
        qFatal("that takes too long");
    const double taken = millisecondsOf(timer);
    program.until([&] { return !program.engine.tasks().isBusy(); });
    program.until([] { return false; }, 1500); // a tick of the engine included
    const Syncs after = syncsSoFar();
    std::printf("messages %d\nmilliseconds %.1f\nheld %.1f %s\nheld-by-itself %.1f %s\nsyncs %ld %.1f\n",
                program.list().messages().totalCount(), taken, program.watch.longest().milliseconds,
                qPrintable(program.watch.longest().event), own.longest().milliseconds,
                qPrintable(own.longest().event), after.count - before.count,
                double(after.nanoseconds - before.nanoseconds) / 1e6);
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    std::setvbuf(stdout, nullptr, _IOLBF, 0); // what was measured is told whatever happens then
    QApplication application(argc, argv);
    const QStringList words = QCoreApplication::arguments().sliced(1);
    if (words.size() < 3) {
        std::fprintf(stderr, "folder DIRECTORY GROUP, next DIRECTORY GROUP COUNT or "
                             "arrive DIRECTORY GROUP ACCOUNT\n");
        return 2;
    }
    setReportSink([](const Report &report) { qFatal("%s", qPrintable(report.text)); });
    Program program(words[1]);
    const Group *group = program.engine.groups().find(words[2]);
    if (!group) {
        std::fprintf(stderr, "there is no such group\n");
        return 1;
    }
    program.open();
    if (words[0] == "folder"_L1)
        return folder(program, group->number());
    if (words[0] == "arrive"_L1)
        return arrive(program, group->number(), words.value(3));
    return next(program, group->number(), words.value(3).toInt());
}
