#include "message/message.h"
#include "ui/reader/datacard.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QByteArray mail(const QByteArray &type, const QByteArray &body)
{
    return "From: Ada <ada@example.org>\nMIME-Version: 1.0\nContent-Type: " + type + "\n\n" + body;
}

/// "badge|title|label=value <link>|..." of every card.
QStringList written(const QList<DataCard> &cards)
{
    QStringList out;
    for (const DataCard &card : cards) {
        QStringList rows{card.badge, card.title};
        for (const DataCard::Row &row : card.rows)
            rows.append(row.label + u'=' + row.value +
                        (row.link.isEmpty() ? QString() : u" -> "_s + row.link));
        out.append(rows.join(u'|'));
    }
    return out;
}

QString calendarOf(const QString &lines, const QString &method = {})
{
    return u"BEGIN:VCALENDAR\n"_s + method + u"BEGIN:VEVENT\nSUMMARY:S\n"_s + lines +
           u"END:VEVENT\nEND:VCALENDAR\n"_s;
}

} // namespace

class ReaderCardsTest : public QObject
{
    Q_OBJECT

private slots:
    void contacts_data();
    void contacts();
    void events_data();
    void events();
    void recurrences_data();
    void recurrences();
    void reports_data();
    void reports();
    void elsewhere();
    void manyCards();
};

void ReaderCardsTest::contacts_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("cards");
    QTest::newRow("version 3")
        << u"BEGIN:VCARD\nFN:Ann B\nN:B;Ann;;;\nORG:Press;Almanac\nitem1.EMAIL;TYPE=WORK:ann@b.example\n"
           "TEL;TYPE=cell,voice:+1 2\nADR;TYPE=home:;;Quay "
           "4;Port;;123;Land\nBDAY:1985-04-12\nNOTE:one\\ntwo\n"
           "END:VCARD\n"_s
        << QStringList{u"Contact|Ann B|Organisation=Press, Almanac|Mail (work)=ann@b.example -> "
                       "mailto:ann@b.example|Phone (mobile)=+1 2|Address (home)=Quay 4, Port, 123, Land|"
                       "Birthday=Friday, 12 April 1985|Note=one\ntwo"_s};
    QTest::newRow("the name out of its parts")
        << u"BEGIN:VCARD\nN:B;Ann;C.;Dr.;PhD\nEND:VCARD"_s << QStringList{u"Contact|Dr. Ann C. B PhD"_s};
    QTest::newRow("an organisation alone")
        << u"BEGIN:VCARD\nORG:Press\nEND:VCARD"_s << QStringList{u"Contact|Press"_s};
    QTest::newRow("version 4, a birthday without a year")
        << u"BEGIN:VCARD\nFN:A\nTEL;VALUE=uri:tel:+1-2\nBDAY:--0412\nEND:VCARD"_s
        << QStringList{u"Contact|A|Phone=+1-2|Birthday=12 April"_s};
    QTest::newRow("a link that harms, an address that is none")
        << u"BEGIN:VCARD\nFN:A\nURL:javascript:alert(1)\nEMAIL:nobody\nEND:VCARD"_s
        << QStringList{u"Contact|A|Website=javascript:alert(1)|Mail=nobody"_s};
    QTest::newRow("an address with signs")
        << u"BEGIN:VCARD\nFN:A\nEMAIL:a?b&c@d.example\nEND:VCARD"_s
        << QStringList{u"Contact|A|Mail=a?b&c@d.example -> mailto:a%3Fb%26c@d.example"_s};
    QTest::newRow("nothing in it") << u"BEGIN:VCARD\nVERSION:3.0\nEND:VCARD"_s << QStringList();
    QTest::newRow("no card") << u"Hello\nFN:x\n"_s << QStringList();
}

void ReaderCardsTest::contacts()
{
    QFETCH(QString, text);
    QTEST(written(contactCards(text)), "cards");
}

void ReaderCardsTest::events_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("cards");
    QTest::newRow("UTC, same day") << calendarOf(u"DTSTART:20261120T100000Z\nDTEND:20261120T113000Z\n"_s)
                                   << QStringList{u"Event|S|When=Friday, 20 November 2026, 10:00 – 11:30"_s};
    QTest::newRow("a zone of its own")
        << calendarOf(u"DTSTART;TZID=Asia/Tokyo:20261120T100000\nDURATION:PT90M\n"_s)
        << QStringList{u"Event|S|When=Friday, 20 November 2026, 01:00 – 02:30|"
                       "There=10:00 in Asia/Tokyo"_s};
    QTest::newRow("a zone that the calendar defines")
        << u"BEGIN:VCALENDAR\nBEGIN:VTIMEZONE\nTZID:Own\nBEGIN:STANDARD\nTZOFFSETTO:-0330\nEND:STANDARD\n"
           "END:VTIMEZONE\nBEGIN:VEVENT\nSUMMARY:S\nDTSTART;TZID=Own:20261120T100000\nEND:VEVENT\nEND:VCALENDAR"_s
        << QStringList{u"Event|S|When=Friday, 20 November 2026, 13:30|There=10:00 in UTC-03:30"_s};
    QTest::newRow("a zone nobody knows")
        << calendarOf(u"DTSTART;TZID=Nowhere:20261120T100000\n"_s)
        << QStringList{u"Event|S|When=Friday, 20 November 2026, 10:00 (Nowhere)"_s};
    QTest::newRow("a whole day") << calendarOf(u"DTSTART;VALUE=DATE:20261120\nDTEND;VALUE=DATE:20261121\n"_s)
                                 << QStringList{u"Event|S|When=Friday, 20 November 2026"_s};
    QTest::newRow("whole days")
        << calendarOf(u"DTSTART;VALUE=DATE:20261120\nDTEND;VALUE=DATE:20261123\n"_s)
        << QStringList{u"Event|S|When=Friday, 20 November 2026 to Sunday, 22 November 2026"_s};
    QTest::newRow("an invitation, with people and answers")
        << calendarOf(
               u"ORGANIZER;CN=Ann:mailto:ann@b.example\nATTENDEE;CN=Cy;PARTSTAT=ACCEPTED:mailto:cy@d."
               u"example\n"
               "ATTENDEE;PARTSTAT=NEEDS-ACTION;ROLE=OPT-PARTICIPANT:MAILTO:e@f.example\nSTATUS:TENTATIVE\n"
               "LOCATION:Room\\, 4\n"_s,
               u"METHOD:REQUEST\n"_s)
        << QStringList{u"Invitation|S|Where=Room, 4|Status=Tentative|Organiser=Ann <ann@b.example> -> "
                       "mailto:ann@b.example|Invited=Cy <cy@d.example>: accepted\n"
                       "e@f.example: optional, no answer yet"_s};
    QTest::newRow("a changed invitation")
        << calendarOf(u"SEQUENCE:2\n"_s, u"METHOD:REQUEST\n"_s) << QStringList{u"Changed invitation|S"_s};
    QTest::newRow("called off") << calendarOf(u"STATUS:CANCELLED\n"_s, u"METHOD:cancel\n"_s)
                                << QStringList{u"Cancelled|S|Status=Cancelled"_s};
    QTest::newRow("a lying organiser")
        << calendarOf(u"ORGANIZER;CN=\"boss@bank.example\":mailto:x@y.example\n"_s)
        << QStringList{u"Event|S|Organiser=x@y.example -> mailto:x@y.example"_s};
    QTest::newRow("a task") << u"BEGIN:VCALENDAR\nBEGIN:VTODO\nSUMMARY:Do\nDUE:20261120T100000Z\n"
                               "PERCENT-COMPLETE:40\nSTATUS:IN-PROCESS\nEND:VTODO\nEND:VCALENDAR"_s
                            << QStringList{u"Task|Do|Due=Friday, 20 November 2026, 10:00|"
                                           "Status=In progress, 40 % done"_s};
    QTest::newRow("dates that are none")
        << calendarOf(u"DTSTART:tomorrow\nDTEND:20269999T1\nRRULE:\n"_s) << QStringList{u"Event|S"_s};
}

void ReaderCardsTest::events()
{
    QFETCH(QString, text);
    QTEST(written(calendarCards(text)), "cards");
}

void ReaderCardsTest::recurrences_data()
{
    QTest::addColumn<QString>("rule");
    QTest::addColumn<QString>("words");
    const auto row = [](const char *rule, const QString &words) {
        QTest::newRow(rule) << QString::fromLatin1(rule) << words;
    };
    row("FREQ=DAILY", u"Every day"_s);
    row("FREQ=WEEKLY;INTERVAL=2;BYDAY=MO,TH;COUNT=10", u"Every 2 weeks on Monday and Thursday, 10 times"_s);
    row("FREQ=WEEKLY;BYDAY=MO,TU,WE,TH,FR", u"Every week on weekdays"_s);
    row("FREQ=MONTHLY;BYDAY=2TU", u"Every month on the second Tuesday"_s);
    row("FREQ=MONTHLY;BYDAY=-1FR", u"Every month on the last Friday"_s);
    row("FREQ=MONTHLY;BYMONTHDAY=15", u"Every month on day 15"_s);
    row("FREQ=YEARLY;UNTIL=20300101T000000Z", u"Every year, until 1 Jan 2030"_s);
    row("FREQ=MONTHLY;BYDAY=MO;BYSETPOS=-1", u"Repeats"_s);
    row("FREQ=WEEKLY;BYDAY=XX", u"Repeats"_s);
    row("FREQ=MONTHLY;BYDAY=,,", u"Every month"_s);
    row("nonsense;;=;COUNT=x", u"Repeats"_s);
}

void ReaderCardsTest::recurrences()
{
    QFETCH(QString, rule);
    QFETCH(QString, words);
    QCOMPARE(written(calendarCards(calendarOf(u"RRULE:"_s + rule + u'\n'))),
             QStringList{u"Event|S|Repeats="_s + words});
}

void ReaderCardsTest::reports_data()
{
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QStringList>("cards");
    const auto delivery = [](const char *name, const QByteArray &content, const QStringList &cards) {
        QTest::newRow(name) << QByteArray("message/delivery-status") << content << cards;
    };
    delivery("failed",
             "Reporting-MTA: dns; a\n\nFinal-Recipient: rfc822; x@y\nAction: failed\nStatus: 5.2.2\n",
             {u"Delivery report|Your message to x@y could not be delivered: the mailbox is full (5.2.2)"_s});
    delivery("several, an unknown status, a date",
             "A: b\n\nFinal-Recipient: rfc822; x@y\nAction: delayed\nStatus: 4.9.9\n"
             "Will-Retry-Until: Sun, 22 Nov 2026 10:00:00 +0000\n\n"
             "Original-Recipient: rfc822; o@y\nFinal-Recipient: rfc822; z@y\nAction: relayed\n",
             {u"Delivery report|Your message to x@y has not been delivered yet (4.9.9)|"
              "Will be tried until=Sunday, 22 November 2026 10:00"_s,
              u"Delivery report|Your message to z@y was passed on to a server that sends no reports|"
              "Sent to=o@y"_s});
    const auto receipt = [](const char *name, const QByteArray &content, const QStringList &cards) {
        QTest::newRow(name) << QByteArray("message/disposition-notification") << content << cards;
    };
    receipt("read", "Final-Recipient: rfc822;a@b\nDisposition: manual-action/MDN-sent-manually; displayed\n",
            {u"Receipt|a@b has read your message"_s});
    receipt(
        "deleted by a program",
        "Final-Recipient: rfc822;a@b\nDisposition: automatic-action/MDN-sent-automatically; deleted/error\n",
        {u"Receipt|a@b has deleted your message|Sent=by a program, without asking"_s});
    receipt("a word nobody knows", "Final-Recipient: rfc822;a@b\nDisposition: x/y; <b>eaten</b>\n",
            {u"Receipt|a@b says of your message: <b>eaten<"_s});
    receipt("nobody", "Disposition: x/y; displayed\n", {});
}

void ReaderCardsTest::reports()
{
    QFETCH(QByteArray, type);
    QFETCH(QByteArray, content);
    const Message message("Content-Type: multipart/report; boundary=b\n\n--b\nContent-Type: " + type +
                          "\n\n" + content + "\n--b--\n");
    QTEST(written(partCards(message, 0)), "cards");
}

void ReaderCardsTest::elsewhere()
{
    const Message message(
        mail("message/external-body; access-type=URL; URL=\"https://f.example/\n big.iso\"; size=2000000",
             "Content-Type: application/zip\n\n"));
    QCOMPARE(written(partCards(message, 0)),
             QStringList{u"Kept elsewhere|This content lies on the web. It was not fetched.|"
                         "Address=https://f.example/big.iso -> https://f.example/big.iso|Size=2.0 MB"_s});
    const Message file(mail("message/external-body; access-type=local-file; name=\"/etc/passwd\"", "\n"));
    QCOMPARE(written(partCards(file, 0)).first(),
             u"Kept elsewhere|This content lies in a file of the sender's machine. It was not fetched.|"
             "Where=/etc/passwd"_s);
}

void ReaderCardsTest::manyCards()
{
    const QList<DataCard> cards = contactCards(u"BEGIN:VCARD\nFN:A\nEND:VCARD\n"_s.repeated(1000));
    QCOMPARE(cards.size(), kMostCards);
    QCOMPARE(cards.last().title, u"981 more contacts"_s);
}

QTEST_MAIN(ReaderCardsTest)
#include "readercards_test.moc"
