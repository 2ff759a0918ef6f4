#include "app/demowriter.h"

#include "identity/identitymanager.h"
#include "identity/signatures.h"
#include "identity/templates.h"
#include "support/memory.h"
#include "support/scratch.h"

#include <QTest>

using namespace Qt::StringLiterals;

/// What --demo begins with.
class DemoTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { useMemoryForFiles(); }
    void writer();
    void templatesKnowTheirVariables();
};

void DemoTest::writer()
{
    Scratch scratch;
    IdentityManager written;
    QVERIFY(fillDemoWriter(written));
    IdentityManager read;
    QVERIFY(read.load());
    QCOMPARE(read.all().size(), 2u);
    for (const Identity &identity : read.all()) {
        const std::optional<Signature> signature = readSignature(identity.number, identity.signature);
        QVERIFY(signature && !signature->text.isEmpty());
        QCOMPARE(identity.has(IdentityTagline), !readTaglines(identity.number).isEmpty());
    }
    QCOMPARE(read.defaultIdentity()->address, u"clara@tidewater.example"_s); // to whom the mailbox is written
    QVERIFY(scratch.reports.isEmpty());
}

void DemoTest::templatesKnowTheirVariables()
{
    Scratch scratch;
    IdentityManager identities;
    QVERIFY(fillDemoWriter(identities));
    TemplateValues values;
    values.message = Message("From: Ada <ada@example.org>\nDate: Fri, 20 Nov 2026 09:30:00 +0000\n\nText\n");
    values.quotedBody = [] { return u"> Text"_s; };
    const QStringList names = templateNames();
    QVERIFY(names.size() >= 3);
    for (const QString &name : names) {
        const QString text = expandTemplate(readTemplate(name).value_or(u"%"_s), values);
        QVERIFY2(!text.contains(u'%'), qPrintable(name + u": "_s + text));
        QVERIFY(text.count(u'\n') > 1);
    }
}

QTEST_GUILESS_MAIN(DemoTest)
#include "demo_test.moc"
