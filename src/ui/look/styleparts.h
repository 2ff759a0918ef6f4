#pragma once

#include "ui/look/colours.h"

#include <QStyle>
#include <QStyleOption>

class QPainter;

/// The pieces that VelmarStyle puts together. Every function leaves the painter as it found it.

/// @name Shapes
/// @{
/// A rounded rectangle whose border lies inside @p rect. An invalid colour is not painted.
void paintPanel(QPainter *painter, const QRect &rect, qreal radius, const QColor &fill, const QColor &border,
                qreal width = 1);
/// The keyboard is here: 2 px of accent inside @p rect.
void paintFocusRing(QPainter *painter, const QRect &rect, qreal radius);
/// The same where the ground is the accent.
void paintFocusRingOnAccent(QPainter *painter, const QRect &rect, qreal radius);
/// The chevron icon that points so.
void paintChevron(QPainter *painter, const QRect &rect, Qt::ArrowType arrow, const QColor &colour, int size);
/// A tick within a box of @p rect.
void paintTick(QPainter *painter, const QRect &rect, const QColor &colour);
/// @}

/// The rectangle of @p width at the leading edge of @p rect, or at its trailing one.
QRect leading(const QStyleOption *option, const QRect &rect, int width);
QRect trailing(const QStyleOption *option, const QRect &rect, int width);

inline bool isEnabled(const QStyleOption *option)
{
    return option->state & QStyle::State_Enabled;
}
inline bool isHovered(const QStyleOption *option)
{
    return isEnabled(option) && option->state & QStyle::State_MouseOver;
}
inline bool isPressed(const QStyleOption *option)
{
    return isEnabled(option) && option->state & QStyle::State_Sunken;
}
inline bool hasFocus(const QStyleOption *option)
{
    return isEnabled(option) && option->state & QStyle::State_HasFocus;
}

/// Text flags for a label with a mnemonic, shown while @p style says so.
int mnemonicFlags(const QStyle *style, const QStyleOption *option, const QWidget *widget);

/// @name Buttons
/// @{
constexpr int kButtonPadding = 15;
constexpr int kGhostPadding = 10;
constexpr int kToolButtonPadding = 9;
constexpr int kIconGap = 7;
constexpr int kCheckGap = 8;
/// What a button with a menu needs besides.
int menuArrowWidth();
void drawPushButtonBevel(const QStyleOptionButton *option, QPainter *painter, const QWidget *widget);
void drawPushButtonLabel(const QStyleOptionButton *option, QPainter *painter, const QWidget *widget,
                         const QStyle *style);
void drawToolButton(const QStyleOptionToolButton *option, QPainter *painter, const QWidget *widget,
                    const QStyle *style);
QSize toolButtonSize(const QStyleOptionToolButton *option, const QWidget *widget);
void drawCheckBox(const QStyleOption *option, QPainter *painter);
void drawRadioButton(const QStyleOption *option, QPainter *painter);
/// @}

/// @name Fields
/// @{
constexpr int kFieldPadding = 8;
constexpr int kComboArrow = 24;
constexpr int kSpinArrows = 24;
constexpr int kSliderKnob = 16;
void drawField(const QStyleOption *option, QPainter *painter);
void drawComboBox(const QStyleOptionComboBox *option, QPainter *painter);
void drawComboBoxLabel(const QStyleOptionComboBox *option, QPainter *painter);
void drawSpinBox(const QStyleOptionSpinBox *option, QPainter *painter, const QStyle *style,
                 const QWidget *widget);
void drawSlider(const QStyleOptionSlider *option, QPainter *painter, const QStyle *style,
                const QWidget *widget);
void drawGroupBox(const QStyleOptionGroupBox *option, QPainter *painter, const QStyle *style,
                  const QWidget *widget);
QFont groupTitleFont();
/// @}

/// @name Menus
/// @{
constexpr int kMenuSeparator = 9;
void drawMenuPanel(const QStyleOption *option, QPainter *painter);
void drawMenuItem(const QStyleOptionMenuItem *option, QPainter *painter);
QSize menuItemSize(const QStyleOptionMenuItem *option);
void drawMenuBarItem(const QStyleOptionMenuItem *option, QPainter *painter, const QStyle *style,
                     const QWidget *widget);
/// @}

/// @name Views
/// @{
void drawHeaderSection(const QStyleOptionHeader *option, QPainter *painter, const QWidget *widget);
QSize headerSectionSize(const QStyleOptionHeader *option);
void drawRow(const QStyleOptionViewItem *option, QPainter *painter, const QWidget *widget);
void drawBranch(const QStyleOption *option, QPainter *painter);
void drawFocusFrame(const QStyleOptionFocusRect *option, QPainter *painter, const QWidget *widget);
void drawDropIndicator(const QStyleOption *option, QPainter *painter);
/// @}

/// @name Bars
/// @{
constexpr int kScrollBar = 12;
constexpr int kShortestHandle = 32;
constexpr int kTabPadding = 12;
void drawScrollBar(const QStyleOptionSlider *option, QPainter *painter, const QStyle *style,
                   const QWidget *widget);
QRect scrollBarPart(const QStyleOptionSlider *option, QStyle::SubControl part);
void drawProgressBar(const QStyleOptionProgressBar *option, QPainter *painter);
void drawTab(const QStyleOptionTab *option, QPainter *painter);
void drawTabLabel(const QStyleOptionTab *option, QPainter *painter, const QStyle *style,
                  const QWidget *widget);
void drawTabBase(const QStyleOptionTabBarBase *option, QPainter *painter);
void drawTabClose(const QStyleOption *option, QPainter *painter);
void drawBarSeparator(const QStyleOption *option, QPainter *painter);
void drawShapedFrame(const QStyleOptionFrame *option, QPainter *painter, const QWidget *widget);
/// @}
