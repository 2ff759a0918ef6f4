#include "support/scratch.h"
#include "ui/look/looks.h"
#include "ui/reader/bodyformat.h"
#include "ui/reader/bodyview.h"
#include "ui/reader/messageview.h"
#include "ui/reader/readeractions.h"

#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QClipboard>
#include <QFile>
#include <QLineEdit>
#include <QScrollBar>
#include <QTest>
#include <QTextBlock>
#include <QTextFrame>
#include <QTextTable>

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

QList<QByteArray> samples()
{
    QFile file(QFINDTESTDATA("../data/html/samples.mbox"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QList<QByteArray> messages;
    QByteArray mbox = file.readAll();
    for (qsizetype at = 0; at >= 0 && at < mbox.size();) {
        const qsizetype text = mbox.indexOf('\n', at) + 1;
        const qsizetype next = mbox.indexOf("\n\nFrom ", text);
        messages.append(mbox.sliced(text, (next < 0 ? mbox.size() : next + 1) - text));
        at = next < 0 ? -1 : next + 2;
    }
    return messages;
}

double lightOf(const QColor &colour)
{
    const auto linear = [](double part) {
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
           0.0722 * linear(colour.blueF());
}

double contrast(const QColor &a, const QColor &b)
{
    const double one = lightOf(a) + 0.05;
    const double other = lightOf(b) + 0.05;
    return std::max(one, other) / std::min(one, other);
}

} // namespace

/// HTML as people send it, in every window and look.
class ReaderHtmlTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { m_looks.start(); }
    void init();
    void cleanup();

    void fits_data();
    void fits();
    void isReadable_data();
    void isReadable();
    void foldsQuotations();
    void findsInFoldedQuotations();

private:
    BodyView *body() { return m_view->findChild<BodyView *>(); }
    QColor groundOf(const QTextBlock &block, const QTextCharFormat &format);
    QString shownText()
    {
        QString out;
        for (QTextBlock block = body()->document()->begin(); block.isValid(); block = block.next())
            if (block.isVisible() && !block.text().trimmed().isEmpty())
                out += block.text() + u'\n';
        return out;
    }

    Looks m_looks;
    std::unique_ptr<Scratch> m_scratch;
    std::unique_ptr<MessageView> m_view;
};

void ReaderHtmlTest::init()
{
    m_scratch = std::make_unique<Scratch>();
    m_view = std::make_unique<MessageView>();
    m_view->resize(1000, 700);
    m_view->show();
}

void ReaderHtmlTest::cleanup()
{
    m_view.reset();
    m_scratch.reset();
}

void ReaderHtmlTest::fits_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("width");
    const QList<QByteArray> all = samples();
    QVERIFY(all.size() >= 8);
    for (const QByteArray &text : all)
        for (const int width : {360, 480, 700, 1000, 1600})
            QTest::addRow("%s, %d", Message(text).subject().toUtf8().constData(), width) << text << width;
}

void ReaderHtmlTest::fits()
{
    QFETCH(QByteArray, text);
    QFETCH(int, width);
    m_view->resize(width, 700);
    m_view->showMessage(Message(text));
    body()->document()->documentLayout()->documentSize(); // all of it
    QVERIFY2(body()->horizontalScrollBar()->maximum() <= 1,
             qPrintable(QString::number(body()->horizontalScrollBar()->maximum())));
}

/// What lies behind the letters of @p format: the nearest ground around them.
QColor ReaderHtmlTest::groundOf(const QTextBlock &block, const QTextCharFormat &format)
{
    if (format.background().style() != Qt::NoBrush)
        return format.background().color();
    if (block.blockFormat().background().style() != Qt::NoBrush)
        return block.blockFormat().background().color();
    QTextCursor cursor(block);
    for (QTextFrame *frame = cursor.currentFrame(); frame; frame = frame->parentFrame()) {
        if (auto *table = qobject_cast<QTextTable *>(frame)) {
            const QTextTableCell cell = table->cellAt(block.position());
            if (cell.isValid() && cell.format().background().style() != Qt::NoBrush)
                return cell.format().background().color();
        }
        if (frame->frameFormat().background().style() != Qt::NoBrush)
            return frame->frameFormat().background().color();
        if (frame->frameFormat().hasProperty(bodyformat::Surface))
            return frame->frameFormat().colorProperty(bodyformat::Surface);
    }
    return body()->palette().color(QPalette::Base);
}

void ReaderHtmlTest::isReadable_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("dark");
    for (const QByteArray &text : samples())
        for (const bool dark : {false, true})
            QTest::addRow("%s, %s", Message(text).subject().toUtf8().constData(), dark ? "dark" : "light")
                << text << dark;
}

void ReaderHtmlTest::isReadable()
{
    QFETCH(QByteArray, text);
    QFETCH(bool, dark);
    m_looks.setLook(dark ? Look::Dark : Look::Light);
    m_view->showMessage(Message(text));
    int runs = 0;
    for (QTextBlock block = body()->document()->begin(); block.isValid(); block = block.next()) {
        for (auto at = block.begin(); !at.atEnd(); ++at) {
            const QTextCharFormat format = at.fragment().charFormat();
            if (at.fragment().text().trimmed().isEmpty())
                continue;
            ++runs;
            const QColor ink = format.foreground().style() == Qt::NoBrush
                                   ? body()->palette().color(QPalette::Text)
                                   : format.foreground().color();
            const QColor ground = groundOf(block, format);
            QVERIFY2(contrast(ink, ground) >= 3,
                     qPrintable(u"%1 on %2: %3"_s.arg(ink.name(), ground.name(), at.fragment().text())));
        }
    }
    QVERIFY(runs > 3);
    m_looks.setLook(Look::Light);
}

void ReaderHtmlTest::foldsQuotations()
{
    const QByteArray lines = QByteArray("<div>theirs</div>").repeated(20);
    m_view->showMessage(Message("MIME-Version: 1.0\nContent-Type: text/html\n\n<p>Mine</p><blockquote>" +
                                lines + "<blockquote><div>older</div></blockquote></blockquote><p>End</p>"));
    QCOMPARE(shownText(), u"Mine\nShow 21 quoted lines\nEnd\n"_s);
    body()->selectAll();
    body()->copy(); // what is folded is copied, too
    QCOMPARE(QApplication::clipboard()->text().simplified(),
             u"Mine "_s + u"theirs "_s.repeated(20) + u"older End"_s);
    const QTextCursor label = body()->document()->find(u"Show 21"_s);
    emit body()->linkClicked(label.charFormat().anchorHref());
    QCOMPARE(shownText(), u"Mine\n"_s + u"theirs\n"_s.repeated(20) + u"older\nEnd\n"_s);
    const QTextCursor older = body()->document()->find(u"older"_s);
    QCOMPARE(older.blockFormat().intProperty(bodyformat::QuoteLevel), 2);
    QCOMPARE(body()->document()->find(u"theirs"_s).blockFormat().intProperty(bodyformat::QuoteLevel), 1);
    m_view->showMessage(
        Message("MIME-Version: 1.0\nContent-Type: text/html\n\n<blockquote>" + lines + "</blockquote>"));
    QVERIFY(!shownText().contains(u"Show"_s)); // nothing else would be left
}

void ReaderHtmlTest::findsInFoldedQuotations()
{
    m_view->showMessage(Message("MIME-Version: 1.0\nContent-Type: text/html\n\n<p>Mine</p><blockquote>" +
                                QByteArray("<div>theirs</div>").repeated(20) +
                                "<div>needle</div></blockquote>"));
    QVERIFY(!shownText().contains(u"needle"_s));
    m_view->perform(ReaderAction::Find);
    m_view->findChild<QLineEdit *>()->setText(u"needle"_s);
    QTRY_VERIFY(shownText().contains(u"needle"_s));
    QCOMPARE(body()->textCursor().selectedText(), u"needle"_s);
}

QTEST_MAIN(ReaderHtmlTest)
#include "readerhtml_test.moc"
