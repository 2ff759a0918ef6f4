#pragma once

#include <QIcon>
#include <QKeySequence>
#include <QList>
#include <QString>

#include <functional>

class ActionRegistry;

/// Something that the command palette offers: an action, or what one of its sources lists.
struct PaletteItem
{
    QString name;
    QString where; ///< "Message", "View": where else it is to be found
    QIcon icon;    ///< may be null
    QList<QKeySequence> keys;
    bool enabled = true;
    std::function<void()> act;
};

/// A piece of a name that the typed words matched, in UTF-16 units.
struct MatchedPiece
{
    qsizetype start;
    qsizetype length;
};

struct PaletteMatch
{
    int item; ///< index into the items
    QList<MatchedPiece> pieces;
};

/// The items whose name holds every word of @p typed, in any order and case; the best first: names that
/// begin with the first word, then words that begin with it, then the rest; what cannot be done now comes
/// last. Without words all of them, in their order.
QList<PaletteMatch> matchItems(const QList<PaletteItem> &items, const QString &typed);

/// What the actions of @p registry offer at the moment.
QList<PaletteItem> itemsOf(const ActionRegistry &registry);

/// The menu that an action of this name belongs to, for people.
QString placeOf(const char *actionName);
