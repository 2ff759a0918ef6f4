#include "store/mailbox/fromline.h"

#include <QDateTime>
#include <QList>
#include <QTimeZone>

#include <array>
#include <cstdio>
#include <cstring>

namespace {

constexpr std::array<QByteArrayView, 7> kDays = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
constexpr std::array<QByteArrayView, 12> kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                    "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

template <std::size_t N>
int indexOf(const std::array<QByteArrayView, N> &names, QByteArrayView word)
{
    for (std::size_t i = 0; i < N; ++i) {
        if (word.compare(names[i], Qt::CaseInsensitive) == 0)
            return int(i);
    }
    return -1;
}

QByteArrayView withoutComma(QByteArrayView word)
{
    return word.endsWith(',') ? word.chopped(1) : word;
}

/// A number of @p least to @p most digits, else -1.
int number(QByteArrayView word, qsizetype least, qsizetype most)
{
    if (word.size() < least || word.size() > most)
        return -1;
    int value = 0;
    for (const char c : word) {
        if (c < '0' || c > '9')
            return -1;
        value = value * 10 + (c - '0');
    }
    return value;
}

QTime timeOfDay(QByteArrayView word)
{
    const qsizetype minutes = word.indexOf(':') + 1;
    if (minutes == 0)
        return {};
    const qsizetype seconds = word.indexOf(':', minutes) + 1;
    const qsizetype minutesEnd = seconds > 0 ? seconds - 1 : word.size();
    return QTime(number(word.first(minutes - 1), 1, 2),
                 number(word.sliced(minutes, minutesEnd - minutes), 2, 2),
                 seconds > 0 ? number(word.sliced(seconds), 2, 2) : 0);
}

/// The seconds east of Greenwich for +hhmm; 0 for a name of up to five letters; nothing for anything else.
std::optional<int> zone(QByteArrayView word)
{
    if (word.size() == 5 && (word[0] == '+' || word[0] == '-')) {
        const int hhmm = number(word.sliced(1), 4, 4);
        if (hhmm < 0)
            return {};
        const int seconds = hhmm / 100 * 3600 + hhmm % 100 * 60;
        return word[0] == '-' ? -seconds : seconds;
    }
    const bool letters = std::all_of(word.begin(), word.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
    return letters && word.size() <= 5 ? std::optional(0) : std::nullopt;
}

using Words = QList<QByteArrayView>;

/// Time, year and zones from word @p at on, in any order: the rest of a date whose day is known.
std::optional<qint64> restOfDate(const Words &words, qsizetype at, int month, int day, int year)
{
    QTime time;
    int east = 0;
    for (; at < words.size(); ++at) {
        const QTime read = timeOfDay(words[at]);
        const int number4 = number(words[at], 4, 4);
        const std::optional<int> zoned = zone(words[at]);
        if (read.isValid() && !time.isValid())
            time = read;
        else if (number4 >= 1970 && year < 0)
            year = number4;
        else if (zoned)
            east = *zoned != 0 ? *zoned : east;
        else
            break;
    }
    const QDate date(year, month, day);
    if (!date.isValid() || !time.isValid())
        return {};
    return QDateTime(date, time, Qt::UTC).toSecsSinceEpoch() - east;
}

std::optional<qint64> dateAt(const Words &words, qsizetype at)
{
    if (at < words.size() && words[at].size() == 10 && words[at][4] == '-' && words[at][7] == '-') {
        const QByteArrayView day = words[at];
        return restOfDate(words, at + 1, number(day.sliced(5, 2), 2, 2), number(day.sliced(8), 2, 2),
                          number(day.first(4), 4, 4));
    }
    if (at + 1 >= words.size())
        return {};
    int month = indexOf(kMonths, words[at]);
    const QByteArrayView day = words[month < 0 ? at : at + 1];
    if (month < 0)
        month = indexOf(kMonths, words[at + 1]);
    return month < 0 ? std::nullopt
                     : restOfDate(words, at + 2, month + 1, number(withoutComma(day), 1, 2), -1);
}

Words wordsOf(QByteArrayView line)
{
    constexpr qsizetype kMostWords = 40;
    Words words;
    for (qsizetype at = 0; at < line.size() && words.size() < kMostWords;) {
        const auto blank = [&line](qsizetype i) { return line[i] == ' ' || line[i] == '\t'; };
        while (at < line.size() && blank(at))
            ++at;
        const qsizetype start = at;
        while (at < line.size() && !blank(at))
            ++at;
        if (at > start)
            words.append(line.sliced(start, at - start));
    }
    return words;
}

} // namespace

FromLine parseFromLine(QByteArrayView line)
{
    FromLine result;
    const QByteArrayView tail = line.sliced(qMin(line.size(), kFromWord.size())).trimmed();
    const Words words = wordsOf(tail);
    for (qsizetype i = 0; i < words.size(); ++i) {
        const bool weekday = indexOf(kDays, withoutComma(words[i])) >= 0;
        if (!weekday && i != 1)
            continue;
        result.date = dateAt(words, weekday ? i + 1 : i);
        if (result.date) {
            result.sender = tail.first(words[i].data() - tail.data()).trimmed().toByteArray();
            return result;
        }
    }
    result.senderOnly = words.size() <= 1;
    result.sender = words.isEmpty() ? QByteArray() : words.first().toByteArray();
    return result;
}

QByteArray makeFromLine(QByteArrayView sender, qint64 date)
{
    constexpr qsizetype kLongestSender = 320; // RFC 5321; readers give up on endless lines
    QByteArray line = kFromWord.toByteArray();
    sender = sender.trimmed();
    for (const char c : sender.first(qMin(sender.size(), kLongestSender)))
        line += uchar(c) <= ' ' || c == 127 ? '_' : c;
    if (line.size() == kFromWord.size())
        line += "MAILER-DAEMON";
    constexpr qint64 kYear9999 = 253402300799;
    const QDateTime when = QDateTime::fromSecsSinceEpoch(qBound(qint64(0), date, kYear9999), Qt::UTC);
    const QTime time = when.time();
    char text[40];
    std::snprintf(text, sizeof text, " %s %s %2d %02d:%02d:%02d %d\n",
                  kDays[std::size_t(when.date().dayOfWeek() - 1)].data(),
                  kMonths[std::size_t(when.date().month() - 1)].data(), when.date().day(), time.hour(),
                  time.minute(), time.second(), when.date().year());
    return line + text;
}

qsizetype nextFromLine(QByteArrayView text, qsizetype from)
{
    for (qsizetype hit = findBytes(text, kFromWord, from); hit >= 0;
         hit = findBytes(text, kFromWord, hit + kFromWord.size())) {
        qsizetype start = hit;
        while (start > from && text[start - 1] == '>')
            --start;
        if (start == 0 || text[start - 1] == '\n')
            return start;
    }
    return -1;
}

qsizetype findBytes(QByteArrayView text, QByteArrayView needle, qsizetype from)
{
    if (text.size() - from < needle.size())
        return -1;
    const char *const last = text.data() + text.size() - needle.size();
    for (const char *at = text.data() + from; at <= last; ++at) {
        at = static_cast<const char *>(std::memchr(at, needle[0], std::size_t(last - at + 1)));
        if (!at)
            break;
        // Nearly every line end is followed by something else than what is sought.
        if (at[1] == needle[1] && std::memcmp(at, needle.data(), std::size_t(needle.size())) == 0)
            return at - text.data();
    }
    return -1;
}
