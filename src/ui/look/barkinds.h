#pragma once

#include "ui/look/colours.h"
#include "ui/look/messagebar.h"

#include <array>

/// How each kind of message looks, in a bar or in a dialog.
struct BarKindRow
{
    const char *sign; ///< the name of its icon
    Role colour;
    Role ground;
};
constexpr std::array kBarKinds = {
    BarKindRow{"info", Role::Information, Role::InformationBar},
    BarKindRow{"ok", Role::Good, Role::GoodBar},
    BarKindRow{"warning", Role::Warning, Role::WarningBar},
    BarKindRow{"error", Role::Error, Role::ErrorBar},
};
static_assert(kBarKinds.size() == std::size_t(MessageBar::Kind::Error) + 1);
