#pragma once

class QWidget;

/// The wheel over combo boxes and numbers in @p within scrolls what they lie in; it changes them only where
/// the keyboard is. Whoever scrolls through a form changes nothing. For fields that are there by now.
void keepFromWheel(QWidget *within);
