#include "config/clock.h"
#include "config/directory.h"
#include "config/settings.h"
#include "engine/engine.h"
#include "ui/look/looks.h"
#include "ui/tree/grouptree.h"
#include "ui/main/mainactions.h"
#include "ui/main/mainwindow.h"
#include "ui/list/messagelist.h"

#include <QApplication>
#include <QDir>
#include <QTemporaryDir>

#include <cstdio>

using namespace Qt::StringLiterals;

// Pictures of the main window to look at: imports a mailbox into a configuration directory that goes away
// again, and saves the window in every look and arrangement.
//
//     window_pictures DIRECTORY MAILBOX

namespace {

void runTasks(Engine &engine)
{
    while (engine.tasks().isBusy())
        QApplication::processEvents();
}

void savePicture(QWidget &window, const QString &path)
{
    for (int i = 0; i < 5; ++i)
        QApplication::processEvents();
    if (!window.grab().save(path))
        std::fprintf(stderr, "%s cannot be written\n", qPrintable(path));
}

/// Some of the mail in folders and marked, as it is after a few weeks.
void settleIn(Engine &engine)
{
    GroupStore &store = engine.groups();
    Group &inbox = *store.group(GroupRole::Inbox);
    Group *club = store.make(u"Home/Sailing club"_s);
    Group *bills = store.make(u"Home/Bills and tax"_s);
    store.make(u"Printers"_s);
    store.make(u"comp.lang.c++"_s, GroupKind::Newsgroup);
    store.make(u"Authors"_s, GroupKind::List);
    Articles toClub;
    Articles read;
    for (int row = 0; row < inbox.rowCount(); ++row) {
        const quint32 article = inbox.row(row).article();
        if (row % 7 == 3)
            toClub.push_back(article);
        else if (row % 4 != 0)
            read.push_back(article);
    }
    inbox.setMarks(read, Mark::Read, {});
    store.move(inbox, toClub, *club);
    if (read.size() > 6) {
        inbox.setMarks({read[2], read[5]}, Mark::Flagged, {});
        inbox.setMarks({read[1], read[4]}, Mark::Replied, {});
        inbox.setMarks({read[6]}, Mark::Forwarded, {});
        store.copy(inbox, {read[0]}, *bills);
        store.copy(inbox, {read[1], read[3]}, *store.group(GroupRole::Drafts));
    }
}

void saveArrangements(MainWindow &window, Looks &looks, const QString &directory)
{
    auto *list = window.findChild<MessageList *>();
    list->messages().setAllExpanded(true);
    list->step(MessageList::Step::Next);
    list->step(MessageList::Step::Next);
    list->setFocus();
    const auto act = [&window](const QString &name) {
        for (QAction *action : window.actions()) {
            if (action->text().remove(u'&') == name)
                action->trigger();
        }
    };
    savePicture(window, directory + u"/main-light.png"_s);
    looks.setLook(Look::Dark);
    savePicture(window, directory + u"/main-dark.png"_s);
    looks.setLook(Look::HighContrast);
    savePicture(window, directory + u"/main-high-contrast.png"_s);
    looks.setLook(Look::Light);
    act(u"Vertical layout"_s);
    savePicture(window, directory + u"/main-vertical-light.png"_s);
    act(u"Wide layout"_s);
    savePicture(window, directory + u"/main-wide-light.png"_s);
    act(u"Classic layout"_s);
    window.resize(720, 480);
    savePicture(window, directory + u"/main-smallest.png"_s);
    window.resize(1280, 800);
    QFont font = QApplication::font();
    font.setPointSize(14);
    const QFont before = QApplication::font();
    looks.setFont(font);
    savePicture(window, directory + u"/main-14pt.png"_s);
    looks.setFont(QFont(u"DejaVu Sans"_s, 10));
    savePicture(window, directory + u"/main-dejavu-sans.png"_s);
    looks.setFont(before);
    window.setLayoutDirection(Qt::RightToLeft);
    savePicture(window, directory + u"/main-right-to-left.png"_s);
    window.setLayoutDirection(Qt::LeftToRight);
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    if (argc != 3) {
        std::fprintf(stderr, "window_pictures DIRECTORY MAILBOX\n");
        return 2;
    }
    const QString directory = QString::fromLocal8Bit(argv[1]);
    QTemporaryDir configuration;
    setConfigDirectory(configuration.path());
    QDir().mkpath(directory);
    const ClockOverride clock([] { return QDateTime({2026, 11, 20}, {12, 0}).toMSecsSinceEpoch(); });

    Engine engine;
    if (!engine.load())
        return 1;
    Looks looks;
    looks.start();
    looks.setLook(Look::Light);
    {
        MainWindow window(engine, looks);
        window.show();
        savePicture(window, directory + u"/first-start.png"_s);
        engine.importMail({QString::fromLocal8Bit(argv[2])}, *engine.groups().group(GroupRole::Inbox));
        runTasks(engine);
        savePicture(window, directory + u"/main-imported.png"_s);
        window.selectGroup(engine.groups().group(GroupRole::WasteBasket)->number());
        savePicture(window, directory + u"/main-empty-group.png"_s);
    }
    settleIn(engine);
    engine.tick();
    MainWindow window(engine, looks);
    window.show();
    window.resize(1280, 800);
    window.selectGroup(engine.groups().group(GroupRole::Inbox)->number());
    saveArrangements(window, looks, directory);
    return engine.shutDown() ? 0 : 1;
}
