#pragma once

#include <QColor>
#include <QPalette>

class QWidget;

/// Every colour of the windows, by what it is for. Nothing else in the program names a colour; a widget asks
/// when it paints and keeps none, so that a look can be switched while windows are open.

/// The four tables. The desktop's wish is settled before a scheme is named (looks.h).
enum class Scheme { Light, Dark, HighContrastLight, HighContrastDark };

constexpr bool isDark(Scheme scheme)
{
    return scheme == Scheme::Dark || scheme == Scheme::HighContrastDark;
}
constexpr bool isHighContrast(Scheme scheme)
{
    return scheme == Scheme::HighContrastLight || scheme == Scheme::HighContrastDark;
}

enum class Role {
    Chrome,            ///< bars and dialogs
    Sidebar,           ///< the tree of groups and its like
    Base,              ///< lists, the reader, fields
    Alternate,         ///< cards in Base, weekends
    Card,              ///< cards in Chrome
    Button,            ///< a plain push button
    ButtonBorder,      //
    Text,              //
    ReadText,          ///< rows that were read
    Text2,             ///< dates, labels, icons
    Text3,             ///< hints, keys, counts that do not matter
    Disabled,          //
    Line,              ///< hairlines between panes and rows
    Separator,         ///< short lines in bars, the splitter's line
    Field,             ///< borders of fields, check boxes, menus
    Accent,            //
    OnAccent,          ///< text and icons on Accent
    Link,              ///< links, text buttons, counts
    Selection,         ///< the selected row of the active pane, a checked tool button
    SelectionInactive, ///< of any other pane
    SelectionSidebar,  ///< in a tree on Sidebar
    Hover,             ///< on Base
    HoverChrome,       ///< on Chrome
    Pressed,           ///< held down; the groove of a progress bar
    Scroll,            ///< the handle of a scroll bar
    GroupHead,         ///< the heading of a run of rows
    ToolTip,           //
    OnToolTip,         //
    Flag,              //
    Junk,              //
    Error,             //
    ErrorBar,          //
    Warning,           //
    WarningBar,        //
    Good,              //
    GoodBar,           //
    Information,       ///< the sign on InformationBar
    InformationBar,    //
    SearchHit,         ///< behind found text
};
constexpr int kRoleCount = int(Role::SearchHit) + 1;

QColor colour(Role role, Scheme scheme);

/// In the scheme that is shown at the moment.
QColor colour(Role role);
Scheme currentScheme();

/// Only for looks.h, which tells the windows too.
void setCurrentScheme(Scheme scheme);

/// @p role as it looks at @p strength (0 to 1) over @p background.
QColor blended(Role role, const QColor &background, qreal strength);

/// The palette of a scheme: Window is Chrome, Mid is Line, Dark is Field, HighlightedText equals Text.
QPalette paletteFor(Scheme scheme);

/// @name Colours that come from one hue: tags, categories, avatars; never without the name beside them
/// @{
struct HueColours
{
    QColor background;
    QColor text; ///< 5:1 on it in the light look, 6:1 in the dark one, 7:1 with high contrast
};

/// @p hue in degrees; -1 (QColor's "no hue") gives greys.
HueColours hueColours(int hue, Scheme scheme);
HueColours hueColours(int hue);

/// A hue that is always the same for @p key: an address, compared without regard to case, or a name.
int hueFor(QStringView key);
/// @}
