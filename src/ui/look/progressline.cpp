#include "ui/look/progressline.h"

#include "ui/look/elidedlabel.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/toolbuttons.h"

#include <QHBoxLayout>
#include <QProgressBar>
#include <QTimer>
#include <QToolButton>

#include <chrono>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr int kBarWidth = 110;
constexpr int kSteps = 1000;

} // namespace

ProgressLine::ProgressLine(QWidget *parent)
    : QWidget(parent)
    , m_text(new ElidedLabel({}, this))
    , m_bar(new QProgressBar(this))
    , m_stop(newToolButton(u"stop"_s, tr("Stop"), this))
    , m_delay(new QTimer(this))
{
    setFontScale(m_text, scale::small);
    setTextRole(m_text, Role::Text2);
    m_text->setAlignment(Qt::AlignTrailing | Qt::AlignVCenter);
    m_bar->setTextVisible(false);
    m_bar->setFixedSize(kBarWidth, 4);
    m_bar->setRange(0, kSteps);
    m_stop->setObjectName(u"stop"_s);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(space::between);
    layout->addWidget(m_text, 1);
    layout->addWidget(m_bar);
    layout->addWidget(m_stop);
    m_delay->setSingleShot(true);
    connect(m_delay, &QTimer::timeout, this, &ProgressLine::appear);
    connect(m_stop, &QToolButton::clicked, this, &ProgressLine::stopClicked);
    hide();
}

void ProgressLine::setProgress(const QString &text, qint64 done, qint64 whole)
{
    m_text->setText(text);
    m_known = whole > 0;
    m_bar->setValue(m_known ? int(double(done) / double(whole) * kSteps) : 0);
    m_bar->setVisible(m_known);
    if (m_running)
        return;
    m_running = true;
    m_delay->start(1s);
}

void ProgressLine::finish()
{
    m_running = false;
    m_delay->stop();
    hide();
}

void ProgressLine::appear()
{
    show();
}
