#include "ui/main/listpane.h"

#include "config/settings.h"
#include "ui/look/colours.h"
#include "ui/look/emptystate.h"
#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/toolbuttons.h"
#include "ui/main/lettersbar.h"
#include "ui/main/linedbar.h"
#include "ui/main/mainactions.h"
#include "ui/list/messagelist.h"
#include "ui/main/welcome.h"
#include "ui/look/askingbar.h"

#include <QMenu>
#include <QStackedLayout>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {
constexpr int kTwoLinesBelow = 60; ///< characters
}

ListPane::ListPane(const MainActions &actions, QMenu *viewMenu, QWidget *parent)
    : QWidget(parent)
    , m_tools(newToolBar(this))
    , m_toolBox(new LinedBar(m_tools))
    , m_bar(new AskingBar)
    , m_list(new MessageList)
    , m_empty(new EmptyState)
    , m_welcome(new Welcome)
    , m_stack(new QStackedLayout)
{
    setObjectName(u"listPane"_s);
    createBar(actions, viewMenu);
    setSurface(m_empty, Role::Base);
    m_empty->setFocusPolicy(Qt::StrongFocus); // the keys of the window go on working
    auto *barBox = new QVBoxLayout;
    barBox->setContentsMargins(space::between, 0, space::between, 0);
    barBox->addWidget(m_bar);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_toolBox);
    layout->addLayout(barBox);
    layout->addLayout(m_stack, 1);
    m_stack->addWidget(m_list);
    m_stack->addWidget(m_empty);
    m_stack->addWidget(m_welcome);
    connect(m_empty, &EmptyState::buttonClicked, this, &ListPane::emptyButtonClicked);
    connect(&m_list->messages(), &MessageListModel::relaid, this, &ListPane::updateEmptyState);
    updateEmptyState();
}

void ListPane::createBar(const MainActions &actions, QMenu *viewMenu)
{
    m_tools->setObjectName(u"groupBar"_s);
    fillFromLetters(m_tools, toolBarLayout(ToolBarWindow::Main, ToolBarKind::Group), [&](char16_t letter) {
        if (letter != u'V') {
            if (QAction *action = actions.forLetter(letter, false)) {
                addToToolBar(m_tools, action);
                return true;
            }
            return false;
        }
        QToolButton *view = newToolButton(u"view"_s, u"View"_s, m_tools);
        view->setIconSize({iconSize(IconUse::Bar), iconSize(IconUse::Bar)});
        view->setToolTip(u"Layout, threads, look"_s);
        view->setMenu(viewMenu);
        view->setPopupMode(QToolButton::InstantPopup);
        m_tools->addWidget(view);
        return true;
    });
}

void ListPane::setGroup(Group *group, const GroupView &view)
{
    m_bar->hide();
    m_list->setGroup(group, view);
    updateEmptyState();
}

void ListPane::showWelcome(bool shows)
{
    m_toolBox->setVisible(!shows);
    if (shows)
        show(m_welcome);
    else if (showsWelcome())
        show(m_list);
    updateEmptyState();
}

bool ListPane::showsWelcome() const
{
    return m_stack->currentWidget() == m_welcome;
}

void ListPane::updateEmptyState()
{
    if (showsWelcome())
        return;
    const MessageListModel &model = m_list->messages();
    const Group *group = model.group();
    if (model.rowCount() > 0) {
        show(m_list);
        return;
    }
    if (!group)
        m_empty->setTexts(u"No group chosen"_s, u"Choose one in the tree on the left."_s);
    else if (group->needsRepair())
        m_empty->setTexts(u"This group is damaged"_s,
                          u"Its messages are safe; the list of them is built anew."_s, u"Repair group"_s);
    else if (group->role() != GroupRole::None && group->role() != GroupRole::Inbox)
        m_empty->setTexts(u"No messages here"_s, u"What belongs here comes by itself."_s);
    else
        m_empty->setTexts(u"No messages here"_s, u"Drag messages to this group or import some."_s,
                          u"Import files…"_s);
    show(m_empty);
}

/// The focus goes with what is shown, and is the list's again afterwards.
void ListPane::show(QWidget *page)
{
    const QWidget *focus = window()->focusWidget();
    const bool hadFocus = focus && (focus == this || isAncestorOf(focus));
    setFocusProxy(page);
    if (m_stack->currentWidget() == page)
        return;
    m_stack->setCurrentWidget(page);
    if (hadFocus)
        page->setFocus();
}

void ListPane::arrange()
{
    m_list->setTwoLines(width() < columnWidth(kTwoLinesBelow));
}

void ListPane::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    arrange();
}

void ListPane::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
        arrange();
}
