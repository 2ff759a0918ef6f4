#include "app/desktop/commandline.h"

#include "support/scratch.h"

#include <QTest>

using namespace Qt::StringLiterals;

/// Every row runs in a folder that holds the files "key", "a b.eml", "-dash", "50%20.eml" and
/// "quo\"te\\.eml";
/// "@" stands for that folder in what is given and expected.
class CommandLineTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase() { QDir::setCurrent(m_before); }
    void options_data();
    void options();
    void arguments_data();
    void arguments();
    void grammar_data();
    void grammar();
    void fromOneEndToTheOther_data();
    void fromOneEndToTheOther();
    void whatIsLeftOutIsNoted();

private:
    QString here(QString text) const { return text.replace(u"@/"_s, m_folder + u'/'); }
    QStringList here(QStringList texts) const
    {
        for (QString &text : texts)
            text = here(text);
        return texts;
    }

    QString m_before = QDir::currentPath();
    Scratch m_scratch;
    QString m_folder;
};

void CommandLineTest::initTestCase()
{
    QVERIFY(QDir().mkpath(m_scratch.path(u"files"_s)));
    for (const QString &name : {u"key"_s, u"a b.eml"_s, u"-dash"_s, u"50%20.eml"_s, u"quo\"te\\.eml"_s})
        m_scratch.write(u"files/"_s + name, "text");
    m_folder = m_scratch.path(u"files"_s);
    QVERIFY(QDir::setCurrent(m_folder));
}

void CommandLineTest::options_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QStringList>("left");
    QTest::addColumn<QString>("config");
    QTest::addColumn<QString>("install");
    QTest::addColumn<bool>("good");
    const QStringList none;
    QTest::newRow("none") << QStringList{u"-file"_s, u"x"_s} << QStringList{u"-file"_s, u"x"_s} << QString()
                          << QString() << true;
    QTest::newRow("two words") << QStringList{u"a"_s, u"--config"_s, u"/c d"_s, u"b"_s}
                               << QStringList{u"a"_s, u"b"_s} << u"/c d"_s << QString() << true;
    QTest::newRow("one word") << QStringList{u"--install=/i=1"_s, u"--config=/c"_s} << none << u"/c"_s
                              << u"/i=1"_s << true;
    QTest::newRow("the last counts") << QStringList{u"--config=/a"_s, u"--config"_s, u"/b"_s} << none
                                     << u"/b"_s << QString() << true;
    QTest::newRow("only like it") << QStringList{u"--configure"_s} << QStringList{u"--configure"_s}
                                  << QString() << QString() << true;
    QTest::newRow("no value") << QStringList{u"a"_s, u"--config"_s} << QStringList{u"a"_s} << QString()
                              << QString() << false;
    QTest::newRow("an empty value") << QStringList{u"--install="_s} << none << QString() << QString()
                                    << false;
    QTest::newRow("a link is no option")
        << QStringList{u"-url"_s, u"--config=/evil"_s} << QStringList{u"-url"_s, u"--config=/evil"_s}
        << QString() << QString() << true;
}

void CommandLineTest::options()
{
    QFETCH(QStringList, arguments);
    const StartOptions options = takeStartOptions(arguments);
    QTEST(arguments, "left");
    QTEST(options.configDirectory, "config");
    QTEST(options.installDirectory, "install");
    QTEST(options.problem.isEmpty(), "good");
}

void CommandLineTest::arguments_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("message");
    QTest::newRow("none") << QStringList() << QString();
    QTest::newRow("an empty one") << QStringList{QString()} << QString();
    QTest::newRow("a link") << QStringList{u"-url"_s, u"mailto:a@b -attach /home/u/key"_s}
                            << u"-url mailto:a@b%20-attach%20/home/u/key"_s;
    QTest::newRow("control characters")
        << QStringList{u"-url"_s, u"mailto:a\t\r\n\u0085\x7f"_s} << u"-url mailto:a%09%0D%0A%C2%85%7F"_s;
    QTest::newRow("what is safe stays")
        << QStringList{u"-url"_s, u"mailto:ä%20@b?x=1&y"_s} << u"-url mailto:ä%20@b?x=1&y"_s;
    QTest::newRow("a link without its keyword")
        << QStringList{u"mailto:a@b @/key"_s} << u"mailto:a@b%20@/key"_s;
    QTest::newRow("an address") << QStringList{u"-email"_s, u"key -attach key"_s}
                                << u"-email key%20-attach%20key"_s;
    QTest::newRow("an address is no file") << QStringList{u"-email"_s, u"key"_s} << u"-email key"_s;
    QTest::newRow("a relative file") << QStringList{u"key"_s, u"-attach"_s, u"./key"_s, u"-file"_s,
                                                    u"../files/key"_s}
                                     << u"@/key -attach @/key -file @/key"_s;
    QTest::newRow("no such file") << QStringList{u"keys"_s, u"-file"_s, u"a b c"_s}
                                  << u"keys -file a%20b%20c"_s;
    QTest::newRow("a file for -url") << QStringList{u"-url"_s, u"a b.eml"_s} << u"-url file://@/a%20b.eml"_s;
    QTest::newRow("a link that is also a file's name")
        << QStringList{u"-url"_s, u"mailto:key"_s} << u"-url mailto:key"_s;
    QTest::newRow("a name with blanks")
        << QStringList{u"-attach"_s, u"a b.eml"_s} << u"-attach file://@/a%20b.eml"_s;
    QTest::newRow("a bare name with blanks") << QStringList{u"a b.eml"_s} << u"@/a%20b.eml"_s;
    QTest::newRow("an option in one argument") << QStringList{u"-attach key"_s} << u"-attach%20key"_s;
    QTest::newRow("an empty value") << QStringList{u"-url"_s, QString(), u"-attach"_s, u"key"_s}
                                    << u"-url \"\" -attach @/key"_s;
}

void CommandLineTest::arguments()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, message);
    if (!arguments.isEmpty() && arguments.first().startsWith(u"mailto"))
        arguments = here(arguments);
    QCOMPARE(messageFromArguments(arguments), here(message));
}

void CommandLineTest::grammar_data()
{
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("url");
    QTest::addColumn<QStringList>("attachments");
    const QStringList none;
    const QStringList key{u"@/key"_s};
    QTest::newRow("nothing") << QString() << QString() << none;
    QTest::newRow("blanks only") << u"   "_s << QString() << none;
    QTest::newRow("-url") << u"-url  mailto:a@b"_s << u"mailto:a@b"_s << none;
    QTest::newRow("-url in quotes") << u"-url \"mailto:a@b\""_s << u"mailto:a@b"_s << none;
    QTest::newRow("one quote stays") << u"-url \"mailto:a@b"_s << u"\"mailto:a@b"_s << none;
    QTest::newRow("NULs go") << u"-u\0rl mail\0to:a"_s << u"mailto:a"_s << none;
    QTest::newRow("a tab is no blank")
        << u"-url mailto:a\t-attach\t@/key"_s << u"mailto:a%09-attach%09@/key"_s << none;
    QTest::newRow("-url takes a keyword") << u"-url -attach @/key"_s << u"-attach"_s << key;
    QTest::newRow("-email") << u"-email a@b"_s << u"mailto:a@b"_s << none;
    QTest::newRow("-email and a file of that name") << u"-email @/key"_s << u"mailto:@/key"_s << key;
    QTest::newRow("-email, then its address as a keyword")
        << u"-email -attach @/key"_s << u"mailto:-attach"_s << key;
    QTest::newRow("the last URL counts") << u"-email a@b -url news:x"_s << u"news:x"_s << none;
    QTest::newRow("-file") << u"-file @/key"_s << u"file://@/key"_s << none;
    QTest::newRow("-file in quotes, with backslashes") << u"-file \"@\\key\""_s << u"file://@/key"_s << none;
    QTest::newRow("-file goes ahead of -url") << u"-file /gone -url mailto:a"_s << u"file:///gone"_s << none;
    QTest::newRow("-file given as a URL") << u"-file file:///a%20b"_s << u"file:///a%20b"_s << none;
    QTest::newRow("-attach") << u"-attach @/key"_s << u"mailto:"_s << key;
    QTest::newRow("-attach with a URL") << u"-attach @/key -url mailto:a"_s << u"mailto:a"_s << key;
    QTest::newRow("-attach given as a URL")
        << u"-attach file://@/a%20b.eml"_s << u"mailto:"_s << QStringList{u"@/a b.eml"_s};
    QTest::newRow("-attach a name with a dash")
        << u"-attach -dash"_s << u"mailto:"_s << QStringList{u"-dash"_s};
    QTest::newRow("a bare mailto:") << u"-x Mailto:a@b?subject=c -y"_s << u"Mailto:a@b?subject=c"_s << none;
    QTest::newRow("a bare file") << u"@/key"_s << u"mailto:"_s << key;
    QTest::newRow("two bare files, quoted, backslashed")
        << u"\"@/key\" @\\key"_s << u"mailto:"_s << key + key;
    QTest::newRow("a bare URL of a file is no name") << u"file://@/key"_s << QString() << none;
    QTest::newRow("a folder is no file") << u"-attach @/"_s << QString() << none;
    QTest::newRow("a quoted name with blanks falls apart") << u"-attach \"@/a b.eml\""_s << QString() << none;
    QTest::newRow("a piece of it names a file") << u"-attach \"@/a @/key b\""_s << u"mailto:"_s << key;
    QTest::newRow("other options are passed over") << u"-x -y=1 --z"_s << QString() << none;
    for (const char *last : {"-url", "-email", "-file", "-attach"})
        QTest::newRow(last) << QString::fromLatin1(last) << QString() << none;
    QTest::newRow("quotes with nothing in them") << u"-url \"\" -file \"\" \"\""_s << QString() << none;
}

void CommandLineTest::grammar()
{
    QFETCH(QString, message);
    QFETCH(QString, url);
    QFETCH(QStringList, attachments);
    message.replace(u"@\\"_s, m_folder + u'\\');
    const CommandLine line = parseMessage(here(message));
    QCOMPARE(line.url, here(url));
    QCOMPARE(line.attachments, here(attachments));
}

void CommandLineTest::fromOneEndToTheOther_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("url");
    QTest::addColumn<QStringList>("attachments");
    const QStringList none;
    QTest::newRow("a link cannot attach")
        << QStringList{u"-url"_s, u"mailto:a@b -attach @/key"_s} << u"mailto:a@b%20-attach%20@/key"_s << none;
    QTest::newRow("nor without its keyword") << QStringList{u"mailto:a@b -attach @/key @/key"_s}
                                             << u"mailto:a@b%20-attach%20@/key%20@/key"_s << none;
    QTest::newRow("nor as an address")
        << QStringList{u"-email"_s, u"a@b @/key"_s} << u"mailto:a@b%20@/key"_s << none;
    QTest::newRow("nor can a file's name")
        << QStringList{u"-attach"_s, u"x -attach @/key"_s} << QString() << none;
    for (const char *name : {"key", "a b.eml", "-dash", "50%20.eml", "quo\"te\\.eml"}) {
        const QString path = u"@/"_s + QLatin1String(name);
        QTest::addRow("attach %s", name)
            << QStringList{u"-attach"_s, QLatin1String(name)} << u"mailto:"_s << QStringList{path};
    }
    QTest::newRow("open a name with blanks")
        << QStringList{u"-file"_s, u"a b.eml"_s} << u"file://@/a%20b.eml"_s << none;
    QTest::newRow("a bare name") << QStringList{u"key"_s} << u"mailto:"_s << QStringList{u"@/key"_s};
    QTest::newRow("a bare name with blanks is dropped") << QStringList{u"a b.eml"_s} << QString() << none;
    QTest::newRow("an empty link takes no other argument")
        << QStringList{u"-url"_s, QString(), u"-email"_s, u"a@b"_s} << u"mailto:a@b"_s << none;
}

void CommandLineTest::fromOneEndToTheOther()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, url);
    QFETCH(QStringList, attachments);
    const QString message = messageFromArguments(here(arguments));
    QVERIFY(QDir::setCurrent(QDir::rootPath())); // the other instance runs elsewhere
    const CommandLine line = parseMessage(message);
    QVERIFY(QDir::setCurrent(m_folder));
    QCOMPARE(line.url, here(url));
    QCOMPARE(line.attachments, here(attachments));
}

void CommandLineTest::whatIsLeftOutIsNoted()
{
    Scratch scratch;
    parseMessage(u"-email a@b gone -attach \"/also/gone\" -x"_s);
    QCOMPARE(scratch.notes, (QStringList{u"The command line names no file: gone"_s,
                                         u"The command line names no file: /also/gone"_s}));
}

QTEST_GUILESS_MAIN(CommandLineTest)
#include "commandline_test.moc"
