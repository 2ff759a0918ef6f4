#include "ui/accounts/servercard.h"

#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/signlabel.h"
#include "ui/look/velmarstyle.h"
#include "ui/texts/harmless.h"

#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QUrl>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr int kHighestPort = 65535;
constexpr int kUserWidth = 32; ///< characters

struct EncryptionRow
{
    MailEncryption encryption;
    const char *words;
};
constexpr std::array kEncryptions = {
    // the safest first
    EncryptionRow{MailEncryption::Tls, QT_TRANSLATE_NOOP("ServerCard", "TLS from the start")},
    EncryptionRow{MailEncryption::StartTls, QT_TRANSLATE_NOOP("ServerCard", "STARTTLS")},
    EncryptionRow{MailEncryption::None, QT_TRANSLATE_NOOP("ServerCard", "None")},
};

struct TryingRow
{
    const char *sign;
    Role colour;
};
constexpr std::array kTryings = {
    TryingRow{"", Role::Text2},
    TryingRow{"more", Role::Text2},
    TryingRow{"ok", Role::Good},
    TryingRow{"error", Role::Error},
};
static_assert(kTryings.size() == std::size_t(ServerCard::Trying::Fails) + 1);

QLabel *newLabel(Role role, const QString &text = {})
{
    auto *label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    setTextRole(label, role);
    return label;
}

QLabel *newValue()
{
    QLabel *label = newLabel(Role::Text);
    label->setWordWrap(true);
    return label;
}

QGridLayout *newGrid(QWidget *page)
{
    auto *grid = new QGridLayout(page);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setHorizontalSpacing(space::dialog);
    grid->setVerticalSpacing(space::inner);
    grid->setColumnStretch(1, 1);
    return grid;
}

/// What was typed in letters of any kind is a name in ASCII to the net; what cannot be one stays as it is.
QString hostOf(const QString &typed)
{
    const QString text = typed.trimmed().toLower();
    const QString ascii = QString::fromLatin1(QUrl::toAce(text));
    return ascii.isEmpty() ? text : ascii;
}

} // namespace

ServerCard::ServerCard(QWidget *parent)
    : Panel(Role::Card, parent)
    , m_sign(new SignLabel({}, Role::Text2, IconUse::Bar))
    , m_title(newLabel(Role::Text))
    , m_change(new QPushButton(tr("C&hange…")))
    , m_facts(new QWidget)
    , m_fields(new QWidget)
    , m_resultSign(new SignLabel({}, Role::Text2, IconUse::Row))
    , m_resultWord(newLabel(Role::Text))
    , m_resultText(newLabel(Role::Text2))
{
    setFontScale(m_title, 1, QFont::DemiBold);
    setFontScale(m_resultWord, 1, QFont::DemiBold);
    m_resultText->setObjectName(u"resultText"_s);
    m_resultText->setWordWrap(true);
    m_change->setObjectName(u"change"_s);
    m_change->setAutoDefault(false);
    setButtonKind(m_change, ButtonKind::Ghost);
    fillFacts();
    fillFields();

    auto *head = new QHBoxLayout;
    head->setSpacing(space::card);
    head->addWidget(m_sign);
    head->addWidget(m_title, 1);
    head->addWidget(m_change);
    QSizePolicy stays = m_change->sizePolicy();
    stays.setRetainSizeWhenHidden(true);
    m_change->setSizePolicy(stays);
    m_result = new QWidget;
    auto *result = new QHBoxLayout(m_result);
    result->setContentsMargins(0, space::inner, 0, 0);
    result->setSpacing(space::between);
    result->addWidget(m_resultSign, 0, Qt::AlignTop);
    result->addWidget(m_resultWord, 0, Qt::AlignTop);
    result->addWidget(m_resultText, 1, Qt::AlignTop);
    auto *body = new QVBoxLayout;
    body->setContentsMargins(m_sign->sizeHint().width() + space::card, 0, 0, 0);
    body->setSpacing(space::inner);
    body->addWidget(m_facts);
    body->addWidget(m_fields);
    body->addWidget(m_result);
    auto *all = new QVBoxLayout(this);
    all->setContentsMargins(space::card, space::between, space::card, space::card);
    all->setSpacing(space::inner);
    all->addLayout(head);
    all->addLayout(body);
    connect(m_change, &QPushButton::clicked, this, &ServerCard::changeWanted);
    setPasswordOffered(false);
    setEditing(false);
    setResult(Trying::NotYet);
}

void ServerCard::fillFacts()
{
    QGridLayout *grid = newGrid(m_facts);
    m_where = newValue();
    m_where->setObjectName(u"where"_s);
    m_encryption = newValue();
    m_user = newValue();
    int row = 0;
    for (const auto &[text, value] :
         {std::pair(tr("Server"), m_where), std::pair(tr("Encryption"), m_encryption),
          std::pair(tr("Sign in as"), m_user)}) {
        grid->addWidget(newLabel(Role::Text2, text), row, 0, Qt::AlignTop);
        grid->addWidget(value, row++, 1);
    }
}

void ServerCard::fillFields()
{
    QGridLayout *grid = newGrid(m_fields);
    grid->setVerticalSpacing(space::between);
    m_hostField = new QLineEdit;
    m_hostField->setObjectName(u"host"_s);
    m_encryptionField = new QComboBox;
    m_encryptionField->setObjectName(u"encryption"_s);
    for (const EncryptionRow &row : kEncryptions)
        m_encryptionField->addItem(tr(row.words), int(row.encryption));
    m_portField = new QSpinBox;
    m_portField->setObjectName(u"port"_s);
    m_portField->setRange(1, kHighestPort);
    m_userField = new QLineEdit;
    m_userField->setObjectName(u"user"_s);
    m_userField->setMinimumWidth(columnWidth(kUserWidth));
    addField(grid, tr("&Server"), m_hostField);
    addField(grid, tr("&Encryption"), m_encryptionField);
    addField(grid, tr("Po&rt"), m_portField);
    addField(grid, tr("Sign in &as"), m_userField);
    m_passwordField = new QLineEdit;
    m_passwordField->setObjectName(u"ownPassword"_s);
    m_passwordField->setEchoMode(QLineEdit::Password);
    m_passwordField->setPlaceholderText(tr("The same as for receiving"));
    m_passwordName = addField(grid, tr("Passwor&d"), m_passwordField);
    m_warning =
        newLabel(Role::Warning, tr("Without encryption everybody on the way can read your password and "
                                   "your mail."));
    m_warning->setObjectName(u"warning"_s);
    m_warning->setWordWrap(true);
    grid->addWidget(m_warning, grid->rowCount(), 1);
    connect(m_hostField, &QLineEdit::textChanged, this, &ServerCard::fieldEdited);
    connect(m_userField, &QLineEdit::textChanged, this, &ServerCard::fieldEdited);
    connect(m_passwordField, &QLineEdit::textChanged, this, &ServerCard::fieldEdited);
    connect(m_portField, &QSpinBox::valueChanged, this, &ServerCard::fieldEdited);
    connect(m_encryptionField, &QComboBox::currentIndexChanged, this, &ServerCard::encryptionChosen);
}

QLabel *ServerCard::addField(QGridLayout *grid, const QString &label, QWidget *field)
{
    auto *name = newLabel(Role::Text2, label);
    name->setTextFormat(Qt::AutoText); // else "&" is no mnemonic
    name->setBuddy(field);
    const int row = grid->rowCount();
    grid->addWidget(name, row, 0);
    grid->addWidget(field, row, 1, qobject_cast<QLineEdit *>(field) ? Qt::Alignment() : Qt::AlignLeading);
    return name;
}

void ServerCard::setPasswordOffered(bool isOffered)
{
    m_isPasswordOffered = isOffered;
    m_passwordName->setVisible(isOffered);
    m_passwordField->setVisible(isOffered);
    if (!isOffered)
        m_passwordField->clear();
}

QString ServerCard::password() const
{
    return m_passwordField->text();
}

void ServerCard::focusPassword()
{
    m_passwordField->setFocus();
    m_passwordField->selectAll();
}

void ServerCard::setServer(const MailServer &server)
{
    m_isFilling = true;
    m_server = server;
    m_hostField->setText(server.host);
    m_portField->setValue(server.port);
    m_encryptionField->setCurrentIndex(m_encryptionField->findData(int(server.encryption)));
    m_userField->setText(server.user);
    m_passwordField->clear(); // it was for another one
    m_isFilling = false;
    showFacts();
}

MailServer ServerCard::server() const
{
    if (!isEditing())
        return m_server;
    MailServer server;
    server.protocol = m_server.protocol;
    server.host = hostOf(m_hostField->text());
    server.port = quint16(m_portField->value());
    server.encryption = MailEncryption(m_encryptionField->currentData().toInt());
    server.user = m_userField->text().trimmed();
    return server;
}

bool ServerCard::isWhole() const
{
    const MailServer now = server();
    const auto isBlank = [](QChar c) { return c.isSpace() || c == u'/' || c == u'@'; };
    const bool needsUser = now.protocol != MailProtocol::Smtp; // some take mail of their own net as it comes
    return !now.host.isEmpty() && !(needsUser && now.user.isEmpty()) && now.port != 0 &&
           std::none_of(now.host.begin(), now.host.end(), isBlank);
}

void ServerCard::setEditing(bool editing)
{
    if (!editing && isEditing()) {
        m_server = server();
        showFacts();
    }
    m_isEditing = editing;
    m_facts->setVisible(!editing);
    m_fields->setVisible(editing);
    m_change->setVisible(!editing);
}

void ServerCard::setResult(Trying trying, const QString &word, const QString &text)
{
    const TryingRow &row = kTryings[std::size_t(trying)];
    m_resultSign->setSign(QLatin1String(row.sign), row.colour);
    setTextRole(m_resultWord, row.colour);
    m_resultWord->setText(word);
    m_resultText->setText(text);
    m_result->setAccessibleName(u"%1 %2"_s.arg(word, text));
    m_result->setVisible(trying != Trying::NotYet);
}

void ServerCard::focusFirst()
{
    if (isEditing())
        (m_hostField->text().isEmpty() ? m_hostField : m_userField)->setFocus();
}

void ServerCard::showFacts()
{
    const bool isOutgoing = m_server.protocol == MailProtocol::Smtp;
    m_sign->setSign(isOutgoing ? u"send"_s : u"inbox"_s, Role::Text2);
    m_title->setText((isOutgoing ? tr("Outgoing mail (%1)") : tr("Incoming mail (%1)"))
                         .arg(QLatin1String(rowOf(m_server.protocol).shown)));
    m_where->setText(tr("%1, port %2").arg(harmlessLine(m_server.host)).arg(m_server.port));
    for (const EncryptionRow &row : kEncryptions) {
        if (row.encryption == m_server.encryption)
            m_encryption->setText(tr(row.words));
    }
    m_user->setText(m_server.user.isEmpty() ? tr("Nobody: it takes mail without a sign-in")
                                            : harmlessLine(m_server.user));
    m_warning->setVisible(m_server.encryption == MailEncryption::None);
}

/// A usual port follows; one of the user's own stays.
void ServerCard::encryptionChosen()
{
    const auto encryption = MailEncryption(m_encryptionField->currentData().toInt());
    m_warning->setVisible(encryption == MailEncryption::None);
    if (m_isFilling)
        return;
    const MailProtocolRow &row = rowOf(m_server.protocol);
    const int port = m_portField->value();
    if (port == row.tlsPort || port == row.startTlsPort)
        m_portField->setValue(usualPort(m_server.protocol, encryption));
    fieldEdited();
}

void ServerCard::fieldEdited()
{
    if (m_isFilling)
        return;
    setResult(Trying::NotYet);
    emit edited();
}
