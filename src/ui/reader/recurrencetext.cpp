#include "ui/reader/calendartime.h"

#include "ui/texts/datetext.h"

#include <QCoreApplication>
#include <QHash>
#include <QLocale>

using namespace Qt::StringLiterals;

namespace {

using Rule = QHash<QString, QString>; ///< "FREQ" to "WEEKLY"

QString translated(const char *text)
{
    return QCoreApplication::translate("RecurrenceText", text);
}

struct FrequencyRow
{
    const char *frequency;
    const char *once;
    const char *several;
};

constexpr FrequencyRow kFrequencies[] = {
    {"DAILY", QT_TRANSLATE_NOOP("RecurrenceText", "Every day"),
     QT_TRANSLATE_NOOP("RecurrenceText", "Every %1 days")},
    {"WEEKLY", QT_TRANSLATE_NOOP("RecurrenceText", "Every week"),
     QT_TRANSLATE_NOOP("RecurrenceText", "Every %1 weeks")},
    {"MONTHLY", QT_TRANSLATE_NOOP("RecurrenceText", "Every month"),
     QT_TRANSLATE_NOOP("RecurrenceText", "Every %1 months")},
    {"YEARLY", QT_TRANSLATE_NOOP("RecurrenceText", "Every year"),
     QT_TRANSLATE_NOOP("RecurrenceText", "Every %1 years")},
};

constexpr const char *kOrdinals[] = {
    QT_TRANSLATE_NOOP("RecurrenceText", "the last %1"),   QT_TRANSLATE_NOOP("RecurrenceText", "the first %1"),
    QT_TRANSLATE_NOOP("RecurrenceText", "the second %1"), QT_TRANSLATE_NOOP("RecurrenceText", "the third %1"),
    QT_TRANSLATE_NOOP("RecurrenceText", "the fourth %1"), QT_TRANSLATE_NOOP("RecurrenceText", "the fifth %1"),
};

constexpr QStringView kWeekdays = u"MOTUWETHFRSASU";

/// 1 for Monday; 0 for what is no weekday.
int weekdayOf(QStringView code)
{
    const qsizetype at = code.size() == 2 ? kWeekdays.indexOf(code) : -1;
    return at < 0 || at % 2 ? 0 : int(at / 2) + 1;
}

Rule readRule(const QString &text)
{
    Rule rule;
    const QStringList parts = text.toUpper().split(u';', Qt::SkipEmptyParts);
    for (const QString &part : parts)
        rule.insert(part.section(u'=', 0, 0).trimmed(), part.section(u'=', 1).trimmed());
    return rule;
}

QString listText(const QStringList &words)
{
    if (words.size() < 2)
        return words.join(QString());
    return translated("%1 and %2").arg(words.first(words.size() - 1).join(u", "_s), words.last());
}

/// "Monday", "the second Tuesday"; empty when it is neither.
QString dayWords(const QString &code)
{
    const int weekday = weekdayOf(QStringView(code).last(std::min<qsizetype>(2, code.size())));
    if (weekday == 0)
        return {};
    const QString name = QLocale().dayName(weekday);
    if (code.size() == 2)
        return name;
    const int number = QStringView(code).first(code.size() - 2).toInt();
    return number == -1 || (number >= 1 && number <= 5) ? translated(kOrdinals[std::max(number, 0)]).arg(name)
                                                        : QString();
}

/// The days of the rule; false when there is something in it that has no words here.
bool addDays(const Rule &rule, QString &text)
{
    QStringList words;
    const QStringList days = rule.value(u"BYDAY"_s).split(u',', Qt::SkipEmptyParts);
    for (const QString &day : days)
        words.append(dayWords(day.trimmed()));
    if (words.size() > 7 || words.contains(QString()))
        return false;
    if (words.size() == 5 && !days.contains(u"SA"_s) && !days.contains(u"SU"_s))
        words = {translated("weekdays")};
    if (!words.isEmpty())
        text = translated("%1 on %2").arg(text, listText(words));
    const QString monthDay = rule.value(u"BYMONTHDAY"_s);
    if (monthDay.isEmpty())
        return true;
    if (!words.isEmpty() || monthDay.contains(u','))
        return false;
    const int number = monthDay.toInt();
    if (number == -1)
        text = translated("%1 on the last day").arg(text);
    else if (number >= 1 && number <= 31 && rule.value(u"FREQ"_s) == u"MONTHLY")
        text = translated("%1 on day %2").arg(text).arg(number);
    else
        return rule.value(u"FREQ"_s) == u"YEARLY" && number >= 1;
    return true;
}

bool isSimple(const Rule &rule)
{
    for (const auto *key : {"BYSETPOS", "BYWEEKNO", "BYYEARDAY", "BYHOUR", "BYMINUTE", "BYSECOND"})
        if (rule.contains(QString::fromLatin1(key)))
            return false;
    return !rule.contains(u"BYMONTH"_s) || rule.value(u"FREQ"_s) == u"YEARLY";
}

QString frequencyText(const Rule &rule)
{
    const int interval = std::max(1, rule.value(u"INTERVAL"_s).toInt());
    for (const FrequencyRow &row : kFrequencies)
        if (rule.value(u"FREQ"_s) == QLatin1String(row.frequency))
            return interval == 1 ? translated(row.once) : translated(row.several).arg(interval);
    return {};
}

} // namespace

QString recurrenceText(const QString &text, const CalendarTime &start)
{
    if (text.trimmed().isEmpty())
        return {};
    const Rule rule = readRule(text);
    QString words = frequencyText(rule);
    if (words.isEmpty() || !isSimple(rule) || !addDays(rule, words))
        words = translated("Repeats");
    if (const int count = rule.value(u"COUNT"_s).toInt(); count > 0)
        return count == 1 ? translated("%1, once").arg(words)
                          : translated("%1, %2 times").arg(words).arg(count);
    const CalendarTime until = CalendarTimes(ContentComponent()).read(rule.value(u"UNTIL"_s), {});
    if (!until.isValid())
        return words;
    const QDate last = start.wholeDay ? until.moment.date() : until.moment.toLocalTime().date();
    return translated("%1, until %2").arg(words, dayText(last, true));
}
