// What each compression level makes of the messages of an mbox: how small, how fast. The level that the store
// uses was chosen with this.

#include "store/mailbox/mboxreader.h"

#include <QFile>

#include <libdeflate.h>

#include <cstdio>
#include <ctime>

namespace {

constexpr int kHighestLevel = 9;

struct Outcome
{
    double packed = 0; ///< bytes; a message that does not shrink counts with its own
    double seconds = 0;
};

Outcome pack(const QList<QByteArray> &texts, int level)
{
    Outcome outcome;
    libdeflate_compressor *compressor = libdeflate_alloc_compressor(level);
    QByteArray target;
    const std::clock_t start = std::clock(); // of the processor, so that other work does not count
    for (const QByteArray &text : texts) {
        target.resize(text.size());
        const std::size_t size =
            libdeflate_zlib_compress(compressor, text.constData(), std::size_t(text.size()), target.data(),
                                     std::size_t(target.size()));
        outcome.packed += size > 0 ? double(size) : double(text.size());
    }
    outcome.seconds = double(std::clock() - start) / CLOCKS_PER_SEC;
    libdeflate_free_compressor(compressor);
    return outcome;
}

} // namespace

int main(int argc, char **argv)
{
    QFile file(argc == 2 ? QFile::decodeName(argv[1]) : QString());
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "an mbox is wanted\n");
        return 1;
    }
    QList<QByteArray> texts;
    double bytes = 0;
    MboxReader reader(file);
    for (MboxMessage mail; reader.next(mail) == MboxReader::Outcome::Message;) {
        bytes += double(mail.text.size());
        texts.append(std::exchange(mail.text, {}));
    }
    std::printf("level  size %%   MB/s\n");
    for (int level = 1; level <= kHighestLevel; ++level) {
        const Outcome outcome = pack(texts, level);
        std::printf("%5d  %6.2f %6.0f\n", level, 100 * outcome.packed / bytes, bytes / 1e6 / outcome.seconds);
    }
}
