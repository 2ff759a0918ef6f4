#pragma once

#include <QFont>

class QWidget;

/// Sizes of the windows, in device-independent pixels. Every height that text stands in comes from *h*, the
/// height of a line of the application's font, so that a large font and a foreign one both fit.

/// h.
int textHeight();

enum class Density { Comfortable, Compact };

Density currentDensity();

/// Only for looks.h, which tells the windows too.
void setCurrentDensity(Density density);

enum class RowKind {
    List,        ///< h + 10; compact h + 4
    TwoLines,    ///< 2h + 19; compact 2h + 11
    Heading,     ///< a date between rows: h + 10; compact h + 4
    Tree,        ///< h + 9; compact h + 4
    TreeSection, ///< h + 16, whatever the density
};
int rowHeight(RowKind kind);

/// The icons' factor: 1 while h is below 22, 1.25 below 28, else 1.5.
double iconFactor();

enum class IconUse {
    Row,        ///< 16
    Bar,        ///< 20
    Card,       ///< 24
    DialogHead, ///< 32
};
int iconSize(IconUse use);

int controlHeight();      ///< button, field, combo box, spin box: h + 12
int toolButtonHeight();   ///< max(icon, h) + 10
int tabHeight();          ///< h + 18
int columnHeaderHeight(); ///< 0.9h + 12
int menuItemHeight();     ///< h + 10
int menuBarItemHeight();  ///< h + 8
int checkBoxHeight();     ///< max(h, 16) + 6
int messageBarHeight();   ///< a button + 10

constexpr int kButtonMinimumWidth = 76;

/// The width of a column that shows @p characters average ones (From 24, Score 9, Date 14).
int columnWidth(int characters);

/// Distances are these and no others.
namespace space {
constexpr int inner = 4;   ///< inside a control
constexpr int between = 8; ///< between controls
constexpr int group = 12;  ///< between groups of them
constexpr int card = 16;   ///< inside a card
constexpr int dialog = 24; ///< a dialog's margin
constexpr int page = 32;   ///< a page's margin
} // namespace space

/// Corner radii; a pill has half its height.
namespace radius {
constexpr int box = 4;   ///< check boxes, the bars of a day
constexpr int field = 6; ///< buttons, fields, rows of a tree
constexpr int card = 8;  //
constexpr int palette = 10;
} // namespace radius

/// Factors of the application font's size. There are no others, and no family is ever set.
namespace scale {
constexpr double tag = 0.82;     ///< a tag in a row
constexpr double section = 0.88; ///< a section of the tree, a count
constexpr double small = 0.92;   ///< dates, status lines, hints
constexpr double title = 1.1;    ///< the title of a group of controls
constexpr double subject = 1.3;  ///< a message's subject, an empty state
constexpr double dialog = 1.6;   ///< a dialog's title
constexpr double welcome = 1.9;
} // namespace scale

/// @p font in @p factor of its size and with @p weight, whether it is sized in points or in pixels.
QFont fontScaled(const QFont &font, double factor, QFont::Weight weight = QFont::Normal);

/// The application's font so.
QFont fontScaled(double factor, QFont::Weight weight = QFont::Normal);

/// Gives @p widget the application's font so, and again whenever that font changes (looks.h).
void setFontScale(QWidget *widget, double factor, QFont::Weight weight = QFont::Normal);
