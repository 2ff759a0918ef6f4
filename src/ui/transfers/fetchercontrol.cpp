#include "ui/transfers/fetchercontrol.h"

#include "config/settings.h"
#include "net/accountfiles.h"
#include "net/accountmanager.h"
#include "ui/look/dialogfooter.h"
#include "ui/look/emptystate.h"
#include "ui/look/hairline.h"
#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/panel.h"
#include "ui/look/recolour.h"
#include "ui/look/velmarstyle.h"
#include "ui/transfers/fetchererrorlist.h"
#include "ui/transfers/fetcherstatus.h"
#include "ui/transfers/transfererrorcard.h"

#include <QCheckBox>
#include <QEvent>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int kWidth = 118; ///< characters
constexpr int kHeight = 42;
constexpr int kAccountWidth = 20; ///< at least
constexpr int kAccountShare = 40; ///< per cent of the window, at most
constexpr int kTypeWidth = 20;    ///< at most

/// What makes a server another one.
QString serverOf(const AccountData &account)
{
    return u"%1:%2:%3"_s.arg(account.host.toLower())
        .arg(account.port)
        .arg(account.flags & (AccountTls | AccountStartTls));
}

/// What a fetch that ends well leaves behind.
bool hasFetchedBefore(const AccountData &account)
{
    return QFileInfo::exists(accountFilePath(account.number, u"UIDLs"_s));
}

QPushButton *headButton(const QString &text, const char *name)
{
    auto *button = new QPushButton(text);
    button->setObjectName(QLatin1StringView(name));
    button->setAutoDefault(false);
    return button;
}

QLabel *columnHead(const QString &text)
{
    auto *label = new QLabel(text);
    setFontScale(label, scale::small);
    setTextRole(label, Role::Text2);
    return label;
}

} // namespace

FetcherControl::FetcherControl(AccountManager &accounts, QWidget *parent)
    : QDialog(parent)
    , m_accounts(accounts)
{
    setObjectName(u"fetcherControl"_s);
    setWindowTitle(tr("Transfer Status"));
    build();
    for (const AccountData &account : accounts.all()) {
        if (hasFetchedBefore(account))
            m_worked.insert(account.number, serverOf(account));
    }
    connect(&accounts, &AccountManager::fetchStarted, this, &FetcherControl::started);
    connect(&accounts, &AccountManager::fetchEnded, this,
            [this](Account *account, AccountFetchReason reason) { ended(account, reason); });
    connect(&accounts, &AccountManager::servingStarted, this,
            [this](Account *account) { serves(account, true); });
    connect(&accounts, &AccountManager::servingEnded, this,
            [this](Account *account) { serves(account, false); });
    connect(&accounts.errors(), &TransferErrors::added, this, &FetcherControl::failed);
    connect(&accounts, &AccountManager::accountDeleted, this,
            [this](Account *account) { dropCard(account->number()); });
    resize(columnWidth(kWidth), textHeight() * kHeight);
    arrange();
}

void FetcherControl::build()
{
    m_panel = new Panel(Role::Card);
    m_panel->setObjectName(u"transfers"_s);
    m_list = new QVBoxLayout(m_panel);
    m_list->setContentsMargins(1, 1, 1, 1);
    m_list->setSpacing(0);
    m_list->addWidget(newColumns());
    m_empty = new EmptyState;
    m_empty->setTexts(tr("No transfers yet"), tr("What is fetched and sent stands here while it goes on."),
                      tr("Get all"));
    connect(m_empty, &EmptyState::buttonClicked, this, &FetcherControl::getAllWanted);
    m_attentionPart = new QWidget;
    m_attention = new QVBoxLayout(m_attentionPart);
    m_attention->setContentsMargins(0, space::group, 0, 0);
    m_attention->setSpacing(space::group);
    auto *title = new QLabel(tr("Needs your attention"));
    setFontScale(title, scale::title, QFont::DemiBold);
    m_attention->addWidget(title);

    auto *page = new QWidget;
    auto *parts = new QVBoxLayout(page);
    parts->setContentsMargins(space::dialog, space::group, space::dialog, space::dialog);
    parts->setSpacing(space::group);
    parts->addWidget(m_panel);
    parts->addWidget(m_attentionPart);
    parts->addWidget(m_empty, 1);
    parts->addStretch();
    auto *scroll = new QScrollArea;
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->setWidget(page);
    auto *all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(0);
    all->addWidget(newHead());
    all->addWidget(scroll, 1);
    all->addWidget(newFooter());
}

QWidget *FetcherControl::newHead()
{
    auto *head = new QWidget;
    auto *title = new QLabel(tr("Transfers"));
    setFontScale(title, scale::dialog, QFont::DemiBold);
    QPushButton *getAll = headButton(tr("&Get all"), "getAll");
    getAll->setIcon(icon(u"get-mail"_s));
    m_stopAll = headButton(tr("&Stop all"), "stopAll");
    auto *layout = new QHBoxLayout(head);
    layout->setContentsMargins(space::dialog, space::dialog, space::dialog, 0);
    layout->setSpacing(space::between);
    layout->addWidget(title);
    layout->addStretch(1);
    layout->addWidget(getAll);
    layout->addWidget(m_stopAll);
    connect(getAll, &QPushButton::clicked, this, &FetcherControl::getAllWanted);
    connect(m_stopAll, &QPushButton::clicked, this, [this] { m_accounts.stopAll(); });
    return head;
}

/// The names of the columns, over the rows' own.
QWidget *FetcherControl::newColumns()
{
    auto *head = new QWidget;
    m_accountHead = columnHead(tr("Account"));
    m_typeHead = columnHead(tr("Type"));
    auto *layout = new QHBoxLayout(head);
    layout->setContentsMargins(space::card + iconSize(IconUse::Bar) + space::group, space::between,
                               space::between, space::between);
    layout->setSpacing(space::group);
    layout->addWidget(m_accountHead);
    layout->addWidget(m_typeHead);
    layout->addWidget(columnHead(tr("Status")), 1);
    return head;
}

QWidget *FetcherControl::newFooter()
{
    auto *footer = new DialogFooter(tr("Close"));
    footer->cancelButton()->hide();
    footer->defaultButton()->setDefault(false); // the accent belongs to what mends
    footer->defaultButton()->setObjectName(u"close"_s);
    m_openItself = new QCheckBox(tr("&Open this window when a transfer starts"));
    m_openItself->setObjectName(u"openItself"_s);
    m_openItself->setChecked(boolSetting(Setting::OpenStatusOnFetch));
    connect(m_openItself, &QCheckBox::toggled, this,
            [](bool on) { setBoolSetting(Setting::OpenStatusOnFetch, on); });
    if (auto *layout = qobject_cast<QHBoxLayout *>(footer->layout()))
        layout->insertWidget(0, m_openItself);
    QPushButton *errors = footer->addButton(tr("Show &Errors"));
    errors->setObjectName(u"showErrors"_s);
    setButtonKind(errors, ButtonKind::Ghost);
    connect(errors, &QPushButton::clicked, this, &FetcherControl::slotShowErrors);
    connect(footer, &DialogFooter::accepted, this, &QDialog::accept);
    return footer;
}

void FetcherControl::slotShowErrors()
{
    if (!m_errorList) {
        m_errorList = new FetcherErrorList(m_accounts.errors(), this);
        connect(m_errorList, &FetcherErrorList::logWanted, this,
                [this](int account) { emit mendWanted(MendAction::ShowLog, account); });
    }
    m_errorList->show();
    m_errorList->raise();
    m_errorList->activateWindow();
}

FetcherStatus *FetcherControl::row(int account) const
{
    const auto found = std::find_if(m_rows.begin(), m_rows.end(), [account](const FetcherStatus *row) {
        return row->account() && row->account()->number() == account;
    });
    return found == m_rows.end() ? nullptr : *found;
}

TransferErrorCard *FetcherControl::card(int account) const
{
    const auto found = std::find_if(m_cards.begin(), m_cards.end(), [account](const TransferErrorCard *card) {
        return card->account() == account;
    });
    return found == m_cards.end() ? nullptr : *found;
}

void FetcherControl::started(Account *account)
{
    m_running.insert(account->number());
    needRow(*account, {});
    arrange();
    if (isVisible() || !boolSetting(Setting::OpenStatusOnFetch))
        return;
    setAttribute(Qt::WA_ShowWithoutActivating); // whoever writes a letter goes on writing it
    show();
    setAttribute(Qt::WA_ShowWithoutActivating, false);
    m_openedItself = true;
}

void FetcherControl::ended(Account *account, AccountFetchReason reason)
{
    m_running.remove(account->number());
    if (reason == AccountFetchReason::None) {
        m_worked.insert(account->number(), serverOf(account->data()));
        dropCard(account->number());
    }
    arrange();
    hideWhenDone();
}

/// A session for single messages is no fetch: the window does not open for it.
void FetcherControl::serves(Account *account, bool does)
{
    if (does) {
        m_running.insert(account->number());
        needRow(*account, {});
    } else if (!account->isFetching()) {
        m_running.remove(account->number());
    }
    arrange();
    hideWhenDone();
}

void FetcherControl::hideWhenDone()
{
    if (m_running.isEmpty() && m_openedItself)
        hide();
}

void FetcherControl::failed(const TransferError &error)
{
    Account *account = m_accounts.account(error.account);
    if (!account)
        return;
    needRow(*account, tr("Errors"));
    if (TransferErrorCard *known = card(error.account)) {
        known->setError(error, account->data(), hasWorked(account->data()));
    } else {
        auto *fresh = new TransferErrorCard(error, account->data(), hasWorked(account->data()));
        m_cards.push_back(fresh);
        m_attention->addWidget(fresh);
        connect(fresh, &TransferErrorCard::mendWanted, this, &FetcherControl::mendWanted);
        connect(fresh, &TransferErrorCard::pauseWanted, this, &FetcherControl::pause);
    }
    arrange();
}

/// The row of @p account; a new one is titled @p title, or with the account's kind when that is empty.
FetcherStatus *FetcherControl::needRow(Account &account, const QString &title)
{
    if (FetcherStatus *known = row(account.number()))
        return known;
    auto *fresh = new FetcherStatus(account, title);
    m_rows.push_back(fresh);
    m_list->addWidget(new HairLine(Qt::Horizontal, m_panel));
    m_list->addWidget(fresh);
    connect(fresh, &FetcherStatus::gone, this, [this, fresh] { dropRow(fresh); });
    connect(fresh, &FetcherStatus::widthsChanged, this, &FetcherControl::fitColumns);
    return fresh;
}

/// Goes with the line above it. It may be in the middle of its own signal.
void FetcherControl::dropRow(FetcherStatus *row)
{
    const int at = m_list->indexOf(row);
    QWidget *line = m_list->itemAt(at - 1)->widget();
    for (QWidget *widget : {line, static_cast<QWidget *>(row)}) {
        m_list->removeWidget(widget);
        widget->hide();
        widget->deleteLater();
    }
    std::erase(m_rows, row);
    arrange();
}

void FetcherControl::dropCard(int account)
{
    TransferErrorCard *gone = card(account);
    if (!gone)
        return;
    m_attention->removeWidget(gone);
    gone->hide();
    gone->deleteLater();
    std::erase(m_cards, gone);
    arrange();
}

void FetcherControl::pause(int number)
{
    Account *account = m_accounts.account(number);
    if (!account)
        return;
    AccountData data = account->data();
    data.set(AccountLeftOut, true);
    if (m_accounts.update(data))
        dropCard(number);
}

void FetcherControl::arrange()
{
    m_panel->setVisible(!m_rows.empty());
    m_attentionPart->setVisible(!m_cards.empty());
    m_empty->setVisible(m_rows.empty() && m_cards.empty());
    m_stopAll->setEnabled(!m_running.isEmpty());
    fitColumns();
    for (std::size_t i = 0; i < m_cards.size(); ++i)
        m_cards[i]->setFirst(i == 0);
}

bool FetcherControl::hasWorked(const AccountData &account) const
{
    return m_worked.value(account.number) == serverOf(account);
}

/// The columns of names and types are as wide as the longest of them, within their share of the window.
void FetcherControl::fitColumns()
{
    const int least = columnWidth(kAccountWidth);
    int account = least;
    int type = m_typeHead->sizeHint().width();
    for (const FetcherStatus *row : m_rows) {
        account = std::max(account, row->nameWidth());
        type = std::max(type, row->typeWidth());
    }
    account = std::min(account, std::max(least, width() * kAccountShare / 100));
    type = std::min(type, columnWidth(kTypeWidth));
    m_accountHead->setFixedWidth(account);
    m_typeHead->setFixedWidth(type);
    for (FetcherStatus *row : m_rows)
        row->setColumns(account, type);
}

void FetcherControl::resizeEvent(QResizeEvent *event)
{
    QDialog::resizeEvent(event);
    fitColumns();
}

/// The rows get the new font after the window.
void FetcherControl::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::FontChange)
        QMetaObject::invokeMethod(this, &FetcherControl::fitColumns, Qt::QueuedConnection);
    QDialog::changeEvent(event);
}

/// However it was hidden: the next time it opens by itself, it may close by itself.
void FetcherControl::hideEvent(QHideEvent *event)
{
    m_openedItself = false;
    QDialog::hideEvent(event);
}
