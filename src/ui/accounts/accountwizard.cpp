#include "ui/accounts/accountwizard.h"

#include "engine/engine.h"
#include "identity/signatures.h"
#include "ui/accounts/filepage.h"
#include "ui/accounts/identitypage.h"
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

#include <algorithm>

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
    , m_server(new ServerPage(MailProtocol::Pop3, network, tester))
    , m_sending(new ServerPage(MailProtocol::Smtp, network, tester))
    , m_identity(new IdentityPage)
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
    m_server->setObjectName(u"serverPage"_s);
    m_sending->setObjectName(u"sendingPage"_s);
    m_pages = {newKindPage(), m_person, m_server, m_sending, m_identity, m_file, m_ready};
    if (const Identity *known = engine.identities().defaultIdentity())
        m_person->proposePerson(known->name);
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
                          tr("Name, address and password; the servers are found for you."));
    auto *file = new Card(u"inbox"_s, tr("A mailbox file on this computer"),
                          tr("Another program fills it; Velmar takes the mail out of it."));
    auto *outgoing = new Card(u"send"_s, tr("Only a server to send mail through (SMTP)"),
                              tr("A mailbox brings its own; this is for a further one."));
    outgoing->setObjectName(u"kindOutgoing"_s);
    mail->setObjectName(u"kindMail"_s);
    file->setObjectName(u"kindFile"_s);
    mail->setFirst(true);
    auto *later = new QLabel(tr("IMAP, newsgroups and feeds cannot be set up in this version."));
    later->setWordWrap(true);
    setFontScale(later, scale::small);
    setTextRole(later, Role::Text2);
    auto *page = new QWidget;
    auto *column = new QVBoxLayout(page);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(space::group);
    column->addWidget(mail);
    column->addWidget(file);
    column->addWidget(outgoing);
    column->addWidget(later);
    column->addStretch(1);
    page->setFocusProxy(mail);
    connect(mail, &QAbstractButton::clicked, this, [this] { choose(AccountKind::Pop3); });
    connect(file, &QAbstractButton::clicked, this, [this] { choose(AccountKind::BatchFile); });
    connect(outgoing, &QAbstractButton::clicked, this, [this] { choose(AccountKind::Smtp); });
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
    connect(m_secondary, &QPushButton::clicked, this,
            [this] { (m_page == Page::Sending ? m_sending : m_server)->useSecondary(); });
    connect(m_person, &PersonPage::changed, this, &AccountWizard::refreshFooter);
    connect(m_identity, &IdentityPage::changed, this, &AccountWizard::refreshFooter);
    for (ServerPage *page : {m_server, m_sending}) {
        connect(page, &ServerPage::changed, this, &AccountWizard::refreshFooter);
        connect(page, &ServerPage::passwordWanted, this, [this] {
            show(Page::Person);
            m_person->focusPassword();
        });
    }
    connect(m_file, &FilePage::changed, this, &AccountWizard::refreshFooter);
    connect(m_ready, &ReadyPage::changed, this, &AccountWizard::refreshFooter);
    connect(m_server, &ServerPage::done, this, [this] { goOnFrom(Page::Server); });
    connect(m_sending, &ServerPage::done, this, [this] { goOnFrom(Page::Sending); });
}

void AccountWizard::beginWith(AccountKind kind, int identity)
{
    m_asksForKind = false;
    if (const Identity *who = m_engine.identities().identity(identity))
        m_person->proposePerson(who->name, who->address);
    choose(kind);
}

void AccountWizard::choose(AccountKind kind)
{
    m_draft.kind = kind;
    m_sending->setBeside(kind == AccountKind::Pop3);
    show(path()[m_asksForKind ? 1 : 0]);
}

/// Whether an account sends for that address already.
bool AccountWizard::isSendingSetUp() const
{
    const std::vector<AccountData> all = m_engine.accounts().all();
    return std::any_of(all.begin(), all.end(), [this](const AccountData &account) {
        return account.kind == AccountKind::Smtp && !m_draft.address.isEmpty() &&
               account.address.compare(m_draft.address, Qt::CaseInsensitive) == 0;
    });
}

QList<AccountWizard::Page> AccountWizard::path() const
{
    QList<Page> pages;
    if (m_asksForKind)
        pages += Page::Kind;
    if (m_draft.kind == AccountKind::BatchFile)
        return pages += {Page::File, Page::Ready};
    pages += Page::Person;
    if (m_draft.kind != AccountKind::Smtp)
        pages += Page::Server;
    if (m_draft.kind == AccountKind::Smtp || !isSendingSetUp())
        pages += Page::Sending;
    if (m_draft.address.isEmpty() || !m_engine.identities().find(m_draft.address))
        pages += Page::Identity;
    return pages += Page::Ready;
}

void AccountWizard::show(Page page)
{
    const QString names[] = {tr("Kind"),     tr("Who you are"), tr("Receiving"), tr("Sending"),
                             tr("Identity"), tr("File"),        tr("Ready")};
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
    case Page::Sending: beginSending(); break;
    case Page::Identity: m_identity->begin(m_draft); break;
    case Page::File: m_file->focusFirst(); break;
    case Page::Ready: beginReady(); break;
    }
    refreshFooter();
}

/// Whoever told where mail is received mostly told where it is sent from.
void AccountWizard::beginSending()
{
    const bool isAlone = m_draft.kind == AccountKind::Smtp;
    m_sending->begin(isAlone ? m_draft : outgoingDraftOf(m_draft),
                     isAlone ? std::nullopt : m_server->foundFor(MailProtocol::Smtp));
}

void AccountWizard::beginReady()
{
    if (m_draft.kind == AccountKind::Pop3)
        m_ready->begin(m_draft, m_server->works(), m_outgoing,
                       m_outgoing ? m_sending->works() : isSendingSetUp());
    else
        m_ready->begin(m_draft, m_draft.kind == AccountKind::Smtp && m_sending->works());
}

bool AccountWizard::canGoOn() const
{
    switch (m_page) {
    case Page::Kind: return false;
    case Page::Person: return m_person->isComplete();
    case Page::Server: return m_server->canGoOn();
    case Page::Sending: return m_sending->canGoOn();
    case Page::Identity: return m_identity->isComplete();
    case Page::File: return m_file->isComplete();
    case Page::Ready: return m_ready->isComplete();
    }
    return false;
}

void AccountWizard::refreshFooter()
{
    const ServerPage *server = m_page == Page::Server    ? m_server
                               : m_page == Page::Sending ? m_sending
                                                         : nullptr;
    QPushButton *next = m_footer->defaultButton();
    next->setVisible(m_page != Page::Kind);
    next->setEnabled(canGoOn());
    next->setText(m_page == Page::Ready ? tr("&Create account") : server ? server->verb() : tr("&Continue"));
    m_back->setVisible(m_page != path().first());
    const QString secondary = server ? server->secondary() : QString();
    m_secondary->setText(secondary);
    m_secondary->setVisible(!secondary.isEmpty());
}

void AccountWizard::goOn()
{
    if (!canGoOn())
        return;
    switch (m_page) {
    case Page::Server: m_server->goOn(); break; // which signs in first
    case Page::Sending: m_sending->goOn(); break;
    case Page::Ready: make(); break;
    default: goOnFrom(m_page); break;
    }
}

void AccountWizard::goOnFrom(Page page)
{
    const bool isAlone = m_draft.kind == AccountKind::Smtp;
    if (page == Page::Person)
        m_person->putInto(m_draft);
    else if (page == Page::File)
        m_file->putInto(m_draft);
    else if (page == Page::Server)
        m_server->putInto(m_draft);
    else if (page == Page::Sending && isAlone)
        m_sending->putInto(m_draft);
    if (page == Page::Sending && !isAlone) {
        m_outgoing.reset();
        if (m_sending->isWanted())
            m_sending->putInto(m_outgoing.emplace(outgoingDraftOf(m_draft)));
    }
    const QList<Page> pages = path();
    show(pages[pages.indexOf(page) + 1]);
}

void AccountWizard::goBack()
{
    m_server->stop();
    m_sending->stop();
    const QList<Page> pages = path();
    show(pages[std::max(qsizetype(0), pages.indexOf(m_page) - 1)]);
}

/// The identity with the address of the account, made here where there is none; 0: none. None at all after a
/// report: it cannot be saved.
std::optional<int> AccountWizard::makeIdentity()
{
    IdentityManager &identities = m_engine.identities();
    if (m_draft.kind == AccountKind::BatchFile)
        return 0;
    if (const Identity *known = identities.find(m_draft.address))
        return known->number;
    if (!m_identity->isWanted())
        return 0;
    const int number = identities.add(m_identity->identity());
    if (signWith(number, m_identity->signature()) && identities.save())
        return number;
    identities.remove(number);
    return std::nullopt;
}

/// Gives a new identity its signature. False after a report: it cannot be written.
bool AccountWizard::signWith(int identity, const QString &text)
{
    if (text.isEmpty())
        return true;
    Identity signing = *m_engine.identities().identity(identity);
    signing.signature = tr("Standard");
    return writeSignature(identity, {signing.signature, Signature::Kind::Plain, text}) &&
           m_engine.identities().update(signing);
}

/// All that was entered, or, after a report, nothing of it: then the last page stays.
int AccountWizard::makeAll()
{
    AccountManager &accounts = m_engine.accounts();
    const std::size_t known = m_engine.identities().all().size();
    const std::optional<int> identity = makeIdentity();
    if (!identity)
        return 0;
    m_draft.identity = *identity;
    const int number = makeAccount(m_draft, accounts);
    bool isWhole = number > 0;
    if (isWhole && m_outgoing && !isSendingSetUp()) {
        AccountDraft outgoing = *m_outgoing;
        outgoing.identity = m_draft.identity;
        outgoing.keeping = m_draft.keeping;
        outgoing.name = freeAccountName(outgoingAccountName(m_draft.name), accounts);
        isWhole = makeAccount(outgoing, accounts) > 0;
    }
    if (isWhole)
        return number;
    accounts.remove(number);
    accounts.save();
    if (m_engine.identities().all().size() > known && m_engine.identities().remove(*identity))
        m_engine.identities().save();
    return 0;
}

void AccountWizard::make()
{
    m_ready->putInto(m_draft);
    const int number = makeAll();
    if (number == 0)
        return refreshFooter();
    if (m_draft.kind != AccountKind::Smtp && m_ready->fetchesAtOnce())
        m_engine.fetch(number);
    emit accountMade(number);
    accept();
}

/// Esc stops what is under way before it closes the window.
void AccountWizard::reject()
{
    if (m_page == Page::Server && m_server->isBusy())
        m_server->stop();
    else if (m_page == Page::Sending && m_sending->isBusy())
        m_sending->stop();
    else
        QDialog::reject();
}
