#include "ui/look/colours.h"

#include "ui/look/oklch.h"

#include <array>

namespace {

struct RoleRow
{
    Role role;
    QRgb light;
    QRgb dark;
    QRgb contrastLight;
    QRgb contrastDark;
};

constexpr std::array kRoles = {
    RoleRow{Role::Chrome, 0xF3F5F6, 0x23282C, 0xFFFFFF, 0x000000},
    RoleRow{Role::Sidebar, 0xEAEEF0, 0x1E2327, 0xFFFFFF, 0x000000},
    RoleRow{Role::Base, 0xFFFFFF, 0x191D20, 0xFFFFFF, 0x000000},
    RoleRow{Role::Alternate, 0xF7F9FA, 0x1F2428, 0xFFFFFF, 0x000000},
    RoleRow{Role::Card, 0xFFFFFF, 0x22282C, 0xFFFFFF, 0x000000},
    RoleRow{Role::Button, 0xFFFFFF, 0x2C3338, 0xFFFFFF, 0x000000},
    RoleRow{Role::ButtonBorder, 0xB4BDC5, 0x59646C, 0x000000, 0xFFFFFF},
    RoleRow{Role::Text, 0x1A2025, 0xE3E7EA, 0x000000, 0xFFFFFF},
    RoleRow{Role::ReadText, 0x3B454D, 0xC6CDD2, 0x000000, 0xFFFFFF},
    RoleRow{Role::Text2, 0x4C5760, 0xA9B3BB, 0x000000, 0xFFFFFF},
    RoleRow{Role::Text3, 0x606B74, 0x8C97A0, 0x333333, 0xCCCCCC},
    RoleRow{Role::Disabled, 0x98A2AA, 0x66717A, 0x767676, 0x8A8A8A},
    RoleRow{Role::Line, 0xDBE0E4, 0x333B41, 0x000000, 0xFFFFFF},
    RoleRow{Role::Separator, 0xCBCFD3, 0x333B41, 0x000000, 0xFFFFFF},
    RoleRow{Role::Field, 0x828D96, 0x6C7780, 0x000000, 0xFFFFFF},
    RoleRow{Role::Accent, 0x0E6788, 0x5DB6D8, 0x00405A, 0x7FD0EE},
    RoleRow{Role::OnAccent, 0xFFFFFF, 0x04202C, 0xFFFFFF, 0x000000},
    RoleRow{Role::Link, 0x0B5F80, 0x74C3E1, 0x00405A, 0x7FD0EE},
    RoleRow{Role::Selection, 0xCFE5EF, 0x1D4557, 0xD6ECF7, 0x0F3547},
    RoleRow{Role::SelectionInactive, 0xE0E5E9, 0x30383E, 0xE0E5E9, 0x30383E},
    RoleRow{Role::SelectionSidebar, 0xD7DEE3, 0x30383E, 0xD7DEE3, 0x30383E},
    RoleRow{Role::Hover, 0xF0F4F6, 0x22282C, 0xF0F4F6, 0x22282C},
    RoleRow{Role::HoverChrome, 0xDEE4E8, 0x2A3136, 0xDEE4E8, 0x2A3136},
    RoleRow{Role::Pressed, 0xD3DBE0, 0x3A434A, 0xD3DBE0, 0x3A434A},
    RoleRow{Role::Scroll, 0xBCC5CC, 0x4B555D, 0x767676, 0x8A8A8A},
    RoleRow{Role::GroupHead, 0xF0F0F0, 0x22282C, 0xF0F0F0, 0x22282C},
    RoleRow{Role::ToolTip, 0x20272C, 0x343C42, 0x000000, 0xFFFFFF},
    RoleRow{Role::OnToolTip, 0xFFFFFF, 0xE3E7EA, 0xFFFFFF, 0x000000},
    RoleRow{Role::Flag, 0xC4500C, 0xF2915A, 0x973C07, 0xF2915A},
    RoleRow{Role::Junk, 0x85660A, 0xD9B650, 0x6F5404, 0xD9B650},
    RoleRow{Role::Error, 0xB3261E, 0xF49A92, 0x98221A, 0xF69C94},
    RoleRow{Role::ErrorBar, 0xFCEBE9, 0x3A2321, 0xFCEBE9, 0x3A2321},
    RoleRow{Role::Warning, 0x7F5300, 0xEDBE6B, 0x724A01, 0xEDBE6B},
    RoleRow{Role::WarningBar, 0xFFF3DA, 0x352B18, 0xFFF3DA, 0x352B18},
    RoleRow{Role::Good, 0x1A7340, 0x7CCB98, 0x015C2E, 0x7CCB98},
    RoleRow{Role::GoodBar, 0xE3F3E9, 0x1B3225, 0xE3F3E9, 0x1B3225},
    RoleRow{Role::Information, 0x0E6788, 0x74C3E1, 0x00405A, 0x7FD0EE},
    RoleRow{Role::InformationBar, 0xE5F1F6, 0x1A313B, 0xE5F1F6, 0x1A313B},
    RoleRow{Role::SearchHit, 0xFFE7A3, 0x5C4A12, 0xFFE7A3, 0x5C4A12},
};
static_assert(kRoles.size() == kRoleCount);

constexpr bool rowsFollowTheEnum()
{
    for (std::size_t i = 0; i < kRoles.size(); ++i)
        if (std::size_t(kRoles[i].role) != i)
            return false;
    return true;
}
static_assert(rowsFollowTheEnum());

/// What is on the screen now: the one thing about the look that painting must know without being told.
Scheme &shownScheme()
{
    static Scheme scheme = Scheme::Light;
    return scheme;
}

struct PaletteRow
{
    QPalette::ColorRole paletteRole;
    Role role;
};

constexpr PaletteRow kPalette[] = {
    {QPalette::Window, Role::Chrome},
    {QPalette::Base, Role::Base},
    {QPalette::AlternateBase, Role::Alternate},
    {QPalette::Button, Role::Button},
    {QPalette::Text, Role::Text},
    {QPalette::WindowText, Role::Text},
    {QPalette::ButtonText, Role::Text},
    {QPalette::BrightText, Role::OnAccent},
    {QPalette::PlaceholderText, Role::Text3},
    {QPalette::Highlight, Role::Selection},
    {QPalette::HighlightedText, Role::Text},
    {QPalette::Link, Role::Link},
    {QPalette::LinkVisited, Role::Link},
    {QPalette::Light, Role::Base},
    {QPalette::Midlight, Role::Hover},
    {QPalette::Mid, Role::Line},
    {QPalette::Dark, Role::Field},
    {QPalette::Shadow, Role::Text},
    {QPalette::ToolTipBase, Role::ToolTip},
    {QPalette::ToolTipText, Role::OnToolTip},
};

constexpr QPalette::ColorRole kTextRoles[] = {
    QPalette::Text,       QPalette::WindowText,      QPalette::ButtonText,
    QPalette::BrightText, QPalette::HighlightedText, QPalette::Link};

} // namespace

QColor colour(Role role, Scheme scheme)
{
    const RoleRow &row = kRoles[std::size_t(role)];
    switch (scheme) {
    case Scheme::Light: return QColor(row.light);
    case Scheme::Dark: return QColor(row.dark);
    case Scheme::HighContrastLight: return QColor(row.contrastLight);
    case Scheme::HighContrastDark: return QColor(row.contrastDark);
    }
    return {};
}

QColor colour(Role role)
{
    return colour(role, shownScheme());
}

Scheme currentScheme()
{
    return shownScheme();
}

void setCurrentScheme(Scheme scheme)
{
    shownScheme() = scheme;
}

QColor blended(Role role, const QColor &background, qreal strength)
{
    const QColor front = colour(role);
    const auto mix = [strength](int over, int under) { return qRound(under + (over - under) * strength); };
    return QColor(mix(front.red(), background.red()), mix(front.green(), background.green()),
                  mix(front.blue(), background.blue()));
}

QPalette paletteFor(Scheme scheme)
{
    QPalette palette;
    for (const auto &[paletteRole, role] : kPalette)
        palette.setColor(QPalette::All, paletteRole, colour(role, scheme));
    palette.setColor(QPalette::Inactive, QPalette::Highlight, colour(Role::SelectionInactive, scheme));
    palette.setColor(QPalette::Disabled, QPalette::Highlight, colour(Role::SelectionInactive, scheme));
    palette.setColor(QPalette::Disabled, QPalette::PlaceholderText, colour(Role::Disabled, scheme));
    palette.setColor(QPalette::Disabled, QPalette::Dark, colour(Role::Line, scheme));
    for (const QPalette::ColorRole role : kTextRoles)
        palette.setColor(QPalette::Disabled, role, colour(Role::Disabled, scheme));
    return palette;
}

HueColours hueColours(int hue, Scheme scheme)
{
    const bool dark = isDark(scheme);
    const int saturation = hue < 0 ? 0 : dark ? 70 : 120;
    const QColor background = QColor::fromHsl(hue, saturation, dark ? 48 : 232);
    const QColor text = QColor::fromHsl(hue, hue < 0 ? 0 : 150, dark ? 190 : 90);
    const double ratio = isHighContrast(scheme) ? 7 : dark ? 6 : 5;
    return {background.toRgb(), mapColour(text.toRgb(), background.toRgb(), ratio)};
}

HueColours hueColours(int hue)
{
    return hueColours(hue, shownScheme());
}

int hueFor(QStringView key)
{
    // FNV-1a, folded onto twelve hues far enough apart to be told from one another
    quint32 hash = 2166136261U;
    for (const QChar c : key)
        hash = (hash ^ c.toCaseFolded().unicode()) * 16777619U;
    hash ^= hash >> 16;
    return int(hash % 12) * 30;
}
