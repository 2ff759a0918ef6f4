#include "ui/reader/targethint.h"

#include "ui/look/colours.h"
#include "ui/look/metrics.h"
#include "ui/look/styleparts.h"
#include "ui/reader/messageview.h"

#include <QEvent>
#include <QPainter>

using namespace Qt::StringLiterals;

TargetHint::TargetHint(MessageView *reader)
    : QWidget(reader)
{
    setObjectName(u"targetHint"_s);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::NoFocus);
    connect(reader, &MessageView::linkHovered, this, &TargetHint::tell);
    reader->installEventFilter(this);
    hide();
}

void TargetHint::tell(const QString &target)
{
    m_target = target;
    setAccessibleName(target);
    place();
    setVisible(!target.isEmpty());
    raise();
    update();
}

/// As wide as the words, and as the reader at most.
void TargetHint::place()
{
    const QRect room = parentWidget()->rect();
    const QSize size(std::min(room.width(), fontMetrics().horizontalAdvance(m_target) + 2 * space::group),
                     textHeight() + space::between);
    const QRect lower(room.left(), room.bottom() + 1 - size.height(), size.width(), size.height());
    setGeometry(QStyle::visualRect(layoutDirection(), room, lower));
}

void TargetHint::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    paintPanel(&painter, rect(), radius::field, colour(Role::Chrome), colour(Role::Line));
    const QRect words = rect().adjusted(space::group - 1, 0, -space::group + 1, 0);
    painter.setPen(colour(Role::Text));
    painter.drawText(words, int(Qt::AlignVCenter | Qt::AlignLeft),
                     fontMetrics().elidedText(m_target, Qt::ElideMiddle, words.width() + 1));
}

bool TargetHint::eventFilter(QObject *, QEvent *event)
{
    if (event->type() == QEvent::Resize && isVisible())
        place();
    return false;
}
