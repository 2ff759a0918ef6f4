#pragma once

#include <QString>

/// @p text as one line that may stand in a header field: line ends, tabs and other control characters are
/// blanks, none at either end.
QString oneLineOf(const QString &text);
