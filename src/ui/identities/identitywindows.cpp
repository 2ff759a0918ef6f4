#include "ui/identities/identitywindows.h"

#include "engine/engine.h"
#include "ui/identities/identitiesdialog.h"
#include "ui/identities/identityeditor.h"
#include "ui/identities/templatesdialog.h"

namespace {

template <typename Window>
Window *raised(Window *window)
{
    window->show();
    window->raise();
    window->activateWindow();
    return window;
}

} // namespace

IdentitiesDialog *openIdentityManager(Engine &engine, QWidget *window)
{
    for (IdentitiesDialog *open : window->findChildren<IdentitiesDialog *>())
        if (open->isVisible())
            return raised(open);
    return raised(new IdentitiesDialog(engine, window));
}

IdentityEditor *editIdentity(Engine &engine, int number, QWidget *window)
{
    const Identity *identity = engine.identities().identity(number);
    if (!identity)
        return nullptr;
    for (IdentityEditor *open : window->findChildren<IdentityEditor *>())
        if (open->identity() == number && open->isVisible())
            return raised(open);
    return raised(new IdentityEditor(engine, *identity, window));
}

IdentityEditor *newIdentity(Engine &engine, const Identity &proposed, QWidget *window, int copied)
{
    return raised(new IdentityEditor(engine, proposed, window, copied));
}

TemplatesDialog *openTemplateManager(Engine &engine, QWidget *window, const Message &current)
{
    for (TemplatesDialog *open : window->findChildren<TemplatesDialog *>())
        if (open->isVisible())
            return raised(open);
    return raised(new TemplatesDialog(engine.identities(), current, window));
}
