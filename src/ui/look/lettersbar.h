#pragma once

#include <QString>

#include <functional>

class QToolBar;

/// Fills @p bar as the letters of a setting say: @p add puts in what a letter means and tells whether there
/// is such a thing; a blank is a separator. Separators never stand at an end or side by side.
void fillFromLetters(QToolBar *bar, const QString &letters, const std::function<bool(char16_t)> &add);
