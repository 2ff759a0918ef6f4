#include "message/address.h"

#include <QElapsedTimer>
#include <QTest>

using namespace Qt::StringLiterals;

class AddressTest : public QObject
{
    Q_OBJECT

private slots:
    void fieldsAreSplit_data();
    void fieldsAreSplit();
    void formattedEntriesAreReadBack_data();
    void formattedEntriesAreReadBack();
    void headersHoldAscii_data();
    void headersHoldAscii();
    void typedAddressesAreChecked_data();
    void typedAddressesAreChecked();
    void longFieldsTakeLinearTime_data();
    void longFieldsTakeLinearTime();
};

void AddressTest::fieldsAreSplit_data()
{
    QTest::addColumn<QString>("field");
    QTest::addColumn<QStringList>("entries"); // name|address
    const auto row = [](const char *name, const QString &field, const QStringList &entries) {
        QTest::newRow(name) << field << entries;
    };
    row("bare", u"joe@example.org"_s, {u"|joe@example.org"_s});
    row("name", u"Joe  Smith <joe@example.org>"_s, {u"Joe Smith|joe@example.org"_s});
    row("several", u"a@b, Joe <c@d> ,, e@f,"_s, {u"|a@b"_s, u"Joe|c@d"_s, u"|e@f"_s});
    row("quoted comma", u"\"Smith, Joe\" <joe@b>, x@y"_s, {u"Smith, Joe|joe@b"_s, u"|x@y"_s});
    row("quoted quotes", uR"("Joe \"the\\ man\" <x@y>" <joe@b>)"_s, {uR"(Joe "the\ man" <x@y>|joe@b)"_s});
    row("comment as name", u"joe@b (Joe (Jr.) Smith)"_s, {u"Joe (Jr.) Smith|joe@b"_s});
    row("comments elsewhere", u"Joe (x) <joe(y)@b> (z)"_s, {u"Joe|joe@b"_s});
    row("comma in a comment", u"joe@b (Smith, Joe), c@d"_s, {u"Smith, Joe|joe@b"_s, u"|c@d"_s});
    row("group", u"Friends: a@b, \"C\" <c@d>; e@f"_s, {u"|a@b"_s, u"C|c@d"_s, u"|e@f"_s});
    row("empty group", u"undisclosed-recipients:;"_s, {});
    row("colon in a name", u"Jobs: all <a@b>"_s, {u"Jobs: all|a@b"_s});
    row("semicolons for commas", u"a@b; c@d"_s, {u"|a@b"_s, u"|c@d"_s});
    row("encoded name", u"=?utf-8?Q?J=C3=B6rg?= <a@b>"_s, {u"Jörg|a@b"_s});
    row("encoded name in quotes", u"\"=?utf-8?Q?J=C3=B6rg?=\" <a@b>"_s, {u"Jörg|a@b"_s});
    row("encoded comma", u"=?utf-8?Q?M=2C_J_=3Cx=40y=3E?= <a@b>"_s, {u"M, J <x@y>|a@b"_s});
    row("raw comma in a word", u"=?utf-8?Q?M,_J?= <a@b>, c@d"_s, {u"M, J|a@b"_s, u"|c@d"_s});
    row("all of it encoded", u"=?utf-8?B?Sm9lIDxhQGI+?="_s, {u"Joe <a@b>|"_s});
    row("encoded comment", u"a@b (=?utf-8?Q?J=C3=B6rg?=)"_s, {u"Jörg|a@b"_s});
    row("encoded line end", u"=?utf-8?Q?a=0Ab?= <a@b>"_s, {u"a b|a@b"_s});
    row("route", u"Joe <@relay,@other:joe@b>"_s, {u"Joe|joe@b"_s});
    row("blanks around dots", u"joe . smith @ example . org"_s, {u"|joe.smith@example.org"_s});
    row("quoted local part", u"\"joe smith\"@b, <\"a,>b\"@c>"_s, {u"|\"joe smith\"@b"_s, u"|\"a,>b\"@c"_s});
    row("address literal", u"joe@[IPv6:2001:db8::1], a@b"_s, {u"|joe@[IPv6:2001:db8::1]"_s, u"|a@b"_s});
    row("brackets in a name", u"[List] Joe <a@b>"_s, {u"[List] Joe|a@b"_s});
    row("dots in a name", u"Dr. Joe Q. Public <a@b>"_s, {u"Dr. Joe Q. Public|a@b"_s});
    row("international domain", u"Jörg <jörg@müller.example>"_s, {u"Jörg|jörg@müller.example"_s});
    row("null path", u"<>"_s, {});
    row("local user", u"root"_s, {u"|root"_s});
    row("words only", u"no address here"_s, {u"no address here|"_s});
    row("words before an address", u"Joe Smith joe@b"_s, {u"Joe Smith|joe@b"_s});
    row("link", u"<mailto:joe@b>"_s, {u"|joe@b"_s});
    row("bracket not closed", u"Joe <joe@b, x@y"_s, {u"Joe|joe@b"_s, u"|x@y"_s});
    row("two brackets", u"Joe <<joe@b>>"_s, {u"Joe|joe@b"_s});
    row("quote not closed", u"\"Joe <joe@b>, x@y"_s, {u"Joe|joe@b"_s, u"|x@y"_s});
    row("comment not closed", u"Joe (x <joe@b>, x@y"_s, {u"Joe (x|joe@b"_s, u"|x@y"_s});
    row("address as name", u"\"joe@b\" <joe@b>"_s, {u"joe@b|joe@b"_s});
}

void AddressTest::fieldsAreSplit()
{
    QFETCH(QString, field);
    QStringList entries;
    for (const Address &address : parseAddresses(field))
        entries.append(address.name + u'|' + address.address);
    QTEST(entries, "entries");
}

void AddressTest::formattedEntriesAreReadBack_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("header");
    const auto row = [](const QString &name, const QString &text, const QByteArray &header) {
        QTest::newRow(qUtf8Printable(name)) << name << text << header;
    };
    row({}, u"a@b"_s, "a@b");
    row(u"Joe Smith"_s, u"Joe Smith <a@b>"_s, "Joe Smith <a@b>");
    row(u"Smith, J. \"X\" \\"_s, uR"("Smith, J. \"X\" \\" <a@b>)"_s, R"("Smith, J. \"X\" \\" <a@b>)");
    row(u"Jörg"_s, u"Jörg <a@b>"_s, "=?utf-8?q?J=C3=B6rg?= <a@b>");
    row(u"Jörg, <x@y>"_s, u"\"Jörg, <x@y>\" <a@b>"_s, "=?utf-8?q?J=C3=B6rg=2C_=3Cx=40y=3E?= <a@b>");
}

void AddressTest::formattedEntriesAreReadBack()
{
    QFETCH(QString, name);
    const Address address{name, u"a@b"_s};
    QTEST(formatAddress(address), "text");
    QTEST(addressField({address}, "utf-8"), "header");
    QCOMPARE(parseAddresses(formatAddress(address)), QList<Address>{address});
    QCOMPARE(parseAddresses(QString::fromLatin1(addressField({address, address}, "utf-8"))),
             (QList<Address>{address, address}));
}

void AddressTest::headersHoldAscii_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("address");
    QTest::addColumn<QByteArray>("header");
    QTest::newRow("domain") << u""_s << u"joe@müller.example"_s << QByteArray("joe@xn--mller-kva.example");
    QTest::newRow("line end in the name")
        << u"a\nBcc: x"_s << u"a@b"_s << QByteArray("=?utf-8?q?a=0ABcc=3A_x?= <a@b>");
    QTest::newRow("line end in the address")
        << u"A"_s << u"a@b>\nBcc: x@y"_s << QByteArray("A <a@bBcc: x@y>");
}

void AddressTest::headersHoldAscii()
{
    QFETCH(QString, name);
    QFETCH(QString, address);
    QTEST(addressField({{name, address}}, "utf-8"), "header");
}

void AddressTest::typedAddressesAreChecked_data()
{
    QTest::addColumn<bool>("valid");
    for (const char *text :
         {"a@b", "joe.smith+tag@example.org", "\"joe smith\"@b", "\"a\\\"b\"@c", "a@[127.0.0.1]",
          "jörg@müller.example", "!#$%&'*+-/=?^_`{|}~@b", "root@localhost", "\"a@b\"@c"})
        QTest::newRow(text) << true;
    for (const char *text :
         {"",      "a",      "@b",         "a@",        "a b@c", "a@b c", "a..b@c", ".a@b",
          "a.@b",  "a@b..c", "a@b.",       "a@-b",      "a@b-",  "a@b_c", "<a@b>",  "a@b,c@d",
          "\"a@b", "\"\"@b", "\"a\"b\"@c", "\"a\\\"@b", "a@[b",  "a@b\n", "a(x)@b"})
        QTest::newRow(text) << false;
    QTest::newRow(QByteArray(QByteArray(64, 'x') + "@b").constData()) << true;
    QTest::newRow(QByteArray(QByteArray(65, 'x') + "@b").constData()) << false;
    QTest::newRow(QByteArray("a@" + QByteArray(63, 'x') + ".b").constData()) << true;
    QTest::newRow(QByteArray("a@" + QByteArray(64, 'x')).constData()) << false;
}

void AddressTest::typedAddressesAreChecked()
{
    QTEST(isValidAddress(QString::fromUtf8(QTest::currentDataTag())), "valid");
}

void AddressTest::longFieldsTakeLinearTime_data()
{
    QTest::addColumn<QString>("piece");
    for (const char *piece : {"a@b, ", "(", "\"", "<", "(a (b) ", "\"a\\\"", "=?a?q?", ":", "a:;", "\\",
                              "<@a,", "a ", "<(", "@", "<\"", " ", "[", "a@ .", "x:"})
        QTest::newRow(piece) << QString::fromLatin1(piece);
}

void AddressTest::longFieldsTakeLinearTime()
{
    QFETCH(QString, piece);
    QElapsedTimer timer;
    timer.start();
    parseAddresses(piece.repeated(300'000 / piece.size()));
    parseAddresses(piece.repeated(150'000 / piece.size()) + QString(150'000, u' '));
    parseAddresses(u"<a>"_s + piece.repeated(300'000 / piece.size()) + u';');
    parseAddresses(u"a@"_s + piece.repeated(300'000 / piece.size()));
    QVERIFY2(timer.elapsed() < 5000, "took longer than any linear pass needs");
}

QTEST_GUILESS_MAIN(AddressTest)
#include "address_test.moc"
