#include "ui/accounts/serverpage.h"

#include "ui/accounts/certificatedialog.h"
#include "ui/accounts/discoveryview.h"
#include "ui/accounts/keeponserver.h"
#include "ui/accounts/notice.h"
#include "ui/accounts/servercard.h"
#include "ui/look/metrics.h"
#include "ui/texts/harmless.h"
#include "ui/transfers/transferexplanation.h"

#include <QCheckBox>
#include <QDesktopServices>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QUrl>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

QString outcomeOf(const LoginResult &result)
{
    const int messages = result.messages;
    if (!result.isSignedIn)
        return ServerPage::tr("it takes mail without a sign-in");
    if (messages < 0)
        return ServerPage::tr("signed in");
    return messages == 1 ? ServerPage::tr("signed in, 1 message")
                         : ServerPage::tr("signed in, %1 messages").arg(QLocale().toString(messages));
}

/// What sends stands beside what receives: "smtp.example.org" beside "pop.example.org".
QString outgoingNameFor(const QString &incoming)
{
    const QString first = incoming.section(u'.', 0, 0);
    const bool isItsKind = first == "pop"_L1 || first == "pop3"_L1 || first == "imap"_L1;
    return isItsKind ? u"smtp"_s + incoming.sliced(first.size()) : incoming;
}

/// The other usual form of a name is what the server may want instead.
QString refusalWords(const QString &user)
{
    const QString other =
        user.contains(u'@')
            ? ServerPage::tr("some servers want only the part of the address before the @ as the name.")
            : ServerPage::tr("some servers want the whole address as the name.");
    return ServerPage::tr("The server answered. Most likely the password is mistyped; %1").arg(other);
}

} // namespace

ServerPage::ServerPage(MailProtocol protocol, DiscoveryNetwork &network, LoginTester &tester, QWidget *parent)
    : QWidget(parent)
    , m_protocol(protocol)
    , m_tester(tester)
    , m_discovery(network)
    , m_wanted(new QCheckBox(tr("Send &mail through this server")))
    , m_source(new Notice)
    , m_stranger(new Notice)
    , m_needs(new Notice)
    , m_searching(new QLabel)
    , m_view(new DiscoveryView(m_discovery))
    , m_card(new ServerCard)
    , m_outcome(new Notice)
    , m_keep(new KeepOnServer)
{
    m_wanted->setObjectName(u"wanted"_s);
    m_wanted->setChecked(true);
    m_wanted->hide();
    m_source->setObjectName(u"source"_s);
    m_stranger->setObjectName(u"stranger"_s);
    m_needs->setObjectName(u"needs"_s);
    m_outcome->setObjectName(u"outcome"_s);
    m_card->setObjectName(u"card"_s);
    m_searching->setTextFormat(Qt::PlainText);
    m_searching->setWordWrap(true);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(space::group);
    for (QWidget *widget :
         {static_cast<QWidget *>(m_wanted), static_cast<QWidget *>(m_source),
          static_cast<QWidget *>(m_stranger), static_cast<QWidget *>(m_needs),
          static_cast<QWidget *>(m_searching), static_cast<QWidget *>(m_view), static_cast<QWidget *>(m_card),
          static_cast<QWidget *>(m_outcome), static_cast<QWidget *>(m_keep)})
        column->addWidget(widget);
    column->addStretch(1);
    connect(&m_discovery, &ServerDiscovery::finished, this, &ServerPage::found);
    connect(m_wanted, &QCheckBox::toggled, this, &ServerPage::edited);
    connect(m_card, &ServerCard::edited, this, &ServerPage::edited);
    connect(m_card, &ServerCard::changeWanted, this, &ServerPage::enterByHand);
    connect(m_needs, &Notice::clicked, this, [this] { QDesktopServices::openUrl(QUrl(m_page)); });
    connect(m_outcome, &Notice::clicked, this, &ServerPage::changePassword);
}

ServerPage::~ServerPage()
{
    m_discovery.disconnect(this);
}

void ServerPage::begin(const AccountDraft &draft, const std::optional<MailSettings> &known)
{
    const bool isOtherPassword = draft.password != m_draft.password;
    m_draft = draft;
    if (draft.address != m_searched) {
        m_known = known;
        search();
    } else if (isOtherPassword && !m_discovery.isRunning()) {
        edited(); // what was tried was tried with another one
    }
    arrange();
    focusFirst();
}

void ServerPage::setBeside(bool isBeside)
{
    m_wanted->setVisible(isBeside);
    m_card->setPasswordOffered(isBeside);
}

bool ServerPage::isWanted() const
{
    return m_wanted->isHidden() || (m_wanted->isChecked() && !m_isBlocked);
}

std::optional<MailSettings> ServerPage::foundFor(MailProtocol protocol) const
{
    const auto taken = best();
    if (taken && taken->server(protocol))
        return taken;
    for (const MailSettings &settings : m_discovery.found()) {
        if (settings.server(protocol))
            return settings;
    }
    return std::nullopt;
}

std::optional<MailSettings> ServerPage::best() const
{
    return m_known ? m_known : m_discovery.best();
}

void ServerPage::search()
{
    endTrying();
    m_searched = m_draft.address;
    m_isBlocked = false;
    m_hasTried = false;
    reset();
    if (m_known) {
        m_discovery.stop();
        setState(State::Shown);
        return showFound(*m_known);
    }
    // who asks for the mail's server learns of the one that sends by the same questions
    const QList<MailProtocol> wanted =
        m_protocol == MailProtocol::Smtp ? QList{MailProtocol::Smtp} : QList{m_protocol, MailProtocol::Smtp};
    if (m_discovery.start(m_draft.address, wanted)) {
        m_searching->setText(tr("Looking for the server of %1. This takes ten seconds at most.")
                                 .arg(harmlessLine(m_discovery.identity().domain)));
        m_view->refresh();
        return setState(State::Searching);
    }
    say(m_source, {MessageBar::Kind::Information,
                   tr("Nothing can be looked up for this address. Enter the server below.")});
    enterByHand();
}

/// An empty card; where mail comes from tells the likeliest name of the server that sends.
void ServerPage::reset()
{
    for (Notice *notice : {m_source, m_stranger, m_needs, m_outcome})
        notice->say(MessageBar::Kind::Information, {});
    MailServer empty;
    empty.protocol = m_protocol;
    empty.port = usualPort(m_protocol, MailEncryption::Tls);
    empty.user = m_draft.address;
    if (m_protocol == MailProtocol::Smtp && !m_draft.server.host.isEmpty()) {
        empty.host = outgoingNameFor(m_draft.server.host);
        empty.user = m_draft.server.user;
    }
    m_card->setServer(empty);
    m_card->setResult(ServerCard::Trying::NotYet);
    m_card->setEditing(false);
}

void ServerPage::found()
{
    if (m_state != State::Searching)
        return;
    const auto settings = best();
    setState(State::Shown);
    if (settings)
        return showFound(*settings);
    say(m_source, nothingWords(m_discovery, m_protocol));
    enterByHand();
}

void ServerPage::showFound(const MailSettings &settings)
{
    const QString domain = mailIdentityOf(m_draft.address).domain;
    const DiscoveryWords needs = needWords(settings, m_protocol);
    m_isBlocked = needs.ends;
    m_page = needs.page;
    say(m_needs, needs, needs.page.isEmpty() ? QString() : tr("Open &web page"));
    if (const MailServer *found = settings.server(m_protocol)) {
        say(m_source, sourceWords(settings, domain));
        say(m_stranger, strangerWords(settings, m_protocol, domain));
        MailServer server = *found;
        const bool isGuessed = settings.source == SettingsSource::ConventionalNames;
        if (m_protocol == MailProtocol::Smtp && isGuessed && !m_draft.server.user.isEmpty())
            server.user = m_draft.server.user; // what signs in to fetch signs in to send
        m_card->setServer(server);
    }
    m_card->setEditing(false);
    arrange();
    focusFirst();
}

void ServerPage::enterByHand()
{
    m_isBlocked = false;
    m_discovery.stop();
    m_card->setEditing(true);
    setState(State::Shown);
    m_card->focusFirst();
}

/// What was found out about another server says nothing about this one.
void ServerPage::edited()
{
    endTrying();
    m_card->setResult(ServerCard::Trying::NotYet);
    m_outcome->say(MessageBar::Kind::Information, {});
    if (m_card->isEditing() && hasFound()) {
        m_source->say(MessageBar::Kind::Information, {});
        m_stranger->say(MessageBar::Kind::Information, {});
    }
    setState(State::Shown);
}

void ServerPage::say(Notice *notice, const DiscoveryWords &words, const QString &button)
{
    notice->say(words.kind, words.text, button);
}

void ServerPage::setState(State state)
{
    m_state = state;
    arrange();
}

/// The lines of a search that brought nothing stay, because they say why, until a server was tried: then its
/// answer counts, and has to be seen.
void ServerPage::arrange()
{
    const bool isSearching = m_state == State::Searching;
    const bool isShown = !isSearching && !m_isBlocked && isWanted();
    const bool hasFailed = !best() && !m_searched.isEmpty() && m_discovery.identity().isValid();
    for (Notice *notice : {m_source, m_stranger, m_needs, m_outcome})
        notice->setVisible((isWanted() || m_isBlocked) && !notice->text().isEmpty());
    m_searching->setVisible(isSearching);
    m_view->setVisible(isSearching || (hasFailed && !m_hasTried && isWanted()));
    m_card->setVisible(isShown);
    m_keep->setVisible(isShown && m_protocol == MailProtocol::Pop3);
    m_wanted->setEnabled(m_state != State::Trying && !isSearching && !m_isBlocked);
    m_card->setEnabled(m_state != State::Trying);
    m_keep->setEnabled(m_state != State::Trying);
    emit changed();
}

void ServerPage::focusFirst()
{
    if (m_state == State::Searching)
        m_view->stopButton()->setFocus();
    else if (m_card->isEditing())
        m_card->focusFirst();
    else
        window()->setFocus(); // Enter means the default button
}

void ServerPage::putInto(AccountDraft &draft) const
{
    draft.server = m_card->server();
    draft.accepted = m_accepted;
    draft.isOpen = works() && m_isOpen;
    draft.password = password();
    if (m_protocol == MailProtocol::Pop3)
        m_keep->putInto(draft);
}

QString ServerPage::verb() const
{
    if (!isWanted())
        return tr("&Continue");
    if (m_state == State::Failed)
        return tr("&Try again");
    return m_state != State::Works && canTry() ? tr("Si&gn in") : tr("&Continue");
}

bool ServerPage::canGoOn() const
{
    return !isBusy() && (!isWanted() || (!m_isBlocked && m_card->isWhole()));
}

QString ServerPage::secondary() const
{
    if (m_state == State::Trying)
        return tr("S&top");
    if (!isWanted() && !m_isBlocked)
        return {};
    if (m_state == State::Failed)
        return tr("Continue &untried");
    if (!m_card->isEditing())
        return tr("&Enter server by hand…");
    return hasFound() ? tr("&Use what was found") : QString();
}

void ServerPage::useSecondary()
{
    if (m_state == State::Trying)
        stop();
    else if (m_state == State::Failed)
        emit done();
    else if (m_card->isEditing())
        useFound();
    else
        enterByHand();
}

/// Whether there is a server that the fields could be filled with again.
bool ServerPage::hasFound() const
{
    const auto settings = best();
    return settings && settings->server(m_protocol);
}

void ServerPage::useFound()
{
    edited();
    if (const auto settings = best())
        showFound(*settings);
}

bool ServerPage::canTry() const
{
    const MailServer server = m_card->server();
    return !password().isEmpty() && !server.user.isEmpty() && mayTryLogin(server);
}

/// Who signs in as nobody needs none.
QString ServerPage::password() const
{
    if (m_protocol == MailProtocol::Smtp && m_card->server().user.isEmpty())
        return {};
    return m_card->password().isEmpty() ? m_draft.password : m_card->password();
}

/// Where the one that may be wrong was entered.
void ServerPage::changePassword()
{
    if (!m_card->isPasswordOffered())
        return emit passwordWanted();
    enterByHand();
    m_card->focusPassword();
}

void ServerPage::goOn()
{
    if (!canGoOn())
        return;
    if (isWanted() && m_state != State::Works && canTry())
        tryLogin();
    else
        emit done();
}

bool ServerPage::isBusy() const
{
    return m_state == State::Searching || m_state == State::Trying;
}

void ServerPage::stop()
{
    if (m_state == State::Searching)
        return m_discovery.stop();
    if (m_state == State::Trying)
        edited();
}

void ServerPage::tryLogin()
{
    const MailServer server = m_card->server();
    AccountDraft draft = m_draft;
    putInto(draft);
    AccountData account = accountDataOf(draft);
    account.name = draft.address;
    account.password = draft.password;
    m_outcome->say(MessageBar::Kind::Information, {});
    m_hasTried = true;
    if (!hasFound())
        m_source->say(MessageBar::Kind::Information, {});
    m_card->setResult(ServerCard::Trying::Now, tr("Signing in"), harmlessLine(server.host));
    setState(State::Trying);
    m_trying = std::make_unique<QObject>();
    const auto isMine = [this, trying = m_trying.get()] { return m_trying.get() == trying; };
    m_tester.test(
        account, AccountOptions(),
        [this, isMine](const CertificateReport &report, const std::function<void(bool)> &answer) {
            if (isMine())
                judge(report, answer);
            else
                answer(false);
        },
        m_trying.get(),
        [this, isMine](const LoginResult &result) {
            if (isMine())
                tried(result);
        });
}

void ServerPage::judge(const CertificateReport &report, const std::function<void(bool)> &answer)
{
    const QByteArray sha256 = report.certificate.sha256;
    if (m_acceptedOnce.contains(sha256))
        return answer(true);
    closeQuestion();
    m_question = new CertificateDialog({0, m_draft.address, report, std::nullopt}, this);
    m_question->setAttribute(Qt::WA_DeleteOnClose);
    connect(m_question, &QDialog::finished, m_trying.get(), [this, report, answer] {
        const CertificateAnswer word = m_question->answer();
        if (word != CertificateAnswer::Refuse)
            m_acceptedOnce.insert(report.certificate.sha256);
        if (word == CertificateAnswer::AcceptAlways)
            m_accepted = report.certificate;
        answer(word != CertificateAnswer::Refuse);
    });
    m_question->open();
}

void ServerPage::tried(const LoginResult &result)
{
    endTrying();
    if (result.reason != AccountFetchReason::None) {
        explain(result);
        setState(State::Failed);
    } else {
        m_card->setResult(ServerCard::Trying::Works, tr("Works"), outcomeOf(result));
        m_card->setEditing(false);
        m_isOpen = !result.isSignedIn;
        setState(State::Works);
    }
    window()->setFocus();
}

/// Here nothing was set up before, so that nothing can have been changed elsewhere.
void ServerPage::explain(const LoginResult &result)
{
    TransferError error;
    error.reason = result.isRefused ? AccountFetchReason::Unexpected : result.reason;
    error.detail = result.detail;
    AccountDraft draft = m_draft;
    putInto(draft);
    const TransferExplanation words = explainTransferError(error, accountDataOf(draft));
    const bool isRefusal = result.isRefused && words.cause != TransferCause::AppPassword;
    m_passwordHelps = result.isRefused || words.action == MendAction::EnterPassword;
    const QString what = isRefusal ? tr("the server refused the name or the password") : words.what;
    QString text = isRefusal ? refusalWords(draft.server.user) : words.whose + u' ' + words.advice;
    if (!result.detail.isEmpty())
        text += u"\n\n"_s + harmlessLine(result.detail, 300);
    m_card->setResult(ServerCard::Trying::Fails, tr("Not signed in"), what);
    m_outcome->say(MessageBar::Kind::Error, text, m_passwordHelps ? tr("Change &password…") : QString());
}

void ServerPage::endTrying()
{
    if (m_trying)
        m_trying.release()->deleteLater(); // it may be what calls
    closeQuestion();
}

void ServerPage::closeQuestion()
{
    if (!m_question)
        return;
    m_question->disconnect();
    m_question->hide();
    m_question->deleteLater();
    m_question = nullptr;
}
