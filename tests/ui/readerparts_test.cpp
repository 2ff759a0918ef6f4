#include "config/platform.h"
#include "config/settings.h"
#include "message/mimecontext.h"
#include "support/scratch.h"
#include "ui/look/looks.h"
#include "ui/look/messagebar.h"
#include "ui/reader/attachmentfiles.h"
#include "ui/reader/attachmentstrip.h"
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
#include <QFileDialog>
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

} // namespace

class ReaderPartsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { m_looks.start(); }
    void init();
    void cleanup();

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
    void savesManyInSlices();
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

void ReaderPartsTest::cardsInTheText()
{
    const QByteArray invitation =
        "BEGIN:VCALENDAR\nMETHOD:REQUEST\nBEGIN:VEVENT\nSUMMARY:S\nLOCATION:<b>Room</b>\n"
        "END:VEVENT\nEND:VCALENDAR\n";
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
    QTest::newRow("a file within a word")
        << u"view --open=%f"_s << QStringList{u"view"_s, u"--open="_s + path};
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

void ReaderPartsTest::savesManyInSlices()
{
    show(mixed({part("application/pdf; name=a.pdf", "one"), part("application/pdf; name=a.pdf", "two")}));
    m_view->perform(ReaderAction::SaveAttachments);
    auto *dialog = m_view->findChild<QFileDialog *>(u"saveAttachments"_s);
    QVERIFY(dialog);
    emit dialog->fileSelected(m_scratch->path({}));
    show(mail("text/plain", "another")); // what was asked for goes on
    auto *bar = m_view->findChild<MessageBar *>();
    QTRY_VERIFY(bar->isVisible());
    QVERIFY2(bar->text().startsWith(u"2 attachments saved to "_s), qPrintable(bar->text()));
    QCOMPARE(Scratch::read(m_scratch->path(u"a.pdf"_s)), QByteArray("one"));
    QCOMPARE(Scratch::read(m_scratch->path(u"a (2).pdf"_s)), QByteArray("two"));
    emit dialog->fileSelected(m_scratch->path(u"no/such"_s));
    QTRY_VERIFY2(bar->text().startsWith(u"0 of 2 attachments could be saved"_s), qPrintable(bar->text()));
    QVERIFY(bar->text().contains(u"a.pdf, a.pdf"_s));
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
        QByteArray("a\0b\x1b[31m\x7f\xe2\x80\xae", 12) + " x" + QByteArray("y").repeated(9000), {}, nullptr);
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
