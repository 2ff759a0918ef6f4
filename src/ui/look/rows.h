#pragma once

#include <QStyleOptionViewItem>

class QPainter;
class QWidget;

/// What every list and tree paints behind a row, for the style and for the delegates that draw a row whole.

/// Whether the keyboard works in the view that @p widget is: its selection is strong, that of others is grey.
bool isActivePane(const QStyleOptionViewItem &option, const QWidget *widget);

/// Paints hover and selection of the part of a row that @p option.rect is: the tint, at the leading edge of
/// the view the 3 px bar, with high contrast the frame. In trees with rounded rows (velmarstyle.h) the part
/// of one rounded rectangle that spans the view but for 8 px on both sides. Paints nothing at rest.
void paintRowState(QPainter *painter, const QStyleOptionViewItem &option, const QWidget *widget);

/// A row that is current but not selected: the dotted frame, when the view has the focus.
void paintRowFocus(QPainter *painter, const QStyleOptionViewItem &option, const QWidget *widget);
