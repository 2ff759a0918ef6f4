#pragma once

#include "compose/composition.h"

#include <functional>

class QDialog;
class QWidget;

/// Header lines of the user's own, one a line as "Name: value". @p done gets them, not at all when the user
/// cancels; names that the program writes itself are refused with a reason.
QDialog *showMoreFields(QWidget *parent, const QList<ExtraHeader> &fields,
                        std::function<void(const QList<ExtraHeader> &)> done);
