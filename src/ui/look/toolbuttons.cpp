#include "ui/look/toolbuttons.h"

#include "ui/look/icons.h"
#include "ui/look/metrics.h"

#include <QAction>
#include <QMenu>
#include <QToolBar>
#include <QToolButton>
#include <QVariant>

using namespace Qt::StringLiterals;

namespace {

constexpr char kShowsText[] = "velmarShowsText";

void refreshToolTip(QAction *action)
{
    action->setToolTip(toolTipWithKey(plainName(action->text()), action->shortcut()));
}

void prepare(QToolButton *button, const QString &name)
{
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::TabFocus);
    button->setAccessibleName(name);
}

} // namespace

QString plainName(QString text)
{
    text.remove(u'&');
    while (text.endsWith(u'…') || text.endsWith(u'.'))
        text.chop(1);
    return text;
}

QString toolTipWithKey(const QString &name, const QKeySequence &key)
{
    return key.isEmpty() ? name : u"%1 (%2)"_s.arg(name, key.toString(QKeySequence::NativeText));
}

void setKeyedToolTip(QAction *action)
{
    refreshToolTip(action);
    // the tool tip is part of what "changed" announces: it comes to rest when the text is the same
    QObject::connect(action, &QAction::changed, action, [action] { refreshToolTip(action); });
}

QToolButton *newToolButton(const QString &icon, const QString &name, QWidget *parent)
{
    auto *button = new QToolButton(parent);
    prepare(button, name);
    button->setIcon(::icon(icon));
    button->setToolTip(name);
    return button;
}

QToolButton *newToolButton(QAction *action, QWidget *parent, bool showText)
{
    setKeyedToolTip(action);
    auto *button = new QToolButton(parent);
    button->setDefaultAction(action);
    prepare(button, plainName(action->text()));
    const int size = iconSize(IconUse::Bar);
    button->setIconSize({size, size});
    button->setToolButtonStyle(showText ? Qt::ToolButtonTextBesideIcon : Qt::ToolButtonIconOnly);
    return button;
}

QToolBar *newToolBar(QWidget *parent)
{
    auto *bar = new QToolBar(parent);
    bar->setMovable(false);
    bar->setFloatable(false);
    bar->setContextMenuPolicy(Qt::PreventContextMenu);
    bar->setToolButtonStyle(Qt::ToolButtonIconOnly);
    return bar;
}

QToolButton *addToToolBar(QToolBar *bar, QAction *action, bool showText)
{
    setKeyedToolTip(action);
    bar->addAction(action);
    auto *button = qobject_cast<QToolButton *>(bar->widgetForAction(action));
    if (!button)
        return nullptr;
    prepare(button, plainName(action->text()));
    if (action->menu())
        button->setPopupMode(QToolButton::InstantPopup); // before anybody asks how wide it is
    if (showText) {
        button->setProperty(kShowsText, true);
        button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    }
    return button;
}

void setBarTextsShown(QToolBar *bar, bool shown)
{
    for (QToolButton *button : bar->findChildren<QToolButton *>())
        if (button->property(kShowsText).toBool())
            button->setToolButtonStyle(shown ? Qt::ToolButtonTextBesideIcon : Qt::ToolButtonIconOnly);
}
