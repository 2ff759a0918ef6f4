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

/// 0 at the start of @p text, 1 at that of a word, 2 inside one, -1 not at all.
int placeIn(QStringView text, QStringView word)
{
    int best = -1;
    for (qsizetype at = text.indexOf(word); at >= 0; at = text.indexOf(word, at + 1)) {
        if (at == 0)
            return 0;
        if (beginsWord(text, at))
            return 1;
        best = 2;
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
    const QStringView path = name.path;
    if (const int place = placeIn(path.sliced(name.nameFrom), text); place >= 0)
        return place;
    if (const int place = placeIn(path, text); place >= 0)
        return place < 2 ? 3 : kWorstWholeMatch;
    if (text.size() < 2)
        return -1;
    if (holdsInOrder(path, text, true))
        return kInitials;
    return text.size() >= kShortestScattered && holdsInOrder(path, text, false) ? kScattered : -1;
}

int matchDistance(const QStringList &words, const SearchName &name)
{
    int sum = 0;
    for (const QString &word : words) {
        const int distance = matchDistance(QStringView(word), name);
        if (distance < 0)
            return -1;
        sum += distance;
    }
    return sum;
}
