#pragma once

#include "ui/look/colours.h"

#include <QIcon>
#include <QPixmap>
#include <QStringList>

class QPainter;

/// The drawn icons, by name ("reply", "flag-fill"; the files of data/icons). One line drawing each, coloured
/// when it is painted: an icon made once follows every change of the look.

/// Text2; Disabled when its widget is; Link when selected or checked. Mirrored from right to left where its
/// direction has a meaning. Null for a name that is not drawn.
QIcon icon(const QString &name);

/// The same in a colour of its own: a red error, a filled flag. Disabled stays Disabled.
QIcon icon(const QString &name, Role role);

bool iconExists(const QString &name);
QStringList iconNames();

/// Whether the icon turns round in windows that read from right to left.
bool iconIsMirrored(const QString &name);

/// The drawing in @p colour, @p size wide and high in device-independent pixels; kept in a cache. Null for a
/// name that is not drawn.
QPixmap iconPixmap(const QString &name, int size, qreal devicePixelRatio, const QColor &colour,
                   Qt::LayoutDirection direction = Qt::LeftToRight);

/// Paints it square into the middle of @p rect.
void paintIcon(QPainter *painter, const QRect &rect, const QString &name, const QColor &colour,
               Qt::LayoutDirection direction = Qt::LeftToRight);

/// Paints any icon of @p size into the middle of @p rect: one of ours in @p colour, another as it is, greyed
/// when not @p enabled. An icon that was made with a role of its own keeps that.
void paintIcon(QPainter *painter, const QRect &rect, const QIcon &icon, int size, const QColor &colour,
               Qt::LayoutDirection direction, bool enabled = true);
