#include "ui/accounts/personpage.h"

#include "net/passwordkeeper.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr int kFieldWidth = 44; ///< characters

/// Good enough to go on with: servers decide what an address is.
bool isAddress(const QString &text)
{
    const qsizetype at = text.lastIndexOf(u'@');
    return at > 0 && at + 1 < text.size() &&
           std::none_of(text.begin(), text.end(), [](QChar c) { return c.isSpace(); });
}

QLabel *newHint(const QString &text)
{
    auto *hint = new QLabel(text);
    hint->setTextFormat(Qt::PlainText);
    hint->setWordWrap(true);
    setTextRole(hint, Role::Text2);
    return hint;
}

} // namespace

PersonPage::PersonPage(PasswordKeeper *keeper, QWidget *parent)
    : QWidget(parent)
    , m_person(new QLineEdit)
    , m_address(new QLineEdit)
    , m_problem(newHint(tr("A mail address has the form name@provider, without blanks.")))
    , m_password(new QLineEdit)
    , m_keeping(new QComboBox)
{
    m_person->setObjectName(u"person"_s);
    m_person->setPlaceholderText(tr("As others see it"));
    m_address->setObjectName(u"address"_s);
    m_address->setPlaceholderText(tr("name@provider"));
    m_address->setInputMethodHints(Qt::ImhEmailCharactersOnly);
    m_address->setMinimumWidth(columnWidth(kFieldWidth));
    m_password->setObjectName(u"password"_s);
    m_password->setEchoMode(QLineEdit::Password);
    m_keeping->setObjectName(u"keeping"_s);
    m_keeping->addItem(tr("In a file of Velmar that only you can read"), int(PasswordKeeping::AccountsFile));
    m_keeping->addItem(tr("Nowhere: Velmar asks each time it starts"), int(PasswordKeeping::ThisRun));
    setTextRole(m_problem, Role::Error);
    m_problem->setObjectName(u"addressProblem"_s);
    m_problem->hide();
    auto *shown = new QCheckBox(tr("Sh&ow the password"));
    shown->setObjectName(u"showPassword"_s);

    auto *form = new QFormLayout;
    form->setHorizontalSpacing(space::card);
    form->setVerticalSpacing(space::between);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->addRow(tr("Your &name"), m_person);
    form->addRow(tr("Mail &address"), m_address);
    form->addRow(QString(), m_problem);
    form->addRow(tr("&Password"), m_password);
    form->addRow(QString(), shown);
    form->addRow(tr("&Keep it"), m_keeping);
    auto *all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(space::card);
    all->addWidget(
        newHint(tr("Velmar looks for the servers of your address. Your password stays here until you "
                   "have seen where it would go.")));
    all->addLayout(form);
    all->addWidget(
        newHint(tr("Without a password the account is set up untried, and Velmar asks at the first "
                   "fetch.")));
    all->addStretch(1);

    connect(m_address, &QLineEdit::textChanged, this, &PersonPage::addressEdited);
    connect(m_address, &QLineEdit::editingFinished, this, &PersonPage::addressLeft);
    connect(m_password, &QLineEdit::textChanged, this, &PersonPage::changed);
    connect(shown, &QCheckBox::toggled, m_password,
            [this](bool on) { m_password->setEchoMode(on ? QLineEdit::Normal : QLineEdit::Password); });
    connect(m_keeping, &QComboBox::activated, this, [this] { m_keepingChosen = true; });
    const QPointer<PersonPage> guard(this);
    if (keeper)
        keeper->isAvailable([guard](bool available) {
            if (guard && available)
                guard->offerKeyring();
        });
}

/// The best place, once it is known to be there; a choice made meanwhile stays.
void PersonPage::offerKeyring()
{
    m_keeping->insertItem(0, tr("In the desktop's keyring"), int(PasswordKeeping::Keyring));
    if (!m_keepingChosen)
        m_keeping->setCurrentIndex(0);
}

void PersonPage::addressEdited()
{
    m_problem->hide();
    emit changed();
}

void PersonPage::addressLeft()
{
    m_problem->setVisible(!m_address->text().trimmed().isEmpty() && !isComplete());
}

void PersonPage::proposePerson(const QString &name, const QString &address)
{
    if (!m_person->isModified())
        m_person->setText(name);
    if (!m_address->isModified())
        m_address->setText(address);
}

void PersonPage::putInto(AccountDraft &draft) const
{
    draft.person = m_person->text().trimmed();
    draft.address = m_address->text().trimmed();
    draft.password = m_password->text();
    draft.keeping = PasswordKeeping(m_keeping->currentData().toInt());
}

bool PersonPage::isComplete() const
{
    return isAddress(m_address->text().trimmed());
}

void PersonPage::focusFirst()
{
    for (QLineEdit *field : {m_person, m_address}) {
        if (field->text().isEmpty())
            return field->setFocus();
    }
    m_password->setFocus();
}

void PersonPage::focusPassword()
{
    m_password->setFocus();
    m_password->selectAll();
}
