#include "ui/reader/tagpills.h"

#include "ui/look/colours.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/styleparts.h"
#include "ui/texts/harmless.h"

#include <QEvent>
#include <QPainter>

using namespace Qt::StringLiterals;

namespace {

constexpr int kWidestPill = 20; ///< average characters

QString restText(qsizetype count)
{
    return isolatedAddress(u"+%1"_s.arg(count));
}

} // namespace

TagPills::TagPills(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(u"tags"_s);
    setFontScale(this, scale::small);
    setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
    hide();
}

void TagPills::setTags(const QList<HeaderTag> &tags)
{
    m_tags.clear();
    QStringList names;
    for (const HeaderTag &tag : tags) {
        m_tags.append({harmlessLine(tag.name, 100), tag.hue});
        names.append(m_tags.last().name);
    }
    setVisible(!m_tags.isEmpty());
    setAccessibleName(tr("Tags: %1").arg(names.join(u", "_s)));
    setToolTip(asToolTip(names.join(u", "_s)));
    updateGeometry();
    update();
}

int TagPills::pillWidth(const QString &name) const
{
    return std::min(fontMetrics().horizontalAdvance(name) + 1, columnWidth(kWidestPill)) + 2 * space::between;
}

QSize TagPills::sizeHint() const
{
    int width = 0;
    for (const HeaderTag &tag : m_tags)
        width += pillWidth(tag.name) + space::inner;
    return {width, fontMetrics().height() + space::inner};
}

QSize TagPills::minimumSizeHint() const
{
    return {std::min(sizeHint().width(), pillWidth(restText(m_tags.size())) + space::inner),
            sizeHint().height()};
}

void TagPills::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    int left = 0;
    const auto pill = [&](const QString &name, int hue) {
        const HueColours colours = hueColours(hue);
        const QRect place =
            QStyle::visualRect(layoutDirection(), rect(), QRect(left, 0, pillWidth(name), height()));
        paintPanel(&painter, place, height() / 2.0, colours.background, QColor());
        painter.setPen(colours.text);
        const int room = place.width() - 2 * space::between + 1;
        painter.drawText(place, Qt::AlignCenter, fontMetrics().elidedText(name, Qt::ElideRight, room));
        left += place.width() + space::inner;
    };
    for (int at = 0; at < m_tags.size(); ++at) {
        const qsizetype rest = m_tags.size() - at;
        const int reserve = rest > 1 ? pillWidth(restText(rest - 1)) + space::inner : 0;
        if (left + pillWidth(m_tags[at].name) + reserve > width())
            return pill(restText(rest), -1);
        pill(m_tags[at].name, m_tags[at].hue);
    }
}

void TagPills::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        updateGeometry();
}
