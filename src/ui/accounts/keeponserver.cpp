#include "ui/accounts/keeponserver.h"

#include "ui/accounts/accountfields.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"

#include <QLabel>
#include <QRadioButton>
#include <QSpinBox>
#include <QStyle>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

QLabel *newHint(const QString &text)
{
    auto *hint = new QLabel(text);
    hint->setWordWrap(true);
    setTextRole(hint, Role::Text2);
    return hint;
}

/// A radio button and below its text, in line with it, what it means.
void addChoice(QVBoxLayout *column, QRadioButton *button, const QString &meaning, QWidget *beside = nullptr)
{
    auto *line = new QHBoxLayout;
    line->setSpacing(space::between);
    line->addWidget(button);
    if (beside)
        line->addWidget(beside);
    line->addStretch(1);
    QLabel *hint = newHint(meaning);
    const int indent = button->style()->pixelMetric(QStyle::PM_ExclusiveIndicatorWidth) +
                       button->style()->pixelMetric(QStyle::PM_RadioButtonLabelSpacing);
    auto *below = new QHBoxLayout;
    below->addSpacing(indent);
    below->addWidget(hint, 1);
    button->setAccessibleDescription(meaning);
    auto *choice = new QVBoxLayout;
    choice->setSpacing(0);
    choice->addLayout(line);
    choice->addLayout(below);
    column->addLayout(choice);
}

} // namespace

KeepOnServer::KeepOnServer(QWidget *parent)
    : QWidget(parent)
    , m_stays(new QRadioButton(tr("&Leave it there")))
    , m_forDays(new QRadioButton(tr("&Delete it there after")))
    , m_goes(new QRadioButton(tr("Delete it there at &once")))
    , m_days(new QSpinBox)
{
    m_stays->setObjectName(u"stays"_s);
    m_forDays->setObjectName(u"forDays"_s);
    m_goes->setObjectName(u"goes"_s);
    m_days->setObjectName(u"days"_s);
    m_days->setAccessibleName(tr("Days"));
    m_days->setRange(1, rowOf(AccountField::DaysOnServer).most);
    m_days->setValue(rowOf(AccountField::DaysOnServer).proposed);
    m_days->setSuffix(tr(" days"));
    m_days->setEnabled(false);
    m_stays->setChecked(true);
    auto *title = new QLabel(tr("What becomes of mail on the server?"));
    setFontScale(title, 1, QFont::DemiBold);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, space::between, 0, 0);
    column->setSpacing(space::between);
    column->addWidget(title);
    column->addWidget(newHint(tr("POP3 fetches your mail to this computer and keeps it here.")));
    addChoice(column, m_stays, tr("Your phone and other computers see it, too; the mailbox there fills up."));
    addChoice(column, m_forDays, tr("Long enough for the other devices, and the mailbox does not fill up."),
              m_days);
    addChoice(column, m_goes, tr("As soon as it is safe on this computer, which is then the only place."));
    connect(m_forDays, &QRadioButton::toggled, m_days, &QWidget::setEnabled);
}

void KeepOnServer::putInto(AccountDraft &draft) const
{
    draft.leaves = !m_goes->isChecked();
    draft.daysOnServer = m_forDays->isChecked() ? m_days->value() : 0;
}
