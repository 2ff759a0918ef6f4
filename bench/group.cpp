// Opens a group of a store and reads from it.
//
//   open DIRECTORY GROUP      until its list is ready: the files open, the rows in the order of their dates
//   read DIRECTORY GROUP N    N messages chosen at random, each checked by its CRC-32

#include "config/directory.h"
#include "random.h"
#include "store/compression.h"
#include "store/groupstore.h"
#ifdef BENCH_MODEL
#include "ui/list/messagelistmodel.h"
#endif

#include <QCoreApplication>
#include <QElapsedTimer>

#include <cstdio>
#include <malloc.h>

namespace {

qint64 heapBytes()
{
    const struct mallinfo2 info = mallinfo2();
    return qint64(info.uordblks + info.hblkhd);
}

double secondsOf(const QElapsedTimer &timer)
{
    return double(timer.nsecsElapsed()) / 1e9;
}

#ifdef BENCH_MODEL
/// The list as the window has it; with threads, as it is at first.
class List
{
public:
    explicit List(Group &group) { m_model.setGroup(&group); }
    int count() { return m_model.totalCount(); } ///< without the headings
    bool isReady()
    {
        const int first = m_model.messageNear(0, 1);
        const int last = m_model.messageNear(m_model.rowCount() - 1, -1);
        return first >= 0 && !m_model.refAt(first).isNull() && !m_model.refAt(last).isNull();
    }

private:
    MessageListModel m_model;
};
#else
/// The least that a list needs: the live rows by their dates.
class List
{
public:
    explicit List(Group &group)
    {
        for (int row = 0; row < group.rowCount(); ++row) {
            if (!group.row(row).isDead())
                m_rows.push_back({group.row(row).date(), row});
        }
        std::sort(m_rows.begin(), m_rows.end());
    }
    int count() const { return int(m_rows.size()); }
    bool isReady() const { return !m_rows.empty() && m_rows.front().first <= m_rows.back().first; }

private:
    std::vector<std::pair<qint64, int>> m_rows;
};
#endif

int open(Group &group)
{
    const qint64 before = heapBytes();
    QElapsedTimer timer;
    timer.start();
    const bool opened = group.open() == Group::Opened::Ready;
    List list(group);
    const double seconds = secondsOf(timer);
    if (!opened || !list.isReady()) {
        std::fprintf(stderr, "the list is not what it should be\n");
        return 1;
    }
    std::printf("rows %d\nheap %lld\nseconds %.6f\n", group.rowCount(),
                static_cast<long long>(heapBytes() - before), seconds);
    return 0;
}

int read(Group &group, int count)
{
    const int rows = group.rowCount(); // opens it
    Random random(1);
    qint64 bytes = 0;
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < count; ++i) {
        const Overview &overview = group.row(int(random.below(rows)));
        const QByteArray text = group.readMessage(overview);
        if (crc32Of(text) != overview.textCrc()) {
            std::fprintf(stderr, "a message is not what was stored\n");
            return 1;
        }
        bytes += text.size();
    }
    std::printf("bytes %lld\nseconds %.6f\n", static_cast<long long>(bytes), secondsOf(timer));
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QStringList words = QCoreApplication::arguments().sliced(1);
    if (words.size() < 3) {
        std::fprintf(stderr, "open DIRECTORY GROUP or read DIRECTORY GROUP COUNT\n");
        return 2;
    }
    setConfigDirectory(words[1]);
    GroupStore store;
    Group *group = store.load() ? store.find(words[2]) : nullptr;
    if (!group) {
        std::fprintf(stderr, "there is no such group\n");
        return 1;
    }
    const int status =
        words[0] == QStringLiteral("open") ? open(*group) : read(*group, words.value(3).toInt());
    return store.close() ? status : 1;
}
