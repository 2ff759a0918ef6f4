#include "ui/actions/paletteitems.h"

#include "ui/actions/actionregistry.h"

#include <QAction>
#include <QCoreApplication>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

struct PlaceRow
{
    const char *prefix;
    const char *place;
};
constexpr std::array kPlaces = {
    PlaceRow{"file", QT_TRANSLATE_NOOP("Places", "File")},
    PlaceRow{"edit", QT_TRANSLATE_NOOP("Places", "Edit")},
    PlaceRow{"view", QT_TRANSLATE_NOOP("Places", "View")},
    PlaceRow{"go", QT_TRANSLATE_NOOP("Places", "Go")},
    PlaceRow{"group", QT_TRANSLATE_NOOP("Places", "Group")},
    PlaceRow{"message", QT_TRANSLATE_NOOP("Places", "Message")},
    PlaceRow{"reader", QT_TRANSLATE_NOOP("Places", "Reader")},
    PlaceRow{"tag", QT_TRANSLATE_NOOP("Places", "Tags")},
    PlaceRow{"tools", QT_TRANSLATE_NOOP("Places", "Tools")},
    PlaceRow{"help", QT_TRANSLATE_NOOP("Places", "Help")},
};

/// Where @p word stands in @p name, preferably at the beginning of a word; -1 when it does not.
qsizetype placeOfWord(const QString &name, const QString &word)
{
    qsizetype anywhere = -1;
    for (qsizetype at = name.indexOf(word, 0, Qt::CaseInsensitive); at >= 0;
         at = name.indexOf(word, at + 1, Qt::CaseInsensitive)) {
        if (at == 0 || !name[at - 1].isLetterOrNumber())
            return at;
        anywhere = anywhere < 0 ? at : anywhere;
    }
    return anywhere;
}

/// Less is better.
int rankOf(const QString &name, const QList<MatchedPiece> &pieces)
{
    if (pieces.isEmpty())
        return 0;
    const qsizetype first = pieces.first().start;
    if (first == 0)
        return 0;
    return name[first - 1].isLetterOrNumber() ? 2 : 1;
}

} // namespace

QString placeOf(const char *actionName)
{
    const QLatin1StringView name(actionName);
    const auto row = std::find_if(kPlaces.begin(), kPlaces.end(), [name](const PlaceRow &candidate) {
        return name.startsWith(QLatin1StringView(candidate.prefix)) &&
               name.sliced(qsizetype(qstrlen(candidate.prefix))).startsWith(u'.');
    });
    return row == kPlaces.end() ? QString() : QCoreApplication::translate("Places", row->place);
}

QList<PaletteItem> itemsOf(const ActionRegistry &registry)
{
    QList<PaletteItem> items;
    for (const ActionRegistry::Entry &entry : registry.entries()) {
        QAction *action = entry.action;
        if (entry.row->traits & ActionRow::Hidden || !action->isVisible())
            continue;
        items.append({action->text().remove(u'&'), placeOf(entry.row->name), action->icon(),
                      action->shortcuts(), action->isEnabled(), [action] { action->trigger(); }});
    }
    return items;
}

QList<PaletteMatch> matchItems(const QList<PaletteItem> &items, const QString &typed)
{
    const QStringList words = typed.split(u' ', Qt::SkipEmptyParts);
    struct Ranked
    {
        int rank;
        PaletteMatch match;
    };
    std::vector<Ranked> found;
    for (int i = 0; i < items.size(); ++i) {
        QList<MatchedPiece> pieces;
        const bool fits = std::all_of(words.begin(), words.end(), [&](const QString &word) {
            const qsizetype at = placeOfWord(items[i].name, word);
            if (at >= 0)
                pieces.append({at, word.size()});
            return at >= 0;
        });
        if (fits)
            found.push_back({rankOf(items[i].name, pieces) + (items[i].enabled ? 0 : 10), {i, pieces}});
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const Ranked &a, const Ranked &b) { return a.rank < b.rank; });
    QList<PaletteMatch> matches;
    for (Ranked &ranked : found)
        matches.append(std::move(ranked.match));
    return matches;
}
