#pragma once

class QWidget;

/// Gives @p widget the desktop's font of fixed width, for what machines said, in the size of the
/// application's.
void setFixedFont(QWidget *widget);
