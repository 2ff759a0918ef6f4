// What the list of a large group costs the event loop, as the window shows it.
//
//   DIRECTORY GROUP    for each step: milliseconds until its result is shown, the longest hold on the way,
//   and
//                      the longest hold counted in time of the processor, which other programs do not
//                      lengthen

#include "config/directory.h"
#include "message/message.h"
#include "store/groupstore.h"
#include "ui/list/messagelist.h"
#include "ui/look/looks.h"

#include <QApplication>
#include <QDateTime>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <malloc.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int kLongest = 60'000; ///< milliseconds that a step may take

double millisecondsOf(clockid_t clock)
{
    timespec now = {};
    clock_gettime(clock, &now);
    return double(now.tv_sec) * 1e3 + double(now.tv_nsec) / 1e6;
}

struct Longest
{
    double held = 0;
    double worked = 0;

    void of(const std::function<void()> &act)
    {
        const double wall = millisecondsOf(CLOCK_MONOTONIC);
        const double processor = millisecondsOf(CLOCK_PROCESS_CPUTIME_ID);
        act();
        held = std::max(held, millisecondsOf(CLOCK_MONOTONIC) - wall);
        worked = std::max(worked, millisecondsOf(CLOCK_PROCESS_CPUTIME_ID) - processor);
    }
};

/// Does something and lets events come until @p isDone.
void measure(const char *name, const std::function<void()> &act, const std::function<bool()> &isDone)
{
    const double start = millisecondsOf(CLOCK_MONOTONIC);
    Longest longest;
    longest.of(act);
    for (int quiet = 0; quiet < 3 && millisecondsOf(CLOCK_MONOTONIC) - start < kLongest;
         quiet = isDone() ? quiet + 1 : 0)
        longest.of([] { QCoreApplication::processEvents(); });
    std::printf("%-28s shown %8.1f  held %7.1f  worked %7.1f\n", name,
                millisecondsOf(CLOCK_MONOTONIC) - start, longest.held, longest.worked);
    std::fflush(stdout);
}

qint64 heapBytes()
{
    const struct mallinfo2 info = mallinfo2();
    return qint64(info.uordblks + info.hblkhd);
}

void sortByEach(MessageList &list)
{
    MessageListModel &model = list.messages();
    bool sorting = false;
    QObject::connect(&model, &MessageListModel::sortingEnded, &list, [&sorting] { sorting = false; });
    for (int column = 0; column < kMessageColumnCount; ++column) {
        const QByteArray name = QByteArray("sort by ") + kMessageColumns[std::size_t(column)].name;
        measure(
            name.constData(),
            [&] {
                sorting = isTextColumn(MessageColumn(column));
                list.sortByColumn(column, Qt::AscendingOrder);
            },
            [&sorting] { return !sorting; });
    }
    measure(
        "sort by Date", [&] { list.sortByColumn(int(MessageColumn::Date), Qt::DescendingOrder); },
        [] { return true; });
    QObject::disconnect(&model, &MessageListModel::sortingEnded, &list, nullptr);
}

void filterByTyping(MessageListModel &model)
{
    const auto isDone = [&model] { return !model.isFiltering(); };
    QString typed;
    for (const QChar letter : u"report"_s) {
        typed += letter;
        const QByteArray name = "filter \"" + typed.toLatin1() + '"';
        measure(
            name.constData(),
            [&] {
                model.setFilter({false, false, false, typed});
            },
            isDone);
    }
    measure(
        "filter unread",
        [&] {
            model.setFilter({true, false, false, {}});
        },
        isDone);
    measure(
        "no filter", [&] { model.setFilter({}); }, isDone);
}

void arrive(MessageListModel &model, GroupStore &store, Group &group, const char *name)
{
    const int before = model.totalCount();
    measure(
        name,
        [&] {
            store.add(group, Message("From: Ada <a@example.org>\nSubject: New\n\nHello\n"), Marks(), 0,
                      QDateTime::currentSecsSinceEpoch());
        },
        [&] { return model.totalCount() > before; });
}

void run(GroupStore &store, Group &group)
{
    const auto atOnce = [] { return true; };
    MessageList list;
    MessageListModel &model = list.messages();
    list.resize(1000, 600);
    list.show();
    QCoreApplication::processEvents();
    const qint64 before = heapBytes();
    measure(
        "open", [&] { list.setGroup(&group, {}); }, atOnce);
    std::printf("rows %d, heap %.1f bytes a row\n", group.rowCount(),
                double(heapBytes() - before) / std::max(1, group.rowCount()));
    measure(
        "expand all", [&] { model.setAllExpanded(true); }, atOnce);
    arrive(model, store, group, "one arrives, expanded");
    measure(
        "select all", [&] { list.selectAll(); }, atOnce);
    arrive(model, store, group, "one arrives, all selected");
    measure(
        "to the end", [&] { list.scrollToBottom(); }, atOnce);
    measure(
        "to the top", [&] { list.scrollToTop(); }, atOnce);
    measure(
        "collapse all", [&] { model.setAllExpanded(false); }, atOnce);
    measure(
        "two lines", [&] { list.setTwoLines(true); }, atOnce);
    measure(
        "one line", [&] { list.setTwoLines(false); }, atOnce);
    sortByEach(list);
    filterByTyping(model);
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    const QStringList words = QCoreApplication::arguments().sliced(1);
    if (words.size() != 2) {
        std::fprintf(stderr, "DIRECTORY GROUP\n");
        return 2;
    }
    setConfigDirectory(words[0]);
    const Looks looks;
    GroupStore store;
    Group *group = store.load() ? store.find(words[1]) : nullptr;
    if (!group) {
        std::fprintf(stderr, "there is no such group\n");
        return 1;
    }
    run(store, *group);
    return store.close() ? 0 : 1;
}
