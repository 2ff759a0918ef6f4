#include "ui/accounts/identitypage.h"

#include "message/address.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/texts/harmless.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr int kFieldWidth = 44; ///< characters
constexpr int kSignatureLines = 4;

/// A proposal gives way to a newer one, what was typed to none.
void propose(QLineEdit *line, QString &proposed, const QString &text)
{
    if (line->text() == proposed)
        line->setText(text);
    proposed = text;
}

} // namespace

IdentityPage::IdentityPage(QWidget *parent)
    : QWidget(parent)
    , m_wanted(new QCheckBox(tr("Make an &identity to write as")))
    , m_fields(new QWidget)
    , m_name(new QLineEdit)
    , m_address(new QLineEdit)
    , m_organisation(new QLineEdit)
    , m_signature(new QPlainTextEdit)
    , m_sample(new QLabel)
{
    setObjectName(u"identityPage"_s);
    m_wanted->setObjectName(u"wantsIdentity"_s);
    m_wanted->setChecked(true);
    m_name->setObjectName(u"identityName"_s);
    m_name->setMinimumWidth(columnWidth(kFieldWidth));
    m_address->setObjectName(u"identityAddress"_s);
    m_address->setInputMethodHints(Qt::ImhEmailCharactersOnly);
    m_organisation->setObjectName(u"organisation"_s);
    m_organisation->setPlaceholderText(tr("May stay empty"));
    m_signature->setObjectName(u"signature"_s);
    m_signature->setPlaceholderText(tr("May stay empty; stands below the text of every message"));
    m_signature->setTabChangesFocus(true);
    setSurface(m_signature, Role::Base); // the page around it stands on chrome
    m_signature->setFixedHeight(kSignatureLines * textHeight() + 2 * space::between);
    m_sample->setObjectName(u"sample"_s);
    m_sample->setTextFormat(Qt::PlainText);
    m_sample->setWordWrap(true);
    setTextRole(m_sample, Role::Text2);

    auto *form = new QFormLayout(m_fields);
    form->setContentsMargins(0, 0, 0, 0);
    form->setHorizontalSpacing(space::card);
    form->setVerticalSpacing(space::between);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->addRow(tr("&Name"), m_name);
    form->addRow(tr("Mail &address"), m_address);
    form->addRow(tr("&Organisation"), m_organisation);
    form->addRow(tr("&Signature"), m_signature);
    auto *all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(space::card);
    all->addWidget(m_sample);
    all->addWidget(m_fields);
    all->addWidget(m_wanted);
    all->addStretch(1);
    connect(m_wanted, &QCheckBox::toggled, m_fields, &QWidget::setEnabled);
    connect(m_wanted, &QCheckBox::toggled, this, &IdentityPage::showSample);
    connect(m_name, &QLineEdit::textChanged, this, &IdentityPage::showSample);
    connect(m_address, &QLineEdit::textChanged, this, &IdentityPage::showSample);
}

void IdentityPage::begin(const AccountDraft &draft)
{
    propose(m_name, m_proposedName, draft.person);
    propose(m_address, m_proposedAddress, draft.address);
    showSample();
    focusFirst();
}

bool IdentityPage::isWanted() const
{
    return m_wanted->isChecked();
}

Identity IdentityPage::identity() const
{
    Identity identity;
    identity.name = m_name->text().trimmed();
    identity.address = m_address->text().trimmed();
    identity.organisation = m_organisation->text().trimmed();
    return identity;
}

QString IdentityPage::signature() const
{
    return m_signature->toPlainText().trimmed().isEmpty() ? QString() : m_signature->toPlainText();
}

bool IdentityPage::isComplete() const
{
    return !isWanted() || isValidAddress(identity().address);
}

void IdentityPage::focusFirst()
{
    (m_name->text().isEmpty() ? m_name : m_organisation)->setFocus();
}

/// As readers of one's mail see it.
void IdentityPage::showSample()
{
    const Identity now = identity();
    const bool isReadable = isComplete() && isWanted();
    const QString shown = harmlessLine(now.name.isEmpty() ? now.address : now.display());
    m_sample->setText(!isWanted()
                          ? tr("Without an identity nothing can be written; Tools, Identities makes one.")
                      : isReadable ? tr("Your mail comes from: %1").arg(shown)
                                   : tr("A mail address has the form name@provider, without blanks."));
    emit changed();
}
