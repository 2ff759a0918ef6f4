#pragma once

#include "ui/look/colours.h"

#include <QFont>

/// Widgets whose palette or font differs from the application's. They remember only which role they have, so
/// that they follow when the look or the font is changed while they are shown.

/// @p widget and what lies in it stand on @p background: Sidebar, Base, Alternate, Card, Chrome. Window and
/// Base of its palette become that colour, and it fills itself with it.
void setSurface(QWidget *widget, Role background);

/// Text of @p widget in @p text: Text2 for labels and dates, Text3 for hints, Link for counts.
void setTextRole(QWidget *widget, Role text);

/// The palette of a widget on @p background, for one that paints by itself.
QPalette surfacePalette(Role background);

/// Used by setFontScale (metrics.h).
void rememberFont(QWidget *widget, double factor, QFont::Weight weight);

/// Brings every widget that has a role of its own up to date, its icons too. Only for looks.h.
void recolourWidgets();
