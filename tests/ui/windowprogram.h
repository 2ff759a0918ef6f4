#pragma once

#include "config/settings.h"
#include "engine/engine.h"
#include "message/message.h"
#include "support/mail.h"
#include "support/scratch.h"
#include "ui/list/messagelist.h"
#include "ui/look/askingbar.h"
#include "ui/look/looks.h"
#include "ui/look/messageboxes.h"
#include "ui/main/listpane.h"
#include "ui/main/mainwindow.h"
#include "ui/main/viewers.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QMessageBox>
#include <QTest>
#include <QTimer>

#include <memory>

using namespace Qt::StringLiterals;

/// A program with three unread messages in its inbox, newest first "Third", "Second", "First".
class Program
{
public:
    explicit Program(bool withMail = true)
    {
        if (!engine.load())
            qFatal("the engine does not load");
        looks.start();
        for (const char *subject : {"First", "Second", "Third"}) {
            if (withMail)
                articles.push_back(add(inbox(), subject));
        }
        if (!inbox().flush())
            qFatal("the inbox cannot be written");
    }

    quint32 add(Group &group, const QByteArray &subject)
    {
        const QByteArray hour = QByteArray::number(int(10 + articles.size()));
        QByteArray text = mailText(subject + "@example.org", subject);
        text.replace("10:00:00", hour + ":00:00");
        return engine.groups().add(group, Message(text), {}, 0, 1795176000);
    }

    Group &inbox() { return *group(GroupRole::Inbox); }
    Group *group(GroupRole role) { return engine.groups().group(role); }

    void open()
    {
        window.reset();
        window = std::make_unique<MainWindow>(engine, looks);
        if (stringSetting(Setting::WindowSizeMain).isEmpty())
            window->resize(1100, 760); // the screen of the tests has no room for the tree
        window->show();
        list = window->findChild<MessageList *>();
        readTimer = viewers()->current().findChild<QTimer *>(u"readTimer"_s);
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
    }

    void key(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QWidget *focus = QApplication::focusWidget();
        QTest::keyClick(focus ? focus : window.get(), Qt::Key(key), modifiers);
    }

    Viewers *viewers() const { return window->findChild<Viewers *>(); }
    GroupTabs *tabs() const { return window->findChild<GroupTabs *>(); }

    /// The subjects in the list, as they stand.
    QStringList subjects() const
    {
        const MessageListModel &model = viewers()->current().list().messages();
        QStringList found;
        for (int place = 0; place < model.rowCount(); ++place) {
            if (!model.isHeading(place))
                found.append(model.item(place).subject);
        }
        return found;
    }

    /// The action of that name, done.
    void act(const char *name)
    {
        QAction *action = window->actions().find(QString::fromLatin1(name));
        QVERIFY2(action && action->isEnabled(), name);
        action->trigger();
    }

    bool has(quint32 article, Mark mark) { return inbox().overview(article)->has(mark); }

    /// The box that is open, when there is one within a moment.
    QMessageBox *box()
    {
        return QTest::qWaitFor([this] { return window->boxes().openBox() != nullptr; })
                   ? window->boxes().openBox()
                   : nullptr;
    }
    void answer(const QString &button)
    {
        QMessageBox *open = box();
        QVERIFY(open);
        for (QAbstractButton *candidate : open->buttons()) {
            if (candidate->text().remove(u'&') == button) {
                candidate->click();
                window->activateWindow(); // no window manager does it here
                return;
            }
        }
        QFAIL(qPrintable(u"there is no button “%1”"_s.arg(button)));
    }

    QString bar() const
    {
        const MessageBar &bar = viewers()->current().pane()->bar();
        return bar.isVisibleTo(window.get()) ? bar.text() : QString();
    }

    Scratch scratch;
    Engine engine;
    Looks looks;
    Articles articles;
    std::unique_ptr<MainWindow> window;
    MessageList *list = nullptr;
    QTimer *readTimer = nullptr;
};
