#include "compose/columns.h"

#include <QString>

#include <algorithm>

namespace {

constexpr int kTab = 8;
constexpr int kFarAway = 1 << 30;

struct Range
{
    char32_t first;
    char32_t last;
};

constexpr Range kWide[] = {
    {0x1100, 0x115F},   {0x231A, 0x231B},   {0x2E80, 0x303E},   {0x3041, 0x33FF},   {0x3400, 0x4DBF},
    {0x4E00, 0x9FFF},   {0xA000, 0xA4CF},   {0xA960, 0xA97F},   {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},
    {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},   {0xFFE0, 0xFFE6},   {0x17000, 0x18CFF}, {0x1B000, 0x1B2FF},
    {0x1F300, 0x1F64F}, {0x1F680, 0x1F6FF}, {0x1F900, 0x1F9FF}, {0x1FA70, 0x1FAFF}, {0x20000, 0x3FFFD},
};

constexpr Range kIdeographic[] = {
    {0x2E80, 0x2FFF}, {0x3000, 0x30FF}, {0x3190, 0x9FFF},
    {0xF900, 0xFAFF}, {0xFF00, 0xFF60}, {0x20000, 0x3FFFD},
};

constexpr QStringView kNeverFirst =
    u",.;:!?%)]}、。，．・：；？！ー々ゝゞヽヾぁぃぅぇぉっゃゅょゎァィゥェォッャュョヮ"
    u"゛゜…‥～％）］｝」』】〉》〕’”";
constexpr QStringView kNeverLast = u"([{（［｛「『【〈《〔‘“￥＄";

template <std::size_t N>
bool isIn(const Range (&ranges)[N], char32_t character)
{
    const auto next = std::upper_bound(std::begin(ranges), std::end(ranges), character,
                                       [](char32_t c, const Range &range) { return c < range.first; });
    return next != std::begin(ranges) && character <= std::prev(next)->last;
}

bool contains(QStringView set, char32_t character)
{
    return character < 0x10000 && set.contains(QChar(char16_t(character)));
}

} // namespace

int columnsOf(char32_t character)
{
    if (character < 0x300)
        return character == 0xAD ? 0 : 1;
    switch (QChar::category(character)) {
    case QChar::Mark_NonSpacing:
    case QChar::Mark_Enclosing:
    case QChar::Other_Format: return 0;
    default: return isIn(kWide, character) ? 2 : 1;
    }
}

int columnsAt(char32_t character, int column)
{
    return character == u'\t' ? kTab - column % kTab : columnsOf(character);
}

int columnsOf(QStringView text, int from)
{
    int column = from;
    for (qsizetype at = 0; at < text.size() && column < kFarAway;)
        column += columnsAt(takeCharacter(text, at), column);
    return column - from;
}

char32_t takeCharacter(QStringView text, qsizetype &position)
{
    const QChar c = text[position++];
    if (!c.isHighSurrogate() || position == text.size() || !text[position].isLowSurrogate())
        return c.unicode();
    return QChar::surrogateToUcs4(c, text[position++]);
}

bool isIdeographic(char32_t character)
{
    return character >= 0x2E80 && isIn(kIdeographic, character);
}

bool mayBreakBetween(char32_t before, char32_t behind)
{
    return (isIdeographic(before) || isIdeographic(behind)) && columnsOf(behind) > 0 &&
           !contains(kNeverFirst, behind) && !contains(kNeverLast, before);
}
