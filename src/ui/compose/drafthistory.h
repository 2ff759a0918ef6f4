#pragma once

#include <functional>

class Drafts;
class QDialog;
class QWidget;

/// The kept versions of a draft, the newest first, with a look at each; @p restore gets the serial number of
/// the one that is wanted.
QDialog *showDraftHistory(QWidget *parent, const Drafts &drafts, int draft,
                          std::function<void(int serial)> restore);
