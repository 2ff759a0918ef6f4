#include "ui/compose/recipientedit.h"
#include "ui/look/colours.h"
#include "ui/texts/harmless.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QClipboard>
#include <QCompleter>
#include <QDrag>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QStandardItemModel>

using namespace Qt::StringLiterals;

/// Keys, mouse, completion and dragging of the field of recipients.

namespace {

constexpr char kDragFormat[] = "application/x-velmar-recipients";
constexpr qsizetype kMostPasted = 256 * 1024; ///< characters of a list that is pasted or dropped

/// A typed text is a pill as soon as one more character makes clear that the address has ended.
bool endsAddress(const QString &text)
{
    if (!text.endsWith(u',') && !text.endsWith(u';'))
        return false;
    return text.count(u'"') % 2 == 0; // "Brandt, Clara" <...>
}

} // namespace

void RecipientEdit::typed(const QString &text)
{
    m_pills.selectNone();
    if (endsAddress(text)) {
        m_completer->popup()->hide();
        commit();
        return;
    }
    propose(text.trimmed());
}

void RecipientEdit::propose(const QString &beginning)
{
    m_model->clear();
    const QList<Proposal> proposals =
        m_proposals && !beginning.isEmpty() ? m_proposals(beginning) : QList<Proposal>();
    for (const Proposal &proposal : proposals) {
        const QString text = formatAddress(proposal.address);
        auto *item = new QStandardItem(harmlessLine(text, 200));
        item->setData(text, Qt::UserRole + 1);
        if (proposal.collected) {
            item->setData(colour(Role::Text3), Qt::ForegroundRole);
            item->setToolTip(tr("Only seen in mail that was received"));
        }
        m_model->appendRow(item);
    }
    if (proposals.isEmpty())
        m_completer->popup()->hide();
    else
        m_completer->complete(m_entry->rect());
}

bool RecipientEdit::eventFilter(QObject *watched, QEvent *event)
{
    if (watched != m_entry)
        return QAbstractScrollArea::eventFilter(watched, event);
    if (event->type() == QEvent::KeyPress)
        return entryKey(static_cast<QKeyEvent *>(event));
    if (event->type() == QEvent::FocusOut && QApplication::focusWidget() != this &&
        static_cast<QFocusEvent *>(event)->reason() != Qt::PopupFocusReason) {
        commit();
        m_pills.selectNone();
        viewport()->update();
    }
    return false;
}

bool RecipientEdit::entryKey(QKeyEvent *event)
{
    const bool atStart = m_entry->cursorPosition() == 0 && !m_entry->hasSelectedText();
    const int toPills = layoutDirection() == Qt::RightToLeft ? Qt::Key_Right : Qt::Key_Left;
    if (m_completer->popup()->isVisible() && m_completer->popup()->currentIndex().isValid())
        return false; // the list of proposals has the word
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        if (event->modifiers() & Qt::ControlModifier)
            return false;
        if (m_entry->text().trimmed().isEmpty())
            emit leaveDown();
        else
            commit();
        return true;
    }
    if (event->matches(QKeySequence::Paste))
        return paste();
    const bool back = event->key() == Qt::Key_Backspace || event->key() == toPills;
    if (atStart && back && m_pills.count() > 0 && event->modifiers() == Qt::NoModifier) {
        m_pills.select(m_pills.count() - 1);
        setFocus(Qt::OtherFocusReason);
        viewport()->update();
        return true;
    }
    return false;
}

/// Several addresses become pills at once; a single one is left to the entry field, to be changed.
bool RecipientEdit::paste()
{
    const QString pasted = QGuiApplication::clipboard()->text().left(kMostPasted);
    if (!pasted.contains(u',') && !pasted.contains(u';') && !pasted.trimmed().contains(u'\n'))
        return false;
    m_entry->insert(QString(pasted).replace(u'\n', u',').replace(u'\r', u' '));
    commit();
    return true;
}

void RecipientEdit::keyPressEvent(QKeyEvent *event)
{
    const int current = m_pills.current();
    const int backwards = layoutDirection() == Qt::RightToLeft ? Qt::Key_Right : Qt::Key_Left;
    const int forwards = layoutDirection() == Qt::RightToLeft ? Qt::Key_Left : Qt::Key_Right;
    const bool extend = event->modifiers() & Qt::ShiftModifier;
    if (event->matches(QKeySequence::Copy) || event->matches(QKeySequence::Cut)) {
        copySelected();
        if (event->matches(QKeySequence::Cut))
            removeSelected();
    } else if (event->matches(QKeySequence::Paste)) {
        m_entry->setFocus(); // behind the last pill, as what is typed
        if (!paste())
            m_entry->paste();
    } else if (event->matches(QKeySequence::SelectAll)) {
        m_pills.selectAll();
        viewport()->update();
    } else if (event->key() == Qt::Key_Delete || event->key() == Qt::Key_Backspace) {
        removeSelected();
        if (m_pills.count() > 0 && current >= 0)
            m_pills.select(std::min(current, m_pills.count() - 1));
        else
            m_entry->setFocus();
        viewport()->update();
    } else if (event->key() == backwards) {
        move(-1, extend);
    } else if (event->key() == forwards) {
        move(1, extend);
    } else if (event->key() == Qt::Key_Home && m_pills.count() > 0) {
        m_pills.select(0);
        viewport()->update();
    } else if (event->key() == Qt::Key_End) {
        m_entry->setFocus();
    } else if ((event->key() == Qt::Key_F2 || event->key() == Qt::Key_Return) && current >= 0 &&
               !(event->modifiers() & Qt::ControlModifier)) {
        edit(current);
    } else if (!event->text().isEmpty() && event->text().front().isPrint() &&
               !(event->modifiers() & (Qt::ControlModifier | Qt::AltModifier))) {
        m_entry->setFocus(); // typing goes on behind the last pill
        m_entry->insert(event->text());
        typed(m_entry->text());
    } else {
        QAbstractScrollArea::keyPressEvent(event);
    }
}

void RecipientEdit::move(int by, bool extend)
{
    const int next = std::max(0, m_pills.current() + by);
    if (next >= m_pills.count()) {
        m_pills.selectNone();
        m_entry->setFocus();
    } else if (extend) {
        m_pills.select(next, true);
    } else {
        m_pills.select(next);
    }
    viewport()->update();
}

void RecipientEdit::edit(int index)
{
    const QString text = formatAddress(m_pills.all()[index].address);
    commit();
    m_pills.remove(index);
    afterChange();
    m_entry->setFocus();
    m_entry->setText(text);
    m_entry->selectAll();
}

void RecipientEdit::copySelected() const
{
    if (m_pills.hasSelection())
        QGuiApplication::clipboard()->setText(textOfAddresses(m_pills.selected()));
}

void RecipientEdit::focusInEvent(QFocusEvent *event)
{
    QAbstractScrollArea::focusInEvent(event);
    if (!m_pills.hasSelection())
        m_entry->setFocus(event->reason());
}

void RecipientEdit::focusOutEvent(QFocusEvent *event)
{
    QAbstractScrollArea::focusOutEvent(event);
    if (event->reason() != Qt::PopupFocusReason && event->reason() != Qt::ActiveWindowFocusReason)
        m_pills.selectNone();
    viewport()->update();
}

void RecipientEdit::mousePressEvent(QMouseEvent *event)
{
    m_pressed = event->position().toPoint();
    m_pressedPill = m_pills.at(contentsPoint(m_pressed));
    if (m_pressedPill < 0) {
        m_pills.selectNone();
        m_entry->setFocus(Qt::MouseFocusReason);
        viewport()->update();
        return;
    }
    if (event->button() == Qt::LeftButton &&
        crossOf(shown(m_pills.all()[m_pressedPill].place)).contains(m_pressed))
        return; // it goes when the button is let go over the cross
    if (event->modifiers() & Qt::ControlModifier)
        m_pills.toggle(m_pressedPill);
    else if (event->modifiers() & Qt::ShiftModifier)
        m_pills.selectTo(m_pressedPill);
    else if (!m_pills.all()[m_pressedPill].selected)
        m_pills.select(m_pressedPill);
    setFocus(Qt::MouseFocusReason);
    viewport()->update();
}

void RecipientEdit::mouseMoveEvent(QMouseEvent *event)
{
    const QPoint point = event->position().toPoint();
    if (!(event->buttons() & Qt::LeftButton)) {
        viewport()->setCursor(m_pills.at(contentsPoint(point)) < 0 ? Qt::IBeamCursor : Qt::ArrowCursor);
        return;
    }
    if (m_pressedPill >= 0 && m_pills.hasSelection() &&
        (point - m_pressed).manhattanLength() >= QApplication::startDragDistance())
        drag();
}

void RecipientEdit::mouseReleaseEvent(QMouseEvent *event)
{
    const QPoint point = event->position().toPoint();
    const int pill = m_pills.at(contentsPoint(point));
    const bool same = pill >= 0 && pill == m_pressedPill;
    m_pressedPill = -1;
    if (!same || event->button() != Qt::LeftButton)
        return;
    const QRect cross = crossOf(shown(m_pills.all()[pill].place));
    if (cross.contains(point) && cross.contains(m_pressed)) {
        m_pills.remove(pill);
        afterChange();
        m_entry->setFocus();
    }
}

void RecipientEdit::mouseDoubleClickEvent(QMouseEvent *event)
{
    if (const int pill = m_pills.at(contentsPoint(event->position().toPoint())); pill >= 0)
        edit(pill);
}

void RecipientEdit::contextMenuEvent(QContextMenuEvent *event)
{
    const int pill = event->reason() == QContextMenuEvent::Mouse
                         ? m_pills.at(contentsPoint(viewport()->mapFromGlobal(event->globalPos())))
                         : m_pills.current();
    if (pill < 0)
        return;
    if (!m_pills.all()[pill].selected)
        m_pills.select(pill);
    viewport()->update();
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(tr("&Edit"), this, [this, pill] {
        if (pill < m_pills.count())
            edit(pill);
    });
    menu->addAction(tr("&Copy"), this, &RecipientEdit::copySelected);
    menu->addAction(tr("&Remove"), this, &RecipientEdit::removeSelected);
    menu->popup(event->globalPos());
}

void RecipientEdit::drag()
{
    const QList<Address> dragged = m_pills.selected();
    const QString text = textOfAddresses(dragged);
    auto *data = new QMimeData;
    data->setText(text);
    data->setData(QLatin1StringView(kDragFormat), text.toUtf8());
    auto *drag = new QDrag(this);
    drag->setMimeData(data);
    m_pressedPill = -1;
    // what comes back into this field was moved within it by dropEvent
    if (drag->exec(Qt::MoveAction | Qt::CopyAction, Qt::MoveAction) == Qt::MoveAction &&
        drag->target() != viewport() && drag->target() != this)
        removeSelected();
}

void RecipientEdit::removeSelected()
{
    m_pills.removeSelected();
    afterChange();
}

void RecipientEdit::dragEnterEvent(QDragEnterEvent *event)
{
    if (event->mimeData()->hasText())
        event->acceptProposedAction();
}

void RecipientEdit::dragMoveEvent(QDragMoveEvent *event)
{
    m_dropAt = m_pills.gapAt(contentsPoint(event->position().toPoint()));
    viewport()->update();
    event->acceptProposedAction();
}

void RecipientEdit::dragLeaveEvent(QDragLeaveEvent *)
{
    m_dropAt = -1;
    viewport()->update();
}

void RecipientEdit::dropEvent(QDropEvent *event)
{
    int index = m_pills.gapAt(contentsPoint(event->position().toPoint()));
    const bool own = event->source() == this;
    if (own) {
        for (int i = 0, end = index; i < end; ++i)
            index -= m_pills.all()[i].selected;
        m_pills.removeSelected();
    }
    m_dropAt = -1;
    insert(index, parseAddresses(event->mimeData()->text().left(kMostPasted).replace(u'\n', u',')));
    event->acceptProposedAction();
}
