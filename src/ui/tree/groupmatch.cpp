#include "ui/tree/groupmatch.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int kInitials = kWorstWholeMatch + 2;
constexpr int kScattered = kWorstWholeMatch + 6;
constexpr int kShortestScattered = 3; ///< fewer letters are in nearly every name

bool beginsWord(QStringView text, qsizetype at)
{
    return at == 0 || !text[at - 1].isLetterOrNumber();
}

/// Where a word stands in a text: at its start, at that of a word, within one, not at all.
struct Place
{
    enum Kind { Start, WordStart, Inside, Nowhere };
    Kind kind = Nowhere;
    qsizetype at = -1;
};

Place placeIn(QStringView text, QStringView word)
{
    Place best;
    for (qsizetype at = text.indexOf(word); at >= 0; at = text.indexOf(word, at + 1)) {
        if (beginsWord(text, at))
            return {at == 0 ? Place::Start : Place::WordStart, at};
        if (best.kind == Place::Nowhere)
            best = {Place::Inside, at};
    }
    return best;
}

/// Whether the letters of @p word come in @p text in their order, with @p initials only at starts of words.
bool holdsInOrder(QStringView text, QStringView word, bool initials)
{
    qsizetype found = 0;
    for (qsizetype at = 0; at < text.size() && found < word.size(); ++at) {
        if (text[at] == word[found] && (!initials || beginsWord(text, at)))
            ++found;
    }
    return found == word.size();
}

/// The distance of @p text, and in @p at where it stands as it is; -1 there when only its letters do.
int distanceAt(QStringView text, QStringView path, qsizetype nameFrom, qsizetype &at)
{
    const Place inName = placeIn(path.sliced(nameFrom), text);
    at = inName.at + nameFrom;
    if (inName.kind != Place::Nowhere)
        return inName.kind;
    const Place above = placeIn(path, text);
    at = above.at;
    if (above.kind != Place::Nowhere)
        return above.kind == Place::Inside ? kWorstWholeMatch : kWorstWholeMatch - 1;
    if (text.size() < 2)
        return -1;
    if (holdsInOrder(path, text, true))
        return kInitials;
    return text.size() >= kShortestScattered && holdsInOrder(path, text, false) ? kScattered : -1;
}

} // namespace

QString foldedForSearch(const QString &text)
{
    const bool isPlain = std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 0x80; });
    if (isPlain)
        return text.toLower();
    QString folded;
    const QString apart = text.normalized(QString::NormalizationForm_KD).toCaseFolded();
    std::copy_if(apart.begin(), apart.end(), std::back_inserter(folded),
                 [](QChar c) { return c.category() != QChar::Mark_NonSpacing; });
    return folded;
}

SearchName SearchName::of(const QString &path)
{
    SearchName name;
    name.path = foldedForSearch(path);
    name.nameFrom = name.path.lastIndexOf(u'/') + 1;
    return name;
}

int matchDistance(QStringView text, const SearchName &name)
{
    qsizetype at = 0;
    return distanceAt(text, name.path, name.nameFrom, at);
}

/// What one word has found is not found by another: "press pr" means Press/Proofs, not Press twice.
int matchDistance(const QStringList &words, const SearchName &name)
{
    if (words.size() == 1)
        return matchDistance(QStringView(words.first()), name);
    QStringList longestFirst = words;
    std::stable_sort(longestFirst.begin(), longestFirst.end(),
                     [](const QString &a, const QString &b) { return a.size() > b.size(); });
    QString left = name.path;
    int sum = 0;
    for (const QString &word : std::as_const(longestFirst)) {
        qsizetype at = 0;
        const int distance = distanceAt(word, left, name.nameFrom, at);
        if (distance < 0)
            return -1;
        if (at >= 0)
            left.replace(at, word.size(), QString(word.size(), QChar::Null));
        sum += distance;
    }
    return sum;
}
