#include "app/pictures.h"

#include "engine/engine.h"
#include "ui/look/looks.h"
#include "ui/main/mainwindow.h"
#include "ui/tree/grouptreemodel.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QKeyEvent>
#include <QTimer>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

constexpr int kSettleMilliseconds = 300; ///< for layout, the sorting of the list and the reader
constexpr QSize kWindowSize(1280, 800);
constexpr QSize kSmallest(720, 480);
constexpr double kLargeText = 14; ///< points

QString walk()
{
    return u"Re: Harbour walk on Saturday: who brings the map?"_s;
}

QString newsletter()
{
    return u"Seven lighthouses, one long weekend"_s;
}

/// What stands over the windows, a dialog or a window of its own; else the main window.
QWidget *inFront(QWidget *otherwise)
{
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        if (widget != otherwise && widget->isVisible() && widget->windowType() != Qt::ToolTip)
            return widget;
    }
    return otherwise;
}

} // namespace

Pictures::Pictures(MainWindow &window, Engine &engine, Looks &looks, const QString &directory,
                   QObject *parent)
    : QObject(parent)
    , m_window(window)
    , m_engine(engine)
    , m_looks(looks)
    , m_directory(directory)
    , m_font(QApplication::font())
{
    addMainScenes();
    addOtherScenes();
}

void Pictures::addMainScenes()
{
    m_scenes = {
        {"main-html", "a newsletter in HTML, its remote pictures left out",
         [this] { showMessage(newsletter()); }},
        {"main-light", "the inbox with a thread and a plain message, light", [this] { showMessage(walk()); }},
        {"main-plain", "a mailing list, a plain message with quotations",
         [this] { showMessage(u"Re: [authors] Typesetting the star charts"_s); }},
        {"main-attachments", "a message with attachments",
         [this] { showMessage(u"Cover sketches for the spring list"_s); }},
        {"main-wide", "the wide layout",
         [this] {
             act("view.wide");
             showMessage(walk());
         }},
        {"main-vertical", "the vertical layout, two lines a message",
         [this] {
             act("view.vertical");
             showMessage(newsletter());
         }},
        {"main-vertical-dark", "the vertical layout, dark", [this] { m_looks.setLook(Look::Dark); }},
        {"main-dark", "the inbox, dark",
         [this] {
             act("view.classic");
             showMessage(walk());
         }},
        {"main-html-dark", "the newsletter on its light card, dark", [this] { showMessage(newsletter()); }},
        {"main-high-contrast", "the inbox, high contrast",
         [this] {
             m_looks.setLook(Look::HighContrast);
             showMessage(walk());
         }},
        {"main-small", "the smallest window",
         [this] {
             m_looks.setLook(Look::Light);
             m_window.resize(kSmallest);
         }},
        {"main-small-vertical", "the smallest window, vertical layout", [this] { act("view.vertical"); }},
        {"main-large-text", "the inbox with text of 14 points",
         [this] {
             act("view.classic");
             m_window.resize(kWindowSize);
             QFont font = m_font;
             font.setPointSizeF(kLargeText);
             m_looks.setFont(font);
             showMessage(walk());
         }},
        {"main-right-to-left", "the window from right to left",
         [this] {
             m_looks.setFont(m_font);
             QApplication::setLayoutDirection(Qt::RightToLeft);
         }},
    };
}

void Pictures::addOtherScenes()
{
    const std::vector<Scene> others = {
        {"palette", "the command palette",
         [this] {
             QApplication::setLayoutDirection(Qt::LeftToRight);
             act("help.palette");
             type("mark");
         }},
        {"filter", "the list narrowed by typing",
         [this] {
             press(Qt::Key_Escape);
             act("edit.filter");
             type("chart");
         }},
        {"find", "a word found in a message",
         [this] {
             act("view.clearFilter");
             showMessage(u"Re: [authors] Typesetting the star charts"_s);
             act("reader.find");
             type("the");
         }},
        {"flagged", "the flagged messages of all groups",
         [this] {
             press(Qt::Key_Escape);
             m_window.selectGroup(kFlaggedList);
         }},
        {"parts", "the parts of a message",
         [this] {
             showMessage(u"Cover sketches for the spring list"_s);
             act("reader.parts");
         }},
        {"keys", "the list of keys",
         [this] {
             closeFront();
             act("help.keys");
         }},
        {"go-to-group", "a group found by typing",
         [this] {
             closeFront();
             act("go.group");
             type("sail");
         }},
        {"source", "the source of a message",
         [this] {
             closeFront();
             act("reader.source");
         }},
    };
    m_scenes.insert(m_scenes.end(), others.begin(), others.end());
}

void Pictures::start()
{
    if (!QDir().mkpath(m_directory)) {
        std::fprintf(stderr, "The folder %s cannot be made.\n", qUtf8Printable(m_directory));
        return QCoreApplication::exit(1);
    }
    const OverviewFile::Counts counts = m_engine.groups().group(GroupRole::Inbox)->counts();
    std::printf("The demo mailbox was fetched: %u messages in the inbox, %u unread, %zu groups.\n",
                counts.total, counts.unread, m_engine.groups().groups().size());
    m_looks.setLook(Look::Light);
    m_window.resize(kWindowSize);
    next();
}

void Pictures::next()
{
    if (m_at == m_scenes.size()) {
        std::fflush(stdout);
        return QCoreApplication::exit(m_failed ? 1 : 0);
    }
    m_scenes[m_at].set();
    QTimer::singleShot(kSettleMilliseconds, this, [this] {
        save(m_scenes[m_at]);
        ++m_at;
        next();
    });
}

void Pictures::save(const Scene &scene)
{
    const QString path = m_directory + u'/' + QString::fromLatin1(scene.name) + u".png"_s;
    if (inFront(&m_window)->grab().save(path)) {
        std::printf("%s: %s\n", qUtf8Printable(path), scene.told);
        return;
    }
    std::fprintf(stderr, "Unable to write file '%s'\n", qUtf8Printable(path));
    m_failed = true;
}

/// Selects the latest message with that subject, in whichever group it is.
void Pictures::showMessage(const QString &subject)
{
    for (Group *group : m_engine.groups().groups()) {
        for (int row = group->rowCount() - 1; row >= 0; --row) {
            const Overview overview = group->row(row);
            if (overview.isDead() || group->texts(overview).subject != subject)
                continue;
            m_window.selectGroup(group->number());
            m_window.selectMessage(overview.article());
            return;
        }
    }
}

void Pictures::act(const char *action)
{
    if (QAction *found = m_window.actions().find(QString::fromLatin1(action)))
        return found->trigger();
    std::fprintf(stderr, "There is no action %s.\n", action);
    m_failed = true;
}

void Pictures::press(int key, const QString &text)
{
    QWidget *window = inFront(&m_window);
    QWidget *focus = window->focusWidget() ? window->focusWidget() : window;
    QKeyEvent down(QEvent::KeyPress, key, Qt::NoModifier, text);
    QCoreApplication::sendEvent(focus, &down);
}

void Pictures::type(const char *text)
{
    for (const QChar c : QString::fromLatin1(text))
        press(c.toUpper().unicode(), c);
}

void Pictures::closeFront()
{
    if (QWidget *window = inFront(&m_window); window != &m_window)
        window->close();
}
