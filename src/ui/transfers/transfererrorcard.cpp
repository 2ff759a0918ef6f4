#include "ui/transfers/transfererrorcard.h"

#include "ui/look/fixedfont.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/signlabel.h"
#include "ui/look/velmarstyle.h"
#include "ui/texts/datetext.h"
#include "ui/texts/harmless.h"

#include <QAccessible>
#include <QDateTime>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kMostOfLine = 400;

QLabel *newLabel(const char *name)
{
    auto *label = new QLabel;
    label->setObjectName(QLatin1StringView(name));
    label->setTextFormat(Qt::PlainText);
    return label;
}

QPushButton *newButton(const char *name, ButtonKind kind)
{
    auto *button = new QPushButton;
    button->setObjectName(QLatin1StringView(name));
    button->setAutoDefault(false);
    setButtonKind(button, kind);
    return button;
}

QString timesText(int times)
{
    switch (times) {
    case 1: return {};
    case 2: return QObject::tr(", second time");
    case 3: return QObject::tr(", third time");
    default: return QObject::tr(", %1 times").arg(times);
    }
}

} // namespace

TransferErrorCard::TransferErrorCard(const TransferError &error, const AccountData &account, bool hasWorked,
                                     QWidget *parent)
    : Panel(Role::ErrorBar, parent)
    , m_account(error.account)
    , m_title(newLabel("title"))
    , m_time(newLabel("time"))
    , m_words(newLabel("words"))
    , m_protocol(new Panel(Role::Base))
    , m_line(newLabel("line"))
    , m_mend(newButton("mend", ButtonKind::Plain))
    , m_other(newButton("other", ButtonKind::Plain))
    , m_log(newButton("log", ButtonKind::Ghost))
    , m_pause(newButton("pause", ButtonKind::Ghost))
{
    setObjectName(u"card"_s + QString::number(m_account));
    build();
    setError(error, account, hasWorked);
    connect(m_mend, &QPushButton::clicked, this, [this] { emit mendWanted(m_told.action, m_account); });
    connect(m_other, &QPushButton::clicked, this, [this] { emit mendWanted(m_told.otherAction, m_account); });
    connect(m_log, &QPushButton::clicked, this, [this] { emit mendWanted(MendAction::ShowLog, m_account); });
    connect(m_pause, &QPushButton::clicked, this, [this] { emit pauseWanted(m_account); });
}

void TransferErrorCard::build()
{
    setFontScale(m_title, 1, QFont::DemiBold);
    m_title->setWordWrap(true);
    setTextRole(m_time, Role::Text2);
    m_words->setWordWrap(true);
    m_line->setWordWrap(true);
    setFixedFont(m_line);
    m_line->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    auto *line = new QHBoxLayout(m_protocol);
    line->setContentsMargins(space::between, space::inner, space::between, space::inner);
    line->addWidget(m_line);
    m_log->setText(tr("Show log"));
    m_pause->setText(tr("Pause this account"));
    auto *buttons = new QHBoxLayout;
    buttons->setSpacing(space::between);
    buttons->addWidget(m_mend);
    buttons->addWidget(m_other);
    buttons->addWidget(m_log);
    buttons->addStretch(1);
    buttons->addWidget(m_pause);
    auto *sign = new SignLabel(u"error"_s, Role::Error);
    auto *grid = new QGridLayout(this);
    grid->setContentsMargins(space::card, space::group, space::group, space::group);
    grid->setHorizontalSpacing(space::group);
    grid->setVerticalSpacing(space::between);
    grid->addWidget(sign, 0, 0, Qt::AlignTop);
    grid->addWidget(m_title, 0, 1);
    grid->addWidget(m_time, 0, 2);
    grid->addWidget(m_words, 1, 1, 1, 2);
    grid->addWidget(m_protocol, 2, 1, 1, 2);
    grid->addLayout(buttons, 3, 1, 1, 2);
    grid->setColumnStretch(1, 1);
}

void TransferErrorCard::setError(const TransferError &error, const AccountData &account, bool hasWorked)
{
    const TransferExplanation told = explainTransferError(error, account, hasWorked);
    m_times = told.cause == m_told.cause ? m_times + 1 : 1;
    m_told = told;
    say(error, account, told);
    setAccessibleName(m_title->text());
    setAccessibleDescription(m_words->text());
    QAccessibleEvent alert(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

void TransferErrorCard::say(const TransferError &error, const AccountData &account,
                            const TransferExplanation &told)
{
    m_title->setText(transferNotice(error, account));
    m_time->setText(timeText(QDateTime::fromSecsSinceEpoch(error.time).time()) + timesText(m_times));
    m_words->setText(QStringList{told.whose, told.lost, told.advice}.join(u' '));
    const QString line = harmlessLine(error.detail.simplified(), kMostOfLine);
    m_line->setText(isServerReply(error.detail) ? u"<<<< "_s + line : line);
    m_protocol->setVisible(!line.isEmpty());
    m_mend->setText(told.button);
    m_mend->setVisible(told.action != MendAction::Nothing);
    m_other->setText(told.otherButton);
    m_other->setVisible(told.otherAction != MendAction::Nothing);
    m_log->setVisible(told.action != MendAction::ShowLog);
    m_pause->setVisible(account.isIncoming() && !account.has(AccountLeftOut));
}

void TransferErrorCard::setFirst(bool first)
{
    setButtonKind(m_mend, first ? ButtonKind::Accent : ButtonKind::Plain);
}
