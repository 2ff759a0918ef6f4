#include "ui/accounts/passworddialog.h"

#include "ui/accounts/certificatedialog.h"
#include "ui/look/dialogfooter.h"
#include "ui/look/metrics.h"
#include "ui/look/panel.h"
#include "ui/look/recolour.h"
#include "ui/look/signlabel.h"
#include "ui/texts/harmless.h"
#include "ui/transfers/transferexplanation.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr int kWidth = 72; ///< characters
constexpr qsizetype kMostOfLine = 400;

QLabel *plainLabel(const QString &text)
{
    auto *label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    return label;
}

/// What is behind the refusal, above the server's own words.
QWidget *refusalPanel(const PasswordQuestion &question)
{
    TransferError error;
    error.reason = AccountFetchReason::Unexpected;
    error.detail = question.refusal;
    AccountData account;
    account.host = question.host;
    TransferExplanation told = explainTransferError(error, account);
    if (told.cause != TransferCause::AppPassword)
        told.advice =
            QCoreApplication::translate("PasswordDialog", "The server did not accept the last password.");
    auto *panel = new Panel(Role::ErrorBar);
    panel->setObjectName(u"refusal"_s);
    auto *words = plainLabel(told.advice);
    setFontScale(words, 1, QFont::DemiBold);
    auto *line = plainLabel(harmlessLine(question.refusal.simplified(), kMostOfLine));
    line->setObjectName(u"serverLine"_s);
    auto *texts = new QVBoxLayout;
    texts->setSpacing(space::inner);
    texts->addWidget(words);
    texts->addWidget(line);
    auto *layout = new QHBoxLayout(panel);
    layout->setContentsMargins(space::card, space::group, space::card, space::group);
    layout->setSpacing(space::group);
    layout->addWidget(new SignLabel(u"error"_s, Role::Error, IconUse::Row), 0, Qt::AlignTop);
    layout->addLayout(texts, 1);
    return panel;
}

} // namespace

PasswordDialog::PasswordDialog(const PasswordQuestion &question, QWidget *parent)
    : QDialog(parent)
    , m_password(new QLineEdit)
    , m_show(new QCheckBox(tr("&Show the password")))
    , m_keeping(new QComboBox)
{
    setObjectName(u"passwordDialog"_s);
    setWindowTitle(u"Velmar"_s);
    auto *title = plainLabel(tr("Password for “%1”").arg(harmlessLine(question.accountName)));
    setFontScale(title, scale::subject, QFont::DemiBold);
    auto *page = new QVBoxLayout;
    page->setContentsMargins(space::dialog, space::dialog, space::dialog, space::card);
    page->setSpacing(space::card);
    page->addWidget(title);
    if (!question.refusal.isEmpty())
        page->addWidget(refusalPanel(question));
    page->addWidget(newForm(question));
    page->addStretch(1);
    auto *all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(0);
    all->addLayout(page, 1);
    all->addWidget(newFooter());
    setMinimumWidth(columnWidth(kWidth));
    fitHeight(*this);
    m_password->setFocus();
}

QWidget *PasswordDialog::newForm(const PasswordQuestion &question)
{
    auto *part = new QWidget;
    auto *form = new QFormLayout(part);
    form->setContentsMargins(0, 0, 0, 0);
    form->setHorizontalSpacing(space::group);
    form->setVerticalSpacing(space::between);
    form->setLabelAlignment(Qt::AlignTrailing | Qt::AlignVCenter);
    form->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
    form->addRow(tr("Server"), plainLabel(harmlessLine(question.host)));
    form->addRow(tr("User"), plainLabel(harmlessLine(question.user)));
    m_password->setObjectName(u"password"_s);
    m_password->setEchoMode(QLineEdit::Password);
    form->addRow(tr("&Password"), m_password);
    form->addRow(QString(), m_show);
    connect(m_show, &QCheckBox::toggled, this,
            [this](bool on) { m_password->setEchoMode(on ? QLineEdit::Normal : QLineEdit::Password); });
    m_keeping->setObjectName(u"keeping"_s);
    if (question.hasKeyring)
        m_keeping->addItem(tr("In the desktop's keyring"), int(PasswordKeeping::Keyring));
    m_keeping->addItem(tr("Nowhere; ask again next time"), int(PasswordKeeping::ThisRun));
    m_keeping->addItem(tr("In a file of Velmar that only you can read"), int(PasswordKeeping::AccountsFile));
    form->addRow(tr("&Keep it"), m_keeping);
    return part;
}

QWidget *PasswordDialog::newFooter()
{
    auto *footer = new DialogFooter(tr("Log in"));
    footer->defaultButton()->setObjectName(u"logIn"_s);
    footer->defaultButton()->setEnabled(false);
    connect(m_password, &QLineEdit::textChanged, footer->defaultButton(),
            [button = footer->defaultButton()](const QString &text) { button->setEnabled(!text.isEmpty()); });
    connect(footer, &DialogFooter::accepted, this, &QDialog::accept);
    connect(footer, &DialogFooter::rejected, this, &QDialog::reject);
    return footer;
}

QString PasswordDialog::password() const
{
    return result() == Accepted ? m_password->text() : QString();
}

PasswordKeeping PasswordDialog::keeping() const
{
    return PasswordKeeping(m_keeping->currentData().toInt());
}
