#include "ui/main/statusline.h"

#include "engine/taskrunner.h"
#include "ui/look/colours.h"
#include "ui/look/elidedlabel.h"
#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/progressline.h"
#include "ui/look/recolour.h"
#include "ui/look/toolbuttons.h"
#include "ui/main/notices.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QToolButton>

using namespace Qt::StringLiterals;

namespace {
constexpr int kNewsStay = 8'000; ///< milliseconds
}

StatusLine::StatusLine(TaskRunner &tasks, const Notices &notices, QWidget *parent)
    : QWidget(parent)
    , m_notices(notices)
    , m_tasks(tasks)
    , m_text(new ElidedLabel)
    , m_progress(new ProgressLine)
    , m_mark(newToolButton(u"error"_s, tr("Errors and notices"), this))
    , m_online(newToolButton(u"online"_s, tr("Online"), this))
{
    setObjectName(u"statusLine"_s);
    setSurface(this, Role::Chrome);
    setTextRole(m_text, Role::Text2);
    setFontScale(m_text, scale::small);
    for (QToolButton *button : {m_mark, m_online}) {
        setFontScale(button, scale::small);
        setTextRole(button, Role::Text2);
        button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
        button->setIconSize({iconSize(IconUse::Row), iconSize(IconUse::Row)});
    }
    m_mark->setObjectName(u"noticesButton"_s);
    m_online->setObjectName(u"onlineButton"_s);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(14, 1, space::inner, 0);
    layout->setSpacing(space::between);
    layout->addWidget(m_text, 1);
    layout->addWidget(m_progress);
    layout->addWidget(m_mark);
    layout->addWidget(m_online);
    connect(m_mark, &QToolButton::clicked, this, &StatusLine::noticesClicked);
    connect(&notices, &Notices::unseenChanged, this, &StatusLine::showNotices);
    connect(m_online, &QToolButton::clicked, this, &StatusLine::onlineClicked);
    connect(m_progress, &ProgressLine::stopClicked, this, &StatusLine::stop);
    connect(&tasks, &TaskRunner::started, this, &StatusLine::showTask);
    connect(&tasks, &TaskRunner::progressed, this, &StatusLine::showTask);
    connect(&tasks, &TaskRunner::ended, this, &StatusLine::endTask);
    m_newsTimer.setSingleShot(true);
    connect(&m_newsTimer, &QTimer::timeout, this, [this] {
        m_news.clear();
        showText();
    });
    setOnline(true);
    showNotices();
}

/// A quiet mark for what a box told, or for what had no box.
void StatusLine::showNotices()
{
    const int count = m_notices.unseen();
    const bool grave = m_notices.gravest() != ReportLevel::Information;
    m_mark->setVisible(count > 0);
    m_mark->setIcon(grave ? icon(u"error"_s, Role::Error) : icon(u"info"_s));
    m_mark->setText(QString::number(count));
    const QString words = grave ? (count == 1 ? tr("1 error: show") : tr("%1 errors: show").arg(count))
                                : (count == 1 ? tr("1 notice: show") : tr("%1 notices: show").arg(count));
    m_mark->setToolTip(words);
    m_mark->setAccessibleName(words);
}

void StatusLine::setText(const QString &text)
{
    m_plain = text;
    showText();
}

void StatusLine::showText()
{
    const QString &text = m_news.isEmpty() ? m_plain : m_news;
    m_text->setText(m_hint.isEmpty() ? text : m_hint);
}

void StatusLine::announce(const QString &news)
{
    m_news = news;
    m_newsTimer.start(kNewsStay);
    showText();
}

QString StatusLine::text() const
{
    return m_plain;
}

void StatusLine::setHint(const QString &hint)
{
    m_hint = hint;
    showText();
}

void StatusLine::setOnline(bool online)
{
    m_online->setIcon(icon(online ? u"online"_s : u"offline"_s));
    m_online->setText(online ? tr("Online") : tr("Offline"));
    m_online->setAccessibleName(m_online->text());
    m_online->setToolTip(online ? tr("Online: click to work offline") : tr("Offline: click to go online"));
}

void StatusLine::showTask(Task *task)
{
    m_progress->setProgress(task->title(), task->done(), task->total());
}

void StatusLine::endTask()
{
    if (!m_sorting && !m_transfers && !m_tasks.isBusy())
        m_progress->finish();
}

void StatusLine::showSorting(int done, int total)
{
    m_sorting = true;
    if (!m_tasks.isBusy())
        m_progress->setProgress(tr("Sorting"), done, total);
}

void StatusLine::endSorting()
{
    m_sorting = false;
    endTask();
}

void StatusLine::showTransfer(const QString &text, qint64 done, qint64 total)
{
    m_transfers = true;
    if (!m_tasks.isBusy() && !m_sorting)
        m_progress->setProgress(text, done, total);
}

void StatusLine::endTransfer()
{
    m_transfers = false;
    endTask();
}

void StatusLine::stop()
{
    if (Task *task = m_tasks.current())
        task->stop();
    else if (m_sorting)
        emit sortingStopped();
    else if (m_transfers)
        emit transfersStopped();
}

void StatusLine::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(QRect(0, 0, width(), 1), colour(Role::Line));
}
