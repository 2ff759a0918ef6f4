#include "ui/reader/senderview.h"

#include "ui/look/colours.h"
#include "ui/look/metrics.h"
#include "ui/look/styleparts.h"
#include "ui/reader/cardtexts.h"
#include "ui/reader/personactions.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QPainter>

using namespace Qt::StringLiterals;

namespace {

constexpr int kRing = 2; ///< room for the focus ring around the text

} // namespace

SenderView::SenderView(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(u"sender"_s);
    setFocusPolicy(Qt::TabFocus);
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

void SenderView::setPerson(const Address &person)
{
    m_person = person;
    m_shown = shownPerson(person);
    setAccessibleName(text());
    setToolTip(personToolTip(person));
    setEnabled(!m_shown.address.isEmpty());
    updateGeometry();
    update();
}

QString SenderView::nameText() const
{
    if (m_shown.name.isEmpty())
        return tr("Unknown sender");
    const QString name =
        m_shown.name == m_shown.address ? isolatedAddress(m_shown.address) : isolatedName(m_shown.name);
    return isRightToLeft() ? name : withoutIdleMarks(name);
}

QString SenderView::addressText() const
{
    const bool inName = m_shown.address.isEmpty() || m_shown.name == m_shown.address;
    if (inName)
        return {};
    const QString address = isolatedAddress(u'<' + m_shown.address + u'>');
    return isRightToLeft() ? address : withoutIdleMarks(address);
}

QString SenderView::text() const
{
    const QString address = addressText();
    return address.isEmpty() ? nameText() : nameText() + u' ' + address;
}

QFont SenderView::nameFont() const
{
    return fontScaled(1, QFont::DemiBold);
}

SenderView::Layout SenderView::layoutFor(int width) const
{
    const QFontMetrics bold(nameFont());
    const int room = std::max(width - 2 * kRing, columnWidth(6));
    const int name = bold.horizontalAdvance(nameText()) + 1;
    const QString addressWords = addressText();
    const int address = addressWords.isEmpty() ? 0 : fontMetrics().horizontalAdvance(addressWords) + 1;
    const auto heightOf = [room](const QFontMetrics &metrics, const QString &words) {
        return metrics.boundingRect(QRect(0, 0, room, 1 << 16), wrapFlags(metrics, words, room), words)
            .height();
    };
    Layout layout;
    if (address == 0 || name + space::between + address <= room) {
        layout.name = QRect(kRing, kRing, std::min(name, room), heightOf(bold, nameText()));
        if (address > 0)
            layout.address = QRect(kRing + name + space::between, kRing, address, layout.name.height());
        return layout;
    }
    layout.name = QRect(kRing, kRing, room, heightOf(bold, nameText()));
    layout.address = QRect(kRing, layout.name.bottom() + 1, room, heightOf(fontMetrics(), addressWords));
    return layout;
}

int SenderView::heightFor(int width) const
{
    const Layout layout = layoutFor(width);
    return std::max(layout.name.bottom(), layout.address.bottom()) + 1 + kRing;
}

QSize SenderView::sizeHint() const
{
    const Layout layout = layoutFor(1 << 16);
    return {std::max(layout.name.right(), layout.address.right()) + 1 + kRing,
            layout.name.bottom() + 1 + kRing};
}

QSize SenderView::minimumSizeHint() const
{
    return {std::min(sizeHint().width(), columnWidth(12)), fontMetrics().height() + 2 * kRing};
}

void SenderView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const Layout layout = layoutFor(width());
    const auto visual = [this](const QRect &place) {
        return QStyle::visualRect(layoutDirection(), rect(), place);
    };
    const auto draw = [&](const QRect &place, const QFont &font, Role role, const QString &text) {
        const QFontMetrics metrics(font);
        const bool isLine =
            place.height() < 2 * metrics.height(); // which may need a hair more than was measured
        painter.setFont(font);
        painter.setPen(colour(role));
        painter.drawText(visual(place),
                         isLine ? Qt::AlignLeading | Qt::AlignTop | Qt::TextSingleLine | Qt::TextDontClip
                                : wrapFlags(metrics, text, place.width()),
                         text);
    };
    draw(layout.name, nameFont(), Role::Text, nameText());
    if (!layout.address.isEmpty())
        draw(layout.address, font(), Role::Text2, addressText());
    if (hasFocus())
        paintFocusRing(&painter, rect(), radius::box);
}

void SenderView::askForMenu()
{
    if (!m_shown.address.isEmpty())
        emit menuWanted(m_person, mapToGlobal(QPoint(isRightToLeft() ? width() : 0, height())));
}

void SenderView::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton)
        askForMenu();
}

void SenderView::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter || event->key() == Qt::Key_Space)
        return askForMenu();
    QWidget::keyPressEvent(event);
}

void SenderView::contextMenuEvent(QContextMenuEvent *event)
{
    if (event->reason() == QContextMenuEvent::Keyboard)
        return askForMenu();
    emit menuWanted(m_person, event->globalPos());
}

void SenderView::focusInEvent(QFocusEvent *)
{
    update();
}

void SenderView::focusOutEvent(QFocusEvent *)
{
    update();
}

void SenderView::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        updateGeometry();
}
