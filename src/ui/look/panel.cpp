#include "ui/look/panel.h"

#include "ui/look/metrics.h"
#include "ui/look/styleparts.h"

#include <QPainter>

#include <array>

namespace {

constexpr qreal kBorderStrength = 60 / 255.0;

struct Tint
{
    Role ground;
    Role sign;
};
constexpr std::array kTints = {
    Tint{Role::ErrorBar, Role::Error},
    Tint{Role::WarningBar, Role::Warning},
    Tint{Role::GoodBar, Role::Good},
    Tint{Role::InformationBar, Role::Information},
};

QColor borderOf(Role ground)
{
    if (isHighContrast(currentScheme()))
        return colour(Role::Line);
    for (const Tint &tint : kTints)
        if (tint.ground == ground)
            return blended(tint.sign, colour(ground), kBorderStrength);
    return colour(Role::Line);
}

} // namespace

Panel::Panel(Role ground, QWidget *parent)
    : QWidget(parent)
    , m_ground(ground)
{}

void Panel::setGround(Role ground)
{
    m_ground = ground;
    update();
}

void Panel::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    paintPanel(&painter, rect(), m_ground == Role::Base ? radius::box : radius::card, colour(m_ground),
               borderOf(m_ground));
}
