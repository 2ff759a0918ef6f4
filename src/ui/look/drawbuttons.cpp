#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/styleparts.h"
#include "ui/look/velmarstyle.h"

#include <QPainter>
#include <QToolBar>
#include <QToolButton>

#include <algorithm>

namespace {

/// What a button shows of itself besides its text.
struct ButtonColours
{
    QColor fill;
    QColor border;
    QColor text;
};

bool isAccentFilled(const QStyleOptionButton *option, ButtonKind kind)
{
    return kind == ButtonKind::Accent ||
           (kind == ButtonKind::Plain && option->features & QStyleOptionButton::DefaultButton);
}

QColor accentFill(const QStyleOption *option)
{
    if (isPressed(option))
        return blended(Role::Text, colour(Role::Accent), 0.22);
    return isHovered(option) ? blended(Role::Text, colour(Role::Accent), 0.12) : colour(Role::Accent);
}

QColor plainFill(const QStyleOption *option)
{
    if (isPressed(option))
        return colour(Role::Pressed);
    return colour(isHovered(option) ? Role::HoverChrome : Role::Button);
}

ButtonColours pushButtonColours(const QStyleOptionButton *option, ButtonKind kind)
{
    if (kind == ButtonKind::Ghost) {
        const QColor fill = isPressed(option) ? colour(Role::Pressed) : colour(Role::HoverChrome);
        return {isHovered(option) || isPressed(option) ? fill : QColor(),
                {},
                colour(isEnabled(option) ? Role::Link : Role::Disabled)};
    }
    if (!isEnabled(option))
        return {colour(Role::Button), colour(Role::Line), colour(Role::Disabled)};
    if (isAccentFilled(option, kind))
        return {accentFill(option), {}, colour(Role::OnAccent)};
    if (kind == ButtonKind::Dangerous) {
        const bool touched = isHovered(option) || isPressed(option);
        return {colour(touched ? Role::ErrorBar : Role::Button), colour(Role::Error), colour(Role::Error)};
    }
    if (option->state & QStyle::State_On)
        return {colour(Role::Selection), colour(Role::Accent), colour(Role::Text)};
    return {plainFill(option), colour(Role::ButtonBorder), colour(Role::Text)};
}

} // namespace

int menuArrowWidth()
{
    return iconSize(IconUse::Row) + space::inner;
}

void drawPushButtonBevel(const QStyleOptionButton *option, QPainter *painter, const QWidget *widget)
{
    const ButtonKind kind = buttonKind(widget);
    const ButtonColours colours = pushButtonColours(option, kind);
    if (colours.fill.isValid() || colours.border.isValid())
        paintPanel(painter, option->rect, radius::field, colours.fill, colours.border);
    if (!hasFocus(option))
        return;
    if (isAccentFilled(option, kind))
        paintFocusRingOnAccent(painter, option->rect, radius::field);
    else
        paintFocusRing(painter, option->rect, radius::field);
}

void drawPushButtonLabel(const QStyleOptionButton *option, QPainter *painter, const QWidget *widget,
                         const QStyle *style)
{
    const ButtonKind kind = buttonKind(widget);
    const QColor text = pushButtonColours(option, kind).text;
    const bool plainText = text == colour(Role::Text);
    const bool hasMenu = option->features & QStyleOptionButton::HasMenu;
    const int icon = option->icon.isNull() ? 0 : option->iconSize.height();
    const int gap = icon && !option->text.isEmpty() ? kIconGap : 0;
    const int arrow = hasMenu ? menuArrowWidth() : 0;
    const int flags = Qt::AlignVCenter | Qt::AlignLeft | mnemonicFlags(style, option, widget);
    const int width = option->fontMetrics.size(Qt::TextShowMnemonic, option->text).width();
    const int used = std::min(icon + gap + width + arrow, option->rect.width() - 8);
    QRect line = option->rect;
    line.setX(option->rect.x() + (option->rect.width() - used) / 2);
    line.setWidth(used);

    if (icon)
        paintIcon(painter, leading(option, line, icon), option->icon, icon,
                  plainText ? colour(Role::Text2) : text, option->direction, isEnabled(option));
    if (arrow)
        paintChevron(painter, trailing(option, line, iconSize(IconUse::Row)), Qt::DownArrow,
                     plainText ? colour(Role::Text2) : text, iconSize(IconUse::Row) - 2);
    const QRect words = QStyle::visualRect(option->direction, line, line.adjusted(icon + gap, 0, -arrow, 0));
    painter->save();
    painter->setPen(text);
    painter->drawText(
        words, int(QStyle::visualAlignment(option->direction, Qt::AlignLeft)) | (flags & ~Qt::AlignLeft),
        option->text);
    painter->restore();
}

// Tool buttons have no panel and no padding of their own in the base style; everything is drawn here.

namespace {

bool isOnBar(const QWidget *widget)
{
    return widget && qobject_cast<const QToolBar *>(widget->parentWidget());
}

/// The text is drawn beside the icon; below or without one only where the button asks so.
bool showsText(const QStyleOptionToolButton *option)
{
    return !option->text.isEmpty() &&
           (option->toolButtonStyle != Qt::ToolButtonIconOnly || option->icon.isNull());
}

bool showsIcon(const QStyleOptionToolButton *option)
{
    return option->toolButtonStyle != Qt::ToolButtonTextOnly && !option->icon.isNull();
}

bool hasArrow(const QStyleOptionToolButton *option)
{
    return option->features & (QStyleOptionToolButton::HasMenu | QStyleOptionToolButton::Menu) &&
           (showsText(option) || option->features & QStyleOptionToolButton::MenuButtonPopup);
}

int toolIcon(const QStyleOptionToolButton *option)
{
    return showsIcon(option) ? option->iconSize.height() : 0;
}

ButtonColours toolButtonColours(const QStyleOptionToolButton *option, const QWidget *widget)
{
    const ButtonKind kind = buttonKind(widget);
    if (!isEnabled(option))
        return {{}, {}, colour(Role::Disabled)};
    if (kind == ButtonKind::Accent)
        return {accentFill(option), {}, colour(Role::OnAccent)};
    const QColor text = colour(kind == ButtonKind::Ghost ? Role::Link : Role::Text);
    if (isPressed(option))
        return {colour(Role::Pressed), {}, text};
    if (option->state & QStyle::State_On)
        return {colour(Role::Selection), {}, text};
    if (isHovered(option) || (option->activeSubControls != QStyle::SC_None && isHovered(option)))
        return {colour(Role::HoverChrome), {}, text};
    if (!(option->state & QStyle::State_AutoRaise) && !isOnBar(widget))
        return {colour(Role::Button), colour(Role::ButtonBorder), text};
    return {{}, {}, text};
}

QColor toolIconColour(const QStyleOptionToolButton *option, const QWidget *widget)
{
    const ButtonKind kind = buttonKind(widget);
    if (!isEnabled(option))
        return colour(Role::Disabled);
    if (kind == ButtonKind::Accent)
        return colour(Role::OnAccent);
    return colour(option->state & QStyle::State_On || kind == ButtonKind::Ghost ? Role::Link : Role::Text2);
}

void drawToolButtonLabel(const QStyleOptionToolButton *option, QPainter *painter, const QWidget *widget,
                         const QColor &text, const QStyle *style)
{
    const int icon = toolIcon(option);
    const int arrow = hasArrow(option) ? menuArrowWidth() : 0;
    QRect line = option->rect;
    if (showsText(option))
        line.adjust(kToolButtonPadding, 0, -kToolButtonPadding, 0);
    if (icon) {
        const QRect place =
            showsText(option) || arrow ? leading(option, line, showsText(option) ? icon : icon + 10) : line;
        paintIcon(painter, place, option->icon, icon, toolIconColour(option, widget), option->direction,
                  isEnabled(option));
    } else if (option->arrowType != Qt::NoArrow && !showsText(option)) {
        paintChevron(painter, line, option->arrowType, toolIconColour(option, widget),
                     iconSize(IconUse::Row));
    }
    if (arrow)
        paintChevron(painter, trailing(option, line, iconSize(IconUse::Row)), Qt::DownArrow,
                     toolIconColour(option, widget), iconSize(IconUse::Row) - 2);
    if (!showsText(option))
        return;
    const int before = icon ? icon + kIconGap : 0;
    const QRect words = QStyle::visualRect(option->direction, line, line.adjusted(before, 0, -arrow, 0));
    const int flags = int(QStyle::visualAlignment(option->direction, Qt::AlignLeft)) | Qt::AlignVCenter |
                      mnemonicFlags(style, option, widget);
    painter->save();
    painter->setFont(option->font);
    painter->setPen(text);
    painter->drawText(words, flags, option->text);
    painter->restore();
}

} // namespace

void drawToolButton(const QStyleOptionToolButton *option, QPainter *painter, const QWidget *widget,
                    const QStyle *style)
{
    const ButtonColours colours = toolButtonColours(option, widget);
    if (colours.fill.isValid())
        paintPanel(painter, option->rect, radius::field, colours.fill, colours.border);
    if (hasFocus(option)) {
        if (buttonKind(widget) == ButtonKind::Accent)
            paintFocusRingOnAccent(painter, option->rect, radius::field);
        else
            paintFocusRing(painter, option->rect, radius::field);
    }
    drawToolButtonLabel(option, painter, widget, colours.text, style);
}

QSize toolButtonSize(const QStyleOptionToolButton *option, const QWidget *)
{
    const int icon = toolIcon(option);
    const int height = std::max(icon, textHeight()) + 10;
    const int arrow = hasArrow(option) ? menuArrowWidth() : 0;
    if (!showsText(option))
        return {std::max(icon, icon ? 0 : iconSize(IconUse::Row)) + 10 + arrow, height};
    const int words = option->fontMetrics.size(Qt::TextShowMnemonic, option->text).width();
    return {2 * kToolButtonPadding + (icon ? icon + kIconGap : 0) + words + arrow, height};
}

void drawCheckBox(const QStyleOption *option, QPainter *painter)
{
    const bool on = option->state & QStyle::State_On;
    const bool partly = option->state & QStyle::State_NoChange;
    const QRect box = option->rect;
    const bool filled = on || partly;
    const QColor border = colour(isEnabled(option) ? Role::Field : Role::Line);
    if (filled)
        paintPanel(painter, box, radius::box, colour(isEnabled(option) ? Role::Accent : Role::Disabled), {});
    else
        paintPanel(painter, box, radius::box, isPressed(option) ? colour(Role::Pressed) : colour(Role::Base),
                   border);
    if (on)
        paintTick(painter, box, colour(isEnabled(option) ? Role::OnAccent : Role::Base));
    else if (partly)
        paintPanel(painter, QRect(box.x() + box.width() / 4, box.center().y(), box.width() / 2, 2), 1,
                   colour(isEnabled(option) ? Role::OnAccent : Role::Base), {});
}

void drawRadioButton(const QStyleOption *option, QPainter *painter)
{
    const QRect box = option->rect;
    const bool on = option->state & QStyle::State_On;
    const QColor accent = colour(isEnabled(option) ? Role::Accent : Role::Disabled);
    const QColor border = on ? accent : colour(isEnabled(option) ? Role::Field : Role::Line);
    paintPanel(painter, box, box.width() / 2.0,
               isPressed(option) ? colour(Role::Pressed) : colour(Role::Base), border, on ? 1.5 : 1);
    if (on) {
        const int inset = box.width() / 4;
        paintPanel(painter, box.adjusted(inset, inset, -inset, -inset), box.width() / 4.0, accent, {});
    }
}
