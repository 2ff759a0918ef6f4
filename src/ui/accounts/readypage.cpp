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

QString proposedName(const AccountDraft &draft)
{
    switch (draft.kind) {
    case AccountKind::BatchFile: return QFileInfo(draft.file).completeBaseName();
    case AccountKind::Smtp: return outgoingAccountName(draft.address);
    default: return draft.address;
    }
}

} // namespace

ReadyPage::ReadyPage(const AccountManager &accounts, QWidget *parent)
    : QWidget(parent)
    , m_accounts(accounts)
    , m_summary(new Notice)
    , m_form(new QFormLayout)
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
    m_form->setHorizontalSpacing(space::card);
    m_form->setVerticalSpacing(space::between);
    m_form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    m_form->addRow(tr("&Name in lists"), m_name);
    m_form->addRow(QString(), m_problem);
    m_form->addRow(tr("&Get mail"), m_interval);
    m_form->addRow(QString(), m_atOnce);
    auto *all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(space::card);
    all->addWidget(m_summary);
    all->addLayout(m_form);
    all->addStretch(1);
    connect(m_name, &QLineEdit::textChanged, this, &ReadyPage::check);
}

/// A name that the user has typed stays when they come back.
void ReadyPage::begin(const AccountDraft &draft, bool works, const std::optional<AccountDraft> &outgoing,
                      bool sends)
{
    m_draft = draft;
    const bool isOutgoing = draft.kind == AccountKind::Smtp;
    if (m_name->text() == m_proposed) {
        m_proposed = freeAccountName(proposedName(draft), m_accounts);
        m_name->setText(m_proposed);
    }
    m_form->setRowVisible(m_interval, !isOutgoing);
    m_form->setRowVisible(m_atOnce, !isOutgoing);
    QString text = sentence(draft, works);
    if (outgoing)
        text += u'\n' + sentence(*outgoing, sends);
    else if (draft.kind == AccountKind::Pop3 && !sends)
        text += u'\n' + tr("Nothing is set up for sending here.");
    const bool isGood = works && (!outgoing || sends);
    m_summary->say(isGood ? MessageBar::Kind::Good : MessageBar::Kind::Information,
                   text + u'\n' + tr("Nothing has been fetched, sent or saved yet."));
    check();
    focusFirst();
}

QString ReadyPage::sentence(const AccountDraft &draft, bool works) const
{
    if (draft.kind == AccountKind::BatchFile)
        return tr("Velmar takes new mail out of %1.").arg(harmlessLine(draft.file));
    const QString host = harmlessLine(draft.server.host);
    if (draft.server.user.isEmpty() || draft.isOpen)
        return tr("%1 is used without a sign-in.").arg(host);
    if (works)
        return draft.kind == AccountKind::Smtp ? tr("Signed in to %1, which sends.").arg(host)
                                               : tr("Signed in to %1, which receives.").arg(host);
    if (draft.password.isEmpty())
        return tr("Signing in to %1 was not tried, because no password was entered.").arg(host);
    if (!mayTryLogin(draft.server))
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
