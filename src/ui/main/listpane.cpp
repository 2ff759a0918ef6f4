#include "ui/main/listpane.h"

#include "config/settings.h"
#include "store/messagerows.h"
#include "ui/list/messagelist.h"
#include "ui/list/quickfilterbar.h"
#include "ui/look/askingbar.h"
#include "ui/look/colours.h"
#include "ui/look/emptystate.h"
#include "ui/look/icons.h"
#include "ui/look/lettersbar.h"
#include "ui/look/linedbar.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/toolbuttons.h"
#include "ui/main/mainactions.h"

#include <QFocusEvent>
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
    , m_bar(new AskingBar)
    , m_list(new MessageList)
    , m_filter(new QuickFilterBar(*m_list))
    , m_empty(new EmptyState)
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
    layout->addWidget(new LinedBar(m_tools, m_filter));
    layout->addLayout(barBox);
    layout->addLayout(m_stack, 1);
    m_stack->addWidget(m_list);
    m_stack->addWidget(m_empty);
    connect(m_empty, &EmptyState::buttonClicked, this, [this] {
        if (isFilteredAway())
            m_filter->clear();
        else
            emit emptyButtonClicked();
    });
    for (const auto signal : {&MessageListModel::filterChanged, &MessageListModel::filterEnded})
        connect(&m_list->messages(), signal, this, &ListPane::updateEmptyState);
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
        QToolButton *view = newToolButton(u"view"_s, tr("View"), m_tools);
        view->setIconSize({iconSize(IconUse::Bar), iconSize(IconUse::Bar)});
        view->setToolTip(tr("Layout, threads, columns"));
        view->setMenu(viewMenu);
        view->setPopupMode(QToolButton::InstantPopup);
        m_tools->addWidget(view);
        return true;
    });
}

void ListPane::setSource(std::unique_ptr<MessageRows> rows, const QString &title, const GroupView &view)
{
    m_title = title;
    m_bar->hide();
    m_list->setAccessibleName(tr("Messages in %1").arg(title));
    m_list->setSource(std::move(rows), view);
    updateEmptyState();
}

void ListPane::updateEmptyState()
{
    const MessageListModel &model = m_list->messages();
    if (model.rowCount() > 0 || model.isFiltering()) {
        show(m_list);
        return;
    }
    if (isFilteredAway())
        m_empty->setTexts(tr("Nothing matches"), filterInWords(), tr("Clear filter"));
    else if (!model.source())
        m_empty->setTexts(tr("No group chosen"), tr("Choose one in the tree on the left."));
    else if (model.group())
        describeEmptyGroup();
    else
        m_empty->setTexts(tr("Nothing is flagged"),
                          tr("Press S to flag a message; all of them are listed here."));
    show(m_empty);
}

/// Whether there are messages, but none that the filter lets through.
bool ListPane::isFilteredAway() const
{
    const MessageListModel &model = m_list->messages();
    return !model.filter().isEmpty() && model.totalCount() > 0 && model.rowCount() == 0;
}

QString ListPane::filterInWords() const
{
    const ListFilter &filter = m_list->messages().filter();
    QStringList words;
    if (filter.unread)
        words.append(tr("is unread"));
    if (filter.flagged)
        words.append(tr("is flagged"));
    if (filter.attachments)
        words.append(tr("has attachments"));
    if (const QString text = filter.text.trimmed(); !text.isEmpty())
        words.append(tr("has “%1” in its subject or among its people").arg(text));
    return tr("No message in %1 %2.").arg(m_title, words.join(tr(" and ")));
}

void ListPane::openFilter()
{
    m_filter->focusField();
}

void ListPane::describeEmptyGroup()
{
    const Group *group = m_list->messages().group();
    if (group->needsRepair())
        m_empty->setTexts(tr("This group is damaged"),
                          tr("Its messages are safe; the list of them is built anew."), tr("Repair group"));
    else if (group->role() != GroupRole::None && group->role() != GroupRole::Inbox)
        m_empty->setTexts(tr("No messages here"), tr("What belongs here comes by itself."));
    else
        m_empty->setTexts(tr("No messages here"), tr("Drag messages to this group or import some."),
                          tr("Import files…"));
}

/// The focus goes with what is shown, and is the list's again afterwards.
void ListPane::show(QWidget *page)
{
    const QWidget *focus = window()->focusWidget();
    const bool hadFocus = focus && (focus == this || isAncestorOf(focus));
    if (m_stack->currentWidget() == page)
        return;
    m_stack->setCurrentWidget(page);
    if (hadFocus)
        page->setFocus();
}

void ListPane::focusInEvent(QFocusEvent *event)
{
    m_stack->currentWidget()->setFocus(event->reason());
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
