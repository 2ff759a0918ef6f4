#include "ui/look/metrics.h"
#include "ui/look/styleparts.h"
#include "ui/look/velmarstyle.h"

#include <QAbstractScrollArea>
#include <QFrame>
#include <QTabBar>
#include <QTableView>
#include <QTreeView>

#include <algorithm>

// The half of VelmarStyle that measures.

namespace {

int frameWidth(const QWidget *widget)
{
    return qobject_cast<const QAbstractScrollArea *>(widget) ? 2 : 1;
}

int layoutMargin(const QWidget *widget)
{
    return widget && widget->isWindow() ? space::dialog : 0;
}

/// Besides the usual 6 px, so that values end where the header's text above them does.
int cellTrailing(const QWidget *widget)
{
    return qobject_cast<const QTreeView *>(widget) || qobject_cast<const QTableView *>(widget) ? 6 : 0;
}

QSize atLeastHigh(QSize size, int height)
{
    return {size.width(), std::max(size.height(), height)};
}

} // namespace

namespace {

struct FixedMetric
{
    QStyle::PixelMetric metric;
    int pixels;
};

/// What does not depend on the font.
constexpr FixedMetric kFixedMetrics[] = {
    {QStyle::PM_ComboBoxFrameWidth, 1},
    {QStyle::PM_SpinBoxFrameWidth, 1},
    {QStyle::PM_SplitterWidth, 1}, // the handle keeps a grip of 5 px around it
    {QStyle::PM_MenuPanelWidth, 1},
    {QStyle::PM_MenuHMargin, 5},
    {QStyle::PM_MenuVMargin, 5},
    {QStyle::PM_MenuBarPanelWidth, 0},
    {QStyle::PM_MenuBarItemSpacing, 0},
    {QStyle::PM_MenuBarVMargin, 0},
    {QStyle::PM_MenuBarHMargin, 6},
    {QStyle::PM_SubMenuOverlap, -2},
    {QStyle::PM_ButtonMargin, kButtonPadding},
    {QStyle::PM_ButtonDefaultIndicator, 0},
    {QStyle::PM_ButtonShiftHorizontal, 0},
    {QStyle::PM_ButtonShiftVertical, 0},
    {QStyle::PM_CheckBoxLabelSpacing, kCheckGap},
    {QStyle::PM_RadioButtonLabelSpacing, kCheckGap},
    {QStyle::PM_ToolBarFrameWidth, 0},
    {QStyle::PM_ToolBarHandleExtent, 0},
    {QStyle::PM_ToolBarItemSpacing, 2},
    {QStyle::PM_ToolBarItemMargin, 0},
    {QStyle::PM_ToolBarSeparatorExtent, 13},
    {QStyle::PM_ToolBarExtensionExtent, 28},
    {QStyle::PM_TabBarBaseOverlap, 0},
    {QStyle::PM_TabBarBaseHeight, 0},
    {QStyle::PM_TabBarTabOverlap, 0},
    {QStyle::PM_TabBarTabShiftHorizontal, 0},
    {QStyle::PM_TabBarTabShiftVertical, 0},
    {QStyle::PM_TabBarTabHSpace, 2 * kTabPadding + space::between},
    {QStyle::PM_TabBarTabVSpace, 18},
    {QStyle::PM_TabBarScrollButtonWidth, 24},
    {QStyle::PM_ScrollBarExtent, kScrollBar},
    {QStyle::PM_ScrollBarSliderMin, kShortestHandle},
    {QStyle::PM_ScrollView_ScrollBarSpacing, 0},
    {QStyle::PM_ScrollView_ScrollBarOverlap, 0},
    {QStyle::PM_SliderThickness, kSliderKnob + space::inner},
    {QStyle::PM_SliderControlThickness, kSliderKnob},
    {QStyle::PM_SliderLength, kSliderKnob},
    {QStyle::PM_ToolTipLabelFrameWidth, 3},
    {QStyle::PM_FocusFrameHMargin, 5},
    {QStyle::PM_FocusFrameVMargin, 0},
    {QStyle::PM_HeaderMargin, 6},
    {QStyle::PM_HeaderGripMargin, 4},
    {QStyle::PM_DockWidgetFrameWidth, 0},
    {QStyle::PM_TreeViewIndentation, 18},
    {QStyle::PM_ProgressBarChunkWidth, 1},
    {QStyle::PM_LayoutHorizontalSpacing, space::between},
    {QStyle::PM_LayoutVerticalSpacing, space::between},
    {QStyle::PM_TextCursorWidth, 1},
};

} // namespace

int VelmarStyle::pixelMetric(PixelMetric metric, const QStyleOption *option, const QWidget *widget) const
{
    for (const auto &[fixed, pixels] : kFixedMetrics)
        if (fixed == metric)
            return pixels;
    switch (metric) {
    case PM_DefaultFrameWidth: return frameWidth(widget);
    case PM_LayoutLeftMargin:
    case PM_LayoutTopMargin:
    case PM_LayoutRightMargin:
    case PM_LayoutBottomMargin: return layoutMargin(widget);
    case PM_MenuButtonIndicator:
    case PM_IndicatorWidth:
    case PM_IndicatorHeight:
    case PM_ExclusiveIndicatorWidth:
    case PM_ExclusiveIndicatorHeight:
    case PM_TabCloseIndicatorWidth:
    case PM_TabCloseIndicatorHeight:
    case PM_SmallIconSize:
    case PM_ButtonIconSize:
    case PM_ListViewIconSize:
    case PM_TabBarIconSize:
    case PM_LineEditIconSize: return iconSize(IconUse::Row);
    case PM_ToolBarIconSize: return iconSize(IconUse::Bar);
    case PM_LargeIconSize: return iconSize(IconUse::Card);
    case PM_MessageBoxIconSize: return iconSize(IconUse::DialogHead);
    default: return QProxyStyle::pixelMetric(metric, option, widget);
    }
}

namespace {

QSize pushButtonSize(const QStyleOptionButton *option, const QWidget *widget)
{
    const int icon = option->icon.isNull() ? 0 : option->iconSize.height();
    const int words = option->fontMetrics.size(Qt::TextShowMnemonic, option->text).width();
    const int arrow = option->features & QStyleOptionButton::HasMenu ? menuArrowWidth() : 0;
    const int inner = icon + (icon && words ? kIconGap : 0) + words + arrow;
    if (buttonKind(widget) == ButtonKind::Ghost)
        return {inner + 2 * kGhostPadding, controlHeight()};
    const int minimum = option->text.isEmpty() ? 0 : kButtonMinimumWidth;
    return {std::max(inner + 2 * kButtonPadding, minimum), controlHeight()};
}

} // namespace

QSize VelmarStyle::sizeFromContents(ContentsType type, const QStyleOption *option, const QSize &contents,
                                    const QWidget *widget) const
{
    switch (type) {
    case CT_PushButton:
        if (const auto *button = qstyleoption_cast<const QStyleOptionButton *>(option))
            return pushButtonSize(button, widget);
        break;
    case CT_ToolButton:
        if (const auto *button = qstyleoption_cast<const QStyleOptionToolButton *>(option))
            return toolButtonSize(button, widget);
        break;
    case CT_LineEdit: {
        const auto *frame = qstyleoption_cast<const QStyleOptionFrame *>(option);
        if (frame && frame->lineWidth == 0)
            return contents;
        return {contents.width() + 2 * kFieldPadding, controlHeight()};
    }
    case CT_ComboBox:
        return {contents.width() + kFieldPadding + kComboArrow + space::between, controlHeight()};
    case CT_SpinBox: return {contents.width() + kFieldPadding + kSpinArrows, controlHeight()};
    case CT_TabBarTab: return {contents.width(), tabHeight()};
    case CT_HeaderSection:
        if (const auto *header = qstyleoption_cast<const QStyleOptionHeader *>(option))
            return headerSectionSize(header);
        break;
    case CT_MenuItem:
        if (const auto *item = qstyleoption_cast<const QStyleOptionMenuItem *>(option))
            return menuItemSize(item);
        break;
    case CT_MenuBarItem: return {contents.width() + 18, menuBarItemHeight()};
    case CT_CheckBox:
    case CT_RadioButton: return {contents.width() + iconSize(IconUse::Row) + kCheckGap + 5, checkBoxHeight()};
    case CT_ProgressBar: return {contents.width(), 4};
    case CT_ItemViewItem: {
        const QSize natural = QProxyStyle::sizeFromContents(type, option, contents, widget);
        const int height = rowHeight(hasRoundedRows(widget) ? RowKind::Tree : RowKind::List);
        return atLeastHigh(natural + QSize(cellTrailing(widget), 0), height);
    }
    case CT_GroupBox: {
        const auto *box = qstyleoption_cast<const QStyleOptionGroupBox *>(option);
        const int words = box ? QFontMetrics(groupTitleFont()).horizontalAdvance(box->text) : 0;
        const QSize natural = QProxyStyle::sizeFromContents(type, option, contents, widget);
        return {std::max(natural.width(), words + iconSize(IconUse::Row) + kCheckGap), natural.height()};
    }
    default: break;
    }
    return QProxyStyle::sizeFromContents(type, option, contents, widget);
}

QRect VelmarStyle::subElementRect(SubElement element, const QStyleOption *option, const QWidget *widget) const
{
    const auto mirrored = [option](const QRect &rect) {
        return visualRect(option->direction, option->rect, rect);
    };
    switch (element) {
    case SE_PushButtonContents:
    case SE_PushButtonBevel:
    case SE_PushButtonFocusRect: return option->rect;
    case SE_LineEditContents: {
        // QLineEdit adds 2 px itself
        const auto *frame = qstyleoption_cast<const QStyleOptionFrame *>(option);
        const int inset = frame && frame->lineWidth == 0 ? 0 : kFieldPadding - 2;
        return mirrored(option->rect.adjusted(inset, 1, -inset, -1));
    }
    case SE_HeaderLabel: return mirrored(option->rect.adjusted(space::inner, 0, -space::group, 0));
    case SE_TabBarTabLeftButton:
    case SE_TabBarTabRightButton:
        if (const auto *tab = qstyleoption_cast<const QStyleOptionTab *>(option)) {
            const bool left = element == SE_TabBarTabLeftButton;
            const QSize size = left ? tab->leftButtonSize : tab->rightButtonSize;
            const int y = tab->rect.y() + (tab->rect.height() - size.height()) / 2 + 1;
            const int x =
                left ? tab->rect.x() + space::between - 2 : tab->rect.right() + 1 - size.width() - 6;
            return mirrored(QRect(QPoint(x, y), size));
        }
        break;
    case SE_TabBarTabText:
        if (const auto *tab = qstyleoption_cast<const QStyleOptionTab *>(option)) {
            const int before = tab->leftButtonSize.width() ? tab->leftButtonSize.width() + 6 : 0;
            const int behind = tab->rightButtonSize.width() ? tab->rightButtonSize.width() + 6 : 0;
            return mirrored(tab->rect.adjusted(kTabPadding + before, 2, -kTabPadding / 2 - behind, 0));
        }
        break;
    case SE_ProgressBarGroove:
    case SE_ProgressBarContents:
    case SE_ProgressBarLabel: return option->rect;
    case SE_ItemViewItemFocusRect: return option->rect;
    case SE_ItemViewItemText: {
        const QRect text = QProxyStyle::subElementRect(element, option, widget);
        const int behind = cellTrailing(widget);
        return option->direction == Qt::RightToLeft ? text.adjusted(behind, 0, 0, 0)
                                                    : text.adjusted(0, 0, -behind, 0);
    }
    default: break;
    }
    return QProxyStyle::subElementRect(element, option, widget);
}

namespace {

QRect comboPart(const QStyleOptionComplex *option, QStyle::SubControl part)
{
    const QRect rect = option->rect;
    switch (part) {
    case QStyle::SC_ComboBoxFrame: return rect;
    case QStyle::SC_ComboBoxArrow: return trailing(option, rect, kComboArrow);
    case QStyle::SC_ComboBoxEditField:
        return QStyle::visualRect(option->direction, rect,
                                  rect.adjusted(kFieldPadding - 2, 1, -kComboArrow, -1));
    case QStyle::SC_ComboBoxListBoxPopup: return rect.adjusted(0, 0, 0, 2);
    default: return {};
    }
}

QRect spinPart(const QStyleOptionSpinBox *option, QStyle::SubControl part)
{
    const QRect rect = option->rect;
    const bool arrows = option->buttonSymbols != QAbstractSpinBox::NoButtons;
    const QRect column = trailing(option, rect.adjusted(0, 3, 0, -3), kSpinArrows);
    switch (part) {
    case QStyle::SC_SpinBoxFrame: return rect;
    case QStyle::SC_SpinBoxUp:
        return arrows ? QRect(column.x(), column.y(), column.width(), column.height() / 2) : QRect();
    case QStyle::SC_SpinBoxDown: return arrows ? column.adjusted(0, column.height() / 2, 0, 0) : QRect();
    case QStyle::SC_SpinBoxEditField:
        return QStyle::visualRect(
            option->direction, rect,
            rect.adjusted(kFieldPadding - 2, 1, arrows ? -kSpinArrows : -kFieldPadding + 2, -1));
    default: return {};
    }
}

QRect groupBoxPart(const QStyleOptionGroupBox *option, QStyle::SubControl part)
{
    const bool checkable = option->subControls & QStyle::SC_GroupBoxCheckBox;
    const bool titled = checkable || !option->text.isEmpty();
    const QFontMetrics metrics(groupTitleFont());
    const int box = iconSize(IconUse::Row);
    const int height = titled ? std::max(metrics.height(), box) : 0;
    const QRect rect = option->rect;
    const QRect head(rect.x(), rect.y(), rect.width(), height);
    switch (part) {
    case QStyle::SC_GroupBoxFrame: return rect;
    case QStyle::SC_GroupBoxContents: return rect.adjusted(0, titled ? height + space::between : 0, 0, 0);
    case QStyle::SC_GroupBoxCheckBox: {
        const QRect square(head.x(), head.y() + (height - box) / 2, box, box);
        return QStyle::visualRect(option->direction, rect, square);
    }
    case QStyle::SC_GroupBoxLabel: {
        const int before = checkable ? box + kCheckGap : 0;
        const QRect words(head.x() + before, head.y(),
                          metrics.size(Qt::TextShowMnemonic, option->text).width() + 2, height);
        return QStyle::visualRect(option->direction, rect, words);
    }
    default: return {};
    }
}

} // namespace

QRect VelmarStyle::subControlRect(ComplexControl control, const QStyleOptionComplex *option, SubControl part,
                                  const QWidget *widget) const
{
    switch (control) {
    case CC_ComboBox: return comboPart(option, part);
    case CC_SpinBox:
        if (const auto *spin = qstyleoption_cast<const QStyleOptionSpinBox *>(option))
            return spinPart(spin, part);
        break;
    case CC_ScrollBar:
        if (const auto *bar = qstyleoption_cast<const QStyleOptionSlider *>(option))
            return scrollBarPart(bar, part);
        break;
    case CC_GroupBox:
        if (const auto *box = qstyleoption_cast<const QStyleOptionGroupBox *>(option))
            return groupBoxPart(box, part);
        break;
    case CC_ToolButton:
        if (const auto *button = qstyleoption_cast<const QStyleOptionToolButton *>(option)) {
            const bool split = button->features & QStyleOptionToolButton::MenuButtonPopup;
            const QRect arrow = trailing(option, option->rect, iconSize(IconUse::Row) + 6);
            if (part == SC_ToolButtonMenu)
                return split ? arrow : QRect();
            return split ? visualRect(option->direction, option->rect,
                                      option->rect.adjusted(0, 0, -arrow.width(), 0))
                         : option->rect;
        }
        break;
    default: break;
    }
    return QProxyStyle::subControlRect(control, option, part, widget);
}
