#include "ui/list/messagelistmodel.h"
#include "ui/look/metrics.h"
#include "ui/tree/groupdrag.h"
#include "ui/tree/grouptree.h"

#include <QDrag>
#include <QDragMoveEvent>
#include <QMimeData>
#include <QScrollBar>

#include <algorithm>

// What is dragged out of the tree and over it.

namespace {

/// Without a key held messages are moved, with Ctrl copied, whatever the desktop would do; files of other
/// programs are always copied.
Qt::DropAction actionOf(const QDropEvent &event)
{
    return event.source() && !(event.modifiers() & Qt::ControlModifier) ? Qt::MoveAction : Qt::CopyAction;
}

/// Numbers of messages and groups mean nothing when they come from another program, be it a second Velmar.
bool isOurs(const QDropEvent &event)
{
    const QMimeData &mime = *event.mimeData();
    return event.source() || !(mime.hasFormat(QString::fromLatin1(kGroupMimeType)) ||
                               mime.hasFormat(QString::fromLatin1(kMessagesMimeType)));
}

} // namespace

void GroupTree::startDrag(Qt::DropActions)
{
    const QModelIndex index = currentIndex();
    if (!(index.flags() & Qt::ItemIsDragEnabled))
        return;
    auto *drag = new QDrag(this);
    drag->setMimeData(m_model.mimeData({index}));
    const GroupTreeModel::Look look = m_model.lookOf(index, false);
    drag->setPixmap(draggedPixmap(look.icon, look.name, this));
    drag->setHotSpot({-space::between, -space::between});
    drag->exec(Qt::MoveAction, Qt::MoveAction);
}

void GroupTree::dragEnterEvent(QDragEnterEvent *event)
{
    m_drag = {};
    followDrag(event);
    const QStringList known = m_model.mimeTypes();
    const bool isKnown = std::any_of(known.begin(), known.end(), [event](const QString &type) {
        return event->mimeData()->hasFormat(type);
    });
    event->setAccepted(isKnown); // else no move over another row is told of
}

void GroupTree::dragMoveEvent(QDragMoveEvent *event)
{
    followDrag(event);
}

/// What is over the same row in the same manner was looked at already: many thousands of messages may hang
/// at the mouse.
void GroupTree::followDrag(QDropEvent *event)
{
    const QModelIndex index = indexAt(event->position().toPoint());
    const Qt::DropAction action = actionOf(*event);
    const bool isNew = !m_drag.isInside || m_drag.over != index || m_drag.action != action;
    if (isNew) {
        m_drag.over = index;
        m_drag.action = action;
        m_drag.isInside = true;
        m_drag.isAllowed =
            isOurs(*event) && m_model.canDropMimeData(event->mimeData(), action, -1, -1, index);
        viewport()->update();
        if (index.isValid() && m_model.rowCount(index) > 0 && !isExpanded(index))
            m_openTimer.start();
        else
            m_openTimer.stop();
    }
    m_drag.at = event->position().toPoint();
    if (!m_scrollTimer.isActive())
        m_scrollTimer.start();
    event->setDropAction(action);
    event->setAccepted(m_drag.isAllowed);
}

void GroupTree::dragLeaveEvent(QDragLeaveEvent *)
{
    endDrag();
}

void GroupTree::dropEvent(QDropEvent *event)
{
    followDrag(event);
    const Drag drag = m_drag;
    endDrag();
    if (drag.isAllowed)
        m_model.dropMimeData(event->mimeData(), drag.action, -1, -1, drag.over);
}

void GroupTree::endDrag()
{
    m_drag = {};
    m_openTimer.stop();
    m_scrollTimer.stop();
    viewport()->update();
}

void GroupTree::openUnderDrag()
{
    if (m_drag.isInside && m_drag.over.isValid())
        setExpanded(m_drag.over, true);
}

void GroupTree::scrollUnderDrag()
{
    const int margin = ::rowHeight(RowKind::Tree);
    const int y = m_drag.at.y();
    const int step = y < margin ? -margin / 2 : (y > viewport()->height() - margin ? margin / 2 : 0);
    verticalScrollBar()->setValue(verticalScrollBar()->value() + step);
}
