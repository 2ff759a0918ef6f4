#pragma once

#include "identity/identitymanager.h"
#include "ui/compose/composeattachments.h"
#include "ui/compose/composeeditor.h"
#include "ui/compose/composeheader.h"
#include "ui/compose/plaineditor.h"
#include "ui/compose/sendwindow.h"
#include "windowprogram.h"

#include <QLineEdit>

/// The whole program with an identity to write as, and a compose window of it.
class ComposeProgram
{
protected:
    using Field = ComposeHeader::Field;

    void start()
    {
        m_program = std::make_unique<Program>();
        Identity me;
        me.name = u"Clara Brandt"_s;
        me.address = u"clara@tidewater.example"_s;
        m_program->engine.identities().add(me);
        m_program->open();
    }

    SendWindow *compose(const char *action = "write.new")
    {
        m_program->act(action);
        findWindow();
        if (m_window && !QTest::qWaitForWindowActive(m_window))
            qFatal("the window does not come");
        return m_window;
    }

    void findWindow()
    {
        for (QWidget *each : QApplication::topLevelWidgets())
            if (auto *found = qobject_cast<SendWindow *>(each); found && found->isVisible())
                m_window = found;
    }

    static void type(const QString &text) { QTest::keyClicks(QApplication::focusWidget(), text); }

    void fill(const QString &to, const QString &subject, const QString &text) const
    {
        header()->setText(Field::To, to);
        header()->setText(Field::Subject, subject);
        editor()->plain()->setPlainText(text);
    }

    void act(const char *name) const
    {
        QAction *action = m_window->actions().find(QString::fromLatin1(name));
        QVERIFY2(action && action->isEnabled(), name);
        action->trigger();
    }

    ComposeHeader *header() const { return m_window->findChild<ComposeHeader *>(); }
    ComposeEditor *editor() const { return m_window->findChild<ComposeEditor *>(); }
    ComposeAttachments *strip() const { return m_window->findChild<ComposeAttachments *>(); }
    AskingBar *asking() const { return m_window->findChild<AskingBar *>(); }
    Group &outbox() const { return *m_program->group(GroupRole::Outbox); }

    std::unique_ptr<Program> m_program;
    QPointer<SendWindow> m_window;
};
