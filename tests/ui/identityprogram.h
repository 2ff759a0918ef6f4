#pragma once

#include "support/scratch.h"

#include "engine/engine.h"
#include "ui/look/looks.h"

#include <QAbstractButton>
#include <QDialog>
#include <QLineEdit>
#include <QListView>
#include <QWidget>

using namespace Qt::StringLiterals;

inline Identity identityOf(const QString &name, const QString &address)
{
    Identity identity;
    identity.name = name;
    identity.address = address;
    return identity;
}

/// The windows in a program of their own, over a window that stands for the main one.
struct IdentityProgram
{
    IdentityProgram()
    {
        looks.start();
        if (!engine.load())
            qFatal("the engine does not load");
        clara = identities().add(identityOf(u"Clara Winter"_s, u"clara@tidewater.example"_s));
        club = identities().add(identityOf(u"Sailing club"_s, u"club@sailing.example"_s));
        window.show();
    }
    ~IdentityProgram()
    {
        qDeleteAll(window.findChildren<QDialog *>(Qt::FindDirectChildrenOnly));
        engine.shutDown();
    }

    IdentityManager &identities() { return engine.identities(); }
    const Identity &identity(int number) { return *identities().identity(number); }

    Scratch scratch;
    Looks looks;
    Engine engine;
    QWidget window;
    int clara = 0;
    int club = 0;
};

template <typename Type = QLineEdit>
Type *field(QWidget *window, const char *name)
{
    auto *found = window->findChild<Type *>(QLatin1StringView(name));
    if (!found)
        qFatal("there is no %s", name);
    return found;
}

inline void press(QWidget *window, const char *name)
{
    auto *button = field<QAbstractButton>(window, name);
    if (!button->isEnabled())
        qFatal("%s cannot be pressed", name);
    button->click();
}

inline bool canPress(QWidget *window, const char *name)
{
    return field<QAbstractButton>(window, name)->isEnabled();
}

/// What a manager lists.
inline QStringList rows(QWidget *manager)
{
    const QAbstractItemModel *model = field<QListView>(manager, "list")->model();
    QStringList names;
    for (int row = 0; row < model->rowCount(); ++row)
        names += model->index(row, 0).data().toString();
    return names;
}

/// The dialog of that type that was opened last.
template <typename Dialog>
Dialog *opened(QWidget *over)
{
    const auto all = over->findChildren<Dialog *>();
    return all.isEmpty() ? nullptr : all.last();
}

inline void confirmDelete(QWidget *manager)
{
    press(field<QDialog>(manager, "deleteDialog"), "deleteIt");
}
