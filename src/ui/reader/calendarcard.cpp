#include "ui/reader/datacard.h"

#include "html/urls.h"
#include "ui/reader/calendartime.h"
#include "ui/reader/cardtexts.h"
#include "ui/texts/datetext.h"
#include "ui/texts/harmless.h"

#include <QCoreApplication>
#include <QLocale>

using namespace Qt::StringLiterals;

namespace {

constexpr int kMostAttendees = 50;

QString translated(const char *text)
{
    return QCoreApplication::translate("CalendarCard", text);
}

struct Wording
{
    const char *code;
    const char *words;
};

/// What the sender wants with it (RFC 5546).
constexpr Wording kMethods[] = {
    {"REQUEST", QT_TRANSLATE_NOOP("CalendarCard", "Invitation")},
    {"CANCEL", QT_TRANSLATE_NOOP("CalendarCard", "Cancelled")},
    {"REPLY", QT_TRANSLATE_NOOP("CalendarCard", "Answer to an invitation")},
    {"COUNTER", QT_TRANSLATE_NOOP("CalendarCard", "Another time is proposed")},
    {"DECLINECOUNTER", QT_TRANSLATE_NOOP("CalendarCard", "The other time is declined")},
    {"REFRESH", QT_TRANSLATE_NOOP("CalendarCard", "The latest version is asked for")},
    {"ADD", QT_TRANSLATE_NOOP("CalendarCard", "More dates of an event")},
};

constexpr Wording kComponents[] = {
    {"VEVENT", QT_TRANSLATE_NOOP("CalendarCard", "Event")},
    {"VTODO", QT_TRANSLATE_NOOP("CalendarCard", "Task")},
    {"VJOURNAL", QT_TRANSLATE_NOOP("CalendarCard", "Journal entry")},
    {"VFREEBUSY", QT_TRANSLATE_NOOP("CalendarCard", "Free and busy times")},
};

constexpr Wording kStates[] = {
    {"CANCELLED", QT_TRANSLATE_NOOP("CalendarCard", "Cancelled")},
    {"TENTATIVE", QT_TRANSLATE_NOOP("CalendarCard", "Tentative")},
    {"CONFIRMED", QT_TRANSLATE_NOOP("CalendarCard", "Confirmed")},
    {"NEEDS-ACTION", QT_TRANSLATE_NOOP("CalendarCard", "Not begun")},
    {"IN-PROCESS", QT_TRANSLATE_NOOP("CalendarCard", "In progress")},
    {"COMPLETED", QT_TRANSLATE_NOOP("CalendarCard", "Done")},
};

constexpr Wording kAnswers[] = {
    {"ACCEPTED", QT_TRANSLATE_NOOP("CalendarCard", "accepted")},
    {"DECLINED", QT_TRANSLATE_NOOP("CalendarCard", "declined")},
    {"TENTATIVE", QT_TRANSLATE_NOOP("CalendarCard", "perhaps")},
    {"DELEGATED", QT_TRANSLATE_NOOP("CalendarCard", "sends somebody else")},
    {"COMPLETED", QT_TRANSLATE_NOOP("CalendarCard", "done")},
    {"IN-PROCESS", QT_TRANSLATE_NOOP("CalendarCard", "in progress")},
    {"NEEDS-ACTION", QT_TRANSLATE_NOOP("CalendarCard", "no answer yet")},
};

template <std::size_t size>
QString wordsFor(const Wording (&table)[size], const QString &code)
{
    for (const Wording &row : table)
        if (code.compare(QLatin1String(row.code), Qt::CaseInsensitive) == 0)
            return translated(row.words);
    return {};
}

class CardMaker
{
public:
    explicit CardMaker(const ContentComponent &calendar)
        : m_calendar(calendar)
        , m_times(calendar)
        , m_method(calendar.text("METHOD").trimmed())
    {}

    DataCard make(const ContentComponent &entry) const
    {
        DataCard card;
        card.badge = badgeFor(entry);
        card.title = harmlessLine(entry.text("SUMMARY"), 300);
        if (card.title.isEmpty())
            card.title = wordsFor(kComponents, QString::fromLatin1(entry.name));
        addTimes(card, entry);
        card.add(translated("Where"), harmlessLines(entry.text("LOCATION")));
        addState(card, entry);
        addPeople(card, entry);
        const QString url = harmlessLine(entry.text("URL"), 300);
        card.add(translated("Website"), url.isEmpty() ? url : isolatedAddress(url), safeTarget(url));
        card.add(translated("Note"), harmlessLines(entry.text("DESCRIPTION")));
        return card;
    }

private:
    QString badgeFor(const ContentComponent &entry) const
    {
        if (m_method.compare("REQUEST"_L1, Qt::CaseInsensitive) == 0 && entry.text("SEQUENCE").toInt() > 0)
            return translated("Changed invitation");
        const QString method = wordsFor(kMethods, m_method);
        return method.isEmpty() ? wordsFor(kComponents, QString::fromLatin1(entry.name)) : method;
    }

    CalendarTime endOf(const ContentComponent &entry, const CalendarTime &start) const
    {
        CalendarTime end = m_times.read(entry.line("DTEND"));
        if (!end.isValid() && start.isValid() && entry.line("DURATION")) {
            end = start;
            end.moment = start.moment.addSecs(calendarDuration(entry.text("DURATION")));
        }
        return end;
    }

    void addTimes(DataCard &card, const ContentComponent &entry) const
    {
        const CalendarTime start = m_times.read(entry.line("DTSTART"));
        const CalendarTime end = endOf(entry, start);
        card.add(entry.name == "VTODO" ? translated("Begins") : translated("When"),
                 calendarSpanText(start, end));
        addOwnTime(card, start);
        card.add(translated("Due"), calendarSpanText(m_times.read(entry.line("DUE")), {}));
        card.add(translated("Done on"), calendarSpanText(m_times.read(entry.line("COMPLETED")), {}));
        if (const ContentLine *rule = entry.line("RRULE"))
            card.add(translated("Repeats"), recurrenceText(rule->value, start));
        else if (entry.line("RDATE"))
            card.add(translated("Repeats"), translated("On several dates"));
        card.add(translated("Instead of"), calendarSpanText(m_times.read(entry.line("RECURRENCE-ID")), {}));
    }

    /// The time on the sender's clock, when that is another one.
    static void addOwnTime(DataCard &card, const CalendarTime &start)
    {
        const QDateTime own = start.moment;
        if (!start.isValid() || start.wholeDay || own.timeSpec() != Qt::TimeZone ||
            own.offsetFromUtc() == own.toLocalTime().offsetFromUtc())
            return;
        card.add(translated("There"),
                 translated("%1 in %2").arg(timeText(own.time()), QString::fromUtf8(own.timeZone().id())));
    }

    static void addState(DataCard &card, const ContentComponent &entry)
    {
        QString state = wordsFor(kStates, entry.text("STATUS").trimmed());
        const int percent = entry.text("PERCENT-COMPLETE").toInt();
        if (percent > 0 && percent < 100)
            state = state.isEmpty() ? translated("%1 % done").arg(percent)
                                    : translated("%1, %2 % done").arg(state).arg(percent);
        card.add(translated("Status"), state);
    }

    static QString person(const ContentLine &line)
    {
        return personText(line.parameter("CN"), addressOf(line.value));
    }

    static void addPeople(DataCard &card, const ContentComponent &entry)
    {
        if (const ContentLine *organiser = entry.line("ORGANIZER"))
            card.add(translated("Organiser"), person(*organiser), mailtoTarget(addressOf(organiser->value)));
        QStringList people;
        const QList<const ContentLine *> attendees = entry.linesNamed("ATTENDEE");
        for (const ContentLine *attendee :
             attendees.first(std::min<qsizetype>(attendees.size(), kMostAttendees))) {
            QString answer = wordsFor(kAnswers, attendee->parameter("PARTSTAT"));
            if (attendee->has("ROLE", u"OPT-PARTICIPANT"))
                answer = answer.isEmpty() ? translated("optional") : translated("optional, %1").arg(answer);
            people.append(answer.isEmpty() ? person(*attendee) : u"%1: %2"_s.arg(person(*attendee), answer));
        }
        if (attendees.size() > kMostAttendees)
            people.append(translated("%1 more").arg(QLocale().toString(attendees.size() - kMostAttendees)));
        card.add(translated("Invited"), people.join(u'\n'));
    }

    const ContentComponent &m_calendar;
    CalendarTimes m_times;
    QString m_method;
};

bool isEntry(const ContentComponent &component)
{
    return !wordsFor(kComponents, QString::fromLatin1(component.name)).isEmpty();
}

} // namespace

QList<DataCard> calendarCards(QStringView text)
{
    QList<DataCard> cards;
    qsizetype more = 0;
    const ContentComponent all = readContentComponents(text);
    for (const ContentComponent &calendar : all.components) {
        if (calendar.name != "VCALENDAR")
            continue;
        const CardMaker maker(calendar);
        for (const ContentComponent &entry : calendar.components) {
            if (!isEntry(entry))
                continue;
            if (cards.size() < kMostCards - 1)
                cards.append(maker.make(entry));
            else
                ++more;
        }
    }
    if (more > 0)
        cards.append({{}, translated("%1 more entries").arg(QLocale().toString(more)), {}});
    return cards;
}
