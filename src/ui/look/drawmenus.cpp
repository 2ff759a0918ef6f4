#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/styleparts.h"

#include <QPainter>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int kItemPadding = 12;
constexpr int kIconInset = 9;
constexpr int kIconTextGap = 10;
constexpr int kKeyGap = 32;

/// Where the texts of a menu begin, so that items with and without icons line up.
int textInset()
{
    return kIconInset + iconSize(IconUse::Row) + kIconTextGap;
}

struct ItemTexts
{
    QString label;
    QString key;
};

ItemTexts split(const QString &text)
{
    const qsizetype tab = text.indexOf(u'\t');
    return tab < 0 ? ItemTexts{text, {}} : ItemTexts{text.left(tab), text.mid(tab + 1)};
}

void drawSeparator(const QStyleOptionMenuItem *option, QPainter *painter)
{
    const QRect rect = option->rect.adjusted(6, 0, -6, 0);
    painter->fillRect(QRect(rect.x(), rect.y() + rect.height() / 2, rect.width(), 1), colour(Role::Line));
}

void drawItemSign(const QStyleOptionMenuItem *option, QPainter *painter)
{
    const int size = iconSize(IconUse::Row);
    const QRect line = QStyle::visualRect(option->direction, option->rect,
                                          option->rect.adjusted(kIconInset, 0, -kIconInset, 0));
    const QRect place = leading(option, line, size);
    const bool enabled = isEnabled(option);
    const QColor ink = colour(enabled ? Role::Text2 : Role::Disabled);
    const QColor mark = colour(enabled ? Role::Link : Role::Disabled);
    if (option->checkType == QStyleOptionMenuItem::Exclusive && option->checked)
        paintIcon(painter, QStyle::alignedRect(option->direction, Qt::AlignCenter, QSize(size, size), place),
                  u"unread"_s, mark);
    else if (option->checkType == QStyleOptionMenuItem::NonExclusive && option->checked)
        paintIcon(painter, QStyle::alignedRect(option->direction, Qt::AlignCenter, QSize(size, size), place),
                  u"check"_s, mark);
    else if (!option->icon.isNull())
        paintIcon(painter, place, option->icon, size, ink, option->direction, enabled);
}

} // namespace

void drawMenuPanel(const QStyleOption *option, QPainter *painter)
{
    painter->fillRect(option->rect, colour(Role::Card));
    paintPanel(painter, option->rect, 0, {}, colour(Role::ButtonBorder));
}

void drawMenuItem(const QStyleOptionMenuItem *option, QPainter *painter)
{
    if (option->menuItemType == QStyleOptionMenuItem::Separator && option->text.isEmpty())
        return drawSeparator(option, painter);
    const bool enabled = isEnabled(option);
    const bool chosen = option->state & QStyle::State_Selected && enabled;
    if (chosen)
        paintPanel(painter, option->rect, radius::field, colour(Role::Selection),
                   isHighContrast(currentScheme()) ? colour(Role::Text) : QColor(), 2);
    drawItemSign(option, painter);

    const auto [label, key] = split(option->text);
    const QRect words = QStyle::visualRect(option->direction, option->rect,
                                           option->rect.adjusted(textInset(), 0, -kItemPadding, 0));
    const int leadingEdge = int(QStyle::visualAlignment(option->direction, Qt::AlignLeft)) | Qt::AlignVCenter;
    const int trailingEdge =
        int(QStyle::visualAlignment(option->direction, Qt::AlignRight)) | Qt::AlignVCenter;
    painter->save();
    QFont font = option->font;
    if (option->menuItemType == QStyleOptionMenuItem::DefaultItem)
        font.setWeight(QFont::DemiBold);
    const bool heading = option->menuItemType == QStyleOptionMenuItem::Separator;
    painter->setFont(heading ? fontScaled(scale::section, QFont::DemiBold) : font);
    painter->setPen(colour(!enabled ? Role::Disabled : heading ? Role::Text2 : Role::Text));
    painter->drawText(words, leadingEdge | Qt::TextShowMnemonic | Qt::TextSingleLine, label);
    if (!key.isEmpty()) {
        painter->setFont(fontScaled(scale::small));
        painter->setPen(colour(enabled ? Role::Text2 : Role::Disabled));
        painter->drawText(words, trailingEdge | Qt::TextSingleLine, key);
    }
    painter->restore();
    if (option->menuItemType == QStyleOptionMenuItem::SubMenu)
        paintChevron(painter, trailing(option, words, iconSize(IconUse::Row) / 2),
                     option->direction == Qt::RightToLeft ? Qt::LeftArrow : Qt::RightArrow,
                     colour(enabled ? Role::Text2 : Role::Disabled), iconSize(IconUse::Row) - 2);
}

QSize menuItemSize(const QStyleOptionMenuItem *option)
{
    if (option->menuItemType == QStyleOptionMenuItem::Separator && option->text.isEmpty())
        return {2 * kItemPadding, kMenuSeparator};
    const auto [label, key] = split(option->text);
    const QFontMetrics metrics(option->menuItemType == QStyleOptionMenuItem::DefaultItem
                                   ? fontScaled(option->font, 1, QFont::DemiBold)
                                   : option->font);
    int width =
        textInset() + metrics.size(Qt::TextShowMnemonic | Qt::TextSingleLine, label).width() + kItemPadding;
    if (!key.isEmpty())
        width += kKeyGap + QFontMetrics(fontScaled(scale::small)).horizontalAdvance(key);
    else if (option->menuItemType == QStyleOptionMenuItem::SubMenu)
        width += kKeyGap;
    return {width, menuItemHeight()};
}

void drawMenuBarItem(const QStyleOptionMenuItem *option, QPainter *painter, const QStyle *style,
                     const QWidget *widget)
{
    const bool chosen = isEnabled(option) && option->state & (QStyle::State_Selected | QStyle::State_Sunken);
    if (chosen)
        paintPanel(painter, option->rect.adjusted(0, 1, 0, -1), radius::field,
                   colour(option->state & QStyle::State_Sunken ? Role::Pressed : Role::HoverChrome), {});
    painter->save();
    painter->setPen(colour(isEnabled(option) ? Role::Text : Role::Disabled));
    painter->drawText(option->rect,
                      Qt::AlignCenter | Qt::TextSingleLine | mnemonicFlags(style, option, widget),
                      option->text);
    painter->restore();
}
