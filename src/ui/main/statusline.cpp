#include "ui/main/statusline.h"

#include "engine/taskrunner.h"
#include "ui/look/colours.h"
#include "ui/look/elidedlabel.h"
#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/progressline.h"
#include "ui/look/recolour.h"
#include "ui/look/toolbuttons.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QToolButton>

using namespace Qt::StringLiterals;

StatusLine::StatusLine(TaskRunner &tasks, QWidget *parent)
    : QWidget(parent)
    , m_tasks(tasks)
    , m_text(new ElidedLabel)
    , m_progress(new ProgressLine)
    , m_online(newToolButton(u"online"_s, u"Online"_s, this))
{
    setObjectName(u"statusLine"_s);
    setSurface(this, Role::Chrome);
    setTextRole(m_text, Role::Text2);
    setFontScale(m_text, scale::small);
    setFontScale(m_online, scale::small);
    setTextRole(m_online, Role::Text2);
    m_online->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_online->setIconSize({iconSize(IconUse::Row), iconSize(IconUse::Row)});
    m_online->setObjectName(u"onlineButton"_s);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(14, 1, space::inner, 0);
    layout->setSpacing(space::between);
    layout->addWidget(m_text, 1);
    layout->addWidget(m_progress);
    layout->addWidget(m_online);
    connect(m_online, &QToolButton::clicked, this, &StatusLine::onlineClicked);
    connect(m_progress, &ProgressLine::stopClicked, this, &StatusLine::stop);
    connect(&tasks, &TaskRunner::started, this, &StatusLine::showTask);
    connect(&tasks, &TaskRunner::progressed, this, &StatusLine::showTask);
    connect(&tasks, &TaskRunner::ended, this, &StatusLine::endTask);
    setOnline(true);
}

void StatusLine::setText(const QString &text)
{
    m_plain = text;
    if (m_hint.isEmpty())
        m_text->setText(text);
}

QString StatusLine::text() const
{
    return m_plain;
}

void StatusLine::setHint(const QString &hint)
{
    m_hint = hint;
    m_text->setText(hint.isEmpty() ? m_plain : hint);
}

void StatusLine::setOnline(bool online)
{
    m_online->setIcon(icon(online ? u"online"_s : u"offline"_s));
    m_online->setText(online ? u"Online"_s : u"Offline"_s);
    m_online->setAccessibleName(m_online->text());
    m_online->setToolTip(online ? u"Online: click to work offline"_s : u"Offline: click to go online"_s);
}

void StatusLine::showTask(Task *task)
{
    m_progress->setProgress(task->title(), task->done(), task->total());
}

void StatusLine::endTask()
{
    if (!m_sorting && !m_tasks.isBusy())
        m_progress->finish();
}

void StatusLine::showSorting(int done, int total)
{
    m_sorting = true;
    if (!m_tasks.isBusy())
        m_progress->setProgress(u"Sorting"_s, done, total);
}

void StatusLine::endSorting()
{
    m_sorting = false;
    endTask();
}

void StatusLine::stop()
{
    if (Task *task = m_tasks.current())
        task->stop();
    else if (m_sorting)
        emit sortingStopped();
}

void StatusLine::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(QRect(0, 0, width(), 1), colour(Role::Line));
}
