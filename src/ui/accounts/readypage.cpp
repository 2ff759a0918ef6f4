#include "ui/accounts/readypage.h"

#include "net/accountmanager.h"
#include "ui/accounts/accountfields.h"
#include "ui/accounts/notice.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/texts/harmless.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFileInfo>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr int kFieldWidth = 44; ///< characters
constexpr std::array kMinutes = {5, 10, 30, 60};

} // namespace

ReadyPage::ReadyPage(const AccountManager &accounts, QWidget *parent)
    : QWidget(parent)
    , m_accounts(accounts)
    , m_summary(new Notice)
    , m_name(new QLineEdit)
    , m_problem(new QLabel)
    , m_interval(new QComboBox)
    , m_atOnce(new QCheckBox(tr("Get mail at &once")))
{
    m_summary->setObjectName(u"summary"_s);
    m_name->setObjectName(u"name"_s);
    m_name->setMinimumWidth(columnWidth(kFieldWidth));
    m_problem->setObjectName(u"nameProblem"_s);
    m_problem->setWordWrap(true);
    setTextRole(m_problem, Role::Error);
    m_interval->setObjectName(u"interval"_s);
    for (const int minutes : kMinutes)
        m_interval->addItem(tr("Every %1 minutes").arg(minutes), minutes);
    m_interval->addItem(tr("Only when I ask for it"), 0);
    m_interval->setCurrentIndex(m_interval->findData(rowOf(AccountField::Interval).proposed));
    m_atOnce->setObjectName(u"atOnce"_s);
    m_atOnce->setChecked(true);
    auto *form = new QFormLayout;
    form->setHorizontalSpacing(space::card);
    form->setVerticalSpacing(space::between);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->addRow(tr("&Name in lists"), m_name);
    form->addRow(QString(), m_problem);
    form->addRow(tr("&Get mail"), m_interval);
    form->addRow(QString(), m_atOnce);
    auto *all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(space::card);
    all->addWidget(m_summary);
    all->addLayout(form);
    all->addStretch(1);
    connect(m_name, &QLineEdit::textChanged, this, &ReadyPage::check);
}

/// A name that the user has typed stays when they come back.
void ReadyPage::begin(const AccountDraft &draft, bool works)
{
    m_draft = draft;
    const bool isFile = draft.kind == AccountKind::BatchFile;
    const QString wanted = isFile ? QFileInfo(draft.file).completeBaseName() : draft.address;
    if (m_name->text() == m_proposed) {
        m_proposed = freeAccountName(wanted, m_accounts);
        m_name->setText(m_proposed);
    }
    m_summary->say(works ? MessageBar::Kind::Good : MessageBar::Kind::Information, sentence(works));
    check();
    focusFirst();
}

QString ReadyPage::sentence(bool works) const
{
    if (m_draft.kind == AccountKind::BatchFile)
        return tr("Velmar takes new mail out of %1.").arg(harmlessLine(m_draft.file));
    const QString host = harmlessLine(m_draft.server.host);
    if (works)
        return tr("Signed in to %1. Nothing has been fetched and nothing saved yet.").arg(host);
    if (m_draft.password.isEmpty())
        return tr("Signing in to %1 was not tried, because no password was entered.").arg(host);
    if (!mayTryLogin(m_draft.server))
        return tr("Signing in to %1 was not tried, because the password would go there unencrypted.")
            .arg(host);
    return tr("Signing in to %1 has not worked yet. You can make the account all the same.").arg(host);
}

void ReadyPage::check()
{
    AccountDraft draft = m_draft;
    putInto(draft);
    const QString problem = draftProblem(draft, m_accounts);
    m_problem->setText(problem);
    m_problem->setVisible(!problem.isEmpty());
    emit changed();
}

void ReadyPage::putInto(AccountDraft &draft) const
{
    draft.name = m_name->text().trimmed();
    draft.interval = m_interval->currentData().toInt();
}

bool ReadyPage::isComplete() const
{
    AccountDraft draft = m_draft;
    putInto(draft);
    return draftProblem(draft, m_accounts).isEmpty();
}

bool ReadyPage::fetchesAtOnce() const
{
    return m_atOnce->isChecked();
}

void ReadyPage::focusFirst()
{
    m_name->setFocus();
    m_name->selectAll();
}
