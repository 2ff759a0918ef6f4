#include "ui/look/searchfield.h"

#include "ui/look/icons.h"
#include "ui/look/metrics.h"

#include <QEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QStyle>

SearchField::SearchField(const QString &icon, const QString &placeholder, QWidget *parent)
    : QLineEdit(parent)
    , m_icon(icon)
{
    setPlaceholderText(placeholder);
    setAccessibleName(placeholder);
    setClearButtonEnabled(true);
    connect(this, &QLineEdit::textChanged, this, &SearchField::arrange);
    arrange();
}

void SearchField::setKeyHint(const QKeySequence &key)
{
    m_key = key;
    arrange();
    update();
}

QRect SearchField::iconRect() const
{
    const int size = iconSize(IconUse::Row);
    return QStyle::visualRect(layoutDirection(), rect(), QRect(space::between - 1, 0, size, height()));
}

int SearchField::keyWidth() const
{
    const QString key = m_key.toString(QKeySequence::NativeText);
    return key.isEmpty() ? 0 : QFontMetrics(fontScaled(scale::section)).horizontalAdvance(key) + space::group;
}

void SearchField::arrange()
{
    const int before = iconSize(IconUse::Row) + space::between;
    const int behind = text().isEmpty() ? keyWidth() : 0;
    if (layoutDirection() == Qt::RightToLeft)
        setTextMargins(behind, 0, before, 0);
    else
        setTextMargins(before, 0, behind, 0);
}

void SearchField::paintEvent(QPaintEvent *event)
{
    QLineEdit::paintEvent(event);
    QPainter painter(this);
    const QRect place = iconRect();
    QRect square(0, 0, place.width(), place.width());
    square.moveCenter(place.center());
    paintIcon(&painter, square, m_icon, colour(isEnabled() ? Role::Text2 : Role::Disabled),
              layoutDirection());
    if (m_key.isEmpty() || !text().isEmpty())
        return;
    painter.setFont(fontScaled(scale::section));
    painter.setPen(colour(Role::Text2));
    painter.drawText(rect().adjusted(space::group - 2, 0, -space::group + 2, 0),
                     int(QStyle::visualAlignment(layoutDirection(), Qt::AlignRight)) | Qt::AlignVCenter,
                     m_key.toString(QKeySequence::NativeText));
}

/// Esc is the field's, also in a window that it closes.
bool SearchField::event(QEvent *event)
{
    if (event->type() == QEvent::ShortcutOverride &&
        static_cast<QKeyEvent *>(event)->key() == Qt::Key_Escape) {
        event->accept();
        return true;
    }
    return QLineEdit::event(event);
}

void SearchField::keyPressEvent(QKeyEvent *event)
{
    if (event->key() != Qt::Key_Escape)
        return QLineEdit::keyPressEvent(event);
    if (m_escapeLeaves || text().isEmpty())
        emit left();
    else
        clear();
}

void SearchField::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::FontChange || event->type() == QEvent::LayoutDirectionChange)
        arrange();
    QLineEdit::changeEvent(event);
}
