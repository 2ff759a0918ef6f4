#include "ui/list/quickfilterbar.h"

#include "ui/list/messagelist.h"
#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/searchfield.h"
#include "ui/look/toolbuttons.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLocale>
#include <QMenu>
#include <QToolButton>
#include <QWidgetAction>

using namespace Qt::StringLiterals;

namespace {
constexpr int kFieldCharacters = 24;
constexpr int kMenuCharacters = 32;
} // namespace

QuickFilterBar::QuickFilterBar(MessageList &list, QWidget *parent)
    : QWidget(parent)
    , m_list(list)
    , m_toggles(
          {Toggle{newToggle(u"unread"_s, tr("Unread"), &ListFilter::unread), nullptr, &ListFilter::unread},
           Toggle{newToggle(u"flag"_s, tr("Flagged"), &ListFilter::flagged), nullptr, &ListFilter::flagged},
           Toggle{newToggle(u"attach"_s, tr("With attachments"), &ListFilter::attachments), nullptr,
                  &ListFilter::attachments}})
    , m_field(new SearchField(u"filter"_s, tr("Filter this group"), this))
    , m_menuField(new SearchField(u"filter"_s, tr("Filter this group"), this))
    , m_menuButton(newToolButton(u"filter"_s, tr("Filter this group"), this))
    , m_menu(new QMenu(this))
{
    setObjectName(u"quickFilter"_s);
    setAccessibleName(tr("Quick filter"));
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(space::inner);
    layout->addStretch(1);
    for (Toggle &toggle : m_toggles) {
        toggle.button = newToolButton(toggle.action, this, toggle.part == &ListFilter::unread);
        layout->addWidget(toggle.button);
    }
    layout->addSpacing(space::inner);
    layout->addWidget(m_field);
    layout->addWidget(m_menuButton);
    m_field->setObjectName(u"quickFilterField"_s);
    createMenu();
    for (SearchField *field : {m_field, m_menuField}) {
        field->installEventFilter(this);
        connect(field, &SearchField::textChanged, this, [this](const QString &text) {
            ListFilter filter = m_list.messages().filter();
            filter.text = text;
            change(filter);
        });
    }
    connect(&list.messages(), &MessageListModel::filterChanged, this,
            [this] { showFilter(m_list.messages().filter()); });
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    arrange();
}

QAction *QuickFilterBar::newToggle(const QString &icon, const QString &name, bool ListFilter::*part)
{
    auto *action = new QAction(::icon(icon), name, this);
    action->setCheckable(true);
    connect(action, &QAction::toggled, this, [this, part](bool on) {
        ListFilter filter = m_list.messages().filter();
        filter.*part = on;
        change(filter);
    });
    return action;
}

void QuickFilterBar::createMenu()
{
    m_menuButton->setCheckable(true); // pressed while the list is narrowed
    m_menuButton->setIconSize({iconSize(IconUse::Bar), iconSize(IconUse::Bar)});
    connect(m_menuButton, &QToolButton::clicked, this, [this] {
        m_menuButton->setChecked(!m_list.messages().filter().isEmpty());
        m_menu->popup(m_menuButton->mapToGlobal(QPoint(0, m_menuButton->height())));
        m_menuField->setFocus();
    });
    auto *text = new QWidgetAction(m_menu);
    text->setDefaultWidget(m_menuField);
    m_menu->addAction(text);
    m_menu->addSeparator();
    for (const Toggle &toggle : m_toggles)
        m_menu->addAction(toggle.action);
    m_menu->addSeparator();
    connect(m_menu->addAction(tr("Show everything")), &QAction::triggered, this, &QuickFilterBar::clear);
}

void QuickFilterBar::change(const ListFilter &filter)
{
    if (!m_showing)
        m_list.messages().setFilter(filter);
}

/// The list may have been given another filter, or none with another group.
void QuickFilterBar::showFilter(const ListFilter &filter)
{
    m_showing = true;
    for (const Toggle &toggle : m_toggles)
        toggle.action->setChecked(filter.*toggle.part);
    for (SearchField *field : {m_field, m_menuField}) {
        if (field->text() != filter.text)
            field->setText(filter.text);
    }
    m_menuButton->setChecked(!filter.isEmpty());
    m_showing = false;
}

void QuickFilterBar::clear()
{
    m_list.messages().setFilter({});
}

QString QuickFilterBar::words() const
{
    const MessageListModel &model = m_list.messages();
    if (model.filter().isEmpty())
        return {};
    return tr("%1 of %2 shown")
        .arg(QLocale().toString(model.shownCount()), QLocale().toString(model.totalCount()));
}

void QuickFilterBar::focusField()
{
    if (m_menuButton->isHidden()) {
        m_field->setFocus(Qt::ShortcutFocusReason);
        m_field->selectAll();
    } else {
        m_menuButton->click();
    }
}

/// To the list, which has something current then.
void QuickFilterBar::leave()
{
    m_menu->hide();
    m_list.setFocus(Qt::OtherFocusReason);
    if (m_list.current().isNull())
        m_list.step(MessageList::Step::Next);
}

bool QuickFilterBar::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::KeyPress)
        return QWidget::eventFilter(watched, event);
    switch (static_cast<QKeyEvent *>(event)->key()) {
    case Qt::Key_Escape:
        clear();
        m_menu->hide();
        m_list.setFocus(Qt::OtherFocusReason);
        return true;
    case Qt::Key_Down:
        if (watched == m_menuField)
            break; // to the rows of the menu
        leave();
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter: leave(); return true;
    default: break;
    }
    return QWidget::eventFilter(watched, event);
}

// --- Room -----------------------------------------------------------------------------------------------

int QuickFilterBar::fullWidth() const
{
    int width = columnWidth(kFieldCharacters) + space::inner;
    for (const Toggle &toggle : m_toggles)
        width += toggle.button->sizeHint().width() + space::inner;
    return width;
}

QSize QuickFilterBar::sizeHint() const
{
    return {fullWidth(), m_field->sizeHint().height()};
}

QSize QuickFilterBar::minimumSizeHint() const
{
    return {m_menuButton->sizeHint().width(), m_field->sizeHint().height()};
}

void QuickFilterBar::arrange()
{
    const bool narrow = width() < fullWidth();
    m_field->setFixedWidth(columnWidth(kFieldCharacters));
    m_menuField->setMinimumWidth(columnWidth(kMenuCharacters));
    m_field->setVisible(!narrow);
    m_menuButton->setVisible(narrow);
    for (const Toggle &toggle : m_toggles)
        toggle.button->setVisible(!narrow);
}

void QuickFilterBar::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    arrange();
}

void QuickFilterBar::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
        arrange();
        updateGeometry();
    }
}
