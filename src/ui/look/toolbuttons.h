#pragma once

#include <QKeySequence>
#include <QString>

class QAction;
class QToolBar;
class QToolButton;
class QWidget;

/// The text of an action as people read it: without the mark of its mnemonic and without "…".
QString plainName(QString text);

/// "Reply to all (Ctrl+Shift+R)": what a button without text says of itself, its key included.
QString toolTipWithKey(const QString &name, const QKeySequence &key);

/// Gives @p action that tool tip from its text (without "&" and "…") and its first key, and keeps it so when
/// either changes.
void setKeyedToolTip(QAction *action);

/// A free auto-raise button of one icon, named @p name for tool tip and screen reader. It can be reached with
/// Tab, and does not take the focus that a window gives away first.
QToolButton *newToolButton(const QString &icon, const QString &name, QWidget *parent);

/// The same for an action, whose text stands beside the icon when @p showText.
QToolButton *newToolButton(QAction *action, QWidget *parent, bool showText = false);

/// A tool bar to put into a layout: not movable, icons of the bars' size, its "…" of our own.
QToolBar *newToolBar(QWidget *parent);

/// Adds @p action to @p bar, its button reachable with Tab, tool tip with key; a menu opens at once. A
/// @p showText button keeps its text until the bar is told to show icons only (setBarTextsShown).
QToolButton *addToToolBar(QToolBar *bar, QAction *action, bool showText = false);

/// Hides or shows the texts of the buttons that were added with one; the first thing to go in a narrow
/// window.
void setBarTextsShown(QToolBar *bar, bool shown);
