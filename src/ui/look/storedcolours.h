#pragma once

#include "config/settingids.h"

#include <QColor>

/// The colours among the settings are 24-bit integers that were made for white paper. One that has its
/// default is "Automatic": the look chooses. One that the user changed is exact in the light look and brought
/// to readability in the others.

/// Whether the setting has its default value.
bool isAutomaticColour(Setting id);

/// The colour to paint with for `ReadColourBG`, `ReadColourFG`, `ReadColourQ1` to `ReadColourQ4`,
/// `ReadColourSig`, `ReadColourURL`, `ReadFadeColour`, `SendColourBG`, `SendColourFG`, `GListColourBG`,
/// `GViewColourBG`, `GroupingColourBG`, `GroupingColourFG` and `WindowTextColour`. Invalid for any other.
QColor shownColour(Setting id);

/// Rows that were read, by `FadeRead`, `FadeReadSpecific` and `ReadFadeColour`.
QColor shownReadRowColour();

/// The integer to store for a colour that the user chose.
int storedColour(const QColor &colour);
