#include "ui/texts/messagetexts.h"

#include "config/clock.h"
#include "message/address.h"
#include "ui/texts/datetext.h"
#include "ui/texts/harmless.h"

#include <QCoreApplication>
#include <QLocale>

using namespace Qt::StringLiterals;

namespace {

constexpr int kDaysOfAWeek = 6; ///< on the seventh day back the weekday is that of today

QString translated(const char *text)
{
    return QCoreApplication::translate("MessageTexts", text);
}

QDateTime localTime(qint64 date)
{
    return QDateTime::fromSecsSinceEpoch(date);
}

QString withoutQuotes(QStringView name)
{
    name = name.trimmed();
    if (name.size() >= 2 && name.front() == u'"' && name.back() == u'"')
        name = name.sliced(1, name.size() - 2).trimmed();
    return name.toString();
}

} // namespace

QString peopleOf(const QString &field)
{
    // One name with a comma in it, decoded, is still one name. A name that holds another address lies.
    const qsizetype open = field.lastIndexOf(u'<');
    if (open > 0 && field.endsWith(u'>') && field.indexOf(u'<') == open) {
        const QString name = withoutQuotes(QStringView(field).left(open));
        const QString address = field.sliced(open + 1).chopped(1);
        if (!name.isEmpty())
            return shownPerson({name, address}).name;
    }
    QStringList people;
    for (const Address &address : parseAddresses(field))
        people.append(shownPerson(address).name);
    return people.isEmpty() ? field : people.join(u", "_s);
}

QString shortDate(qint64 date)
{
    const QDateTime moment = localTime(date);
    const QDate today = clockNow().date();
    const qint64 days = moment.date().daysTo(today);
    if (days == 0)
        return timeText(moment.time());
    if (days > 0 && days <= kDaysOfAWeek)
        return QLocale().toString(moment.date(), u"ddd"_s) + u' ' + timeText(moment.time());
    return dayText(moment.date(), moment.date().year() != today.year());
}

QString longDate(qint64 date)
{
    return longDateText(localTime(date));
}

QString shortSize(quint32 bytes)
{
    return QLocale().formattedDataSize(bytes, 1, QLocale::DataSizeTraditionalFormat);
}

QString scoreText(int score)
{
    if (score == 0)
        return {};
    return score > 0 ? u'+' + QString::number(score) : QString::number(score);
}

QString subjectOrNone(const QString &subject)
{
    return subject.isEmpty() ? QCoreApplication::translate("MessageList", "(no subject)") : subject;
}

QString spokenRow(const Overview &overview, const QString &person, const QString &subject)
{
    struct Word
    {
        Mark mark;
        const char *word;
    };
    constexpr Word kWords[] = {
        {Mark::Flagged, QT_TRANSLATE_NOOP("MessageTexts", "flagged")},
        {Mark::Replied, QT_TRANSLATE_NOOP("MessageTexts", "replied")},
        {Mark::Forwarded, QT_TRANSLATE_NOOP("MessageTexts", "forwarded")},
        {Mark::Watched, QT_TRANSLATE_NOOP("MessageTexts", "watched")},
        {Mark::Ignored, QT_TRANSLATE_NOOP("MessageTexts", "ignored")},
        {Mark::Junk, QT_TRANSLATE_NOOP("MessageTexts", "junk")},
    };
    QStringList words;
    if (!overview.has(Mark::Read))
        words.append(translated("unread"));
    for (const Word &word : kWords) {
        if (overview.has(word.mark))
            words.append(translated(word.word));
    }
    words << person << subjectOrNone(subject) << shortDate(overview.date());
    if (overview.has(Mark::Attachments))
        words.append(translated("attachment"));
    return words.join(u", "_s);
}

QString messagesInWords(qint64 count)
{
    if (count == 0)
        return translated("no messages");
    return count == 1 ? translated("1 message") : translated("%1 messages").arg(QLocale().toString(count));
}

QString attachmentsInWords(qint64 count)
{
    if (count == 0)
        return translated("no attachments");
    return count == 1 ? translated("1 attachment")
                      : translated("%1 attachments").arg(QLocale().toString(count));
}
