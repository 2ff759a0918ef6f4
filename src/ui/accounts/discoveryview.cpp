#include "ui/accounts/discoveryview.h"

#include "ui/look/metrics.h"
#include "ui/look/panel.h"
#include "ui/look/recolour.h"
#include "ui/look/signlabel.h"
#include "ui/texts/harmless.h"

#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

using State = DiscoveryStep::State;

struct StateRow
{
    State state;
    const char *sign;
    Role colour;
    const char *words; ///< where there is no detail
};
constexpr std::array kStates = {
    StateRow{State::Waiting, "", Role::Text3, ""},
    StateRow{State::Asking, "more", Role::Text2, QT_TRANSLATE_NOOP("DiscoveryView", "asking…")},
    StateRow{State::Found, "ok", Role::Good, QT_TRANSLATE_NOOP("DiscoveryView", "found")},
    StateRow{State::Nothing, "minus", Role::Text3, QT_TRANSLATE_NOOP("DiscoveryView", "nothing")},
    StateRow{State::Stopped, "minus", Role::Text3, QT_TRANSLATE_NOOP("DiscoveryView", "stopped")},
    StateRow{State::NotNeeded, "", Role::Text3, QT_TRANSLATE_NOOP("DiscoveryView", "not needed")},
};
static_assert(kStates.size() == std::size_t(State::NotNeeded) + 1);

QLabel *newLabel(Role role)
{
    auto *label = new QLabel;
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    setTextRole(label, role);
    return label;
}

} // namespace

DiscoveryView::DiscoveryView(ServerDiscovery &discovery, QWidget *parent)
    : QWidget(parent)
    , m_discovery(discovery)
    , m_stop(new QPushButton(tr("S&top")))
{
    m_stop->setObjectName(u"stop"_s);
    m_stop->setAutoDefault(false);
    auto *panel = new Panel;
    auto *grid = new QGridLayout(panel);
    grid->setContentsMargins(space::card, space::group, space::card, space::group);
    grid->setHorizontalSpacing(space::group);
    grid->setVerticalSpacing(space::between);
    grid->setColumnStretch(1, 3);
    grid->setColumnStretch(2, 2);
    for (int i = 0; i < kSettingsSources; ++i) {
        Line &line = m_lines[std::size_t(i)];
        line = {new SignLabel({}, Role::Text2, IconUse::Row), newLabel(Role::Text), newLabel(Role::Text2)};
        grid->addWidget(line.sign, i, 0);
        grid->addWidget(line.text, i, 1);
        grid->addWidget(line.detail, i, 2);
    }
    auto *all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(space::group);
    all->addWidget(panel);
    all->addWidget(m_stop, 0, Qt::AlignLeading);
    connect(m_stop, &QPushButton::clicked, &discovery, &ServerDiscovery::stop);
    connect(&discovery, &ServerDiscovery::stepChanged, this, &DiscoveryView::show);
    connect(&discovery, &ServerDiscovery::finished, this, &DiscoveryView::refresh);
}

void DiscoveryView::refresh()
{
    for (int i = 0; i < kSettingsSources; ++i)
        show(SettingsSource(i));
    m_stop->setVisible(m_discovery.isRunning());
}

/// Details come from servers.
void DiscoveryView::show(SettingsSource source)
{
    const DiscoveryStep &step = m_discovery.steps()[std::size_t(source)];
    const StateRow &row = kStates[std::size_t(step.state)];
    const Line &line = m_lines[std::size_t(source)];
    line.sign->setSign(QLatin1String(row.sign), row.colour);
    line.text->setText(step.text);
    line.detail->setText(step.detail.isEmpty() ? tr(row.words) : harmlessLine(step.detail, 80));
    line.text->setAccessibleName(u"%1: %2"_s.arg(step.text, line.detail->text()));
}
