#pragma once

#include <QStringView>

/// How wide text is where every letter has the same width: wide characters (UAX 11) take two columns, marks
/// none.
int columnsOf(char32_t character);
/// Of @p text that begins in column @p from: a tab goes to the next column that eight divides.
int columnsOf(QStringView text, int from = 0);
/// Of one character in column @p column.
int columnsAt(char32_t character, int column);

/// The character at @p position, halves put together; @p position goes behind it. A lone half is itself.
char32_t takeCharacter(QStringView text, qsizetype &position);

/// Whether lines break before and behind @p character without a blank, as in Chinese and Japanese.
bool isIdeographic(char32_t character);

/// Whether a line may end between two neighbours, at least one of them ideographic: never before a closing
/// mark, never behind an opening one.
bool mayBreakBetween(char32_t before, char32_t behind);
