#include "ui/accounts/accountwizard.h"

#include "engine/engine.h"
#include "ui/accounts/filepage.h"
#include "ui/accounts/personpage.h"
#include "ui/accounts/readypage.h"
#include "ui/accounts/serverpage.h"
#include "ui/accounts/wizardsteps.h"
#include "ui/look/card.h"
#include "ui/look/dialogfooter.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/wheel.h"

#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr int kWidth = 112; ///< characters
constexpr int kHeight = 42; ///< lines of text
constexpr int kLeastWidth = 64;
constexpr int kLeastHeight = 20;

} // namespace

AccountWizard::AccountWizard(Engine &engine, DiscoveryNetwork &network, LoginTester &tester, QWidget *parent)
    : QDialog(parent)
    , m_engine(engine)
    , m_steps(new WizardSteps)
    , m_person(new PersonPage(engine.accounts().passwordKeeper()))
    , m_server(new ServerPage(network, tester))
    , m_file(new FilePage)
    , m_ready(new ReadyPage(engine.accounts()))
    , m_footer(new DialogFooter(tr("&Continue")))
    , m_back(m_footer->addButton(tr("&Back")))
    , m_secondary(m_footer->addSecondary({}))
{
    setObjectName(u"accountWizard"_s);
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(tr("Set up an account"));
    setFocusPolicy(Qt::NoFocus);
    m_footer->defaultButton()->setObjectName(u"next"_s);
    m_back->setObjectName(u"back"_s);
    m_secondary->setObjectName(u"secondary"_s);
    m_pages = {newKindPage(), m_person, m_server, m_file, m_ready};
    arrange();
    arrangeFooter();
    wirePages();
    show(Page::Kind);
}

AccountWizard::~AccountWizard() = default;

/// What cannot be set up yet is named, and is no button.
QWidget *AccountWizard::newKindPage()
{
    auto *mail = new Card(u"mail"_s, tr("A mailbox at a provider (POP3)"),
                          tr("Address and password; the server is found for you."));
    auto *file = new Card(u"inbox"_s, tr("A mailbox file on this computer"),
                          tr("Another program fills it; Velmar takes the mail out of it."));
    mail->setObjectName(u"kindMail"_s);
    file->setObjectName(u"kindFile"_s);
    mail->setFirst(true);
    auto *later =
        new QLabel(tr("IMAP, outgoing mail, newsgroups and feeds cannot be set up in this version."));
    later->setWordWrap(true);
    setFontScale(later, scale::small);
    setTextRole(later, Role::Text2);
    auto *page = new QWidget;
    auto *column = new QVBoxLayout(page);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(space::group);
    column->addWidget(mail);
    column->addWidget(file);
    column->addWidget(later);
    column->addStretch(1);
    page->setFocusProxy(mail);
    connect(mail, &QAbstractButton::clicked, this, [this] { choose(AccountKind::Pop3); });
    connect(file, &QAbstractButton::clicked, this, [this] { choose(AccountKind::BatchFile); });
    return page;
}

void AccountWizard::arrange()
{
    auto *title = new QLabel(windowTitle());
    setFontScale(title, scale::dialog, QFont::DemiBold);
    auto *padded = new QWidget;
    auto *pad = new QVBoxLayout(padded);
    pad->setContentsMargins(space::page, space::inner, space::page, space::card);
    for (QWidget *page : m_pages)
        pad->addWidget(page);
    auto *scroll = new QScrollArea; // for large type on small screens
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->setWidget(padded);
    keepFromWheel(padded);
    setSurface(scroll, Role::Chrome);
    auto *head = new QVBoxLayout;
    head->setContentsMargins(space::page, space::dialog, space::page, space::card);
    head->setSpacing(space::between);
    head->addWidget(title);
    head->addWidget(m_steps);
    auto *all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(0);
    all->addLayout(head);
    all->addWidget(scroll, 1);
    all->addWidget(m_footer);
    resize(columnWidth(kWidth), kHeight * textHeight());
    setMinimumSize(columnWidth(kLeastWidth), kLeastHeight * textHeight());
}

/// Back beside the button that goes the other way.
void AccountWizard::arrangeFooter()
{
    auto *buttons = qobject_cast<QHBoxLayout *>(m_footer->layout());
    buttons->removeWidget(m_back);
    buttons->insertWidget(buttons->indexOf(m_footer->defaultButton()), m_back);
    setTabOrder(m_footer->cancelButton(), m_back);
    setTabOrder(m_back, m_footer->defaultButton());
}

void AccountWizard::wirePages()
{
    connect(m_footer, &DialogFooter::accepted, this, &AccountWizard::goOn);
    connect(m_footer, &DialogFooter::rejected, this, &QDialog::close);
    connect(m_back, &QPushButton::clicked, this, &AccountWizard::goBack);
    connect(m_secondary, &QPushButton::clicked, m_server, &ServerPage::useSecondary);
    connect(m_person, &PersonPage::changed, this, &AccountWizard::refreshFooter);
    connect(m_server, &ServerPage::changed, this, &AccountWizard::refreshFooter);
    connect(m_file, &FilePage::changed, this, &AccountWizard::refreshFooter);
    connect(m_ready, &ReadyPage::changed, this, &AccountWizard::refreshFooter);
    connect(m_server, &ServerPage::done, this, &AccountWizard::finishServer);
    connect(m_server, &ServerPage::passwordWanted, this, [this] {
        show(Page::Person);
        m_person->focusPassword();
    });
}

void AccountWizard::beginWith(AccountKind kind)
{
    m_asksForKind = false;
    choose(kind);
}

void AccountWizard::choose(AccountKind kind)
{
    m_draft.kind = kind;
    show(path()[m_asksForKind ? 1 : 0]);
}

QList<AccountWizard::Page> AccountWizard::path() const
{
    QList<Page> pages = m_draft.kind == AccountKind::BatchFile
                            ? QList<Page>{Page::File, Page::Ready}
                            : QList<Page>{Page::Person, Page::Server, Page::Ready};
    if (m_asksForKind)
        pages.prepend(Page::Kind);
    return pages;
}

void AccountWizard::show(Page page)
{
    const QString names[] = {tr("Kind"), tr("Who you are"), tr("Server"), tr("File"), tr("Ready")};
    m_page = page;
    QStringList steps;
    for (const Page step : path())
        steps += names[int(step)];
    m_steps->setSteps(steps);
    m_steps->setCurrent(int(path().indexOf(page)));
    for (int i = 0; i < m_pages.size(); ++i) // those that are hidden ask for no room, unlike in a stack
        m_pages[i]->setVisible(i == int(page));
    switch (page) {
    case Page::Kind: m_pages.first()->setFocus(); break;
    case Page::Person: m_person->focusFirst(); break;
    case Page::Server: m_server->begin(m_draft); break;
    case Page::File: m_file->focusFirst(); break;
    case Page::Ready: m_ready->begin(m_draft, m_draft.kind == AccountKind::Pop3 && m_server->works()); break;
    }
    refreshFooter();
}

bool AccountWizard::canGoOn() const
{
    switch (m_page) {
    case Page::Kind: return false;
    case Page::Person: return m_person->isComplete();
    case Page::Server: return m_server->canGoOn();
    case Page::File: return m_file->isComplete();
    case Page::Ready: return m_ready->isComplete();
    }
    return false;
}

void AccountWizard::refreshFooter()
{
    QPushButton *next = m_footer->defaultButton();
    next->setVisible(m_page != Page::Kind);
    next->setEnabled(canGoOn());
    next->setText(m_page == Page::Ready    ? tr("&Create account")
                  : m_page == Page::Server ? m_server->verb()
                                           : tr("&Continue"));
    m_back->setVisible(m_page != path().first());
    const QString secondary = m_page == Page::Server ? m_server->secondary() : QString();
    m_secondary->setText(secondary);
    m_secondary->setVisible(!secondary.isEmpty());
}

void AccountWizard::goOn()
{
    if (!canGoOn())
        return;
    switch (m_page) {
    case Page::Kind: break;
    case Page::Person:
        m_person->putInto(m_draft);
        show(Page::Server);
        break;
    case Page::Server: m_server->goOn(); break;
    case Page::File:
        m_file->putInto(m_draft);
        show(Page::Ready);
        break;
    case Page::Ready: make(); break;
    }
}

void AccountWizard::finishServer()
{
    m_server->putInto(m_draft);
    show(Page::Ready);
}

void AccountWizard::goBack()
{
    m_server->stop();
    const QList<Page> pages = path();
    show(pages[std::max(qsizetype(0), pages.indexOf(m_page) - 1)]);
}

void AccountWizard::make()
{
    m_ready->putInto(m_draft);
    const int number = makeAccount(m_draft, m_engine.accounts());
    if (number == 0)
        return refreshFooter();
    if (m_ready->fetchesAtOnce())
        m_engine.fetch(number);
    emit accountMade(number);
    accept();
}

/// Esc stops what is under way before it closes the window.
void AccountWizard::reject()
{
    if (m_page == Page::Server && m_server->isBusy())
        m_server->stop();
    else
        QDialog::reject();
}
