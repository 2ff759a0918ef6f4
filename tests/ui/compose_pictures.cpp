// Draws the compose window into a directory, as in docs/pictures; with "all" behind it also small, empty, as
// an article, in high contrast, in 14 points and from right to left. With "pictures" in the place of a
// directory it says what a picture beside an attachment costs.
#include "support/scratch.h"

#include "config/clock.h"
#include "engine/engine.h"
#include "ui/compose/composeattachments.h"
#include "ui/compose/composeeditor.h"
#include "ui/compose/composeheader.h"
#include "ui/compose/plaineditor.h"
#include "ui/compose/richeditor.h"
#include "ui/compose/sendwindow.h"
#include "ui/compose/smallpicture.h"
#include "ui/look/askingbar.h"
#include "ui/look/looks.h"
#include "ui/look/messageboxes.h"

#include <QAction>
#include <QApplication>
#include <QBuffer>
#include <QCursor>
#include <QDir>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QTest>
#include <QTextBlock>

#include <cstdio>
#include <functional>

using namespace Qt::StringLiterals;

namespace {

/// A night sky over water.
QByteArray cover(int width, int height, const char *format = "PNG")
{
    QImage picture(width, height, QImage::Format_RGB32);
    for (int y = 0; y < height; ++y) {
        auto *line = reinterpret_cast<QRgb *>(picture.scanLine(y));
        for (int x = 0; x < width; ++x) {
            const bool isWater = y > height * 3 / 5;
            const bool isStar = !isWater && (x * 7919 + y * 104'729) % 1'009 == 0;
            const int depth = 255 * y / height;
            line[x] = isStar    ? qRgb(255, 246, 214)
                      : isWater ? qRgb(20, 70 + depth / 4, 110 + depth / 5)
                                : qRgb(24 + depth / 3, 34 + depth / 3, 84);
        }
    }
    QByteArray bytes;
    QBuffer buffer(&bytes);
    picture.save(&buffer, format);
    return bytes;
}

Composition letter()
{
    Composition letter;
    letter.identity.name = u"Clara Brandt"_s;
    letter.identity.address = u"clara@tidewater.example"_s;
    letter.to = u"Aiko Tanabe <aiko@tidewater.example>, Tomás Rivera <tomas@rivera.example>"_s;
    letter.cc = u"proofs@tidewater.example, hanna.at.korhonen"_s;
    letter.subject = u"Re: Tide tables, second reading"_s;
    letter.text =
        u"Dear Aiko,\n\nthank you for the careful reading. I have shifted the Port Ellis times and\n"
        u"taken the footnote out; the star chart gets its lighter grid tomorrow.\n\n"
        u"Could you send the corrected sheet to the printer by Thursday noon?\n\nClara\n\n"
        u"Aiko Tanabe wrote:\n> Shift them, please, and drop the footnote.\n"
        u">> The times for Port Ellis are still in winter time.\n>\n> Aiko\n\n-- \n"
        u"Clara Brandt, editor\nTidewater Press\n"_s;
    letter.attachments = {{u"Tide tables 2026.pdf"_s, "application/pdf", QByteArray(1'800'000, 'x'), {}},
                          {u"port-ellis-june.ods"_s,
                           "application/vnd.oasis.opendocument.spreadsheet",
                           QByteArray(46'000, 'x'),
                           {}},
                          {u"Cover.png"_s, "image/png", cover(640, 480), {}}};
    return letter;
}

class Scene
{
public:
    Scene()
        : m_boxes(&m_parent)
    {
        if (!m_engine.load())
            qFatal("the engine does not load");
        looks.start();
        m_engine.identities().add(letter().identity);
    }

    SendWindow *open(Composition composition, DraftContext::Deed deed = DraftContext::Deed::New)
    {
        composition.identity = m_engine.identities().all().front();
        Composer::Started started;
        started.composition = composition;
        started.context.deed = deed;
        const ComposeServices services = {m_engine.composer(),   m_engine.drafts(), m_engine.outbox(),
                                          m_engine.identities(), m_boxes,           {}};
        auto *window = new SendWindow(services, started);
        window->resize(1000, 760);
        window->comeForward();
        if (!QTest::qWaitForWindowActive(window))
            qFatal("the window does not come");
        return window;
    }

    Looks looks;

private:
    Scratch m_scratch;
    Engine m_engine;
    QWidget m_parent;
    MessageBoxes m_boxes;
};

void save(QWidget &window, const QString &path)
{
    QTest::qWait(60);
    if (!window.grab().save(path))
        qFatal("%s cannot be written", qPrintable(path));
}

void drawReply(Scene &scene, const QString &plainPath, const QString &richPath)
{
    SendWindow *window = scene.open(letter(), DraftContext::Deed::Reply);
    auto *to = window->findChild<ComposeHeader *>()->recipients(ComposeHeader::Field::To);
    to->entry()->setFocus();
    QTest::keyClick(to->entry(), Qt::Key_Backspace);
    window->markUnsaved(); // so that a version is kept
    save(*window, plainPath);
    window->actions().find(u"compose.rich"_s)->trigger();
    auto *editor = window->findChild<ComposeEditor *>()->rich();
    const QTextCursor found = editor->document()->find(u"Thursday noon"_s);
    editor->setTextCursor(found);
    editor->setBold(true);
    QTextCursor behind = found;
    behind.setPosition(found.selectionEnd());
    editor->setTextCursor(behind);
    editor->setFocus();
    window->findChild<AskingBar *>()->ask(
        MessageBar::Kind::Warning,
        u"hanna@korhomen.example is new and one letter away from hanna@korhonen.example."_s,
        {u"Use Hanna's address"_s, {}}, {u"Keep"_s, {}});
    window->keepNow();
    save(*window, richPath);
    delete window;
}

void drawOthers(Scene &scene, const QString &stem)
{
    SendWindow *small = scene.open(letter(), DraftContext::Deed::Reply);
    small->actions().find(u"compose.headers"_s)->trigger();
    auto *bar = small->findChild<AskingBar *>();
    bar->ask(MessageBar::Kind::Warning, u"Your message says \"attached\", but nothing is attached to it."_s,
             {u"Attach…"_s, {}}, {u"Send anyway"_s, {}});
    bar->offerTick(u"Don't warn me about this again"_s, {});
    save(*small, stem + u"-warning.png"_s);
    small->actions().find(u"compose.headers"_s)->trigger();
    small->resize(640, 480);
    save(*small, stem + u"-small.png"_s);
    delete small;
    SendWindow *empty = scene.open({});
    save(*empty, stem + u"-empty.png"_s);
    delete empty;
    Composition article = letter();
    article.to.clear();
    article.cc.clear();
    article.newsgroups = u"comp.lang.c++"_s;
    SendWindow *news = scene.open(article);
    save(*news, stem + u"-article.png"_s);
    delete news;
}

void tell(const char *what, const std::function<void()> &work)
{
    QElapsedTimer clock;
    clock.start();
    work();
    std::printf("%-44s %8.2f ms\n", what, double(clock.nsecsElapsed()) / 1e6);
}

} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("TZ", "UTC");
    QApplication application(argc, argv);
    if (argc < 2)
        return 2;
    const ClockOverride clock([] { return 1'780'486'320'000; }); // Wednesday, 11:32
    QCursor::setPos(10'000, 10'000);                             // under it a button would look pressed
    QFont font = QApplication::font();
    font.setPointSizeF(10);
    QApplication::setFont(font);
    Scene scene;
    const QString where = QString::fromLocal8Bit(argv[1]);
    if (where == u"pictures"_s) {
        for (const char *format : {"PNG", "JPEG", "BMP"})
            for (const QSize &size : {QSize(640, 480), QSize(1'400, 1'000), QSize(2'300, 1'700)}) {
                const QByteArray file = cover(size.width(), size.height(), format);
                const QByteArray name = QByteArray(format) + ' ' + QByteArray::number(size.width());
                tell(name.constData(), [&] { (void)smallPictureOf(file, 22); });
            }
        return 0;
    }
    QDir().mkpath(where);
    drawReply(scene, where + u"/compose.png"_s, where + u"/compose-rich.png"_s);
    scene.looks.setLook(Look::Dark);
    drawReply(scene, where + u"/compose-dark.png"_s, where + u"/compose-rich-dark.png"_s);
    if (argc < 3)
        return 0;
    const std::pair<const char *, Look> looks[] = {
        {"light", Look::Light}, {"dark", Look::Dark}, {"contrast", Look::HighContrast}};
    for (const auto &[name, look] : looks) {
        scene.looks.setLook(look);
        drawOthers(scene, where + u"/compose-"_s + QLatin1StringView(name));
    }
    scene.looks.setLook(Look::Light);
    const auto drawAll = [&](const QString &stem) {
        drawReply(scene, stem + u"-plain.png"_s, stem + u"-rich.png"_s);
        drawOthers(scene, stem);
    };
    QApplication::setLayoutDirection(Qt::RightToLeft);
    drawAll(where + u"/compose-rtl"_s);
    QApplication::setLayoutDirection(Qt::LeftToRight);
    QFont large = QApplication::font();
    large.setPointSize(14);
    scene.looks.setFont(large);
    drawAll(where + u"/compose-large"_s);
    return 0;
}
