#include "config/platform.h"
#include "config/settings.h"
#include "message/mimecontext.h"
#include "support/scratch.h"
#include "ui/look/looks.h"
#include "ui/look/messagebar.h"
#include "ui/reader/attachmentfiles.h"
#include "ui/reader/attachmentstrip.h"
#include "ui/reader/datacard.h"
#include "ui/reader/desktopapplications.h"
#include "ui/reader/headercard.h"
#include "ui/reader/messageview.h"
#include "ui/reader/openwithdialog.h"
#include "ui/reader/partsmodel.h"
#include "ui/reader/partstree.h"
#include "ui/reader/personactions.h"
#include "ui/reader/picturepane.h"
#include "ui/reader/previewcontent.h"
#include "ui/reader/previewwindow.h"
#include "ui/reader/readeractions.h"
#include "ui/reader/recipientsview.h"
#include "ui/reader/senderview.h"
#include "ui/reader/sourcewindow.h"

#include <QAction>
#include <QApplication>
#include <QBuffer>
#include <QClipboard>
#include <QDir>
#include <QListView>
#include <QListWidget>
#include <QMenu>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QSysInfo>
#include <QTest>
#include <QTextBrowser>
#include <QTreeView>

using namespace Qt::StringLiterals;

namespace {

QByteArray mail(const QByteArray &type, const QByteArray &body, const QByteArray &more = {})
{
    return "From: Ada <ada@example.org>\nTo: Bob <bob@example.org>, Cy <cy@example.org>\nSubject: Hello\n"
           "Date: Fri, 20 Nov 2026 10:00:00 +0900\nMIME-Version: 1.0\nContent-Type: " +
           type + "\n" + more + "\n" + body;
}

QByteArray part(const QByteArray &type, const QByteArray &bytes)
{
    return "--b\nContent-Type: " + type + "\nContent-Transfer-Encoding: base64\n\n" + bytes.toBase64() + "\n";
}

QByteArray mixed(const QList<QByteArray> &parts)
{
    return mail("multipart/mixed; boundary=b", "--b\n\nText\n" + parts.join() + "--b--\n");
}

QByteArray picture()
{
    QImage image(8, 6, QImage::Format_RGB32);
    image.fill(Qt::red);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
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

class ReaderPartsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { m_looks.start(); }
    void init();
    void cleanup();

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
    void cardsInTheText();
    void headerFields_data();
    void headerFields();
    void peopleByKeyboard();
    void menuOfAPerson();
    void everyLetterOfTheSender();
    void headerIsNoMarkup();
    void tags();
    void previewKinds_data();
    void previewKinds();
    void previews();
    void enclosedMessage();
    void applications();
    void commands_data();
    void commands();
    void openWith();
    void copiesOfDeadRuns();
    void partsTree();
    void sourceShowsEverything();
    void piecesAreJoined();

private:
    void show(const QByteArray &text);
    template <typename Window>
    Window *opened()
    {
        return m_view->findChild<Window *>();
    }

    Looks m_looks;
    std::unique_ptr<Scratch> m_scratch;
    std::unique_ptr<MessageView> m_view;
};

void ReaderPartsTest::init()
{
    m_scratch = std::make_unique<Scratch>();
    m_view = std::make_unique<MessageView>();
    m_view->resize(900, 600);
    m_view->show();
    m_view->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(m_view.get()));
}

void ReaderPartsTest::cleanup()
{
    m_view.reset();
    m_scratch.reset();
}

void ReaderPartsTest::show(const QByteArray &text)
{
    m_view->showMessage(Message(text));
    QApplication::processEvents();
}

void ReaderPartsTest::contacts_data()
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

void ReaderPartsTest::contacts()
{
    QFETCH(QString, text);
    QTEST(written(contactCards(text)), "cards");
}

void ReaderPartsTest::events_data()
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

void ReaderPartsTest::events()
{
    QFETCH(QString, text);
    QTEST(written(calendarCards(text)), "cards");
}

void ReaderPartsTest::recurrences_data()
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

void ReaderPartsTest::recurrences()
{
    QFETCH(QString, rule);
    QFETCH(QString, words);
    QCOMPARE(written(calendarCards(calendarOf(u"RRULE:"_s + rule + u'\n'))),
             QStringList{u"Event|S|Repeats="_s + words});
}

void ReaderPartsTest::reports_data()
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

void ReaderPartsTest::reports()
{
    QFETCH(QByteArray, type);
    QFETCH(QByteArray, content);
    const Message message("Content-Type: multipart/report; boundary=b\n\n--b\nContent-Type: " + type +
                          "\n\n" + content + "\n--b--\n");
    QTEST(written(partCards(message, 0)), "cards");
}

void ReaderPartsTest::elsewhere()
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

void ReaderPartsTest::manyCards()
{
    const QList<DataCard> cards = contactCards(u"BEGIN:VCARD\nFN:A\nEND:VCARD\n"_s.repeated(1000));
    QCOMPARE(cards.size(), kMostCards);
    QCOMPARE(cards.last().title, u"981 more contacts"_s);
}

void ReaderPartsTest::cardsInTheText()
{
    const QByteArray invitation = calendarOf(u"LOCATION:<b>Room</b>\n"_s, u"METHOD:REQUEST\n"_s).toUtf8();
    show(mixed({"--b\nContent-Type: text/calendar\n\n" + invitation,
                part("application/ics; name=i.ics", invitation),
                part("text/vcard; name=broken.vcf", "nothing")}));
    const QString text = m_view->findChild<QTextBrowser *>()->toPlainText();
    QCOMPARE(text.count(u"Invitation"_s), 1); // it came twice
    QVERIFY(text.contains(u"<b>Room</b>"_s));
    QVERIFY(text.contains(u"“broken.vcf” cannot be read"_s));
    QCOMPARE(m_view->findChild<AttachmentModel *>()->rowCount(), 3);
}

void ReaderPartsTest::headerFields_data()
{
    QTest::addColumn<QByteArray>("fields");
    QTest::addColumn<QString>("line");
    QTest::newRow("people") << QByteArray("To: A <a@x>, b@x\nCc: C <c@x>\n") << u"To A, b@x  Cc C"_s;
    QTest::newRow("answers to the same domain")
        << QByteArray("To: a@x\nReply-To: z@EXAMPLE.org\n") << u"To a@x"_s;
    QTest::newRow("answers elsewhere") << QByteArray("To: a@x\nReply-To: Z <z@evil.example>\n")
                                       << u"To a@x\nReplies go to Z <z@evil.example>"_s;
    QTest::newRow("a list") << QByteArray(
                                   "To: a@x\nSender: bounce@l.example\nList-Id: \"The list\" <l.example>\n")
                            << u"To a@x  List The list  Sent by bounce@l.example"_s;
    QTest::newRow("several authors") << QByteArray("To: a@x\nFrom: Ada <ada@example.org>, Eve <eve@y>\n")
                                     << u"To a@x\nAlso from Eve <eve@y>"_s;
    QTest::newRow("a newsgroup") << QByteArray("Newsgroups: comp.lang.c++\n")
                                 << u"Newsgroups comp.lang.c++"_s;
}

void ReaderPartsTest::headerFields()
{
    QFETCH(QByteArray, fields);
    const QByteArray from = fields.contains("From:") ? QByteArray() : "From: Ada <ada@example.org>\n";
    show(from + fields + "\nx\n");
    QTEST(m_view->findChild<RecipientsView *>()->textFor(2000), "line");
}

void ReaderPartsTest::peopleByKeyboard()
{
    QByteArray many;
    for (int at = 0; at < 60; ++at)
        many += ", P" + QByteArray::number(at) + " <p" + QByteArray::number(at) + "@example.org>";
    show("From: a@b\nTo: First <f@example.org>" + many + "\n\nx\n");
    auto *people = m_view->findChild<RecipientsView *>();
    people->setFocus(Qt::TabFocusReason);
    QCOMPARE(people->currentPerson()->name, u"First"_s);
    QTest::keyClick(people, Qt::Key_Right);
    QCOMPARE(people->currentPerson()->name, u"P0"_s);
    QTest::keyClick(people, Qt::Key_End);
    QVERIFY(!people->currentPerson()); // "52 more"
    QTest::keyClick(people, Qt::Key_Return);
    QVERIFY(people->isExpanded());
    QVERIFY(people->textFor(900).contains(u"P59 <p59@example.org>"_s));
    QTest::keyClick(people, Qt::Key_End);
    QTest::keyClick(people, Qt::Key_Left);
    QCOMPARE(people->currentPerson()->name, u"P59"_s);
    QTest::keyClick(people, Qt::Key_Space);
    QVERIFY(!people->isExpanded());
    QVERIFY(people->currentPerson().has_value()); // the keyboard is somewhere
}

void ReaderPartsTest::menuOfAPerson()
{
    show(mail("text/plain", "x"));
    m_view->people()->setExtension(
        [](QMenu *menu, const Address &person) { menu->addAction(u"Filter "_s + person.address); });
    QSignalSpy compose(m_view.get(), &MessageView::composeWanted);
    QSignalSpy find(m_view.get(), &MessageView::findFromWanted);
    const auto choose = [this](int row) {
        auto *sender = m_view->findChild<SenderView *>();
        sender->setFocus();
        QTest::keyClick(sender, Qt::Key_Return);
        QList<QAction *> rows = m_view->findChild<QMenu *>(u"personMenu"_s)->actions();
        rows.removeIf([](const QAction *action) { return action->isSeparator(); });
        const QString text = rows[row]->text();
        rows[row]->trigger();
        delete m_view->findChild<QMenu *>(u"personMenu"_s);
        return text;
    };
    QCOMPARE(choose(0), u"&Write to Ada"_s);
    QCOMPARE(compose.takeFirst().first().toString(), u"mailto:ada@example.org"_s);
    choose(1);
    QCOMPARE(find.takeFirst().first().toString(), u"ada@example.org"_s);
    choose(2);
    QCOMPARE(QApplication::clipboard()->text(), u"ada@example.org"_s);
    choose(3);
    QCOMPARE(QApplication::clipboard()->text(), u"Ada <ada@example.org>"_s);
    QCOMPARE(choose(4), u"Filter ada@example.org"_s);
}

void ReaderPartsTest::everyLetterOfTheSender()
{
    SenderView view;
    view.setPerson({u"A name"_s, u"x"_s.repeated(300) + u"@example.org"_s});
    const int line = view.fontMetrics().height();
    QVERIFY(view.heightFor(200) > 8 * line); // wrapped, not shortened
    QVERIFY(view.text().contains(u"x"_s.repeated(300)));
    view.setPerson({u"A name"_s, u"a@b"_s});
    QVERIFY(view.heightFor(1000) < 2 * line);
    QVERIFY(view.heightFor(60) >= 2 * line);
}

void ReaderPartsTest::headerIsNoMarkup()
{
    show("From: =?utf-8?Q?=3Cb=3EAda=3C/b=3E?= <ada@example.org>\nDate: Fri, 20 Nov 2026 10:00:00 +0900 "
         "<i>\n\nx\n");
    const QString toolTip = m_view->findChild<QWidget *>(u"date"_s)->toolTip();
    QVERIFY2(toolTip.contains(u"+0900 &lt;i&gt;"_s), qPrintable(toolTip));
    QVERIFY(toolTip.contains(u"Friday, 20 November 2026 01:00"_s));
    QVERIFY(m_view->findChild<SenderView *>()->toolTip().contains(u"&lt;b&gt;Ada"_s));
}

void ReaderPartsTest::tags()
{
    show(mail("text/plain", "x"));
    auto *pills = m_view->findChild<QWidget *>(u"tags"_s);
    QVERIFY(!pills->isVisible());
    m_view->setTags({{u"Club"_s, 120}, {u"Work"_s, 10}});
    QVERIFY(pills->isVisible());
    QCOMPARE(pills->accessibleName(), u"Tags: Club, Work"_s);
    m_view->refresh();
    QVERIFY(pills->isVisible());
    show(mail("text/plain", "another"));
    QVERIFY(!pills->isVisible());
}

void ReaderPartsTest::previewKinds_data()
{
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("kind");
    const auto row = [](const QByteArray &type, const QByteArray &bytes, PreviewKind kind) {
        QTest::addRow("%s %s", type.constData(),
                      bytes.first(std::min<qsizetype>(bytes.size(), 8)).toPercentEncoding().constData())
            << type << bytes << int(kind);
    };
    row("image/png; name=a.png", picture(), PreviewKind::Picture);
    row("application/octet-stream; name=a.png", picture(), PreviewKind::Picture);
    row("image/svg+xml; name=a.svg", "<svg onload='x'/>", PreviewKind::Text);
    row("text/x-python; name=a.py", "print()", PreviewKind::Text);
    row("application/json; name=a.json", "{}", PreviewKind::Text);
    row("text/plain; name=a.txt", QByteArray("a\0b", 3), PreviewKind::None);
    row("application/pdf; name=a.pdf", "%PDF-1.4", PreviewKind::None);
    row("application/octet-stream; name=a.exe", "MZ", PreviewKind::None);
    row("application/octet-stream; name=a.eml", "Subject: x\n\ny", PreviewKind::Message);
    row("text/vcard; name=a.vcf", "BEGIN:VCARD\nFN:A\nEND:VCARD", PreviewKind::Cards);
    row("text/vcard; name=a.vcf", "broken", PreviewKind::Text);
}

void ReaderPartsTest::previewKinds()
{
    QFETCH(QByteArray, type);
    QFETCH(QByteArray, bytes);
    const Message message(mixed({part(type, bytes)}));
    QTEST(int(previewKindOf(message, 1)), "kind");
}

void ReaderPartsTest::previews()
{
    show(mixed({part("image/png; name=a.png", picture()), part("application/pdf; name=b.pdf", "%PDF"),
                part("text/x-python; name=c.py", "print('<b>')")}));
    auto *strip = m_view->findChild<QListView *>(u"attachments"_s);
    strip->setFocus();
    strip->setCurrentIndex(strip->model()->index(0, 0));
    QTest::keyClick(strip, Qt::Key_Space);
    auto *window = opened<PreviewWindow>();
    QVERIFY(window && window->isVisible());
    QCOMPARE(window->part(), 1);
    window->findChild<QAction *>(u"copyPicture"_s)->trigger();
    QCOMPARE(QApplication::clipboard()->image().size(), QSize(8, 6));
    QTest::keyClick(window->findChild<PicturePane *>(), Qt::Key_Right);
    QCOMPARE(window->part(), 3); // what cannot be shown is passed over
    QVERIFY(window->findChild<QPlainTextEdit *>()->toPlainText().contains(u"print('<b>')"_s));
    QVERIFY(!window->findChild<QAction *>(u"next"_s)->isEnabled());
    window->showNext();
    QCOMPARE(window->part(), 3);
    QTest::keyClick(window, Qt::Key_Escape);
    QVERIFY(!window->isVisible());
}

void ReaderPartsTest::enclosedMessage()
{
    show(mixed({"--b\nContent-Type: message/rfc822\n\nFrom: in@x\nSubject: Inner\n\nInner text\n"}));
    QSignalSpy wanted(m_view.get(), &MessageView::messageWanted);
    auto *strip = m_view->findChild<AttachmentStrip *>();
    emit strip->openMessageRequested(1);
    QCOMPARE(wanted.takeFirst().first().value<Message>().subject(), u"Inner"_s);
    emit strip->activated(1, {1});
    auto *window = opened<PreviewWindow>();
    QVERIFY(window->findChild<QTextBrowser *>()->toPlainText().contains(u"Inner text"_s));
    QCOMPARE(attachmentName(m_view->message(), 1), u"Inner.eml"_s);
    window->findChild<QAction *>(u"ownWindow"_s)->trigger();
    QCOMPARE(wanted.size(), 1);
}

void ReaderPartsTest::applications()
{
    QDir().mkpath(m_scratch->path(u"data/applications/sub"_s));
    const QByteArray entry =
        "[Desktop Entry]\nType=Application\nExec=true %f\nMimeType=text/plain;image/png;\n";
    m_scratch->write(u"data/applications/b.desktop"_s, entry + "Name=Beta\n[Desktop Action x]\nName=No\n");
    m_scratch->write(u"data/applications/sub/a.desktop"_s, entry + "Name=Alpha\n");
    m_scratch->write(u"data/applications/hidden.desktop"_s, entry + "Name=H\nHidden=true\n");
    m_scratch->write(u"data/applications/terminal.desktop"_s, entry + "Name=T\nTerminal=true\n");
    m_scratch->write(u"data/applications/gone.desktop"_s, entry + "Name=G\nTryExec=no-such-program-here\n");
    m_scratch->write(u"data/applications/broken.desktop"_s, "\xff\xfe[Desktop");
    const QByteArray before = qgetenv("XDG_DATA_DIRS");
    const QByteArray home = qgetenv("XDG_DATA_HOME");
    qputenv("XDG_DATA_DIRS", m_scratch->path(u"data"_s).toUtf8());
    qputenv("XDG_DATA_HOME", m_scratch->path(u"none"_s).toUtf8());
    const auto names = [](const QByteArray &type) {
        QStringList out;
        const QList<DesktopApplication> found = applicationsFor(type);
        for (const DesktopApplication &one : found)
            out.append(one.id + u' ' + one.name);
        return out;
    };
    const QStringList both{u"sub-a.desktop Alpha"_s, u"b.desktop Beta"_s};
    QCOMPARE(names("image/png"), both);
    QCOMPARE(names("text/x-python"), both); // a kind of text
    QCOMPARE(names("application/pdf"), QStringList());
    qputenv("XDG_DATA_DIRS", before);
    qputenv("XDG_DATA_HOME", home);
}

void ReaderPartsTest::commands_data()
{
    QTest::addColumn<QString>("exec");
    QTest::addColumn<QStringList>("command");
    const QString path = u"/tmp/a b;rm \"x\".txt"_s;
    QTest::newRow("a file") << u"view %f"_s << QStringList{u"view"_s, path};
    QTest::newRow("an address") << u"view --new %U"_s
                                << QStringList{u"view"_s, u"--new"_s,
                                               u"file:///tmp/a%20b;rm%20%22x%22.txt"_s};
    QTest::newRow("no code") << u"view"_s << QStringList{u"view"_s, path};
    QTest::newRow("quotes and codes of other kinds")
        << u"\"my \\\"view\\$\" %i %c -x%% %k %F"_s << QStringList{u"my \"view$"_s, u"V"_s, u"-x%"_s, path};
    QTest::newRow("a quote that is never closed") << u"\"view %f"_s << QStringList();
    QTest::newRow("a plain program") << QString() << QStringList{u"/usr/bin/v"_s, path};
}

void ReaderPartsTest::commands()
{
    QFETCH(QString, exec);
    QTEST(commandFor({u"/usr/bin/v"_s, u"V"_s, {}, exec}, u"/tmp/a b;rm \"x\".txt"_s), "command");
}

void ReaderPartsTest::openWith()
{
    rememberOpened("text/plain", u"/bin/a;b=c"_s);
    rememberOpened("image/png", u"x.desktop"_s);
    rememberOpened("text/plain", u"/bin/false"_s);
    rememberOpened("text/plain", u"/bin/a;b=c"_s);
    QCOMPARE(openedBefore("text/plain"), QStringList({u"/bin/a;b=c"_s, u"/bin/false"_s}));
    QCOMPARE(stringSetting(Setting::OpenWithHistory),
             u"text/plain=/bin/a%3Bb%3Dc;text/plain=/bin/false;image/png=x.desktop"_s);
    OpenWithDialog dialog(u"a.txt"_s, "text/plain", {}, nullptr);
    dialog.setAttribute(Qt::WA_DeleteOnClose, false);
    auto *list = dialog.findChild<QListWidget *>();
    QCOMPARE(list->item(0)->text(), u"false"_s); // what is gone is not offered
    QString chosen;
    connect(&dialog, &OpenWithDialog::chosen, this, [&](const DesktopApplication &one) { chosen = one.id; });
    dialog.show();
    QTest::keyClick(&dialog, Qt::Key_Return);
    QCOMPARE(chosen, u"/bin/false"_s);
}

void ReaderPartsTest::copiesOfDeadRuns()
{
    setStringSetting(Setting::TempDir, m_scratch->path({}));
    const QDir base(m_scratch->path({}));
    const auto directories = [&] { return base.entryList({u"velmar-*"_s}, QDir::Dirs); };
    const Message message(mixed({part("application/pdf; name=a.pdf", "%PDF")}));
    {
        AttachmentFiles files;
        const QString path = files.copyOf(message, 1);
        QCOMPARE(Scratch::read(path), QByteArray("%PDF"));
        const QFile::Permissions open =
            QFile::ReadGroup | QFile::ReadOther | QFile::WriteGroup | QFile::WriteOther;
        QVERIFY(!(QFile::permissions(path) & (open | QFile::ExeOwner)));
        QVERIFY(!(QFile::permissions(base.filePath(directories().first())) & open));
        base.mkdir(u"velmar-dead01"_s);
        // what a killed program leaves behind: a process that cannot be
        m_scratch->write(u"velmar-dead01/lock"_s,
                         "2147483646\nvelmar\n" + QSysInfo::machineHostName().toUtf8() + "\n\n\n");
        m_scratch->write(u"velmar-dead01/secret"_s, "x");
        base.mkdir(u"velmar-kept01"_s);
        AttachmentFiles::removeAbandoned();
        QVERIFY(QFile::exists(path));
        QVERIFY(!base.exists(u"velmar-dead01"_s));
        QVERIFY(base.exists(u"velmar-kept01"_s));
    }
    QCOMPARE(directories(), QStringList{u"velmar-kept01"_s});
}

void ReaderPartsTest::partsTree()
{
    const QByteArray png = part("image/png; name=\"<b>a.png\"", picture());
    show(mixed({png, "--b\nContent-Type: message/rfc822\n\nSubject: Inner\n\nInner text\n"}));
    m_view->perform(ReaderAction::PartsTree);
    auto *window = opened<PartsTree>();
    QVERIFY(window);
    auto *model = window->findChild<PartsModel *>();
    const QModelIndex root = model->index(0, 0);
    QCOMPARE(root.data().toString(), u"Hello"_s);
    QCOMPARE(model->rowCount(root), 3);
    const QModelIndex picturePart = model->index(1, 0, root);
    QCOMPARE(picturePart.data().toString(), u"<b>a.png"_s);
    QCOMPARE(picturePart.siblingAtColumn(PartsModel::Encoding).data().toString(), u"base64"_s);
    QVERIFY(picturePart.data(Qt::AccessibleTextRole).toString().contains(u"image/png"_s));
    const QModelIndex enclosed = model->index(2, 0, root);
    QCOMPARE(model->rowCount(enclosed), 1);
    QCOMPARE(model->parent(model->index(0, 0, enclosed)), enclosed);
    window->setCurrentPart(1);
    QCOMPARE(PartsTree::rawPart(m_view->message(), 1) + "\n", png.sliced(4));
    QCOMPARE(PartsTree::rawPart(m_view->message(), -1), m_view->message().text());
    auto *tree = window->findChild<QTreeView *>();
    QTest::keyClick(tree, Qt::Key_Return);
    QVERIFY(window->findChild<PreviewWindow *>());
}

void ReaderPartsTest::sourceShowsEverything()
{
    SourceWindow window(
        QByteArray("a\0b\x1b[31m\x7f\xe2\x80\xae", 14) + " x" + QByteArray("y").repeated(9000), {}, nullptr);
    window.setAttribute(Qt::WA_DeleteOnClose, false);
    auto *view = window.findChild<QPlainTextEdit *>();
    QVERIFY(view->toPlainText().startsWith(u"a\u2400b\u241b[31m\u2421\uFFFD"_s));
    QCOMPARE(view->document()->blockCount(), 2);
    QCOMPARE(view->lineWrapMode(), QPlainTextEdit::NoWrap);
    window.findChild<QAction *>(u"wrap"_s)->trigger();
    QCOMPARE(view->lineWrapMode(), QPlainTextEdit::WidgetWidth);
}

void ReaderPartsTest::piecesAreJoined()
{
    const auto piece = [](int number, const QByteArray &body) {
        return mail("message/partial; id=\"i@x\"; number=" + QByteArray::number(number) + "; total=3", body);
    };
    const QByteArray first = piece(1, "Subject: Whole\nContent-Type: text/plain\n\none\n");
    QByteArray asked;
    std::function<void(const QList<QByteArray> &)> answer;
    m_view->setPartFinder([&](const QByteArray &id, std::function<void(const QList<QByteArray> &)> found) {
        asked = id;
        answer = std::move(found);
    });
    QSignalSpy wanted(m_view.get(), &MessageView::messageWanted);
    auto *bar = m_view->findChild<MessageBar *>();
    show(piece(2, "two\n"));
    QCOMPARE(asked, QByteArray("i@x"));
    answer({first});
    QCOMPARE(bar->text(), u"2 of 3 parts are here."_s);
    show(piece(2, "two\n"));
    answer({first, piece(3, "three\n"), piece(2, "two\n"), "Subject: no piece\n\n"});
    QCOMPARE(bar->text(), u"All 3 parts are here."_s);
    bar->findChild<QPushButton *>(u"first"_s)->click();
    const Message whole = wanted.takeFirst().first().value<Message>();
    QCOMPARE(whole.subject(), u"Whole"_s);
    QVERIFY(whole.text().endsWith("one\ntwo\nthree\n"));
    const auto late = answer;
    show(mail("text/plain", "another"));
    late({first});
    QVERIFY(!bar->isVisible());
}

QTEST_MAIN(ReaderPartsTest)
#include "readerparts_test.moc"
