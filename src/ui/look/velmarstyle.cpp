#include "ui/look/velmarstyle.h"

#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/styleparts.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAbstractSpinBox>
#include <QApplication>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QScrollBar>
#include <QSplitterHandle>
#include <QTabBar>
#include <QToolTip>
#include <QVariant>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr char kButtonKind[] = "velmarButtonKind";
constexpr char kRoundedRows[] = "velmarRoundedRows";

/// Where an option is not what its element promises, nothing is drawn.
template <typename Option>
const Option *as(const QStyleOption *option)
{
    return qstyleoption_cast<const Option *>(option);
}

/// Lines that Fusion would draw besides ours.
constexpr QStyle::PrimitiveElement kUndrawnPrimitives[] = {
    QStyle::PE_IndicatorHeaderArrow,
    QStyle::PE_FrameLineEdit,
    QStyle::PE_FrameStatusBarItem,
    QStyle::PE_FrameDefaultButton,
    QStyle::PE_PanelMenuBar,
    QStyle::PE_PanelToolBar,
    QStyle::PE_FrameGroupBox,
    QStyle::PE_IndicatorToolBarHandle,
    QStyle::PE_IndicatorDockWidgetResizeHandle,
};

/// Bars show what lies under them, menus have painted their panel, headers are drawn whole.
constexpr QStyle::ControlElement kUndrawnControls[] = {
    QStyle::CE_ToolBar,       QStyle::CE_SizeGrip,      QStyle::CE_MenuBarEmptyArea,
    QStyle::CE_MenuEmptyArea, QStyle::CE_MenuHMargin,   QStyle::CE_MenuVMargin,
    QStyle::CE_MenuTearoff,   QStyle::CE_HeaderSection, QStyle::CE_HeaderLabel,
};

template <typename Element, std::size_t Count>
bool contains(const Element (&elements)[Count], Element element)
{
    return std::find(std::begin(elements), std::end(elements), element) != std::end(elements);
}

Qt::ArrowType arrowOf(QStyle::PrimitiveElement element)
{
    switch (element) {
    case QStyle::PE_IndicatorArrowUp: return Qt::UpArrow;
    case QStyle::PE_IndicatorArrowLeft: return Qt::LeftArrow;
    case QStyle::PE_IndicatorArrowRight: return Qt::RightArrow;
    default: return Qt::DownArrow;
    }
}

/// The ground of a tool button that somebody else draws.
void drawToolPanel(const QStyleOption *option, QPainter *painter)
{
    if (isPressed(option))
        paintPanel(painter, option->rect, radius::field, colour(Role::Pressed), {});
    else if (isHovered(option))
        paintPanel(painter, option->rect, radius::field, colour(Role::HoverChrome), {});
    else if (option->state & QStyle::State_On)
        paintPanel(painter, option->rect, radius::field, colour(Role::Selection), {});
}

} // namespace

void setButtonKind(QAbstractButton *button, ButtonKind kind)
{
    button->setProperty(kButtonKind, int(kind));
    button->update();
}

ButtonKind buttonKind(const QWidget *button)
{
    return button ? ButtonKind(button->property(kButtonKind).toInt()) : ButtonKind::Plain;
}

void setRoundedRows(QWidget *view, bool rounded)
{
    view->setProperty(kRoundedRows, rounded);
    view->update();
}

bool hasRoundedRows(const QWidget *view)
{
    return view && view->property(kRoundedRows).toBool();
}

VelmarStyle::VelmarStyle()
    : QProxyStyle(u"Fusion"_s)
{
    setObjectName(u"velmar"_s);
}

void VelmarStyle::drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                                const QWidget *widget) const
{
    if (contains(kUndrawnPrimitives, element))
        return;
    switch (element) {
    case PE_PanelButtonCommand:
        if (const auto *button = as<QStyleOptionButton>(option))
            drawPushButtonBevel(button, painter, widget);
        return;
    case PE_IndicatorCheckBox:
    case PE_IndicatorItemViewItemCheck: return drawCheckBox(option, painter);
    case PE_IndicatorRadioButton: return drawRadioButton(option, painter);
    case PE_PanelLineEdit:
        if (const auto *frame = as<QStyleOptionFrame>(option); frame && frame->lineWidth > 0)
            drawField(option, painter);
        return;
    case PE_PanelMenu: painter->fillRect(option->rect, colour(Role::Card)); return;
    case PE_FrameMenu: return drawMenuPanel(option, painter);
    case PE_PanelTipLabel: painter->fillRect(option->rect, colour(Role::ToolTip)); return;
    case PE_PanelItemViewItem:
    case PE_PanelItemViewRow:
        if (const auto *row = as<QStyleOptionViewItem>(option))
            drawRow(row, painter, widget);
        return;
    case PE_IndicatorBranch: return drawBranch(option, painter);
    case PE_FrameFocusRect:
        if (const auto *focus = as<QStyleOptionFocusRect>(option))
            drawFocusFrame(focus, painter, widget);
        return;
    case PE_IndicatorItemViewItemDrop: return drawDropIndicator(option, painter);
    case PE_FrameTabBarBase:
        if (const auto *base = as<QStyleOptionTabBarBase>(option))
            drawTabBase(base, painter);
        return;
    case PE_IndicatorTabClose: return drawTabClose(option, painter);
    case PE_IndicatorToolBarSeparator: return drawBarSeparator(option, painter);
    case PE_PanelStatusBar:
        painter->fillRect(QRect(option->rect.x(), option->rect.y(), option->rect.width(), 1),
                          colour(Role::Line));
        return;
    case PE_PanelScrollAreaCorner:
        painter->fillRect(option->rect, option->palette.brush(QPalette::Window));
        return;
    case PE_IndicatorArrowDown:
    case PE_IndicatorArrowUp:
    case PE_IndicatorArrowLeft:
    case PE_IndicatorArrowRight:
        return paintChevron(painter, option->rect, arrowOf(element), colour(Role::Text2),
                            iconSize(IconUse::Row));
    case PE_FrameTabWidget:
        paintPanel(painter, option->rect, 0, option->palette.color(QPalette::Base), colour(Role::Line));
        return;
    case PE_PanelButtonTool: return drawToolPanel(option, painter);
    default: QProxyStyle::drawPrimitive(element, option, painter, widget);
    }
}

void VelmarStyle::drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                              const QWidget *widget) const
{
    if (contains(kUndrawnControls, element))
        return;
    switch (element) {
    case CE_PushButtonBevel:
        if (const auto *button = as<QStyleOptionButton>(option))
            drawPushButtonBevel(button, painter, widget);
        return;
    case CE_PushButton: // its focus ring belongs to the bevel
        drawControl(CE_PushButtonBevel, option, painter, widget);
        drawControl(CE_PushButtonLabel, option, painter, widget);
        return;
    case CE_PushButtonLabel:
        if (const auto *button = as<QStyleOptionButton>(option))
            drawPushButtonLabel(button, painter, widget, proxy());
        return;
    case CE_ComboBoxLabel:
        if (const auto *combo = as<QStyleOptionComboBox>(option))
            drawComboBoxLabel(combo, painter);
        return;
    case CE_MenuItem:
        if (const auto *item = as<QStyleOptionMenuItem>(option))
            drawMenuItem(item, painter);
        return;
    case CE_MenuBarItem:
        if (const auto *item = as<QStyleOptionMenuItem>(option))
            drawMenuBarItem(item, painter, proxy(), widget);
        return;
    case CE_Header:
        if (const auto *header = as<QStyleOptionHeader>(option))
            drawHeaderSection(header, painter, widget);
        return;
    case CE_HeaderEmptyArea: painter->fillRect(option->rect, option->palette.brush(QPalette::Base)); return;
    case CE_ProgressBar:
        if (const auto *bar = as<QStyleOptionProgressBar>(option))
            drawProgressBar(bar, painter);
        return;
    case CE_TabBarTabShape:
        if (const auto *tab = as<QStyleOptionTab>(option))
            drawTab(tab, painter);
        return;
    case CE_TabBarTabLabel:
        if (const auto *tab = as<QStyleOptionTab>(option))
            drawTabLabel(tab, painter, proxy(), widget);
        return;
    case CE_ItemViewItem:
        if (const auto *item = as<QStyleOptionViewItem>(option)) {
            // an open branch would show its icon as if it were checked
            QStyleOptionViewItem closed = *item;
            closed.state &= ~State_Open;
            QProxyStyle::drawControl(element, &closed, painter, widget);
        }
        return;
    case CE_Splitter: painter->fillRect(option->rect, colour(Role::Separator)); return;
    case CE_ShapedFrame:
        if (const auto *frame = as<QStyleOptionFrame>(option))
            drawShapedFrame(frame, painter, widget);
        return;
    default: QProxyStyle::drawControl(element, option, painter, widget);
    }
}

void VelmarStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex *option,
                                     QPainter *painter, const QWidget *widget) const
{
    switch (control) {
    case CC_ToolButton:
        if (const auto *button = as<QStyleOptionToolButton>(option))
            drawToolButton(button, painter, widget, proxy());
        return;
    case CC_ComboBox:
        if (const auto *combo = as<QStyleOptionComboBox>(option))
            drawComboBox(combo, painter);
        return;
    case CC_SpinBox:
        if (const auto *spin = as<QStyleOptionSpinBox>(option))
            drawSpinBox(spin, painter, proxy(), widget);
        return;
    case CC_ScrollBar:
        if (const auto *bar = as<QStyleOptionSlider>(option))
            drawScrollBar(bar, painter, proxy(), widget);
        return;
    case CC_Slider:
        if (const auto *slider = as<QStyleOptionSlider>(option))
            drawSlider(slider, painter, proxy(), widget);
        return;
    case CC_GroupBox:
        if (const auto *box = as<QStyleOptionGroupBox>(option))
            drawGroupBox(box, painter, proxy(), widget);
        return;
    default: QProxyStyle::drawComplexControl(control, option, painter, widget);
    }
}

void VelmarStyle::drawItemText(QPainter *painter, const QRect &rect, int flags, const QPalette &palette,
                               bool enabled, const QString &text, QPalette::ColorRole role) const
{
    const bool shown = m_altHeld || !(flags & Qt::TextShowMnemonic);
    const int seen = shown ? flags : (flags & ~Qt::TextShowMnemonic) | Qt::TextHideMnemonic;
    QProxyStyle::drawItemText(painter, rect, seen, palette, enabled, text, role);
}

int VelmarStyle::styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                           QStyleHintReturn *returned) const
{
    switch (hint) {
    case SH_UnderlineShortcut: return m_altHeld || qobject_cast<const QMenu *>(widget);
    case SH_Widget_Animation_Duration:
    case SH_Widget_Animate: return 0;
    case SH_DialogButtonLayout: return QDialogButtonBox::GnomeLayout;
    case SH_DialogButtonBox_ButtonsHaveIcons:
    case SH_ToolBar_Movable:
    case SH_Menu_AllowActiveAndDisabled:
    case SH_TabBar_PreferNoArrows:
    case SH_EtchDisabledText:
    case SH_DitherDisabledText:
    case SH_ComboBox_Popup:
    case SH_MessageBox_CenterButtons: return 0;
    case SH_ItemView_ShowDecorationSelected:
    case SH_ItemView_ActivateItemOnSingleClick: return hint == SH_ItemView_ShowDecorationSelected;
    case SH_TabBar_ElideMode: return Qt::ElideRight;
    case SH_TabBar_CloseButtonPosition: return QTabBar::RightSide;
    case SH_Menu_SloppySubMenus:
    case SH_Menu_MouseTracking:
    case SH_MenuBar_MouseTracking:
    case SH_ComboBox_ListMouseTracking: return 1;
    case SH_ScrollBar_LeftClickAbsolutePosition: return 0;
    case SH_FormLayoutLabelAlignment: return int(Qt::AlignRight | Qt::AlignVCenter);
    case SH_FormLayoutFormAlignment: return int(Qt::AlignLeft | Qt::AlignTop);
    case SH_ToolTipLabel_Opacity: return 255;
    case SH_ItemView_PaintAlternatingRowColorsForEmptyArea: return 0;
    default: return QProxyStyle::styleHint(hint, option, widget, returned);
    }
}

namespace {

struct StandardIconRow
{
    QStyle::StandardPixmap pixmap;
    const char *name;
    Role role;
};

constexpr StandardIconRow kStandardIcons[] = {
    {QStyle::SP_MessageBoxInformation, "info", Role::Information},
    {QStyle::SP_MessageBoxQuestion, "help", Role::Information},
    {QStyle::SP_MessageBoxWarning, "warning", Role::Warning},
    {QStyle::SP_MessageBoxCritical, "error", Role::Error},
    {QStyle::SP_LineEditClearButton, "close", Role::Text2},
    {QStyle::SP_ToolBarHorizontalExtensionButton, "more", Role::Text2},
    {QStyle::SP_ToolBarVerticalExtensionButton, "more", Role::Text2},
    {QStyle::SP_TitleBarCloseButton, "close", Role::Text2},
    {QStyle::SP_DirIcon, "folder", Role::Text2},
    {QStyle::SP_DirClosedIcon, "folder", Role::Text2},
    {QStyle::SP_DirOpenIcon, "folder", Role::Text2},
    {QStyle::SP_DirHomeIcon, "home", Role::Text2},
    {QStyle::SP_FileIcon, "file", Role::Text2},
    {QStyle::SP_FileDialogToParent, "chevron-up", Role::Text2},
    {QStyle::SP_FileDialogNewFolder, "plus", Role::Text2},
    {QStyle::SP_FileDialogDetailedView, "justify", Role::Text2},
    {QStyle::SP_FileDialogListView, "bullets", Role::Text2},
    {QStyle::SP_ArrowUp, "chevron-up", Role::Text2},
    {QStyle::SP_ArrowDown, "chevron-down", Role::Text2},
    {QStyle::SP_ArrowLeft, "chevron-left", Role::Text2},
    {QStyle::SP_ArrowRight, "chevron-right", Role::Text2},
    {QStyle::SP_ArrowBack, "chevron-left", Role::Text2},
    {QStyle::SP_ArrowForward, "chevron-right", Role::Text2},
    {QStyle::SP_BrowserReload, "refresh", Role::Text2},
    {QStyle::SP_BrowserStop, "stop", Role::Text2},
    {QStyle::SP_TrashIcon, "waste", Role::Text2},
};

const StandardIconRow *standardRow(QStyle::StandardPixmap pixmap)
{
    for (const StandardIconRow &row : kStandardIcons)
        if (row.pixmap == pixmap)
            return &row;
    return nullptr;
}

} // namespace

QIcon VelmarStyle::standardIcon(StandardPixmap pixmap, const QStyleOption *option,
                                const QWidget *widget) const
{
    const StandardIconRow *row = standardRow(pixmap);
    if (!row)
        return QProxyStyle::standardIcon(pixmap, option, widget);
    return row->role == Role::Text2 ? icon(QLatin1StringView(row->name))
                                    : icon(QLatin1StringView(row->name), row->role);
}

QPixmap VelmarStyle::standardPixmap(StandardPixmap pixmap, const QStyleOption *option,
                                    const QWidget *widget) const
{
    if (const StandardIconRow *row = standardRow(pixmap))
        return iconPixmap(QLatin1StringView(row->name), iconSize(IconUse::Row),
                          widget ? widget->devicePixelRatioF() : qApp->devicePixelRatio(), colour(row->role));
    return QProxyStyle::standardPixmap(pixmap, option, widget);
}

QPalette VelmarStyle::standardPalette() const
{
    return paletteFor(currentScheme());
}

void VelmarStyle::polish(QWidget *widget)
{
    QProxyStyle::polish(widget);
    if (qobject_cast<QAbstractButton *>(widget) || qobject_cast<QComboBox *>(widget) ||
        qobject_cast<QAbstractSpinBox *>(widget) || qobject_cast<QScrollBar *>(widget) ||
        qobject_cast<QTabBar *>(widget) || qobject_cast<QHeaderView *>(widget) ||
        qobject_cast<QSplitterHandle *>(widget))
        widget->setAttribute(Qt::WA_Hover);
    if (auto *view = qobject_cast<QAbstractItemView *>(widget))
        view->viewport()->setAttribute(Qt::WA_Hover);
}

void VelmarStyle::polish(QApplication *application)
{
    QProxyStyle::polish(application);
    application->installEventFilter(this);
}

void VelmarStyle::unpolish(QApplication *application)
{
    application->removeEventFilter(this);
    QProxyStyle::unpolish(application);
}

bool VelmarStyle::eventFilter(QObject *watched, QEvent *event)
{
    const QEvent::Type type = event->type();
    if (type != QEvent::KeyPress && type != QEvent::KeyRelease && type != QEvent::WindowDeactivate)
        return QProxyStyle::eventFilter(watched, event);
    const bool alt =
        type != QEvent::WindowDeactivate && static_cast<QKeyEvent *>(event)->key() == Qt::Key_Alt;
    const bool held = alt ? type == QEvent::KeyPress : type == QEvent::WindowDeactivate ? false : m_altHeld;
    if (held != m_altHeld) {
        m_altHeld = held;
        if (QWidget *window = QApplication::activeWindow())
            for (QWidget *child : window->findChildren<QWidget *>())
                child->update();
    }
    return QProxyStyle::eventFilter(watched, event);
}
