#include "config/directory.h"
#include "message/mimecontext.h"
#include "ui/look/icons.h"
#include "ui/look/looks.h"
#include "ui/reader/messageview.h"
#include "ui/reader/openwithdialog.h"
#include "ui/reader/partstree.h"
#include "ui/reader/previewcontent.h"
#include "ui/reader/previewwindow.h"
#include "ui/reader/readeractions.h"
#include "ui/reader/recipientsview.h"
#include "ui/reader/sourcewindow.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLineEdit>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTextBrowser>

#include <cstdio>

using namespace Qt::StringLiterals;

// The reader with the messages of an mbox, to look at: reader_pictures DIRECTORY MBOX saves a picture of
// each, and of some in other looks and states, and says how long each took to be shown. Behind these may
// stand a look ("dark"), the size of the font in points and the width of the reader in pixels.

namespace {

QList<QByteArray> messagesOf(const QByteArray &mbox)
{
    QList<QByteArray> messages;
    qsizetype at = mbox.startsWith("From ") ? 0 : -1;
    while (at >= 0) {
        const qsizetype text = mbox.indexOf('\n', at) + 1;
        const qsizetype next = mbox.indexOf("\n\nFrom ", text);
        messages.append(next < 0 ? mbox.sliced(text) : mbox.sliced(text, next + 1 - text));
        at = next < 0 ? -1 : next + 2;
    }
    return messages;
}

constexpr int kMostWindows = 10; ///< messages whose windows are shown

class Pictures
{
public:
    explicit Pictures(const QString &directory)
        : m_directory(directory)
    {
        QList<QAction *> actions;
        for (const char *name : {"previous", "previous-unread", "next-unread", "next"})
            actions.append(new QAction(icon(QString::fromLatin1(name)), QString::fromLatin1(name), &view));
        actions.append(nullptr);
        actions.append(new QAction(icon(u"archive"_s), u"Archive"_s, &view));
        actions.append(new QAction(icon(u"junk"_s), u"Junk"_s, &view));
        auto *own = new ReaderActions(*new ActionRegistry(&view));
        own->setReader(&view);
        view.setHeaderActions(actions, own->moreActions());
        view.resize(1040, 620);
        view.show();
    }

    void save(const QString &name)
    {
        QElapsedTimer timer;
        timer.start();
        for (int pass = 0; pass < 5; ++pass) // each may put something into the queue
            QApplication::processEvents();
        view.grab().save(QDir(m_directory).filePath(name + u".png"_s));
        std::printf("%s: %lld ms to paint\n", qPrintable(name), static_cast<long long>(timer.elapsed()));
    }

    void show(const QByteArray &text, const QString &name)
    {
        QElapsedTimer timer;
        timer.start();
        view.showMessage(Message(text), {name.startsWith(u"05"), false, name.startsWith(u"04"), false});
        std::printf("%s: %lld ms to show\n", qPrintable(name), static_cast<long long>(timer.elapsed()));
        view.setTags({{u"Almanac"_s, 200}, {u"Sailing club"_s, 120}});
        save(name);
    }

    /// The windows that belong to a message: its parts, each attachment that can be looked at, its source.
    void showWindows(const QByteArray &text, const QString &name)
    {
        const Message message(text);
        saveWindow(new PartsTree(message, &view), name + u"-parts"_s);
        saveWindow(new SourceWindow(text, message.subject(), &view), name + u"-source"_s);
        saveWindow(new OpenWithDialog(u"Cover.jpg"_s, "image/jpeg",
                                      u"It may do harm if its sender means ill."_s, &view),
                   name + u"-open-with"_s);
        for (int part = 0; part < message.mime().count(); ++part)
            if (previewKindOf(message, part) != PreviewKind::None)
                saveWindow(new PreviewWindow(message, {part}, part, &view),
                           u"%1-preview%2"_s.arg(name).arg(part));
    }

    MessageView view;

private:
    void saveWindow(QWidget *window, const QString &name)
    {
        window->show();
        window->activateWindow();
        for (int pass = 0; pass < 5; ++pass)
            QApplication::processEvents();
        window->grab().save(QDir(m_directory).filePath(name + u".png"_s));
        delete window;
    }

    QString m_directory;
};

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    if (argc < 3) {
        std::fprintf(stderr, "usage: reader_pictures DIRECTORY MBOX\n");
        return 2;
    }
    QTemporaryDir scratch;
    setConfigDirectory(scratch.path());
    Looks looks;
    looks.start();
    looks.setLook(argc > 3 && QByteArrayView(argv[3]).contains("dark") ? Look::Dark : Look::Light);
    if (argc > 4)
        looks.setFont(QFont(QApplication::font().family(), QByteArray(argv[4]).toInt()));
    QDir().mkpath(QString::fromLocal8Bit(argv[1]));
    Pictures pictures(QString::fromLocal8Bit(argv[1]));
    if (argc > 5)
        pictures.view.resize(QByteArray(argv[5]).toInt(), pictures.view.height());
    pictures.save(u"empty"_s);
    QFile file(QString::fromLocal8Bit(argv[2]));
    if (!file.open(QIODevice::ReadOnly))
        return 1;
    int number = 0;
    const QList<QByteArray> messages = messagesOf(file.readAll());
    for (const QByteArray &text : messages)
        pictures.show(text, u"%1"_s.arg(++number, 2, 10, QChar(u'0')));
    for (number = 0; number < std::min<int>(int(messages.size()), kMostWindows); ++number)
        pictures.showWindows(messages[number], u"%1"_s.arg(number + 1, 2, 10, QChar(u'0')));
    pictures.view.perform(ReaderAction::AllHeaders, true);
    pictures.save(u"all-headers"_s);
    pictures.view.perform(ReaderAction::Find);
    pictures.view.findChild<QLineEdit *>()->setText(u"the"_s);
    pictures.save(u"find"_s);
    pictures.view.perform(ReaderAction::AllHeaders, false);
    pictures.view.resize(430, 560);
    pictures.save(u"narrow"_s);
    auto *recipients = pictures.view.findChild<RecipientsView *>();
    pictures.view.activateWindow();
    recipients->setFocus(Qt::TabFocusReason);
    pictures.save(u"person"_s);
    recipients->setExpanded(true);
    pictures.save(u"expanded"_s);
    return 0;
}
