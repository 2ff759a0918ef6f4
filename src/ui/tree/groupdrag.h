#pragma once

#include <QPixmap>
#include <QStringList>

class QMimeData;
class QWidget;

/// A group on its way by drag and drop: its number as text.
constexpr char kGroupMimeType[] = "application/x-velmar-group";

/// 0: @p mime holds none.
int draggedGroup(const QMimeData &mime);

/// The files of this machine that @p mime names; empty as soon as one thing in it is none.
QStringList draggedFiles(const QMimeData &mime);

/// What hangs at the mouse: an icon and a name, on a card.
QPixmap draggedPixmap(const QString &icon, const QString &text, const QWidget *widget);
