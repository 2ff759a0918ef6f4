#include "message/date.h"

#include "config/clock.h"

#include <array>
#include <chrono>

using namespace Qt::StringLiterals;

namespace {

constexpr std::array kDayNames = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
constexpr std::array kMonthNames = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                    "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr qsizetype kLongestDate = 1000; ///< characters; what follows is not looked at

struct Zone
{
    const char *name;
    int minutes; ///< east of UTC
};

/// Names are ambiguous beyond those of RFC 5322; of each the meaning that mail uses most.
constexpr std::array kZones = {
    Zone{"UT", 0},     Zone{"UTC", 0},    Zone{"GMT", 0},     Zone{"Z", 0},       Zone{"WET", 0},
    Zone{"EST", -300}, Zone{"EDT", -240}, Zone{"CST", -360},  Zone{"CDT", -300},  Zone{"MST", -420},
    Zone{"MDT", -360}, Zone{"PST", -480}, Zone{"PDT", -420},  Zone{"AST", -240},  Zone{"ADT", -180},
    Zone{"NST", -210}, Zone{"NDT", -150}, Zone{"AKST", -540}, Zone{"AKDT", -480}, Zone{"HST", -600},
    Zone{"BST", 60},   Zone{"WEST", 60},  Zone{"CET", 60},    Zone{"MET", 60},    Zone{"MEZ", 60},
    Zone{"CEST", 120}, Zone{"MEST", 120}, Zone{"MESZ", 120},  Zone{"EET", 120},   Zone{"SAST", 120},
    Zone{"EEST", 180}, Zone{"MSK", 180},  Zone{"MSD", 240},   Zone{"IST", 330},   Zone{"SGT", 480},
    Zone{"HKT", 480},  Zone{"AWST", 480}, Zone{"JST", 540},   Zone{"KST", 540},   Zone{"ACST", 570},
    Zone{"ACDT", 630}, Zone{"AEST", 600}, Zone{"AEDT", 660},  Zone{"NZST", 720},  Zone{"NZDT", 780},
    Zone{"BRT", -180}, Zone{"ART", -180},
};

bool isDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

bool isLetter(QChar c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}

/// Reads on from a place in a text. What a step returns is false or -1 when the text does not go on that way;
/// the place is then of no more use.
class Reader
{
public:
    Reader(QStringView text, qsizetype at)
        : m_text(text)
        , m_at(at)
    {}

    qsizetype at() const { return m_at; }
    QChar next() const { return m_at < m_text.size() ? m_text[m_at] : QChar(); }

    /// A number of @p least to @p most digits that is not part of a longer one.
    int number(int least, int most)
    {
        const qsizetype from = m_at;
        int value = 0;
        for (; isDigit(next()) && m_at - from < most; ++m_at)
            value = value * 10 + next().digitValue();
        return m_at - from < least || isDigit(next()) ? -1 : value;
    }
    QStringView word()
    {
        const qsizetype from = m_at;
        while (next().isLetterOrNumber() || next() == u'_')
            ++m_at;
        return m_text.sliced(from, m_at - from);
    }
    bool blanks()
    {
        const qsizetype from = m_at;
        while (next() == u' ' || next() == u'\t')
            ++m_at;
        return m_at > from;
    }
    bool skip(QChar c)
    {
        const bool is = m_at < m_text.size() && m_text[m_at] == c;
        m_at += is ? 1 : 0;
        return is;
    }
    bool skipOneOf(QStringView characters)
    {
        return m_at < m_text.size() && characters.contains(m_text[m_at]) && skip(m_text[m_at]);
    }

private:
    QStringView m_text;
    qsizetype m_at;
};

/// 1 to 12 by the first three letters; 0 for no month.
int monthOf(QStringView word)
{
    for (std::size_t i = 0; word.size() >= 3 && i < kMonthNames.size(); ++i)
        if (word.first(3).compare(QLatin1StringView(kMonthNames[i]), Qt::CaseInsensitive) == 0)
            return int(i + 1);
    return 0;
}

int fullYear(int year)
{
    if (year < 50)
        return year + 2000;
    return year < 1000 ? year + 1900 : year;
}

/// A date and the stretch of the text that it was read from.
struct Day
{
    std::chrono::sys_days date;
    qsizetype begin = 0;
    qsizetype end = 0;
};

std::optional<Day> makeDay(int year, int month, int day, qsizetype begin, qsizetype end)
{
    if (year < 0 || month < 1 || day < 1)
        return {};
    const std::chrono::year_month_day date(std::chrono::year(fullYear(year)),
                                           std::chrono::month(unsigned(month)),
                                           std::chrono::day(unsigned(day)));
    return date.ok() ? std::optional(Day{date, begin, end}) : std::nullopt;
}

/// "30 Mar 2006", "3rd March 06", "06-Nov-94"
std::optional<Day> dayMonthWordYear(QStringView text, qsizetype from)
{
    Reader reader(text, from);
    const int day = reader.number(1, 2);
    if (day < 0)
        return {};
    if (isLetter(reader.next())) {
        const QString ending = reader.word().toString().toLower();
        if (ending != "st"_L1 && ending != "nd"_L1 && ending != "rd"_L1 && ending != "th"_L1)
            return {};
    }
    if (!reader.skip(u'-') && !reader.blanks())
        return {};
    const int month = monthOf(reader.word());
    if (month == 0 || (!reader.skip(u'-') && !reader.blanks()))
        return {};
    const int year = reader.number(2, 4);
    return makeDay(year, month, day, from, reader.at());
}

constexpr QStringView kNumberSeparators = u"-/.";

std::optional<Day> yearMonthDay(QStringView text, qsizetype from)
{
    Reader reader(text, from);
    const int year = reader.number(4, 4);
    if (year < 0 || !reader.skipOneOf(kNumberSeparators))
        return {};
    const int month = reader.number(1, 2);
    if (month < 0 || !reader.skipOneOf(kNumberSeparators))
        return {};
    const int day = reader.number(1, 2);
    return makeDay(year, month, day, from, reader.at());
}

std::optional<Day> dayMonthYear(QStringView text, qsizetype from)
{
    Reader reader(text, from);
    const int day = reader.number(1, 2);
    if (day < 0 || !reader.skipOneOf(kNumberSeparators))
        return {};
    const int month = reader.number(1, 2);
    if (month < 0 || !reader.skipOneOf(kNumberSeparators))
        return {};
    const int year = reader.number(1, 4);
    return makeDay(year, month, day, from, reader.at());
}

using Pattern = std::optional<Day> (*)(QStringView text, qsizetype from);

std::optional<Day> firstMatch(QStringView text, Pattern pattern)
{
    for (qsizetype at = 0; at < text.size(); ++at)
        if (isDigit(text[at]) && (at == 0 || !isDigit(text[at - 1])))
            if (const std::optional<Day> day = pattern(text, at))
                return day;
    return {};
}

/// The first number of two to four digits behind @p from that is neither part of a time nor of a zone.
int yearBehind(QStringView text, qsizetype from)
{
    for (qsizetype at = from; at < text.size(); ++at) {
        if (!isDigit(text[at]))
            continue;
        const QChar before = text[at - 1];
        Reader reader(text, at);
        const int year = reader.number(2, 4);
        if (year >= 0 && before != u':' && before != u'+' && before != u'-' && reader.next() != u':')
            return year;
        while (at + 1 < text.size() && isDigit(text[at + 1]))
            ++at;
    }
    return -1;
}

/// "Thu Mar 30 18:36:28 CEST 2006", "March 30, 2006"
std::optional<Day> asctimeOrder(QStringView text)
{
    for (qsizetype at = 0; at < text.size(); ++at) {
        if (!isLetter(text[at]) || (at > 0 && isLetter(text[at - 1])))
            continue;
        Reader reader(text, at);
        const int month = monthOf(reader.word());
        if (month == 0 || !reader.blanks())
            continue;
        const int day = reader.number(1, 2);
        if (day >= 0 && reader.next() != u':')
            if (const auto found = makeDay(yearBehind(text, reader.at()), month, day, at, reader.at()))
                return found;
    }
    return {};
}

std::optional<Day> findDay(QStringView text)
{
    for (const Pattern pattern : {dayMonthWordYear, yearMonthDay, dayMonthYear})
        if (const std::optional<Day> day = firstMatch(text, pattern))
            return day;
    return asctimeOrder(text);
}

/// Hours, minutes and seconds as seconds, and where the text goes on; -1 without a time.
struct TimeOfDay
{
    int seconds = -1;
    qsizetype end = 0;
};

TimeOfDay timeAt(QStringView text, qsizetype from)
{
    Reader reader(text, from);
    const int hours = reader.number(1, 2);
    if (hours < 0 || !reader.skip(u':'))
        return {};
    const int minutes = reader.number(1, 2);
    if (minutes < 0)
        return {};
    TimeOfDay time{hours * 3600 + minutes * 60, reader.at()};
    Reader behind = reader;
    const int seconds = behind.skip(u':') ? behind.number(1, 2) : -1;
    if (seconds >= 0)
        time = {time.seconds + seconds, behind.at()};
    return hours < 24 && minutes < 60 && seconds <= 60 ? time : TimeOfDay{}; // second 60 is a leap second
}

TimeOfDay findTime(QStringView text)
{
    for (qsizetype at = 0; at < text.size(); ++at) {
        if (!isDigit(text[at]) || (at > 0 && (isDigit(text[at - 1]) || text[at - 1] == u':')))
            continue;
        if (const TimeOfDay time = timeAt(text, at); time.seconds >= 0)
            return time;
    }
    return {};
}

/// Minutes east of UTC of an offset as "+0200", "+02:00", "-5", "+-0500"; empty when there is none.
std::optional<int> offsetIn(QStringView text)
{
    for (qsizetype at = 0; at + 1 < text.size(); ++at) {
        if ((text[at] != u'+' && text[at] != u'-') || !isDigit(text[at + 1]))
            continue;
        const int sign = text[at] == u'-' ? -1 : 1;
        qsizetype end = at + 1;
        while (end < text.size() && end - at <= 4 && isDigit(text[end]))
            ++end;
        int value = text.sliced(at + 1, end - at - 1).toInt();
        if (end - at <= 3) { // hours alone, or with minutes behind a colon
            Reader reader(text, end);
            const int minutes = reader.skip(u':') ? reader.number(2, 2) : 0;
            value = value * 100 + std::max(minutes, 0);
        }
        if (value / 100 < 24 && value % 100 < 60)
            return sign * (value / 100 * 60 + value % 100);
    }
    return {};
}

std::optional<int> namedZoneIn(QStringView text)
{
    for (qsizetype at = 0; at < text.size(); ++at) {
        if (!isLetter(text[at]))
            continue;
        const QStringView word = Reader(text, at).word();
        for (const Zone &zone : kZones)
            if (word.compare(QLatin1StringView(zone.name), Qt::CaseInsensitive) == 0)
                return zone.minutes;
        at += word.size();
    }
    return {};
}

/// @p seconds of a time that "am" or "pm" follows.
int withHalfOfDay(int seconds, QStringView behind)
{
    Reader reader(behind, 0);
    reader.blanks();
    const QStringView word = reader.word();
    const bool first = seconds < 12 * 3600;
    if (word.compare("pm"_L1, Qt::CaseInsensitive) == 0 && first)
        return seconds + 12 * 3600;
    if (word.compare("am"_L1, Qt::CaseInsensitive) == 0 && !first && seconds < 13 * 3600)
        return seconds - 12 * 3600;
    return seconds;
}

QByteArray twoDigits(int number)
{
    return QByteArray::number(number).rightJustified(2, '0');
}

QByteArray clockTime(const QTime &time)
{
    return twoDigits(time.hour()) + ':' + twoDigits(time.minute()) + ':' + twoDigits(time.second());
}

QByteArray dayName(const QDate &date)
{
    return kDayNames[std::size_t(date.dayOfWeek() - 1)];
}

QByteArray monthName(const QDate &date)
{
    return kMonthNames[std::size_t(date.month() - 1)];
}

} // namespace

std::optional<qint64> readDate(QStringView text)
{
    text = text.first(std::min(text.size(), kLongestDate));
    const std::optional<Day> day = findDay(text);
    if (!day)
        return {};
    const qint64 midnight = std::chrono::sys_seconds(day->date).time_since_epoch().count();
    QString rest = text.toString(); // without the date, whose "-06" is no zone
    rest.replace(day->begin, day->end - day->begin, QString(day->end - day->begin, u' '));
    const TimeOfDay time = findTime(rest);
    if (time.seconds < 0)
        return midnight;
    const QStringView behind = QStringView(rest).sliced(time.end);
    std::optional<int> zone = offsetIn(behind);
    if (!zone)
        zone = namedZoneIn(behind);
    return midnight + withHalfOfDay(time.seconds, behind) - zone.value_or(0) * 60;
}

QByteArray formatDate(const QDateTime &moment)
{
    const QDate date = moment.date();
    const int minutes = std::abs(moment.offsetFromUtc()) / 60;
    return dayName(date) + ", " + QByteArray::number(date.day()) + ' ' + monthName(date) + ' ' +
           twoDigits(date.year()) + ' ' + clockTime(moment.time()) + ' ' +
           (moment.offsetFromUtc() < 0 ? '-' : '+') + twoDigits(minutes / 60) + twoDigits(minutes % 60);
}

QByteArray formatDate()
{
    return formatDate(clockNow());
}

QByteArray mboxDate(const QDateTime &moment)
{
    const QDate date = moment.date();
    return dayName(date) + ' ' + monthName(date) + ' ' + twoDigits(date.day()) + ' ' +
           clockTime(moment.time()) + ' ' + QByteArray::number(date.year());
}
