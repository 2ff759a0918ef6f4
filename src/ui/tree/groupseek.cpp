#include "ui/tree/groupseek.h"

#include "ui/look/colours.h"
#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/styleparts.h"

#include <QAccessible>
#include <QKeyEvent>
#include <QPainter>

using namespace Qt::StringLiterals;

namespace {

constexpr int kPause = 1000; ///< milliseconds without a key that end the search

} // namespace

GroupSeek::GroupSeek(QWidget *view)
    : QWidget(view)
    , m_view(view)
{
    setObjectName(u"groupSeek"_s);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::NoFocus);
    m_timer.setSingleShot(true);
    m_timer.setInterval(kPause);
    connect(&m_timer, &QTimer::timeout, this, &GroupSeek::end);
    view->installEventFilter(this);
    hide();
}

bool GroupSeek::wants(const QKeyEvent &event) const
{
    if (event.modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier))
        return false;
    const QString typed = event.text();
    if (m_text.isEmpty())
        return !typed.isEmpty() && (typed[0].isLetterOrNumber() || typed[0].isSurrogate());
    const int key = event.key();
    return key == Qt::Key_Backspace || key == Qt::Key_Escape || (!typed.isEmpty() && typed[0].isPrint());
}

void GroupSeek::take(const QKeyEvent &event)
{
    if (event.key() == Qt::Key_Escape)
        return end();
    if (event.key() == Qt::Key_Backspace)
        m_text.chop(m_text.size() > 1 && m_text.back().isLowSurrogate() ? 2 : 1);
    else
        m_text += event.text();
    if (m_text.isEmpty())
        return end();
    m_timer.start();
    emit sought(m_text);
}

void GroupSeek::end()
{
    m_timer.stop();
    m_text.clear();
    hide();
}

void GroupSeek::setFound(bool found)
{
    m_found = found;
    setAccessibleName(shownText());
    place();
    show();
    raise();
    update();
    QAccessibleEvent said(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&said);
}

QString GroupSeek::shownText() const
{
    return m_found ? m_text : tr("%1: no such group").arg(m_text);
}

void GroupSeek::place()
{
    const int height = textHeight() + space::group;
    setGeometry(space::between, m_view->height() - height - space::between,
                m_view->width() - 2 * space::between, height);
}

void GroupSeek::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    paintPanel(&painter, rect(), radius::field, colour(Role::ToolTip), colour(Role::Field));
    const int size = iconSize(IconUse::Row);
    const QRect sign(space::between, 0, size, height());
    const QColor ink = colour(Role::OnToolTip);
    paintIcon(&painter, QStyle::visualRect(layoutDirection(), rect(), sign), u"search"_s, ink,
              layoutDirection());
    const QRect words = rect().adjusted(2 * space::between + size, 0, -space::between, 0);
    painter.setPen(ink);
    painter.drawText(QStyle::visualRect(layoutDirection(), rect(), words),
                     int(QStyle::visualAlignment(layoutDirection(), Qt::AlignLeading)) | Qt::AlignVCenter,
                     fontMetrics().elidedText(shownText(), Qt::ElideLeft, words.width()));
}

bool GroupSeek::eventFilter(QObject *, QEvent *event)
{
    if (event->type() == QEvent::Resize && isVisible())
        place();
    return false;
}
