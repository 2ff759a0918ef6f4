#pragma once

#include <QString>

/// What a text among the settings comes to in a reply, on an example: one line for people.

/// @p prefix before a quoted line.
QString previewQuote(const QString &prefix);

/// @p text with its variables filled in.
QString previewAttribution(const QString &text);
