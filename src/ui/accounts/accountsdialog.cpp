#include "ui/accounts/accountsdialog.h"

#include "engine/engine.h"
#include "engine/logintest.h"
#include "ui/accounts/accounteditor.h"
#include "ui/accounts/accountlistmodel.h"
#include "ui/accounts/accountwindows.h"
#include "ui/accounts/logincheck.h"
#include "ui/look/askingbar.h"
#include "ui/look/dialogfooter.h"
#include "ui/look/emptystate.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/smalldialog.h"
#include "ui/look/velmarstyle.h"
#include "ui/texts/harmless.h"

#include <QLabel>
#include <QListView>
#include <QPushButton>
#include <QShortcut>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr int kListWidth = 76; ///< characters
constexpr int kRows = 7;

QString lossText(const Account &account)
{
    if (account.kind() == AccountKind::BatchFile)
        return AccountsDialog::tr(
            "The mail that came from it stays in its groups, and its file stays where it is. "
            "Velmar forgets where it fetches from.");
    if (account.kind() == AccountKind::Smtp)
        return AccountsDialog::tr("What was sent stays in its groups. What still waits to be sent waits for "
                                  "another account. Lost are "
                                  "its settings, its stored password and its log.");
    return AccountsDialog::tr(
        "The mail that came from it stays in its groups, and nothing is deleted on the "
        "server. Lost are its settings, its stored password, its log, and the memory of "
        "what was fetched already: set up again, it would fetch what is still on the "
        "server once more.");
}

} // namespace

AccountsDialog::AccountsDialog(Engine &engine, QWidget *parent)
    : QDialog(parent)
    , m_engine(engine)
    , m_ownTester(std::make_unique<SystemLoginTester>())
    , m_tester(m_ownTester.get())
    , m_model(new AccountListModel(engine.accounts(), this))
    , m_list(new QListView)
    , m_empty(new EmptyState)
    , m_notice(new AskingBar)
{
    setObjectName(u"accountsDialog"_s);
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(tr("Accounts"));
    build();
    connect(m_list->selectionModel(), &QItemSelectionModel::currentChanged, this, &AccountsDialog::showState);
    connect(m_model, &QAbstractItemModel::dataChanged, this, &AccountsDialog::showState);
    connect(m_model, &QAbstractItemModel::modelReset, this, [this] {
        if (!m_list->currentIndex().isValid())
            m_list->setCurrentIndex(m_model->index(0));
        showState();
    });
    m_list->setCurrentIndex(m_model->index(0));
    showState();
    m_list->setFocus();
}

AccountsDialog::~AccountsDialog() = default;

void AccountsDialog::build()
{
    auto *title = new QLabel(windowTitle());
    setFontScale(title, scale::dialog, QFont::DemiBold);
    m_list->setObjectName(u"accounts"_s);
    m_list->setAccessibleName(windowTitle());
    m_list->setModel(m_model);
    m_list->setItemDelegate(new AccountDelegate(*m_model, m_list));
    m_list->setUniformItemSizes(true);
    m_list->setMinimumSize(columnWidth(kListWidth), kRows * rowHeight(RowKind::TwoLines));
    m_empty->setTexts(tr("No accounts yet"), tr("An account says where mail comes from and goes to."),
                      tr("&New account…"));
    m_empty->setMinimumSize(m_list->minimumSize());
    connect(m_empty, &EmptyState::buttonClicked, this, &AccountsDialog::newAccountWanted);
    connect(m_list, &QListView::activated, this, &AccountsDialog::edit,
            Qt::QueuedConnection); // else the same Enter goes on to the editor's default button
    auto *parts = new QHBoxLayout;
    parts->setSpacing(space::group);
    parts->addWidget(m_list, 1);
    parts->addWidget(m_empty, 1);
    parts->addWidget(newButtons());
    auto *page = new QVBoxLayout;
    page->setContentsMargins(space::dialog, space::dialog, space::dialog, space::card);
    page->setSpacing(space::group);
    page->addWidget(title);
    page->addWidget(m_notice);
    page->addLayout(parts, 1);
    auto *footer = new DialogFooter(tr("Close"));
    footer->cancelButton()->hide();
    footer->defaultButton()->setDefault(false); // Enter in the list edits
    connect(footer, &DialogFooter::accepted, this, &QDialog::accept);
    auto *all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(0);
    all->addLayout(page, 1);
    all->addWidget(footer);
    const auto key = [this](const QKeySequence &keys, void (AccountsDialog::*deed)()) {
        connect(new QShortcut(keys, m_list, nullptr, nullptr, Qt::WidgetShortcut), &QShortcut::activated,
                this, deed);
    };
    key(QKeySequence::Delete, &AccountsDialog::askDelete);
    key(Qt::ALT | Qt::Key_Up, &AccountsDialog::moveUp);
    key(Qt::ALT | Qt::Key_Down, &AccountsDialog::moveDown);
}

QPushButton *AccountsDialog::addButton(QVBoxLayout *column, const QString &text, const char *name,
                                       void (AccountsDialog::*deed)())
{
    auto *button = new QPushButton(text);
    button->setObjectName(QLatin1StringView(name));
    button->setAutoDefault(false);
    column->addWidget(button);
    connect(button, &QPushButton::clicked, this, deed);
    m_forOne.append(button);
    return button;
}

QWidget *AccountsDialog::newButtons()
{
    auto *part = new QWidget;
    auto *column = new QVBoxLayout(part);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(space::between);
    addButton(column, tr("&New…"), "new", &AccountsDialog::newAccountWanted);
    m_forOne.clear(); // that one is always there
    addButton(column, tr("&Edit…"), "edit", &AccountsDialog::edit);
    addButton(column, tr("&Copy…"), "copy", &AccountsDialog::copy);
    QPushButton *remove = addButton(column, tr("&Delete…"), "delete", &AccountsDialog::askDelete);
    setButtonKind(remove, ButtonKind::Dangerous);
    column->addSpacing(space::group);
    m_up = addButton(column, tr("&Up"), "up", &AccountsDialog::moveUp);
    m_down = addButton(column, tr("Do&wn"), "down", &AccountsDialog::moveDown);
    column->addSpacing(space::group);
    m_fetch = addButton(column, tr("&Fetch now"), "fetch", &AccountsDialog::fetch);
    m_test = addButton(column, tr("&Test login"), "test", &AccountsDialog::testLogin);
    addButton(column, tr("View &log"), "log", &AccountsDialog::log);
    column->addStretch(1);
    return part;
}

Account *AccountsDialog::current() const
{
    return m_model->at(m_list->currentIndex().row());
}

void AccountsDialog::select(int account)
{
    m_list->setCurrentIndex(m_model->index(m_model->rowOf(account)));
}

void AccountsDialog::editAccount(int account)
{
    ::editAccount(m_engine, account, *m_tester, this);
}

void AccountsDialog::showLog(int number)
{
    if (Account *account = m_engine.accounts().account(number))
        showAccountLog(*account, this);
}

void AccountsDialog::edit()
{
    if (const Account *account = current())
        editAccount(account->number());
}

void AccountsDialog::copy()
{
    const Account *account = current();
    if (!account)
        return;
    AccountEditor *editor = copyAccount(m_engine, account->number(), *m_tester, this);
    connect(editor, &AccountEditor::saved, this, &AccountsDialog::select);
}

void AccountsDialog::log()
{
    if (const Account *account = current())
        showLog(account->number());
}

void AccountsDialog::askDelete()
{
    const Account *account = current();
    if (!account)
        return;
    auto *dialog = new SmallDialog(this, tr("Delete the account “%1”").arg(harmlessLine(account->name(), 60)),
                                   tr("Keep it"));
    dialog->setObjectName(u"deleteDialog"_s);
    auto *words = new QLabel(lossText(*account));
    words->setWordWrap(true);
    words->setMinimumWidth(columnWidth(kListWidth));
    dialog->contents()->addWidget(words);
    dialog->footer()->cancelButton()->hide();
    QPushButton *remove = dialog->footer()->addDangerous(tr("&Delete the account"));
    remove->setObjectName(u"deleteAccount"_s);
    connect(remove, &QPushButton::clicked, this, [this, dialog, number = account->number()] {
        dialog->accept();
        m_engine.accounts().remove(number);
        m_engine.accounts().save();
    });
    dialog->open();
    dialog->footer()->defaultButton()->setFocus();
}

void AccountsDialog::move(int by)
{
    const Account *account = current();
    const int place = m_list->currentIndex().row() + by;
    if (!account || place < 0 || place >= m_model->rowCount())
        return;
    const int number = account->number();
    m_engine.accounts().move(number, place);
    m_engine.accounts().save();
    select(number);
}

void AccountsDialog::fetch()
{
    Account *account = current();
    if (!account)
        return;
    account->clearMark();
    account->fetch(true, true);
}

void AccountsDialog::testLogin()
{
    const Account *account = current();
    if (!account || m_check)
        return;
    m_notice->tell(MessageBar::Kind::Information,
                   tr("Logging in to “%1” …").arg(harmlessLine(account->name())));
    m_check = new LoginCheck(*m_tester, m_engine.accounts(), account->data(), account->options(), this);
    showState();
    const QString name = harmlessLine(account->name());
    connect(m_check, &LoginCheck::finished, this, [this, name](bool works, const QString &text) {
        m_notice->tell(works ? MessageBar::Kind::Good : MessageBar::Kind::Error, u"%1: %2"_s.arg(name, text));
        m_check->deleteLater();
        m_check = nullptr;
        showState();
    });
}

void AccountsDialog::showState()
{
    const Account *account = current();
    const bool any = m_model->rowCount() > 0;
    m_list->setVisible(any);
    m_empty->setVisible(!any);
    for (QPushButton *button : std::as_const(m_forOne))
        button->setEnabled(account);
    if (!account)
        return;
    const int row = m_list->currentIndex().row();
    m_up->setEnabled(row > 0);
    m_down->setEnabled(row + 1 < m_model->rowCount());
    m_fetch->setText(account->data().isIncoming() ? tr("&Fetch now") : tr("&Send now"));
    m_fetch->setEnabled(!account->isFetching() && !account->data().has(AccountLeftOut));
    m_test->setEnabled(canTestLogin(account->kind()) && !m_check);
}
