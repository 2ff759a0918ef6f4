#include "ui/accounts/wizardsteps.h"

#include "ui/look/colours.h"
#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/styleparts.h"

#include <QPainter>

using namespace Qt::StringLiterals;

namespace {

int chevronRoom()
{
    return ::iconSize(IconUse::Row) + 2 * space::between;
}

} // namespace

WizardSteps::WizardSteps(QWidget *parent)
    : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void WizardSteps::setSteps(const QStringList &names)
{
    m_names = names;
    tell();
}

void WizardSteps::setCurrent(int step)
{
    m_current = step;
    tell();
}

void WizardSteps::tell()
{
    setAccessibleName(
        tr("Step %1 of %2: %3").arg(m_current + 1).arg(m_names.size()).arg(m_names.value(m_current)));
    updateGeometry();
    update();
}

QFont WizardSteps::fontOf(int step) const
{
    return fontScaled(1, step == m_current ? QFont::DemiBold : QFont::Normal);
}

/// A step that is done has a sign in the place of its number.
QString WizardSteps::textOf(int step) const
{
    return step < m_current ? m_names[step] : u"%1  %2"_s.arg(step + 1).arg(m_names[step]);
}

int WizardSteps::widthOf(int step) const
{
    const int sign = step < m_current ? ::iconSize(IconUse::Row) + space::between : 0;
    return sign + QFontMetrics(fontOf(step)).horizontalAdvance(textOf(step)) + 1;
}

QSize WizardSteps::sizeHint() const
{
    int width = 0;
    for (int i = 0; i < m_names.size(); ++i)
        width += widthOf(i) + (i > 0 ? chevronRoom() : 0);
    return {width, textHeight() + space::inner};
}

QSize WizardSteps::minimumSizeHint() const
{
    return sizeHint();
}

void WizardSteps::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const bool isReversed = layoutDirection() == Qt::RightToLeft;
    const int icon = ::iconSize(IconUse::Row);
    int x = 0;
    const auto place = [&](int width) {
        const QRect part = QStyle::visualRect(layoutDirection(), rect(), {x, 0, width, height()});
        x += width;
        return part;
    };
    for (int i = 0; i < m_names.size(); ++i) {
        if (i > 0)
            paintChevron(&painter, place(chevronRoom()), isReversed ? Qt::LeftArrow : Qt::RightArrow,
                         colour(Role::Text3), icon - 2);
        int width = widthOf(i);
        if (i < m_current) {
            paintIcon(&painter, place(icon), u"ok"_s, colour(Role::Good), layoutDirection());
            x += space::between;
            width -= icon + space::between;
        }
        painter.setFont(fontOf(i));
        painter.setPen(colour(i == m_current ? Role::Text : Role::Text2));
        painter.drawText(place(width),
                         Qt::AlignVCenter | Qt::AlignAbsolute | (isReversed ? Qt::AlignRight : Qt::AlignLeft),
                         textOf(i));
    }
}
