#include "ui/actions/actionregistry.h"

#include "ui/look/icons.h"

#include <QAction>
#include <QCoreApplication>
#include <QKeySequence>
#include <QWidget>

#include <algorithm>

using namespace Qt::StringLiterals;

ActionRegistry::ActionRegistry(QWidget *window)
    : QObject(window)
    , m_window(window)
{}

QAction *ActionRegistry::add(const ActionRow &row, const char *context)
{
    auto *action = new QAction(QCoreApplication::translate(context, row.text), this);
    action->setObjectName(QString::fromLatin1(row.name));
    if (*row.icon)
        action->setIcon(icon(QString::fromLatin1(row.icon)));
    action->setCheckable(row.traits & ActionRow::Checks);
    action->setMenuRole(QAction::NoRole);
    m_entries.push_back({action, &row});
    setKeys(m_entries.back());
    if (row.traits & ActionRow::Local)
        action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    else
        m_window->addAction(action);
    return action;
}

QAction *ActionRegistry::find(QStringView name) const
{
    const auto found = std::find_if(m_entries.begin(), m_entries.end(), [name](const Entry &entry) {
        return name == QLatin1StringView(entry.row->name);
    });
    return found == m_entries.end() ? nullptr : found->action;
}

void ActionRegistry::setHave(unsigned have)
{
    for (const Entry &entry : m_entries)
        entry.action->setEnabled((entry.row->needs & ~have) == 0);
}

void ActionRegistry::setSingleKeys(bool act)
{
    m_singleKeys = act;
    for (const Entry &entry : m_entries)
        setKeys(entry);
}

void ActionRegistry::setKeys(const Entry &entry) const
{
    QList<QKeySequence> keys;
    for (const QString &word : QString::fromLatin1(entry.row->keys).split(u' ', Qt::SkipEmptyParts)) {
        const QKeySequence key(word);
        if (m_singleKeys || !isSingleKey(key[0].toCombined()))
            keys.append(key);
    }
    entry.action->setShortcuts(keys);
}

QString keysInWords(const QAction *action)
{
    return QKeySequence::listToString(action->shortcuts(), QKeySequence::NativeText);
}

bool isSingleKey(int keyCombined)
{
    const QKeyCombination key = QKeyCombination::fromCombined(keyCombined);
    const bool modified =
        key.keyboardModifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier);
    return !modified && key.key() > Qt::Key_Space && key.key() < Qt::Key_Escape;
}
