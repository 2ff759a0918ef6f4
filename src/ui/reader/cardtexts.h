#pragma once

#include <QFontMetrics>
#include <QString>
#include <QStringView>

/// @p text as a few harmless lines; what is too much for a card is cut with "…".
QString harmlessLines(QStringView text);

/// The target of a link that writes to @p address; empty when that is none.
QString mailtoTarget(const QString &address);

/// The address in a value such as "mailto:a@b"; the value itself without that.
QString addressOf(const QString &value);

/// How to draw @p text in lines of @p width pixels: broken between words, or anywhere where a word is too
/// long.
int wrapFlags(const QFontMetrics &metrics, const QString &text, int width);

/// "Ada <ada@example.org>", isolated and harmless; a name that holds another address is left out.
QString personText(const QString &name, const QString &address);
