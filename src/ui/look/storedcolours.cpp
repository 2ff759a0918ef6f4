#include "ui/look/storedcolours.h"

#include "config/settings.h"
#include "ui/look/colours.h"
#include "ui/look/oklch.h"

#include <algorithm>
#include <optional>

namespace {

struct StoredRow
{
    Setting id;
    /// The default is shown as this colour of the look; without one it is mapped like a changed one.
    std::optional<Role> automatic;
    /// A text lies on this background; without one the setting is a background.
    std::optional<Setting> background;
};

constexpr StoredRow kStored[] = {
    {Setting::ReadColourBG, Role::Base, {}},
    {Setting::SendColourBG, Role::Base, {}},
    {Setting::GViewColourBG, Role::Base, {}},
    {Setting::GListColourBG, Role::Sidebar, {}},
    {Setting::GroupingColourBG, Role::GroupHead, {}},
    {Setting::ReadColourFG, Role::Text, Setting::ReadColourBG},
    {Setting::ReadColourQ1, {}, Setting::ReadColourBG},
    {Setting::ReadColourQ2, {}, Setting::ReadColourBG},
    {Setting::ReadColourQ3, {}, Setting::ReadColourBG},
    {Setting::ReadColourQ4, {}, Setting::ReadColourBG},
    {Setting::ReadColourSig, {}, Setting::ReadColourBG},
    {Setting::ReadColourURL, {}, Setting::ReadColourBG},
    {Setting::ReadFadeColour, Role::ReadText, Setting::GViewColourBG},
    {Setting::SendColourFG, Role::Text, Setting::SendColourBG},
    {Setting::GroupingColourFG, Role::Text2, Setting::GroupingColourBG},
    {Setting::WindowTextColour, Role::Text, Setting::GViewColourBG},
};

QColor stored(Setting id)
{
    return QColor(QRgb(intSetting(id)) & 0xFFFFFF);
}

double textRatio()
{
    return isHighContrast(currentScheme()) ? 7 : 5;
}

/// A background chosen for the day keeps its hue at night.
QColor nightBackground(const QColor &chosen)
{
    Oklch night = toOklch(chosen);
    night.chroma = std::min(night.chroma, 0.03);
    night.lightness = toOklch(colour(Role::Base)).lightness + 0.02;
    return fromOklch(night);
}

QColor changedBackground(const QColor &chosen)
{
    return isDark(currentScheme()) ? nightBackground(chosen) : chosen;
}

QColor changedText(const QColor &chosen, const QColor &background)
{
    return currentScheme() == Scheme::Light ? chosen : mapColour(chosen, background, textRatio());
}

/// The look's own colour, unless the user chose a background on which it could not be read.
QColor automaticText(Role role, const QColor &background)
{
    const QColor own = colour(role);
    return contrast(own, background) >= 4.5 ? own : mapColour(own, background, textRatio());
}

} // namespace

bool isAutomaticColour(Setting id)
{
    return intSetting(id) == defaultIntSetting(id);
}

QColor shownColour(Setting id)
{
    const auto row = std::find_if(std::begin(kStored), std::end(kStored),
                                  [id](const StoredRow &candidate) { return candidate.id == id; });
    if (row == std::end(kStored))
        return {};
    const bool automatic = isAutomaticColour(id);
    if (!row->background)
        return automatic ? colour(*row->automatic) : changedBackground(stored(id));
    const QColor background = shownColour(*row->background);
    if (automatic)
        return row->automatic ? automaticText(*row->automatic, background)
                              : mapColour(stored(id), background, textRatio());
    return changedText(stored(id), background);
}

QColor shownReadRowColour()
{
    if (!boolSetting(Setting::FadeRead))
        return shownColour(Setting::WindowTextColour);
    const QColor background = shownColour(Setting::GViewColourBG);
    if (!boolSetting(Setting::FadeReadSpecific))
        return automaticText(Role::ReadText, background);
    return mapColour(stored(Setting::ReadFadeColour), background, textRatio());
}

int storedColour(const QColor &colour)
{
    return int(colour.rgb() & 0xFFFFFF);
}
