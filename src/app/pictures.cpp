#include "app/pictures.h"

#include "engine/engine.h"
#include "ui/look/looks.h"
#include "ui/main/mainwindow.h"

#include <QCoreApplication>
#include <QDir>
#include <QTimer>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {
constexpr int kSettleMilliseconds = 300; ///< for layout, the sorting of the list and the reader
constexpr QSize kWindowSize(1280, 800);
} // namespace

Pictures::Pictures(MainWindow &window, Engine &engine, Looks &looks, const QString &directory,
                   QObject *parent)
    : QObject(parent)
    , m_window(window)
    , m_engine(engine)
    , m_looks(looks)
    , m_directory(directory)
{
    const QString walk = u"Re: Harbour walk on Saturday: who brings the map?"_s;
    const QString newsletter = u"Seven lighthouses, one long weekend"_s;
    m_scenes = {
        {"main-html", "a newsletter in HTML, its remote pictures left out",
         [=, this] { showMessage(newsletter); }},
        {"main-light", "the inbox with a thread and a plain message, light",
         [=, this] { showMessage(walk); }},
        {"main-plain", "a mailing list, a plain message with quotations",
         [this] { showMessage(u"Re: [authors] Typesetting the star charts"_s); }},
        {"main-attachments", "a message with attachments",
         [this] { showMessage(u"Cover sketches for the spring list"_s); }},
        {"main-dark", "the same inbox, dark",
         [=, this] {
             m_looks.setLook(Look::Dark);
             showMessage(walk);
         }},
        {"main-html-dark", "the newsletter on its light card, dark", [=, this] { showMessage(newsletter); }},
    };
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
    if (m_window.grab().save(path)) {
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
