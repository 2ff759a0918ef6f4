#include "compose/sendchecks.h"

#include "support/scratch.h"

#include <QElapsedTimer>
#include <QTest>

using namespace Qt::StringLiterals;

class SendChecksTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_scratch = std::make_unique<Scratch>(); }
    void cleanup() { m_scratch.reset(); }

    void problemsAreFound_data();
    void problemsAreFound();
    void questionsHaveTheirWords_data();
    void questionsHaveTheirWords();
    void warningsCanBeTurnedOff();
    void forgottenAttachmentsAreFound_data();
    void forgottenAttachmentsAreFound();
    void newAddressesAreTold_data();
    void newAddressesAreTold();
    void hugeMessagesTakeLinearTime_data();
    void hugeMessagesTakeLinearTime();

private:
    static Composition mail()
    {
        Composition composition;
        composition.to = u"joe@b.example"_s;
        composition.subject = u"Subject"_s;
        composition.text = u"text\n"_s;
        return composition;
    }

    std::unique_ptr<Scratch> m_scratch;
};

using Change = std::function<void(Composition &, SendContext &)>;
using Problems = QList<SendProblem>;

void SendChecksTest::problemsAreFound_data()
{
    QTest::addColumn<Change>("change");
    QTest::addColumn<Problems>("problems");
    const auto row = [](const char *name, const Problems &problems, const Change &change) {
        QTest::newRow(name) << change << problems;
    };
    const auto article = [](Composition &c, const QString &groups) {
        c.to.clear();
        c.newsgroups = groups;
    };
    using enum SendProblem;
    row("a mail", {}, [](auto &, auto &) {});
    row("nobody", {NoRecipients}, [](auto &c, auto &) { c.to = u" "_s; });
    row("only Bcc", {}, [](auto &c, auto &) { c.bcc.swap(c.to); });
    row("no groups", {NoNewsgroups}, [](auto &, auto &x) { x.isArticle = true; });
    row("an article", {}, [=](auto &c, auto &) { article(c, u"a.b"_s); });
    row("control message", {ControlSubject}, [=](auto &c, auto &) {
        article(c, u"a.b"_s);
        c.subject = u"CMSG cancel <1@x>"_s;
    });
    row("a mail about control messages", {}, [](auto &c, auto &) { c.subject = u"cmsg cancel"_s; });
    row("a word for an address", {InvalidAddress}, [](auto &c, auto &) { c.cc = u"a@b.example, Joe"_s; });
    row("a broken address", {InvalidAddress}, [](auto &c, auto &) { c.bcc = u"a@b..c"_s; });
    row("a broken Reply-To", {InvalidAddress}, [](auto &c, auto &) { c.replyTo = u"a b c"_s; });
    row("to be encrypted", {CannotEncrypt}, [](auto &c, auto &) { c.encrypt = true; });
    row("half an address is not new, but broken", {InvalidAddress}, [](auto &c, auto &x) {
        c.cc = u"joe"_s;
        x.isKnown = [](const QString &address) { return address.contains(u'@'); };
    });
    row("no subject", {NoSubject}, [](auto &c, auto &) { c.subject = u"  "_s; });
    row("no content", {NoContent}, [](auto &c, auto &) { c.text = u"\n \n-- \nMe\n"_s; });
    row("only a file", {}, [](auto &c, auto &) {
        c.text.clear();
        c.attachments = {{u"a"_s, "text/plain", "x", {}}};
    });
    row("only a picture", {}, [](auto &c, auto &) {
        c.text.clear();
        c.html = u"<p><img src=\"cid:1\"></p>"_s;
    });
    const QString quoted = u"Joe wrote:\n\n> text\n"_s;
    row("unmodified", {Unmodified}, [=](auto &c, auto &x) {
        x.isReply = true;
        x.textAtFirst = quoted + u"\n-- \nMe\n"_s;
        c.text = quoted + u"\n\n-- \nOther\n"_s;
    });
    row("only quoted", {OnlyQuoted}, [=](auto &c, auto &x) {
        x.isReply = true;
        x.textAtFirst = quoted + u"> more\n"_s;
        c.text = quoted;
    });
    row("quoted, and something else", {}, [=](auto &c, auto &x) {
        x.isReply = true;
        x.textAtFirst = quoted;
        c.text = quoted + u"Yes.\n"_s;
    });
    row("only forwarded", {}, [](auto &c, auto &) {
        c.text = u"----- Begin forwarded message -----\n> x\ny\n------ End forwarded message ------\n"_s;
    });
    row("not subscribed", {NotSubscribed}, [=](auto &c, auto &x) {
        article(c, u"a.b, c.d"_s);
        x.isSubscribed = [](const QString &) { return false; };
    });
    row("subscribed to one", {}, [=](auto &c, auto &x) {
        article(c, u"a.b, c.d"_s);
        x.isSubscribed = [](const QString &group) { return group == u"c.d"_s; };
    });
    row("binaries", {BinariesToTextGroup}, [=](auto &c, auto &) {
        article(c, u"alt.binaries.x,a.b"_s);
        c.attachments = {{u"a"_s, "image/png", "x", {}}};
    });
    row("binaries where they belong", {}, [=](auto &c, auto &) {
        article(c, u"alt.binaries.x"_s);
        c.attachments = {{u"a"_s, "image/png", "x", {}}};
    });
    row("a text file", {}, [=](auto &c, auto &) {
        article(c, u"a.b"_s);
        c.attachments = {{u"a"_s, "text/x-patch", "x", {}}};
    });
    row("a pasted block", {BinariesToTextGroup}, [=](auto &c, auto &) {
        article(c, u"a.b"_s);
        c.text = u"see:\nbegin 644 a.png\n"_s;
    });
    row("forgotten", {AttachmentForgotten}, [](auto &c, auto &) { c.text = u"See the attached file."_s; });
    row("forgotten, says the subject", {AttachmentForgotten},
        [](auto &c, auto &) { c.subject = u"Attached"_s; });
    row("fifteen", {ManyRecipients}, [](auto &c, auto &) { c.cc = u"a@b.example,"_s.repeated(14); });
    row("fourteen", {}, [](auto &c, auto &) { c.cc = u"a@b.example,"_s.repeated(13); });
    row("hidden ones", {}, [](auto &c, auto &) { c.bcc = u"a@b.example,"_s.repeated(100); });
    row("character set", {CharsetTooSmall}, [](auto &c, auto &) {
        c.charset = "ISO-8859-1";
        c.text = u"šest €"_s;
    });
    row("UTF-8 holds everything", {}, [](auto &c, auto &) { c.text = u"x"_s + QChar(0xD800); });
    row("all at once", {NoNewsgroups, InvalidAddress, NoSubject, NoContent}, [](auto &c, auto &x) {
        c = Composition();
        c.to = u"x y z"_s;
        x.isArticle = true;
    });
}

void SendChecksTest::problemsAreFound()
{
    QFETCH(Change, change);
    Composition composition = mail();
    SendContext context;
    change(composition, context);
    Problems problems;
    for (const SendFinding &finding : checkBeforeSending(composition, context))
        problems.append(finding.problem);
    QTEST(problems, "problems");
}

void SendChecksTest::questionsHaveTheirWords_data()
{
    QTest::addColumn<Change>("change");
    QTest::addColumn<QString>("text");
    const auto row = [](const char *name, const QString &text, const Change &change) {
        QTest::newRow(name) << change << text;
    };
    row("nobody", u"You have not specified any recipients"_s, [](auto &c, auto &) { c.to.clear(); });
    row("no groups", u"You have not specified any newsgroups"_s, [](auto &, auto &x) { x.isArticle = true; });
    row("no subject",
        u"You have not specified a subject for your message.\nDo you want to send it anyway or continue editing?"_s,
        [](auto &c, auto &) { c.subject.clear(); });
    row("control", u"News subjects cannot start with 'cmsg '"_s, [](auto &c, auto &) {
        c.newsgroups = u"a.b"_s;
        c.subject = u"cmsg x"_s;
    });
    row("no content",
        u"Your message contains no content.\nDo you want to send it anyway or continue editing?"_s,
        [](auto &c, auto &) { c.text.clear(); });
    row("unmodified",
        u"Your message has not been modified.\nDo you want to send it anyway or continue editing?"_s,
        [](auto &c, auto &x) {
            x.isReply = true;
            x.textAtFirst = c.text = u"> a\n"_s;
        });
    row("only quoted",
        u"Your message contains only quoted text.\nDo you want to send it anyway or continue editing?"_s,
        [](auto &c, auto &) { c.text = u"> a\n"_s; });
    row("not subscribed",
        u"You are not subscribed to any of the newsgroups to which you are posting.\nDo you want to post "
        u"your "
        "message anyway or continue editing?"_s,
        [](auto &c, auto &x) {
            c.newsgroups = u"a.b"_s;
            x.isSubscribed = [](const QString &) { return false; };
        });
    row("character set",
        u"Your message contains characters that can't be encoded in the selected character set.\nThe "
        "'ISO-8859-2' character set would appear to be more suitable.\nWould you like to change the "
        "character "
        "set or continue with the current setting?"_s,
        [](auto &c, auto &) {
            c.charset = "ISO-8859-1";
            c.text = u"ěš"_s;
        });
}

void SendChecksTest::questionsHaveTheirWords()
{
    QFETCH(Change, change);
    Composition composition = mail();
    SendContext context;
    change(composition, context);
    const QList<SendFinding> findings = checkBeforeSending(composition, context);
    QCOMPARE(findings.size(), 1);
    QTEST(findings.first().text, "text");
}

void SendChecksTest::warningsCanBeTurnedOff()
{
    Composition composition = mail();
    composition.subject.clear();
    composition.to.clear();
    turnOff(SendProblem::NoSubject);
    turnOff(SendProblem::NoRecipients); // cannot be
    QVERIFY(isTurnedOff(SendProblem::NoSubject) && !isTurnedOff(SendProblem::NoRecipients));
    QCOMPARE(intSetting(Setting::DisabledWarnings), 1);
    const QList<SendFinding> findings = checkBeforeSending(composition, {});
    QCOMPARE(findings.size(), 1);
    QVERIFY(findings.first().problem == SendProblem::NoRecipients && rowOf(findings.first().problem).refuses);
    QSet<int> bits;
    for (int i = 0; i <= int(SendProblem::CharsetTooSmall); ++i)
        if (const int bit = rowOf(SendProblem(i)).bit; bit != 0) {
            QVERIFY(!rowOf(SendProblem(i)).refuses && !bits.contains(bit));
            bits.insert(bit);
        }
}

void SendChecksTest::forgottenAttachmentsAreFound_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("word");
    const auto row = [](const char *name, const QString &text, const QString &word) {
        QTest::newRow(name) << text << word;
    };
    row("English", u"I have ATTACHED it."_s, u"attached"_s);
    row("German", u"Die Datei finden Sie im Anhang."_s, u"anhang"_s);
    row("German, after a word", u"Siehe Anlage"_s, u"anlage"_s);
    row("French", u"Vous trouverez ci-joint le fichier"_s, u"ci-joint"_s);
    row("French, two words", u"la pièce jointe"_s, u"jointe"_s);
    row("Spanish", u"Adjunto el archivo"_s, u"adjunto"_s);
    row("Italian", u"in allegato"_s, u"allegato"_s);
    row("Polish", u"W załączeniu przesyłam"_s, u"załączeniu"_s);
    row("Czech", u"v příloze"_s, u"příloze"_s);
    row("Russian", u"файл во вложении"_s, u"вложении"_s);
    row("Japanese", u"ファイルを添付します"_s, u"添付"_s);
    row("Chinese", u"请看附件"_s, u"附件"_s);
    row("Arabic", u"الملف مرفق"_s, u"مرفق"_s);
    row("no such word", u"An attaché, and an Anlage; detached"_s, QString());
    row("quoted", u"> see the attachment\nThanks."_s, QString());
    row("in the signature", u"Thanks.\n-- \nNo attachments, please"_s, QString());
    row("forwarded",
        u"----- Begin forwarded message -----\nattached\n------ End forwarded message ------\n"_s, QString());
}

void SendChecksTest::forgottenAttachmentsAreFound()
{
    QFETCH(QString, text);
    Composition composition = mail();
    composition.text = text;
    QString word;
    for (const SendFinding &finding : checkBeforeSending(composition, {}))
        if (finding.problem == SendProblem::AttachmentForgotten)
            word = finding.detail;
    QTEST(word, "word");
    composition.attachments = {{u"a"_s, "text/plain", "x", {}}};
    for (const SendFinding &finding : checkBeforeSending(composition, {}))
        QVERIFY(finding.problem != SendProblem::AttachmentForgotten);
}

void SendChecksTest::newAddressesAreTold_data()
{
    QTest::addColumn<QString>("to");
    QTest::addColumn<QString>("text");
    QTest::newRow("known") << u"JOE@example.org"_s << QString();
    QTest::newRow("new alone") << u"new@other.example"_s << QString();
    QTest::newRow("new among known ones")
        << u"joe@example.org, new@other.example"_s << u"You have not written to new@other.example before."_s;
    QTest::newRow("two new ones") << u"joe@example.org, a@o.example, b@p.example"_s
                                  << u"You have not written to these before: a@o.example, b@p.example."_s;
    const QString meant = u"joe@example.org"_s;
    for (const auto &slip : {u"jo@example.org"_s, u"joee@example.org"_s, u"jpe@example.org"_s,
                             u"joe@exmaple.org"_s, u"joe@example.orgg"_s})
        QTest::addRow("%s", qPrintable(slip))
            << slip << slip + u" is new here. Did you mean "_s + meant + u'?';
    QTest::newRow("two slips") << u"jou@exampel.org"_s << QString();
}

void SendChecksTest::newAddressesAreTold()
{
    QFETCH(QString, to);
    Composition composition = mail();
    composition.to = to;
    SendContext context;
    context.knownAddresses = {u"ann@example.org"_s, u"joe@example.org"_s};
    context.isKnown = [&](const QString &address) {
        return context.knownAddresses.contains(address, Qt::CaseInsensitive);
    };
    const QList<SendFinding> findings = checkBeforeSending(composition, context);
    QTEST(findings.isEmpty() ? QString() : findings.first().text, "text");
    QVERIFY(findings.isEmpty() || rowOf(findings.first().problem).isQuiet);
}

void SendChecksTest::hugeMessagesTakeLinearTime_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("to");
    constexpr int kMega = 1'000'000;
    QString many;
    for (int i = 0; i < 100'000; ++i)
        many += u"user"_s + QString::number(i) + u"@example.org,"_s;
    const QString one = u"a@b.example"_s;
    QTest::newRow("recipients") << u"text"_s << many;
    QTest::newRow("one word") << QString(kMega, u'a') << one;
    QTest::newRow("words") << u"a "_s.repeated(kMega / 2) << one;
    QTest::newRow("lines") << u"a\n"_s.repeated(kMega / 2) << one;
    QTest::newRow("quoted lines") << u"> attach\n"_s.repeated(kMega / 9) << one;
    QTest::newRow("separators") << u"-- \n"_s.repeated(kMega / 4) << one;
    QTest::newRow("one address") << u"text"_s << QString(kMega, u'a') + u"@b"_s;
}

void SendChecksTest::hugeMessagesTakeLinearTime()
{
    QFETCH(QString, text);
    QFETCH(QString, to);
    Composition composition = mail();
    composition.text = text;
    composition.to = to;
    SendContext context;
    context.isReply = true;
    context.textAtFirst = text;
    context.isKnown = [](const QString &address) { return address.startsWith(u"user5"_s); };
    for (int i = 0; i < 100'000; ++i)
        context.knownAddresses.append(u"somebody"_s + QString::number(i) + u"@b"_s);
    QElapsedTimer timer;
    timer.start();
    QVERIFY(!checkBeforeSending(composition, context).isEmpty());
    QVERIFY2(timer.elapsed() < 10000, qPrintable(QString::number(timer.elapsed())));
}

QTEST_GUILESS_MAIN(SendChecksTest)
#include "sendchecks_test.moc"
