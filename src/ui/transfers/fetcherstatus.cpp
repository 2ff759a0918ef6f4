#include "ui/transfers/fetcherstatus.h"

#include "config/clock.h"
#include "net/account.h"
#include "net/accountmanager.h"
#include "ui/look/elidedlabel.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/signlabel.h"
#include "ui/look/toolbuttons.h"
#include "ui/texts/datetext.h"
#include "ui/texts/harmless.h"
#include "ui/texts/sizetext.h"
#include "ui/transfers/transferexplanation.h"
#include "ui/transfers/transfertexts.h"

#include <QGridLayout>
#include <QProgressBar>
#include <QTimer>
#include <QToolButton>

#include <chrono>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr int kSteps = 1000;
constexpr int kBarHeight = 4;
constexpr auto kBetweenPictures = 100ms; ///< a fast server reports thousands of steps a second

} // namespace

FetcherStatus::FetcherStatus(Account &account, const QString &title, QWidget *parent)
    : QWidget(parent)
    , m_account(&account)
    , m_title(title)
    , m_sign(new SignLabel(accountIcon(account.kind())))
    , m_name(new ElidedLabel)
    , m_type(new ElidedLabel)
    , m_status(new ElidedLabel)
    , m_amount(new ElidedLabel)
    , m_time(new ElidedLabel)
    , m_bar(new QProgressBar)
    , m_stop(newToolButton(u"stop"_s, tr("Stop"), this))
    , m_refresh(new QTimer(this))
    , m_hasNews(!title.isEmpty())
{
    setObjectName(u"row"_s + QString::number(account.number()));
    build();
    m_refresh->setSingleShot(true);
    m_refresh->setInterval(kBetweenPictures);
    connect(m_refresh, &QTimer::timeout, this, &FetcherStatus::showProgress);
    connect(m_stop, &QToolButton::clicked, this, &FetcherStatus::slotStop);
    connect(&account, &Account::statusChanged, this, [this](const QString &text) {
        if (m_running) // an idle session has no place here
            showStatus(text);
    });
    connect(&account, &Account::progressed, this, &FetcherStatus::progressed);
    connect(&account, &Account::fetchStarted, this, &FetcherStatus::started);
    connect(&account, &Account::fetchEnded, this, &FetcherStatus::ended);
    connect(&account, &Account::servingStarted, this, &FetcherStatus::servingStarted);
    connect(&account, &Account::servingEnded, this, &FetcherStatus::servingEnded);
    connect(&account.manager(), &AccountManager::accountDeleted, this, &FetcherStatus::slotAccountDeleted);
    connect(&account.manager(), &AccountManager::accountUpdated, this, &FetcherStatus::slotAccountUpdated);
    slotAccountUpdated(&account);
    if (account.isFetching())
        started();
    else if (account.isServing())
        servingStarted();
}

void FetcherStatus::build()
{
    setFontScale(m_name, 1, QFont::DemiBold);
    for (ElidedLabel *label : {m_type, m_amount, m_time})
        setTextRole(label, Role::Text2);
    setFontScale(m_amount, scale::small);
    m_time->setAlignment(Qt::AlignTrailing | Qt::AlignVCenter);
    m_amount->hide();
    m_status->setObjectName(u"status"_s);
    m_amount->setObjectName(u"amount"_s);
    m_stop->setObjectName(u"stop"_s);
    m_stop->setEnabled(false);
    QSizePolicy kept = m_stop->sizePolicy();
    kept.setRetainSizeWhenHidden(true); // else the columns would jump when a transfer ends
    m_stop->setSizePolicy(kept);
    m_stop->hide();
    m_bar->setTextVisible(false);
    m_bar->setRange(0, kSteps);
    m_bar->setFixedHeight(kBarHeight);
    m_bar->setAccessibleName(tr("Progress"));
    m_bar->hide();
    auto *grid = new QGridLayout(this);
    grid->setContentsMargins(space::card, space::between, space::between, space::between);
    grid->setHorizontalSpacing(space::group);
    grid->setVerticalSpacing(space::inner);
    grid->addWidget(m_sign, 0, 0);
    grid->addWidget(m_name, 0, 1);
    grid->addWidget(m_type, 0, 2);
    grid->addWidget(m_status, 0, 3);
    grid->addWidget(m_time, 0, 4);
    grid->addWidget(m_stop, 0, 5);
    grid->addWidget(m_bar, 1, 1, 1, 2);
    grid->addWidget(m_amount, 1, 3, 1, 3);
    grid->setColumnStretch(3, 1);
}

QString FetcherStatus::status() const
{
    return m_status->text();
}

QString FetcherStatus::title() const
{
    return m_type->text();
}

int FetcherStatus::nameWidth() const
{
    return m_name->sizeHint().width();
}

int FetcherStatus::typeWidth() const
{
    return m_type->sizeHint().width();
}

void FetcherStatus::setColumns(int account, int type)
{
    m_name->setFixedWidth(account);
    m_type->setFixedWidth(type);
}

void FetcherStatus::slotStop()
{
    if (!m_account)
        return;
    m_stop->setEnabled(false); // it ends at its next safe point
    m_account->stop();
}

void FetcherStatus::slotAccountDeleted(Account *account)
{
    if (account != m_account)
        return;
    m_account = nullptr;
    emit gone();
}

void FetcherStatus::slotAccountUpdated(Account *account)
{
    if (account != m_account)
        return;
    const QString name = harmlessLine(account->name());
    m_name->setText(name);
    m_type->setText(m_title.isEmpty() ? accountKindText(account->kind()) : m_title);
    emit widthsChanged();
    m_stop->setAccessibleName(tr("Stop %1").arg(name));
    setAccessibleName(name);
}

void FetcherStatus::started()
{
    m_hasNews = true;
    m_title.clear();
    slotAccountUpdated(m_account);
    showRunning(true);
}

void FetcherStatus::servingStarted()
{
    m_before = m_shown;
    m_before.status = m_status->text();
    m_before.time = m_time->text();
    showRunning(true);
}

void FetcherStatus::servingEnded(AccountFetchReason reason, const QString &detail)
{
    if (fetchMessage(reason, {}, {}).isEmpty()) {
        showRunning(false);
        m_time->setText(m_before.time);
        m_status->setText(m_before.status);
        showSign(m_before.icon, m_before.role);
        if (!m_hasNews)
            emit gone();
        return;
    }
    m_hasNews = true;
    ended(reason, detail);
}

void FetcherStatus::showRunning(bool running)
{
    m_running = running;
    m_refresh->stop();
    m_bar->hide();
    m_amount->hide();
    m_stop->setEnabled(running);
    m_stop->setVisible(running);
    if (!running)
        return;
    m_progress = {};
    m_since.start();
    showSign(accountIcon(m_account->kind()), int(Role::Text2));
    m_time->setText({});
    showStatus(m_account->status());
}

void FetcherStatus::ended(AccountFetchReason reason, const QString &detail)
{
    showRunning(false);
    m_time->setText(timeText(clockNow().time()));
    switch (reason) {
    case AccountFetchReason::None:
    case AccountFetchReason::Quiet:
        showSign(u"ok"_s, int(Role::Good));
        return showStatus(doneText(m_account->kind(), m_progress.done));
    case AccountFetchReason::Stopped: showSign(u"stop"_s, int(Role::Text2)); return showStatus(tr("Stopped"));
    default: break;
    }
    TransferError error;
    error.reason = reason;
    error.detail = detail;
    showSign(u"error"_s, int(Role::Error));
    showStatus(withCapital(explainTransferError(error, m_account->data()).what));
}

void FetcherStatus::progressed(qint64 bytesDone, qint64 bytesTotal, int done, int total)
{
    m_progress = {bytesDone, bytesTotal, done, total};
    if (m_running && !m_refresh->isActive())
        m_refresh->start();
}

void FetcherStatus::showProgress()
{
    const bool known = m_progress.bytesTotal > 0 || m_progress.total > 0;
    m_bar->setVisible(known);
    if (m_progress.bytesTotal > 0)
        m_bar->setValue(int(double(m_progress.bytesDone) / double(m_progress.bytesTotal) * kSteps));
    else if (m_progress.total > 0)
        m_bar->setValue(int(qint64(m_progress.done) * kSteps / m_progress.total));
    m_amount->setText(speed());
    m_amount->setVisible(!m_amount->text().isEmpty());
}

QString FetcherStatus::speed() const
{
    return transferAmount(m_progress.bytesDone, m_progress.bytesTotal, m_progress.done, m_progress.total,
                          m_since.elapsed());
}

void FetcherStatus::showStatus(const QString &text)
{
    m_status->setText(harmlessLine(text));
}

void FetcherStatus::showSign(const QString &icon, int role)
{
    m_shown.icon = icon;
    m_shown.role = role;
    m_sign->setSign(icon, Role(role));
}
